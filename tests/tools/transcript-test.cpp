// Runs the transcripts, one test for each case. A case has a machine of its own; the machine's
// folder is the current one. In a transcript,
//
//   # Heading           begins a case
//   ## text             is a comment
//   $ larder WORD...    runs the tool; other commands are verbs (see RunVerb) or Linux programs
//   line                is a line of standard output; blank lines are ignored
//   ! line              is a line of standard error
//   !! line             is a usage error: the line and a reference to --help, with status 2
//   ? 2                 is the exit status, if it isn't 0, or 1 with lines of standard error;
//                       one of these three lines may also be behind its command
//   [linux] any line    is for one system only; so is a case whose heading has it
//   ...                 is any number of lines of output
//   <...>               is any text within a line
//   <0x0d> <x*99>       are a byte and a repeated one; <> is nothing
//   </>                 is what the system has between the names in a path
//   <folder> <location> are the machine's folder, as a path and as the registry has it
//   <data> <built>      are the library's data folder and the folder of what is built
//   <modules>           is an installation's folder of the modules, below its prefix
//
// Words of a command end at blanks. In a word between single quotes blanks are characters like any
// other, as backslashes are everywhere. "<<< WORD" is a line on standard input, and "| grep TEXT"
// keeps the lines of output that contain the text.
#include <gtest/gtest-spi.h>

#include <algorithm>
#include <iomanip>
#include <map>
#include <optional>
#include <ostream>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "platform/file.h"
#include "tools/larder/cli/path.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using Patterns = std::span<const std::string>;
using Names = std::map<std::string, std::string>;  // what a name in angle brackets stands for

constexpr char kAny = '\x02';  // <...> in a pattern

struct Step {
  int line = 0;
  std::string command;
  Words output = {};
  Words errors = {};
  std::string status = {};  // empty: as the errors say
};

struct Case {
  std::string heading;
  std::string system;
  std::string file = {};
  std::vector<Step> steps = {};
};

void PrintTo(const Case& printed, std::ostream* stream) { *stream << printed.heading; }

Words LinesOf(const std::string& text) {
  Words lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  if (!text.empty() && text.back() != '\n') lines.back() += "(no line feed)";
  return lines;
}

// Removes a prefix; false if the line doesn't have it.
bool Skip(std::string& line, const std::string& prefix) {
  if (!line.starts_with(prefix)) return false;
  line.erase(0, prefix.size());
  return true;
}

// Removes the system's name from a line. Without a name the line is for this system too.
std::string TakeSystem(std::string& line) {
  if (!line.starts_with('[')) return LARDER_SYSTEM;
  const std::string system = line.substr(1, line.find(']') - 1);
  line.erase(0, system.size() + 3);
  return system;
}

void AddLine(std::vector<Step>& steps, std::string line, int number) {
  if (Skip(line, "$ ")) {
    const std::size_t mark = std::min(line.find(" !"), line.find(" ? "));
    steps.push_back({number, line.substr(0, mark)});
    if (mark != line.npos) AddLine(steps, line.substr(mark + 1), number);
    return;
  }
  if (steps.empty()) throw std::runtime_error("no command before: " + line);
  Step& step = steps.back();
  if (Skip(line, "!! ")) {
    step.errors = {line, "larder: --help lists what can be given"};
    step.status = "2";
  } else if (Skip(line, "! ")) {
    step.errors.push_back(line);
  } else if (Skip(line, "? ")) {
    step.status = line;
  } else {
    step.output.push_back(line);
  }
}

// The cases for this system. Throws std::runtime_error for a text that has no case or doesn't
// begin with one.
std::vector<Case> Parse(const std::string& text) {
  std::vector<Case> cases;
  int number = 0;
  for (std::string line : LinesOf(text)) {
    ++number;
    if (line.empty() || line.starts_with("## ")) continue;
    const std::string system = TakeSystem(line);
    if (Skip(line, "# ")) {
      cases.push_back({line, system});
    } else if (cases.empty()) {
      throw std::runtime_error("no heading before: " + line);
    } else if (system == LARDER_SYSTEM) {
      AddLine(cases.back().steps, line, number);
    }
  }
  if (cases.empty()) throw std::runtime_error("no cases");
  std::erase_if(cases, [](const Case& each) { return each.system != LARDER_SYSTEM; });
  return cases;
}

// What an item in angle brackets stands for. Throws std::invalid_argument for an unknown one.
std::string Meaning(const std::string& item, const Names& names) {
  if (names.contains(item)) return names.at(item);
  const std::size_t star = item.find('*');
  const std::string unit = item.substr(0, star);
  const int byte = unit.size() == 1 ? unit[0] : std::stoi(unit, nullptr, 16);
  const int count = star == item.npos ? 1 : std::stoi(item.substr(star + 1));
  return std::string(static_cast<std::size_t>(count), static_cast<char>(byte));
}

