// Another process that writes to the store of a test:
//
//   store-writer FOLDER FIRST LAST RECORD-SIZE
//
// stores the numbers from FIRST to LAST and prints each as soon as it is stored. Exits with 1 if
// that fails.
#include <cstdio>
#include <exception>

#include "platform/wide.h"
#include "providers/store-files.h"
#include "tools/larder/cli/console.h"

int main(int argc, char** argv) try {
  larder::tool::PrepareConsole();
  const std::vector<std::string> arguments = larder::tool::ProgramArguments(argc, argv);
  larder::WideString folder;
  if (!larder::platform::WideFromUtf8(arguments.at(1), folder)) return 1;
  larder::feed::FactStore store(folder, std::uint64_t{64} << 20);
  for (int number = std::stoi(arguments.at(2)); number <= std::stoi(arguments.at(3)); ++number) {
    KeepNow(store, number, std::stoul(arguments.at(4)));
    std::printf("%d\n", number);
    std::fflush(stdout);
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
