#include "providers/provider-discovery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/host-machine.h"
#include "platform/registry.h"
#include "support/registry.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

void SetDll(const WideString& name, const WideString& dll) {
  SetRegistryString(LARDER_WIDE("DataProviders\\") + name, LARDER_WIDE("szDLL"), dll);
}

void SetLocation(const WideString& location) {
  SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"), location);
}

TEST(ProviderDiscovery, PathsAreLocationAndFileNameJoinedAsTheyStandInTheRegistrysOrder) {
  HostMachine host;
  SetLocation(LARDER_WIDE("C:\\no separator"));
  SetDll(LARDER_WIDE("Zeta"), LARDER_WIDE("z.dll"));
  SetDll(LARDER_WIDE("alpha"), LARDER_WIDE("a.dll"));
  SetDll(LARDER_WIDE("Beta"), LARDER_WIDE("a.dll"));
  host.log.Clear();
  EXPECT_THAT(GetDataProviderPaths(), ElementsAre(LARDER_WIDE("C:\\no separatora.dll"),
                                                  LARDER_WIDE("C:\\no separatora.dll"),
                                                  LARDER_WIDE("C:\\no separatorz.dll")));
  EXPECT_THAT(host.LogText(), HasSubstr(" WARN: RegEnumKeyEx failed: 259 \"<text>\"\n"
                                        "TRACE: Destroying AutoRegKeyHandle handle <handle>\n"
                                        "TRACE: Leaving GetDataProviderPaths()\n"));
}

TEST(ProviderDiscovery, ASubkeyWithoutAReadableFileNameIsSkipped) {
  HostMachine host;
  SetLocation(LARDER_WIDE("L\\"));
  SetRegistryString(LARDER_WIDE("DataProviders\\A without"), LARDER_WIDE("szOther"), {});
  SetDll(LARDER_WIDE("B too long"), WideString(99, LARDER_WIDE('x')));
  SetDll(LARDER_WIDE("C empty"), {});
  SetDll(LARDER_WIDE("D good"), LARDER_WIDE("d.dll"));
  host.log.Clear();
  EXPECT_THAT(GetDataProviderPaths(), ElementsAre(LARDER_WIDE("L\\d.dll")));
  for (const char* const name : {"A without", "B too long", "C empty"}) {
    EXPECT_TRUE(host.log.Contains(std::string("WARN: Failed to get a provider location for ") +
                                  name + "\r\n"));
  }
}

TEST(ProviderDiscovery, WithoutTheKeyTheListIsEmptyAfterTwoWarnings) {
  HostMachine host;
  ASSERT_EQ(platform::RemoveRegistryTree(WideString(LarderRegistryRoot)), platform::kSuccess);
  host.log.Clear();
  EXPECT_THAT(GetDataProviderPaths(), IsEmpty());
  EXPECT_EQ(
      host.LogText(),
      "TRACE: Entering GetDataProviderPaths()\n"
      "TRACE: Entering GetRegistryString()\n"
      " WARN: RegOpenKeyExW failed for \"Install\": 0 \"<text>\"\n"
      "TRACE: Destroying AutoRegKeyHandle handle 0000000000000000\n"
      "TRACE: Leaving GetRegistryString()\n"
      "TRACE: Entering OpenRegistrySubkey()\n"
      " WARN: RegOpenKeyEx failed for \"Software\\Velmor\\Larder\\DataProviders\": 2 \"<text>\"\n"
      "TRACE: Leaving OpenRegistrySubkey()\n"
      " WARN: RegEnumKeyEx failed: 6 \"<text>\"\n"
      "TRACE: Destroying AutoRegKeyHandle handle 0000000000000000\n"
      "TRACE: Leaving GetDataProviderPaths()\n");
}

}  // namespace
}  // namespace larder
