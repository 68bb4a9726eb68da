// Runs the transcripts, one test for each of their cases. A case has a machine of its own, whose
// folder is the current one. In a transcript,
//
//   # Heading           begins a case; further such lines behind it are comments
//   $ larder WORD...    runs the tool; other commands are verbs (see Verbs) or, on Linux, programs
//   line                is a line of standard output
//   ! line              is a line of standard error; a single one may be behind its command
//   ? 2                 is the exit status, if it isn't 0, or 1 with lines of standard error
//   [linux] any line    is for one system only; so is a case whose heading has it
//   ...                 is any number of lines of output
//   <...>               is any text within a line
//   <0x0d0a> <x*99>     are bytes and a text that is repeated; <> is nothing
//   <folder> <location> are the machine's folder, as a path and as the registry has it
//   <data> <built>      are the library's data folder and the folder of what is built
//
// "!" and "?" in front of the first command hold for each run of the tool in the case. Blank lines
// behind the last line of output aren't output. Words of a command end at blanks. Between single
// quotes each character is itself, also a blank and a backslash; nothing is expanded but what is in
// angle brackets. Behind "<<< WORD" is a line on standard input, "> FILE" is where standard output
// goes, and "| grep TEXT" keeps its lines with that text.
#include <gtest/gtest-spi.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <span>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "tools/tool-test.h"

