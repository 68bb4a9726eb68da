#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/registry/removal.h"

namespace larder::tool {
namespace {

struct Arguments {
  bool isRegistry = false;
  bool isData = false;
  bool isYes = false;
  std::optional<std::string> program;  // as given; empty for the default directory
  std::optional<WideString> named;     // the same, validated
};

// The registry is last, because it names the program directory.
std::vector<Removal> Chosen(const Arguments& arguments) {
  std::vector<Removal> removals;
  if (arguments.program) removals.emplace_back(Removal::Kind::kProgram);
  if (arguments.isData) removals.emplace_back(Removal::Kind::kData);
  if (arguments.isRegistry) removals.emplace_back(Removal::Kind::kRegistry);
  return removals;
}

// Prints the reason if it isn't.
bool IsAllowed(const Removal& removal, const Arguments& arguments) {
  const std::string obstacle = removal.Obstacle(arguments.named);
  if (!obstacle.empty()) PrintError("nothing was deleted: " + obstacle);
  return obstacle.empty();
}

// Prints and drops what doesn't exist.
void DropGone(std::vector<Removal>& removals, Output& output) {
  for (const Removal& removal : removals) {
    if (removal.IsGone()) output.Write("not there: " + Printable(removal.Label()) + "\n");
  }
  std::erase_if(removals, [](const Removal& removal) { return removal.IsGone(); });
}

void Announce(const std::vector<Removal>& removals, Output& output) {
  for (const Removal& removal : removals) {
    output.Write("to be deleted with all that is in it: " + Printable(removal.Label()) + "\n");
  }
}

bool IsConfirmed(Output& output) {
  output.Write("Delete these? [y/N] ");
  output.Flush();
  std::string answer;
  std::getline(std::cin, answer);
  if (answer.ends_with('\r')) answer.pop_back();
  if (!output.Failed() && (answer == "y" || answer == "Y" || answer == "yes")) return true;
  output.Write("\n");
  PrintError("nothing was deleted");
  return false;
}

bool Delete(const Removal& removal, Output& output) {
  LogWatch watch;
  removal.Run();
  const bool isGone = removal.IsGone();
  if (isGone) output.Write("deleted: " + Printable(removal.Label()) + "\n");
  if (!isGone) PrintError("cannot delete all of the " + removal.Label());
  watch.PrintReports();
  return isGone;
}

int Remove(const Arguments& arguments, Output& output) {
  std::vector<Removal> removals = Chosen(arguments);
  const auto isAllowed = [&](const Removal& removal) { return IsAllowed(removal, arguments); };
  if (!std::ranges::all_of(removals, isAllowed)) return kExitFailed;
  DropGone(removals, output);
  if (removals.empty()) return kExitOk;
  Announce(removals, output);
  if (!arguments.isYes && !IsConfirmed(output)) return kExitFailed;
  int status = kExitOk;
  for (const Removal& removal : removals) {
    if (!Delete(removal, output)) status = kExitFailed;
  }
  return status;
}

}  // namespace

void AddRemoveCommand(const Command& top) {
  const auto arguments = std::make_shared<Arguments>();
  const Command remove =
      top.AddCommand("remove", "Delete what an installation left on the machine");
  remove.AddDetails(
      "Give at least one of --registry, --data and --program. Prints what exists and\n"
      "would be deleted, and asks.");
  remove.AddFlag("--registry", arguments->isRegistry, "The library's part of the registry");
  remove.AddFlag("--data", arguments->isData, "The data directory with all logs");
  remove.AddOptionOrFlag("--program", "[DIR]", arguments->program,
                         "The folder of the modules; DIR, spelled as szLocation, if it isn't the "
                         "usual one");
  remove.AddFlag("--yes", arguments->isYes, "Don't ask");
  remove.OnChosen([arguments] {
    if (!arguments->isRegistry && !arguments->isData && !arguments->program) {
      throw UsageError("remove", "give one or more of --registry, --data and --program");
    }
    if (!arguments->program.value_or("").empty()) {
      arguments->named = WideArgument("--program", *arguments->program);
    }
    return [arguments](Output& output) { return Remove(*arguments, output); };
  });
}

}  // namespace larder::tool
