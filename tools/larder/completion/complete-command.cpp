// The first line of the output says what the last word may become: "paths", which the shell
// completes, or "words". The words follow, one a line, each with a tab and its help if it has one.
#include <memory>
#include <string>
#include <vector>

#include "platform/registry.h"
#include "platform/scoped-handle.h"
#include "support/paths.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/completion/candidates.h"
#include "tools/larder/log/log-runs.h"
#include "tools/larder/registry/registry-value.h"

namespace larder::tool {
namespace {

void AddSubkeys(const WideString& subkey, std::vector<std::string>& result) {
  platform::OwnedRegistryKey key;
  std::vector<WideString> names;
  const platform::Code code =
      platform::OpenRegistryKey(PathOfSubkey(subkey), platform::kKeyRead, key.Out());
  if (code != platform::kSuccess) return;
  (void)ReadNames(key.Get(), &platform::RegistrySubkeyName, names);
  for (const WideString& name : names) {
    WideString path = subkey;
    if (!path.empty()) path += LARDER_WIDE('\\');
    path += name;
    result.push_back(platform::Utf8FromWide(path));
    AddSubkeys(path, result);
  }
}

std::vector<std::string> NamesOfRuns() {
  std::vector<std::string> names;
  std::vector<LogRun> runs;
  (void)FindLogRuns(runs);
  names.reserve(runs.size());
  for (const LogRun& run : runs) names.push_back(PathText(GetFileNameInPath(run.path)));
  return names;
}

std::vector<std::string> ValuesOf(const std::string& form) {
  std::vector<std::string> values;
  if (form == "SUBKEY") AddSubkeys({}, values);
  if (form == "RUN") values = NamesOfRuns();
  // Not what would have to be shown as something else.
  std::erase_if(values, [](const std::string& value) { return Printable(value) != value; });
  return values;
}

int PrintCandidates(const CommandInfo& program, const std::vector<std::string>& words,
                    Output& output) {
  const Candidates candidates = FindCandidates(program, words, &ValuesOf);
  output.Write(candidates.arePaths ? "paths\n" : "words\n");
  for (const Candidate& each : candidates.words) {
    output.Write(each.text + (each.help.empty() ? "" : "\t") + each.help + "\n");
  }
  return kExitOk;
}

}  // namespace

void AddCompleteCommand(const Command& top) {
  const auto words = std::make_shared<std::vector<std::string>>();
  const Command complete = top.AddHiddenCommand("complete", "Print what may come next");
  complete.AddRequired("WORD", *words, "");
  complete.OnChosen([words, top] {
    return [words, top](Output& output) { return PrintCandidates(top.Info(), *words, output); };
  });
}

}  // namespace larder::tool
