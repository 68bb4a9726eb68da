// Which modules are loaded, and what a client gets when one of them is faulty.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <regex>

#include "host/host-machine.h"
#include "platform/registry.h"
#include "providers/provider-discovery.h"
#include "support/registry.h"
#include "testing/process.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

TEST(ProviderDiscovery, JoinsLocationAndFileNameInTheRegistrysOrderAndSkipsSubkeysWithoutAName) {
  HostMachine host;
  SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"), LARDER_WIDE("C:\\no end"));
  const struct {
    const LarderWideChar* subkey;
    const LarderWideChar* value;
    const LarderWideChar* data;
  } values[] = {{LARDER_WIDE("Zeta"), LARDER_WIDE("szDLL"), LARDER_WIDE("z.dll")},
                {LARDER_WIDE("Other"), LARDER_WIDE("szOther"), LARDER_WIDE("o.dll")},
                {LARDER_WIDE("alpha"), LARDER_WIDE("szDLL"), LARDER_WIDE("a.dll")},
                {LARDER_WIDE("Empty"), LARDER_WIDE("szDLL"), LARDER_WIDE("")},
                {LARDER_WIDE("Beta"), LARDER_WIDE("szDLL"), LARDER_WIDE("a.dll")}};
  for (const auto& row : values) {
    SetRegistryString(WideString(LARDER_WIDE("DataProviders\\")) + row.subkey, row.value, row.data);
  }
  EXPECT_THAT(GetDataProviderPaths(),
              ElementsAre(LARDER_WIDE("C:\\no enda.dll"), LARDER_WIDE("C:\\no enda.dll"),
                          LARDER_WIDE("C:\\no endz.dll")));
  for (const char* const name : {"Other", "Empty"}) {
    EXPECT_TRUE(host.log.Contains(std::string(" WARN: Failed to get a provider location for ") +
                                  name + "\r\n"));
  }
}

TEST(ProviderDiscovery, WithoutTheKeyTheListIsEmpty) {
  HostMachine host;
  ASSERT_EQ(platform::RemoveRegistryTree(WideString(LarderRegistryRoot)), platform::kSuccess);
  EXPECT_THAT(GetDataProviderPaths(), IsEmpty());
  EXPECT_THAT(host.LogText(),
              EndsWith(" WARN: RegOpenKeyEx failed for "
                       "\"Software\\Velmor\\Larder\\DataProviders\": 2 \"<text>\"\n"
                       "TRACE: Leaving OpenRegistrySubkey()\n"
                       " WARN: RegEnumKeyEx failed: 6 \"<text>\"\n"
                       "TRACE: Destroying AutoRegKeyHandle handle 0000000000000000\n"
                       "TRACE: Leaving GetDataProviderPaths()\n"));
}

struct Fault {
  const char* module;
  // Regular expression for the exception's whole text; one that begins with a line follows kUnit.
  const char* text;
  bool leavesObject;  // its object is created and never destroyed
};

constexpr char kUnit[] = "src/providers/data-provider-mgr\\.cpp";

const Fault kFaults[] = {
    {"no-export.dll", ":30 <handle> does not have GetProvider symbol\\.", false},
    {"type-6.dll", ":110 Unexpected data provider type 6 in 0000000000000000", false},
    {"type-minus-1.dll",
     ":110 Unexpected data provider type 18446744073709551615 in 0000000000000000", false},
    {"duplicate-type.dll", ":115 Already have a provider for provider type 0 in 0000000000000000",
     false},
    {"text-file.dll", ":123 Failed to load dll .*\\\\text-file\\.dll 193 \".*\"", false},
    {"missing.dll", ":123 Failed to load dll .*\\\\missing\\.dll 126 \".*\"", false},
    {"get-provider-throws.dll", "GetProvider of get-provider-throws fails", false},
    {"get-type-throws.dll", "GetType of get-type-throws fails", true},
};

// key: determines whether the faulty module comes before, between or after the modules of B and D.
void ExpectARefusalThatLeavesNothing(const Fault& fault, const char* key) {
  SCOPED_TRACE(std::string(fault.module) + " as " + key);
  HostMachine host;
  host.AddProvider("B", "type-0.dll");
  host.AddProvider("D", "type-5.dll");
  host.AddProvider(key, fault.module);
  const auto isLoaded = [&](const std::string& name) {
    return IsModuleLoaded(host.machine.Folder() / (name + ".dll"));
  };

  LarderHandle handle = reinterpret_cast<LarderHandle>(&host);
  EXPECT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_E_DB_OPEN_FAILED);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);

  const std::string expected = (*fault.text == ':' ? kUnit : "") + std::string(fault.text);
  std::smatch match;
  const std::string text = host.log.Text();
  const std::regex line("ERROR: Fatal error in LarderInit (.*)\nTRACE: Leaving LarderInit");
  ASSERT_TRUE(std::regex_search(text, match, line)) << text;
  EXPECT_TRUE(std::regex_match(match.str(1), std::regex(expected))) << match.str(1);

  std::string badName = fault.module;
  badName.resize(badName.size() - 4);
  for (const std::string& name : {std::string("type-0"), std::string("type-5"), badName}) {
    EXPECT_EQ(host.Count(name + " loaded"), host.Count(name + " unloaded")) << name;
    const int left = fault.leavesObject && name == badName ? 1 : 0;
    EXPECT_EQ(host.Count(name + " created"), host.Count(name + " destroyed") + left) << name;
    EXPECT_FALSE(isLoaded(name)) << name;
  }

  host.RemoveProvider(key);
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  EXPECT_TRUE(isLoaded("type-0"));
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_FALSE(isLoaded("type-0"));
}

TEST(FaultMatrix, OneBadModuleFailsTheWholeLoadAndLeavesNothing) {
  for (const Fault& fault : kFaults) {
    for (const char* const key : {"A", "C", "E"}) ExpectARefusalThatLeavesNothing(fault, key);
  }
}

TEST(FaultMatrix, AMachineWithoutProvidersFailsTheLoad) {
  HostMachine host;
  LarderHandle handle = nullptr;
  EXPECT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_E_DB_OPEN_FAILED);
  EXPECT_TRUE(
      host.log.Contains("ERROR: Fatal error in LarderInit src/providers/data-provider-mgr.cpp:"
                        "92 No data providers found in the registry.\r\n"));
}

}  // namespace
}  // namespace larder
