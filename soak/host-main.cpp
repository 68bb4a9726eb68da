// larder-host-soak FOLDER MINUTES SEED [ROUND]: the endurance run of the library. FOLDER is for its
// files. ROUND: where to begin, to repeat a round.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "soak/host-run.h"
#include "soak/machine.h"
#include "soak/process.h"

namespace larder::soak {
namespace {

void DoWork(const std::vector<std::string>& arguments) {
  const WorkerArguments parsed{.folder = arguments.at(1),
                               .seed = std::stoull(arguments.at(2)),
                               .number = std::stoi(arguments.at(3)),
                               .more = {arguments.begin() + 4, arguments.end()}};
  UseMachine(parsed.folder);
  if (arguments[0] == "resident") BeResident(parsed);
  if (arguments[0] == "once") DoOneRound(parsed);
  if (arguments[0] == "victim") BeVictim(parsed);
}

void Run(const std::vector<std::string>& arguments) {
  const std::chrono::duration<double, std::ratio<60>> minutes(std::stod(arguments.at(1)));
  const HostOptions options{.folder = std::filesystem::absolute(arguments.at(0)),
                            .time = std::chrono::duration_cast<std::chrono::seconds>(minutes),
                            .seed = std::stoull(arguments.at(2)),
                            .firstRound = arguments.size() > 3 ? std::stoull(arguments.at(3)) : 1};
  std::filesystem::current_path(ProgramFolder());
  RunHost(options);
}

int Main(const std::vector<std::string>& arguments) try {
  if (!arguments.empty() && arguments[0] == "worker") {
    DoWork({arguments.begin() + 1, arguments.end()});
  } else if (arguments.size() >= 3) {
    Run(arguments);
  } else {
    std::fputs("usage: larder-host-soak FOLDER MINUTES SEED [ROUND]\n", stderr);
    return 2;
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "FAULT: %s\n", error.what());
  return 1;
}

}  // namespace
}  // namespace larder::soak

int main(int count, char** arguments) {
  return larder::soak::Main({arguments + 1, arguments + count});
}
