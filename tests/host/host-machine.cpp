#include "host/host-machine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <utility>

#include "log/log-pieces.h"
#include "support/registry.h"
#include "testing/process.h"

namespace larder {

constexpr char kEventFile[] = "events.txt";

HostMachine::HostMachine() {
  machine.UseOwnCommonFolders();
  SetEnvironmentText("LARDER_FIXTURE_LOG", (machine.Folder() / kEventFile).string());
  SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"), machine.WideFolder());
  SetRegistryString(LARDER_WIDE("DataProviders"), LARDER_WIDE("szNothing"), {});
  log.Clear();
}

void HostMachine::AddModule(const std::string& module) {
  const std::filesystem::path built = LARDER_TEST_MODULES;
  for (const auto& source : {built / "fixtures" / module, built / module}) {
    if (!std::filesystem::exists(source)) continue;
    std::filesystem::copy_file(source, machine.Folder() / module,
                               std::filesystem::copy_options::skip_existing);
  }
}

void HostMachine::AddProvider(const std::string& key, const std::string& module) {
  AddModule(module);
  SetRegistryString(LARDER_WIDE("DataProviders\\") + Wide(key), LARDER_WIDE("szDLL"), Wide(module));
  log.Clear();
}

void HostMachine::RemoveProvider(const std::string& key) {
  DeleteRegistryValue(LARDER_WIDE("DataProviders\\") + Wide(key), LARDER_WIDE("szDLL"));
  log.Clear();
}

std::vector<std::string> HostMachine::Events() const {
  std::ifstream file(machine.Folder() / kEventFile);
  std::vector<std::string> events;
  for (std::string line; std::getline(file, line);) events.push_back(line);
  return events;
}

int HostMachine::Count(const std::string& event) const {
  const auto events = Events();
  return static_cast<int>(std::count(events.begin(), events.end(), event));
}

std::string HostMachine::LogText() const { return Neutral(log.Text()); }

std::string HostMachine::Neutral(std::string text) const {
  text = RecordedLog::Neutral(std::move(text));
  const std::string folder = WideToUtf8(machine.WideFolder());
  for (std::size_t at; (at = text.find(folder)) != std::string::npos;) {
    text.replace(at, folder.size(), "<folder>\\");
  }
  static const std::regex systemText("(: [0-9]+ )\"[^\"\n]*\"\n");
  return std::regex_replace(text, systemText, "$1\"<text>\"\n");
}

void UnexpectedCall(std::int32_t message) { ADD_FAILURE() << "called back with " << message; }

WideString Wide(const std::string& ascii) { return WideString(ascii.begin(), ascii.end()); }

}  // namespace larder
