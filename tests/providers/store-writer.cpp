// Another process that writes to the store of a test:
//
//   store-writer FOLDER LIMIT-IN-MIB FIRST LAST RECORD-SIZE
//
// stores the numbers from FIRST to LAST, one after the other, and tells each as soon as it is
// stored. Its exit status is 1 if that fails.
#include <cstdio>
#include <exception>

#include "platform/utf.h"
#include "providers/store-files.h"
#include "tools/larder/cli/console.h"

int main(int argc, char** argv) try {
  larder::tool::PrepareConsole();
  const std::vector<std::string> arguments = larder::tool::ProgramArguments(argc, argv);
  larder::WideString folder;
  if (arguments.size() != 6 || !larder::platform::WideFromUtf8(arguments[1], folder)) return 2;
  const std::size_t recordSize = std::stoul(arguments[5]);
  larder::feed::FactStore store(folder, std::stoull(arguments[2]) << 20);
  for (int number = std::stoi(arguments[3]); number <= std::stoi(arguments[4]); ++number) {
    KeepNow(store, number, recordSize);
    std::printf("%d\n", number);
    std::fflush(stdout);
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
