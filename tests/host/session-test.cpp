#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <larder/larder.h>

#include "host/host-machine.h"
#include "testing/files.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(Session, TheLogHasEveryStepOfAWholeLife) {
  HostMachine host;
  host.AddProvider("A", "type-3.dll");
  host.AddProvider("B", "type-1.dll");
  const TestDescriptor descriptor(LARDER_WIDE("C:\\file"));
  LarderHandle handle = nullptr;
  DataBlockHeader* data = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  ASSERT_EQ(LarderQuery(handle, &descriptor, 3, 0, &data, LARDER_QUERY_VERSION), LARDER_OK);
  ASSERT_EQ(LarderWrite(handle, &descriptor, 1, data), LARDER_OK);
  ASSERT_EQ(LarderFreeQuery(handle, data), LARDER_OK);
  ASSERT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_EQ(host.LogText(), ContentOf(LARDER_TEST_GOLDEN "/session.txt"));
  EXPECT_THAT(host.Events(), ElementsAre("type-3 loaded", "type-3 created", "type-1 loaded",
                                         "type-1 created", "type-1 destroyed", "type-1 unloaded",
                                         "type-3 destroyed", "type-3 unloaded"));
}

TEST(Session, TheFirstReferenceBuildsTheHandleAndTheLastReleaseDestroysIt) {
  HostMachine host;
  host.AddProvider("A", "type-0.dll");
  LarderHandle first = nullptr;
  EXPECT_EQ(LarderInit(UnexpectedCall, &first), LARDER_OK);
  EXPECT_THAT(host.LogText(), HasSubstr("TRACE: <host> created new handle\n"
                                        "TRACE: <host> initialized Larder version 1.0.0.298, "
                                        "ref count 1\n"));
  host.log.Clear();
  for (const char* const count : {"2", "3"}) {
    LarderHandle again = nullptr;
    EXPECT_EQ(LarderInit(UnexpectedCall, &again), LARDER_E_ALREADY_INITIALIZED);
    EXPECT_EQ(again, first);
    EXPECT_EQ(host.LogText(),
              std::string("TRACE: Entering LarderInit()\n"
                          "TRACE: <host> initialized Larder version 1.0.0.298, ref count ") +
                  count + "\nTRACE: Leaving LarderInit()\n");
    host.log.Clear();
  }
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_EQ(host.Count("type-0 destroyed"), 0);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_THAT(host.LogText(), HasSubstr("TRACE: <host> released handle, ref count 0\n"
                                        "TRACE: Last ref released, handle destroyed\n"));
  EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);
  EXPECT_THAT(host.LogText(), HasSubstr("ERROR: <host> tried to release handle too many times\n"));
  EXPECT_EQ(host.Count("type-0 unloaded"), 1);

  EXPECT_EQ(LarderInit(UnexpectedCall, &first), LARDER_OK);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_EQ(host.Count("type-0 loaded"), 2);
}

TEST(Session, ARefusedInitTakesNoReferenceAndIsSilent) {
  HostMachine host;
  host.AddProvider("A", "type-0.dll");
  LarderHandle handle = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  host.log.Clear();
  EXPECT_EQ(LarderInit(UnexpectedCall, nullptr), LARDER_E_PARAMETER_2);
  EXPECT_EQ(LarderInit(nullptr, &handle), LARDER_E_PARAMETER_1);
  EXPECT_EQ(handle, nullptr);
  const std::string scopes = "TRACE: Entering LarderInit()\nTRACE: Leaving LarderInit()\n";
  EXPECT_EQ(host.LogText(), scopes + scopes);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);
}

}  // namespace
}  // namespace larder
