// ./dev bench: runs the rows' benchmarks and prints the table.
//
//   larder-bench [NAME] [--write=MACHINE] [--benchmark_...]
//
// NAME chooses the rows whose subject or measure contains it. --write puts the table, with the text
// that names the machine, and the picture into docs/, which must be in the current folder.
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "document.h"
#include "results.h"
#include "suite.h"

namespace larder {
namespace {

struct Options {
  std::string name;
  std::string machine;  // not empty: write
  // Google Benchmark takes the last one of two flags with one name.
  std::vector<std::string> flags = {"larder-bench", "--benchmark_enable_random_interleaving=true",
                                    "--benchmark_repetitions=9", "--benchmark_min_time=0.1"};
};

Options ParseOptions(int count, char** arguments) {
  constexpr std::string_view kWrite = "--write=";
  Options options;
  for (int i = 1; i < count; ++i) {
    const std::string argument = arguments[i];
    if (argument.starts_with(kWrite)) {
      options.machine = argument.substr(kWrite.size());
    } else if (argument.starts_with("--")) {
      options.flags.push_back(argument);
    } else {
      options.name = argument;
    }
  }
  return options;
}

bool InitializeBenchmark(std::vector<std::string>& flags) {
  std::vector<char*> pointers;
  pointers.reserve(flags.size());
  for (std::string& flag : flags) pointers.push_back(flag.data());
  int count = static_cast<int>(pointers.size());
  benchmark::Initialize(&count, pointers.data());
  return !benchmark::ReportUnrecognizedArguments(count, pointers.data());
}

std::vector<const Row*> RowsNamed(const std::string& name) {
  std::vector<const Row*> rows;
  for (const Row& row : Rows()) {
    if ((std::string(row.subject) + ": " + std::string(row.measure)).find(name) !=
        std::string::npos) {
      rows.push_back(&row);
    }
  }
  return rows;
}

// The benchmarks of the rows of one subject, as a regular expression.
std::string PatternOf(const std::vector<const Row*>& rows, std::string_view subject) {
  std::string names;
  for (const Row* row : rows) {
    if (row->subject != subject) continue;
    for (const std::string_view name : {row->ours, row->peer}) {
      if (!name.empty()) names += (names.empty() ? "" : "|") + std::string(name);
    }
  }
  return "^(" + names + ")(/[a-z].*)?$";
}

void RunGroups(const std::vector<const Row*>& rows, Medians& medians) {
  std::string_view subject;
  for (const Row* row : rows) {
    if (row->subject == subject) continue;
    subject = row->subject;
    benchmark::RunSpecifiedBenchmarks(&medians, PatternOf(rows, subject));
    EndGroup();
  }
}

int Run(Options options) {
  if (!options.machine.empty() && !options.name.empty()) {
    std::cerr << "--write needs all rows: it can't be combined with a name\n";
    return 2;
  }
  const std::vector<const Row*> rows = RowsNamed(options.name);
  if (rows.empty()) {
    std::cerr << "no row's name contains \"" << options.name << "\"\n";
    return 2;
  }
  if (!InitializeBenchmark(options.flags)) return 2;
  Medians medians;
  RunGroups(rows, medians);
  std::vector<Result> results;
  results.reserve(rows.size());
  for (const Row* row : rows) results.push_back(ResultOf(*row, medians));
  std::cout << '\n' << MakeTable(results);
  if (medians.HasFailed()) return 1;
  if (!options.machine.empty()) WriteDocument(results, options.machine);
  return 0;
}

}  // namespace
}  // namespace larder

int main(int count, char** arguments) try {
  return larder::Run(larder::ParseOptions(count, arguments));
} catch (const std::exception& error) {
  std::cerr << "larder-bench: " << error.what() << '\n';
  return 1;
}