std::string Expand(const std::string& text, const Names& names) {
  const std::size_t start = text.find('<');
  const std::size_t end = text.find('>', start);
  if (end == text.npos) return text;
  return text.substr(0, start) + Meaning(text.substr(start + 1, end - start - 1), names) +
         Expand(text.substr(end + 1), names);
}

bool LineMatches(std::string_view pattern, std::string_view line) {
  const std::size_t any = pattern.find(kAny);
  if (any == pattern.npos) return line == pattern;
  if (!line.starts_with(pattern.substr(0, any))) return false;
  for (std::size_t at = any; at <= line.size(); ++at) {
    if (LineMatches(pattern.substr(any + 1), line.substr(at))) return true;
  }
  return false;
}

bool AllMatch(Patterns expected, Patterns actual, const Names& names) {
  if (expected.empty()) return actual.empty();
  if (expected.front() == "...") {
    return AllMatch(expected.subspan(1), actual, names) ||
           (!actual.empty() && AllMatch(expected, actual.subspan(1), names));
  }
  return !actual.empty() && LineMatches(Expand(expected.front(), names), actual.front()) &&
         AllMatch(expected.subspan(1), actual.subspan(1), names);
}

// Empty if the lines are as expected; otherwise both, as a diff.
std::string Difference(const char* what, Patterns expected, Patterns actual, const Names& names) {
  if (AllMatch(expected, actual, names)) return {};
  std::string text = std::string(what) + ":\n";
  while (!expected.empty() && !actual.empty() &&
         AllMatch(expected.first(1), actual.first(1), names)) {
    text += "  " + actual.front() + "\n";
    expected = expected.subspan(1);
    actual = actual.subspan(1);
  }
  for (const std::string& line : expected) text += "- " + line + "\n";
  for (const std::string& line : actual) text += "+ " + line + "\n";
  return text;
}

// Whether the file provider may store the record of a file. name: in the current folder.
bool IsStorable(const std::string& name) {
  WideString path;
  platform::FileInfo info;
  platform::FileKind kind{};
  EXPECT_EQ(tool::FullPath(name, path), platform::kSuccess);
  EXPECT_EQ(platform::QueryPathInfo(path, info, kind), platform::kSuccess);
  return info.validity != platform::kNeverValid;
}

// Removes an operator with its operand from a command. Returns the operand.
std::optional<std::string> TakeOff(Words& words, const std::string& name) {
  const auto found = std::ranges::find(words, name);
  if (found == words.end()) return {};
  std::string operand = found[1];
  words.erase(found, found + 2);
  return operand;
}

class TranscriptTest : public ToolTest {
 protected:
  void Play(const Case& played);

 private:
  std::string DifferenceOf(const Step& step);
  Words WordsOf(const std::string& command) const;
  bool CanRunAsOther();
  bool RunVerb(const Words& words);
  ToolRun RunCommand(Words words);

  const Names names = {{"", ""},
                       {"...", {kAny}},
                       {"/", {static_cast<char>(std::filesystem::path::preferred_separator)}},
                       {"folder", machine.Folder().string()},
                       {"location", Location()},
                       {"data", machine.Data().generic_string()},
                       {"built", BuiltFile("").parent_path().make_preferred().string()},
                       {"modules", LARDER_INSTALLED_MODULES}};
};

bool TranscriptTest::CanRunAsOther() {
  return Run("/usr/bin/setpriv", {"--reuid", "65534", "--regid", "65534", "--clear-groups",
                                  BuiltFile(LARDER_TOOL_FILE).string(), "--version"})
             .status == 0;
}

void TranscriptTest::Play(const Case& played) {
  EXPECT_FALSE(played.steps.empty()) << played.file << ": no commands: " << played.heading;
  MakeFile("input", "");
  for (const Step& step : played.steps) {
    if (step.command == "needs-store" && !IsStorable("input")) {
      GTEST_SKIP() << "records of files in this folder aren't stored";
    }
    if (step.command == "needs-root" && !CanRunAsOther()) {
      GTEST_SKIP()
          << "only root can become another user, who must be able to enter the build folder";
    }
    const std::string difference = DifferenceOf(step);
    if (difference.empty()) continue;
    ADD_FAILURE_AT(played.file.c_str(), step.line)
        << played.heading << "\n$ " << step.command << "\n"
        << difference << "(\"-\": what was expected, \"+\": what came)";
  }
}

std::string TranscriptTest::DifferenceOf(const Step& step) {
  const ToolRun run = RunCommand(WordsOf(step.command));
  const std::string usual = step.errors.empty() ? "0" : "1";
  const Words status{step.status.empty() ? usual : step.status};
  return Difference("standard output", step.output, LinesOf(run.output), names) +
         Difference("standard error", step.errors, LinesOf(run.errors), names) +
         Difference("exit status", status, Words{std::to_string(run.status)}, names);
}

Words TranscriptTest::WordsOf(const std::string& command) const {
  Words words;
  std::istringstream stream(command);
  for (std::string word; stream >> std::quoted(word, '\'', kAny);) {
    words.push_back(Expand(word, names));
  }
  return words;
}

