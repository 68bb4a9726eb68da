// One misbehaving module in each place among good ones: what a client sees, and what is left
// behind.
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <regex>

#include "host/host-machine.h"
#include "testing/modules.h"

namespace larder {
namespace {

struct Fault {
  const char* module;
  const char* text;   // a regular expression for the exception's whole text
  bool leavesObject;  // its object is made and, as the construction rules have it, never destroyed
};

constexpr char kUnit[] = "src/providers/data-provider-mgr\\.cpp:";

const Fault kFaults[] = {
    {"no-export.dll", "30 <handle> does not have GetProvider symbol\\.", false},
    {"type-6.dll", "110 Unexpected data provider type 6 in 0000000000000000", false},
    {"type-minus-1.dll",
     "110 Unexpected data provider type 18446744073709551615 in 0000000000000000", false},
    {"duplicate-type.dll", "115 Already have a provider for provider type 0 in 0000000000000000",
     false},
    {"text-file.dll", "123 Failed to load dll .*\\\\text-file\\.dll 193 \".*\"", false},
    {"missing.dll", "123 Failed to load dll .*\\\\missing\\.dll 126 \".*\"", false},
    {"get-provider-throws.dll", "", false},
    {"get-type-throws.dll", "", true},
};

bool IsLoaded(const HostMachine& host, const std::string& module) {
  return IsModuleLoaded(host.machine.Folder() / module);
}

void ExpectARefusalThatLeavesNothing(const Fault& fault, const std::string& place) {
  HostMachine host;
  host.AddProvider("B", "type-0.dll");
  host.AddProvider("D", "type-5.dll");
  host.AddProvider(place, fault.module);

  LarderHandle handle = reinterpret_cast<LarderHandle>(&host);
  EXPECT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_E_DB_OPEN_FAILED);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);

  const std::string expected =
      *fault.text == '\0' ? std::string(".*fails") : kUnit + std::string(fault.text);
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
    EXPECT_FALSE(IsLoaded(host, name + ".dll")) << name;
  }

  host.RemoveProvider(place);
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  EXPECT_TRUE(IsLoaded(host, "type-0.dll"));
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_FALSE(IsLoaded(host, "type-0.dll"));
}

TEST(FaultMatrix, OneBadModuleFailsTheWholeLoadAndLeavesNothing) {
  for (const Fault& fault : kFaults) {
    for (const char* const place : {"A", "C", "E"}) {
      SCOPED_TRACE(std::string(fault.module) + " at " + place);
      ExpectARefusalThatLeavesNothing(fault, place);
    }
  }
}

TEST(FaultyMachine, AMachineWithoutProvidersFailsAndThenWorks) {
  HostMachine host;
  LarderHandle handle = nullptr;
  EXPECT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_E_DB_OPEN_FAILED);
  EXPECT_TRUE(
      host.log.Contains("ERROR: Fatal error in LarderInit src/providers/data-provider-mgr.cpp:"
                        "92 No data providers found in the registry.\r\n"));
  host.AddProvider("A", "type-2.dll");
  EXPECT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

TEST(FaultyMachine, ProvidersThatThrowEverywhereHarmNobodyElse) {
  HostMachine host;
  host.AddProvider("A", "throws-everywhere.dll");
  host.AddProvider("B", "throws-unknown.dll");
  host.AddProvider("C", "type-0.dll");
  LarderHandle handle = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  DataBlockHeader* data = nullptr;
  const int descriptor = 0;
  for (const std::int32_t type : {4, 5}) {
    EXPECT_EQ(LarderQuery(handle, &descriptor, type, 0, &data, 1), LARDER_E_GENERIC);
    const DataBlockHeader block{sizeof block, type};
    EXPECT_EQ(LarderWrite(handle, &descriptor, type, &block), LARDER_E_GENERIC);
    auto* const bytes = new unsigned char[sizeof block];
    EXPECT_EQ(LarderFreeQuery(handle, new (bytes) DataBlockHeader(block)), LARDER_E_GENERIC);
  }
  ASSERT_EQ(LarderQuery(handle, &descriptor, 0, 0, &data, 1), LARDER_OK);
  EXPECT_EQ(data->providerType, 0);
  EXPECT_EQ(LarderFreeQuery(handle, data), LARDER_OK);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

}  // namespace
}  // namespace larder