namespace larder {
namespace {

using Patterns = std::span<const std::string>;
using Names = std::map<std::string, std::string>;  // what stands for a name in angle brackets

struct Step {
  int line = 0;
  std::string command;
  Words output;
  Words errors;
  std::optional<int> status;
};

struct Case {
  std::string heading;
  std::vector<Step> steps;
  Step common;  // errors and status of each run of the tool
};

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

// False for a line of another system. Removes the system's name.
bool IsFor(std::string& line, const std::string& system) {
  for (const std::string name : {"linux", "windows"}) {
    if (Skip(line, "[" + name + "] ")) return name == system;
  }
  return true;
}

void AddLine(Case& to, std::string line, int number) {
  const bool isFirst = to.steps.empty();
  Step& step = isFirst ? to.common : to.steps.back();
  if (Skip(line, "$ ")) {
    const std::size_t mark = line.find(" ! ");
    to.steps.push_back({number, line.substr(0, mark), {}, {}, {}});
    if (mark != line.npos) to.steps.back().errors.push_back(line.substr(mark + 3));
  } else if (Skip(line, "? ")) {
    step.status = std::stoi(line);
  } else if (Skip(line, "! ")) {
    step.errors.push_back(line);
  } else if (!isFirst) {
    step.output.push_back(line);
  } else if (!line.empty()) {
    throw std::runtime_error("no command before: " + line);
  }
}

void Complete(Case& parsed) {
  for (Step& step : parsed.steps) {
    while (!step.output.empty() && step.output.back().empty()) step.output.pop_back();
    if (!step.command.starts_with("larder")) continue;
    std::ranges::copy(parsed.common.errors, std::back_inserter(step.errors));
    if (!step.status) step.status = parsed.common.status;
  }
}

// Throws std::runtime_error for a text that has no cases or doesn't begin with one.
std::vector<Case> Parse(const std::string& text, const std::string& system) {
  std::vector<Case> cases;
  int number = 0;
  bool isHash = false;
  bool isLeftOut = false;  // the case is another system's
  for (std::string line : LinesOf(text)) {
    ++number;
    const bool isHere = IsFor(line, system);
    const bool isComment = std::exchange(isHash, line.starts_with("# "));
    if (isHash && !isComment) isLeftOut = !isHere;
    if (isLeftOut || !isHere) continue;
    if (isHash && !isComment) cases.push_back({line.substr(2), {}, {}});
    if (isHash) continue;
    if (cases.empty()) throw std::runtime_error("no heading before: " + line);
    AddLine(cases.back(), line, number);
  }
  if (cases.empty()) throw std::runtime_error("no cases");
  std::ranges::for_each(cases, &Complete);
  return cases;
}

std::string BytesOf(const std::string& digits) {
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

// What an item in angle brackets stands for.
std::string Meaning(const std::string& item, const Names& names) {
  if (names.contains(item)) return names.at(item);
  const std::size_t star = item.rfind('*');
  const bool isBytes = item.starts_with("0x");
  if (star == std::string::npos && !isBytes) throw std::runtime_error("unknown: <" + item + ">");
  const std::string once = isBytes ? BytesOf(item.substr(2, star - 2)) : item.substr(0, star);
  std::string text;
  for (int i = star == item.npos ? 1 : std::stoi(item.substr(star + 1)); i > 0; --i) text += once;
  return text;
}

// The parts of a text before, between and behind its "<...>".
Words PartsOf(const std::string& text, const Names& names) {
  Words parts{""};
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::size_t end = text[at] == '<' ? text.find('>', at) : text.npos;
    const std::string item = end == text.npos ? "" : text.substr(at + 1, end - at - 1);
    if (item == "...") {
      parts.emplace_back();
    } else {
      parts.back() += end == text.npos ? text.substr(at, 1) : Meaning(item, names);
    }
    if (end != text.npos) at = end;
  }
  return parts;
}

bool LineMatches(const std::string& pattern, const std::string& line, const Names& names) {
  const Words parts = PartsOf(pattern, names);
  if (parts.size() == 1) return line == parts.front();
  if (!line.starts_with(parts.front())) return false;
  std::size_t at = parts.front().size();
  for (std::size_t i = 1; i + 1 < parts.size(); ++i) {
    at = line.find(parts[i], at);
    if (at == line.npos) return false;
    at += parts[i].size();
  }
  return line.size() >= at + parts.back().size() && line.ends_with(parts.back());
}

bool AllMatch(Patterns expected, Patterns actual, const Names& names) {
  if (expected.empty()) return actual.empty();
  if (expected.front() == "...") {
    return AllMatch(expected.subspan(1), actual, names) ||
           (!actual.empty() && AllMatch(expected, actual.subspan(1), names));
  }
  return !actual.empty() && LineMatches(expected.front(), actual.front(), names) &&
         AllMatch(expected.subspan(1), actual.subspan(1), names);
}

// Empty if the lines are as expected; otherwise both, as a diff.
std::string Difference(const char* what, Patterns expected, Patterns actual, const Names& names) {
  if (AllMatch(expected, actual, names)) return {};
  std::size_t same = 0;
  const std::size_t size = std::min(expected.size(), actual.size());
  while (same < size && LineMatches(expected[same], actual[same], names)) ++same;
  std::string text = std::string(what) + ":\n";
  for (const std::string& line : actual.first(same)) text += "  " + line + "\n";
  for (const std::string& line : expected.subspan(same)) text += "- " + line + "\n";
  for (const std::string& line : actual.subspan(same)) text += "+ " + line + "\n";
  return text;
}

Words WordsOf(const std::string& command, const Names& names) {
  Words words;
  bool isQuoted = false;
  bool isInWord = false;
  for (const char c : command) {
    const bool isBlank = c == ' ' && !isQuoted;
    if (!isBlank && !isInWord) words.emplace_back();
    isInWord = !isBlank;
    if (c == '\'') {
      isQuoted = !isQuoted;
    } else if (!isBlank) {
      words.back() += c;
    }
  }
  for (std::string& word : words) word = PartsOf(word, names).front();
  return words;
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
 public:
  TranscriptTest(std::string newFile, Case newCase)
      : file(std::move(newFile)), transcript(std::move(newCase)) {}

  void TestBody() override {
    EXPECT_FALSE(transcript.steps.empty()) << file << ": no commands: " << transcript.heading;
    for (const Step& step : transcript.steps) Check(step);
  }

 private:
  void Check(const Step& step);
  ToolRun RunCommand(const std::string& command);
  bool RunVerb(const Words& words);

  const std::string file;
  const Case transcript;
  const Names names = {{"", ""},
                       {"folder", machine.Folder().string()},
                       {"location", Location()},
                       {"data", machine.Data().generic_string()},
                       {"built", BuiltFile("").parent_path().generic_string()}};
};

// False if it isn't one of these:
//   install MODULE...           registers provider modules that exist here or are built
//   use-copy FOLDER             creates a copy of the tool there, which runs from now on
//   write TEXT FILE...          creates files
//   log {FILE YEAR TEXT}...     creates logs that were last changed in those years
//   exists FILE..., gone FILE...
bool TranscriptTest::RunVerb(const Words& words) {
  const std::string& verb = words.at(0);
  const Words operands(words.begin() + 1, words.end());
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
  } else if (verb == "exists" || verb == "gone") {
    for (const auto& name : operands) EXPECT_EQ(verb == "exists", std::filesystem::exists(name));
  } else {
    return false;
  }
  return true;
}

// The output is empty when it went to a file.
ToolRun TranscriptTest::RunCommand(const std::string& command) {
  Words words = WordsOf(command, names);
  if (RunVerb(words)) return {};
  ProgramFiles files{"errors", "output", "input"};
  const auto input = TakeOff(words, "<<<");
  MakeFile("input", input ? *input + "\n" : "");
  if (const auto output = TakeOff(words, ">")) files.output = *output;
  const std::string filter = TakeOff(words, "|") ? words.back() : "";
  if (!filter.empty()) words.pop_back();
  const std::string program = words.at(0);
  words.erase(words.begin());
  ToolRun run = program == "larder" ? Run(words, files) : Run("/usr/bin/" + program, words, files);
  std::string kept;
  for (const std::string& line : LinesOf(run.output)) {
    if (line.find(filter) != line.npos) kept += line + "\n";
  }
  if (!filter.empty()) run.output = kept;
  return run;
}

void TranscriptTest::Check(const Step& step) {
  const ToolRun run = RunCommand(step.command);
  const Words status{std::to_string(step.status.value_or(step.errors.empty() ? 0 : 1))};
  const std::string difference =
      Difference("standard output", step.output, LinesOf(run.output), names) +
      Difference("standard error", step.errors, LinesOf(run.errors), names) +
      Difference("exit status", status, Words{std::to_string(run.status)}, names);
  if (difference.empty()) return;
  ADD_FAILURE_AT(file.c_str(), step.line)
      << transcript.heading << "\n$ " << step.command << "\n"
      << difference << "(\"-\": what was expected, \"+\": what came)";
}

// --- The tests of this program itself

void RunText(const std::string& text) {
  TranscriptTest("text", Parse(text, LARDER_SYSTEM).at(0)).TestBody();
}

TEST(TranscriptTest, AWrongExpectationIsAFailure) {
  RunText("# good\n$ larder --version\nlarder <...>.<...>.0\n\n");
  const std::string run = "$ larder --version\n";
  for (const std::string& text :
       {std::string(), run, run + "larder <...>.1\n", run + "larder 0.1.0\nmore\n",
        run + "larder 0.1.0\n! error\n? 0\n", run + "larder 0.1.0\n? 1\n",
        std::string("$ gone input\n$ exists missing\n")}) {
    EXPECT_NONFATAL_FAILURE(RunText("# bad\n" + text), "");
  }
  for (const char* text : {"", "$ larder\n", "# output first\nline\n"}) {
    EXPECT_THROW(Parse(text, LARDER_SYSTEM), std::runtime_error) << text;
  }
}

TEST(TranscriptTest, LinesMatchTheirPatternsAndNothingElse) {
  const Names names = {{"name", "a*b"}, {"", ""}};
  const auto difference = [&](const Words& expected, const Words& actual) {
    return Difference("", expected, actual, names);
  };
  EXPECT_EQ(difference({"<><name> <0x410a42> <x-*3><0x43*2>", "..."}, {"a*b A\nB x-x-x-CC"}), "");
  EXPECT_EQ(difference({"a<...>b<...>c", "...", "end"}, {"abbc", "1", "2", "end"}), "");
  EXPECT_NE(difference({"ab<...>bc"}, {"abc"}), "");
  EXPECT_NE(difference({"<...>a<...>"}, {"b"}), "");
  EXPECT_NE(difference({"...", "end"}, {"end", "1"}), "");
  EXPECT_EQ(difference({"a", "b"}, {"a", "c", "d"}), ":\n  a\n- b\n+ c\n+ d\n");
  EXPECT_EQ(WordsOf("a 'b  \\'<name>  ''", names), (Words{"a", "b  \\a*b", ""}));
}

TEST(TranscriptTest, WhatIsForAnotherSystemIsLeftOut) {
  const auto cases = Parse(
      "# one\n# comment\n$ a\n[linux] x\n[windows] y\n[linux] # two\n$ b\n# three\n? 2\n$ larder\n",
      "windows");
  ASSERT_EQ(cases.size(), 2u);
  EXPECT_EQ(cases[0].steps.at(0).output, Words{"y"});
  EXPECT_EQ(cases[1].steps.at(0).status, 2);
}

// --- The transcripts

void Register(const std::filesystem::path& path) {
  for (const Case& each : Parse(ContentOf(path), LARDER_SYSTEM)) {
    std::string name = each.heading;
    std::ranges::replace_if(
        name, [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    const auto make = [file = path.string(), each]() -> ToolTest* {
      return new TranscriptTest(file, each);
    };
    testing::RegisterTest(path.stem().string().c_str(), name.c_str(), nullptr, nullptr, __FILE__,
                          __LINE__, make);
  }
}

}  // namespace
}  // namespace larder

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  try {
    for (const auto& entry : std::filesystem::directory_iterator(LARDER_TRANSCRIPTS)) {
      larder::Register(entry.path());
    }
  } catch (const std::exception& error) {
    std::cerr << "cannot read the transcripts: " << error.what() << "\n";
    return 1;
  }
  return RUN_ALL_TESTS();
}
