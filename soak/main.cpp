// larder-soak FOLDER SCALE SEED [RUN...]: endurance runs of the library, its file provider and the
// store. FOLDER is for the runs' files; SCALE is 1 for the documented numbers, or a fraction.
#include <cstdio>
#include <exception>
#include <span>

#include "soak/machine.h"
#include "soak/process.h"
#include "soak/run.h"

namespace larder::soak {
namespace {

struct Run {
  const char* name;
  void (*function)(const Options&);
};

constexpr Run kRuns[] = {{"staleness", RunStaleness}, {"kills", RunKills},
                         {"damage", RunDamage},       {"damage-in-use", RunDamageInUse},
                         {"limits", RunLimits},       {"crowd", RunCrowd}};

struct Work {
  const char* name;
  void (*function)(const WorkerArguments&);
};

constexpr Work kWork[] = {{"change", ChangeFiles},
                          {"ask", AskForFiles},
                          {"write", WriteRecords},
                          {"compute", ComputeRecords},
                          {"use-damaged", UseDamagedStore},
                          {"use", UseStoreUntilStopped},
                          {"mix", MixCalls},
                          {"within", WorkWithin}};

template <typename Table>
const auto& Find(const Table& table, const std::string& name) {
  for (const auto& one : table) {
    if (name == one.name) return one;
  }
  throw std::runtime_error("there is no run \"" + name + '"');
}

int DoWork(const std::vector<std::string>& arguments) {
  const WorkerArguments parsed{.folder = arguments.at(1),
                               .seed = std::stoull(arguments.at(2)),
                               .number = std::stoi(arguments.at(3)),
                               .more = {arguments.begin() + 4, arguments.end()}};
  UseMachine(parsed.folder);
  Find(kWork, arguments.at(0)).function(parsed);
  return 0;
}

int DoRuns(const std::vector<std::string>& arguments) {
  const Options options{.folder = std::filesystem::absolute(arguments.at(0)),
                        .scale = std::stod(arguments.at(1)),
                        .seed = std::stoull(arguments.at(2))};
  std::filesystem::current_path(ProgramFolder());
  std::vector<std::string> names(arguments.begin() + 3, arguments.end());
  if (names.empty()) {
    for (const Run& run : kRuns) names.emplace_back(run.name);
  }
  for (const std::string& name : names) {
    Find(kRuns, name).function({options.folder / name, options.scale, options.seed});
  }
  return 0;
}

int Main(const std::vector<std::string>& arguments) try {
  if (!arguments.empty() && arguments[0] == "worker")
    return DoWork({arguments.begin() + 1, arguments.end()});
  if (arguments.size() >= 3) return DoRuns(arguments);
  std::fputs("usage: larder-soak FOLDER SCALE SEED [RUN...]\n", stderr);
  return 2;
} catch (const std::exception& error) {
  std::string text = "FAULT:";
  for (const std::string& argument : arguments) text += ' ' + argument;
  std::fprintf(stderr, "%s: %s\n", text.c_str(), error.what());
  return 1;
}

}  // namespace
}  // namespace larder::soak

int main(int count, char** arguments) {
  return larder::soak::Main({arguments + 1, arguments + count});
}