// False if it isn't one of these:
//   install MODULE...           registers provider modules that exist here or are built
//   use-copy FOLDER             creates a copy of the tool there, which runs from now on
//   write TEXT FILE...          creates files
//   log {FILE YEAR TEXT}...     creates logs that were last changed in those years
//   delete FILE...
//   needs-store                 skips the case where the provider stores no records of files
//   needs-root                  skips the rest unless the tool can be run as another user (Linux)
//   exists FILE..., gone FILE...
bool TranscriptTest::RunVerb(const Words& words) {
  const std::string& verb = words.at(0);
  const Words operands(words.begin() + 1, words.end());
  if (verb == "needs-store" || verb == "needs-root") return true;
  if (verb == "install") {
    InstallModules(operands);
  } else if (verb == "use-copy") {
    CopyTool(operands.at(0));
  } else if (verb == "write") {
    for (const std::string& name : Patterns(operands).subspan(1)) MakeFile(name, operands[0]);
  } else if (verb == "log") {
    for (std::size_t i = 0; i < operands.size(); i += 3) {
      MakeLog(operands[i], operands.at(i + 2), std::stoi(operands.at(i + 1)));
    }
  } else if (verb == "delete") {
    for (const auto& name : operands) std::filesystem::remove(name);
  } else if (verb == "exists" || verb == "gone") {
    for (const auto& name : operands) EXPECT_EQ(verb == "exists", std::filesystem::exists(name));
  } else {
    return false;
  }
  return true;
}

ToolRun TranscriptTest::RunCommand(Words words) {
  if (RunVerb(words)) return {};
  const auto input = TakeOff(words, "<<<");
  const auto filter = TakeOff(words, "grep");
  if (filter) words.pop_back();  // "|"
  const Words arguments(words.begin() + 1, words.end());
  const auto program = words[0] == "larder" ? tool : std::filesystem::path("/usr/bin") / words[0];
  ToolRun run = Run(program, arguments, input ? *input + "\n" : "");
  if (!filter) return run;
  Words lines = LinesOf(run.output);
  run.output.clear();
  for (const std::string& line : lines) {
    if (line.find(*filter) != line.npos) run.output += line + "\n";
  }
  return run;
}

// --- The tests of this program itself

TEST_F(TranscriptTest, AWrongExpectationIsAFailure) {
  const std::string run = "# heading\n$ larder --version\n";
  Play(Parse(run + "larder <...>.<...>.0\n[other] no such line\n[other] # case\n$ x\n").at(0));
  for (const std::string& wrong :
       {std::string("# no commands\n"), run, run + "larder <...>.1\n", run + "larder 0.1.0\nmore\n",
        run + "larder 0.1.0\n! error\n? 0\n", run + "larder 0.1.0\n? 1\n",
        std::string("# files\n$ gone .\n"), std::string("# files\n$ exists missing\n")}) {
    EXPECT_NONFATAL_FAILURE(Play(Parse(wrong).at(0)), "");
  }
  for (const char* text : {"", "$ larder\n", "# output first\nline\n"}) {
    EXPECT_THROW(Parse(text), std::runtime_error) << text;
  }
}

TEST(PatternsTest, MatchWhatTheyDescribeAndNothingElse) {
  const Names names = {{"name", "a*b"}, {"", ""}, {"...", {kAny}}};
  const auto difference = [&](const Words& expected, const Words& actual) {
    return Difference("", expected, actual, names);
  };
  EXPECT_EQ(difference({"<><name> <0x0a> <x*3><0x43*2>", "..."}, {"a*b \n xxxCC"}), "");
  EXPECT_EQ(difference({"a<...>b<...>c", "...", "end"}, {"abbc", "1", "2", "end"}), "");
  for (const char* other : {"abc", "abb", "bbc"}) EXPECT_NE(difference({"ab<...>bc"}, {other}), "");
  EXPECT_NE(difference({"...", "end"}, {"end", "1"}), "");
  EXPECT_EQ(difference({"a", "b"}, {"a", "c", "d"}), ":\n  a\n- b\n+ c\n+ d\n");
}

// --- The transcripts

std::vector<Case> AllCases() {
  std::vector<Case> all;
  for (const auto& entry : std::filesystem::directory_iterator(LARDER_TRANSCRIPTS)) {
    for (Case& each : Parse(ContentOf(entry.path()))) {
      each.file = entry.path().string();
      all.push_back(each);
    }
  }
  return all;
}

std::string NameOf(const testing::TestParamInfo<Case>& info) {
  std::string name = std::filesystem::path(info.param.file).stem().string() + '_';
  for (const char c : info.param.heading) {
    name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
  }
  return name;
}

class Transcripts : public TranscriptTest, public testing::WithParamInterface<Case> {};

TEST_P(Transcripts, Hold) { Play(GetParam()); }

INSTANTIATE_TEST_SUITE_P(, Transcripts, testing::ValuesIn(AllCases()), &NameOf);

}  // namespace
}  // namespace larder
