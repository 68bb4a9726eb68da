// Which modules are loaded, and what a client gets when one of them is faulty.
#include <gmock/gmock.h>
#include <larder/larder.h>

#include <string>
#include <utility>

#include "host/host-machine.h"
#include "platform/registry.h"
#include "providers/provider-discovery.h"
#include "support/registry.h"
#include "testing/process.h"

namespace larder {
namespace {

using testing::HasSubstr;

TEST(ProviderDiscovery, JoinsLocationAndFileNameInTheRegistrysOrderAndSkipsSubkeysWithoutAName) {
  HostMachine host;
  SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"), LARDER_WIDE("C:\\no end"));
  const std::pair<const char*, const char*> subkeys[] = {
      {"Zeta", "z.dll"}, {"alpha", "a.dll"}, {"Empty", ""}, {"Beta", "a.dll"}};
  for (const auto& [name, module] : subkeys) {
    SetRegistryString(Wide("DataProviders\\") + Wide(name), LARDER_WIDE("szDLL"), Wide(module));
  }
  EXPECT_THAT(GetDataProviderPaths(),
              testing::ElementsAre(LARDER_WIDE("C:\\no enda.dll"), LARDER_WIDE("C:\\no enda.dll"),
                                   LARDER_WIDE("C:\\no endz.dll")));
  EXPECT_TRUE(host.log.Contains(" WARN: Failed to get a provider location for Empty\r\n"));
}

TEST(ProviderDiscovery, WithoutTheKeyTheLoadFailsForLackOfProviders) {
  HostMachine host;
  ASSERT_EQ(platform::RemoveRegistryTree(WideString(LarderRegistryRoot)), platform::kSuccess);
  LarderHandle handle = nullptr;
  EXPECT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_E_DB_OPEN_FAILED);
  EXPECT_THAT(host.LogText(),
              HasSubstr(" WARN: RegOpenKeyEx failed for "
                        "\"Software\\Velmor\\Larder\\DataProviders\": 2 \"<text>\"\n"
                        "TRACE: Leaving OpenRegistrySubkey()\n"
                        " WARN: RegEnumKeyEx failed: 6 \"<text>\"\n"));
  EXPECT_THAT(host.LogText(),
              HasSubstr("ERROR: Fatal error in LarderInit src/providers/data-provider-mgr.cpp:92 "
                        "No data providers found in the registry.\n"));
}

struct Fault {
  std::string module;
  // Regular expression for the exception's whole text. An object whose GetType throws is left.
  std::string text;
};

const std::string kUnit = "src/providers/data-provider-mgr\\.cpp";
const std::string kNull = "0000000000000000";

const Fault kFaults[] = {
    {"no-export", kUnit + ":30 <handle> does not have GetProvider symbol\\."},
    {"type-6", kUnit + ":110 Unexpected data provider type 6 in " + kNull},
    {"type-minus-1", kUnit + ":110 Unexpected data provider type 18446744073709551615 in " + kNull},
    {"duplicate-type", kUnit + ":115 Already have a provider for provider type 0 in " + kNull},
    {"text-file", kUnit + ":123 Failed to load dll .*\\\\text-file\\.dll 193 \".*\""},
    {"missing", kUnit + ":123 Failed to load dll .*\\\\missing\\.dll 126 \".*\""},
    {"get-provider-throws", "GetProvider of get-provider-throws fails"},
    {"get-type-throws", "GetType of get-type-throws fails"},
};

// key: determines whether the faulty module comes before, between or after the modules of B and D.
void ExpectARefusalThatLeavesNothing(const Fault& fault, const char* key) {
  SCOPED_TRACE(fault.module + " as " + key);
  HostMachine host;
  host.AddProvider("B", "type-0.dll");
  host.AddProvider("D", "type-5.dll");
  host.AddProvider(key, fault.module + ".dll");
  LarderHandle handle = reinterpret_cast<LarderHandle>(&host);
  EXPECT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_E_DB_OPEN_FAILED);
  EXPECT_EQ(handle, nullptr);
  EXPECT_THAT(host.log.Text(), testing::ContainsRegex("ERROR: Fatal error in LarderInit " +
                                                      fault.text + "\nTRACE: Leaving LarderInit"));
  EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);
  for (const std::string& name : {std::string("type-0"), std::string("type-5"), fault.module}) {
    EXPECT_EQ(host.Count(name + " loaded"), host.Count(name + " unloaded")) << name;
    EXPECT_EQ(host.Count(name + " created"),
              host.Count(name + " destroyed") + (name == "get-type-throws" ? 1 : 0));
    EXPECT_FALSE(IsModuleLoaded(host.machine.Folder() / (name + ".dll"))) << name;
  }
  host.RemoveProvider(key);
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  EXPECT_TRUE(IsModuleLoaded(host.machine.Folder() / "type-0.dll"));
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

TEST(FaultMatrix, OneBadModuleFailsTheWholeLoadAndLeavesNothing) {
  for (const Fault& fault : kFaults) {
    for (const char* const key : {"A", "C", "E"}) ExpectARefusalThatLeavesNothing(fault, key);
  }
}

}  // namespace
}  // namespace larder
