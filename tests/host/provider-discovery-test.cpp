#include "providers/provider-discovery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/host-machine.h"
#include "platform/registry.h"
#include "support/registry.h"

namespace larder {
namespace {

using testing::ElementsAre;
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
