#include "program.h"

#include <chrono>
#include <stdexcept>

#include "testing/files.h"
#include "tools/run-program.h"

namespace larder {

double SecondsOf(const Machine& machine, const std::filesystem::path& program,
                 const std::vector<std::string>& arguments) {
  ProgramFiles files;
  files.errors = machine.Folder() / "errors";
  files.output = machine.Folder() / "output";
  const auto begin = std::chrono::steady_clock::now();
  const int status = RunningProgram(program, arguments, files).Wait();
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
  if (status != 0) {
    throw std::runtime_error(program.string() + " ended with " + std::to_string(status) + ": " +
                             ContentOf(files.errors));
  }
  return taken.count();
}

double SecondsOfTool(const Machine& machine, const std::vector<std::string>& arguments) {
  return SecondsOf(machine, LARDER_BENCH_TOOL, arguments);
}

}  // namespace larder
