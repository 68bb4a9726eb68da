// Arguments that operations of every group refuse.
#include <gmock/gmock.h>

#include "platform/file.h"
#include "platform/machine-fixture.h"
#include "platform/thread.h"

namespace larder::platform {
namespace {

using RefusalsTest = RegistryTest;

TEST_F(RefusalsTest, NoOperationAcceptsANullOrInvalidHandle) {
  const OwnedEvent raised;
  RaiseEvent(raised);
  for (const Handle none : {Handle{nullptr}, InvalidHandle()}) {
    const std::array<Handle, 2> events = {raised, none};
    std::array<char, 4> buffer{};
    std::size_t count = 0;
    const Code codes[] = {RaiseEvent(none),
                          LowerEvent(none),
                          WaitForAny(events.data(), events.size(), count),
                          TryLockFile(none),
                          UnlockFile(none),
                          SeekToEnd(none, info.size),
                          WriteOnce(none, "x", 1),
                          QueryFileInfo(none, info),
                          ProveNoWriter(none),
                          ReadNext(none, buffer.data(), buffer.size(), count),
                          ReadAt(none, 0, buffer.data(), buffer.size(), count)};
    EXPECT_THAT(codes, ::testing::Each(kInvalidHandle));
    WaitForThread(none);
    CloseObject(none);
  }
  EXPECT_EQ(FindSymbol(nullptr, "LarderTestAnswer"), nullptr);
  CloseModule(nullptr);
  CloseRegistryKey(nullptr);
}

TEST_F(RefusalsTest, NoOperationCutsANameAtANul) {
  Write("to-rename");
  const std::string name("a\0b", 3);
  for (const auto& [operation, run] : operations)
    EXPECT_EQ(run(InFolder(name)), kInvalidName) << operation;
  EXPECT_FALSE(Exists("a"));
  EXPECT_EQ(TryToMakeEvent(Wide(name)), kInvalidName);
  EXPECT_EQ(key.Get(name), "code 87");
  const Code codes[] = {key.Set(name, "data"), key.Remove(name), key.RemoveKey(name),
                        RemoveTree(name),      Key().Open(name), Key().Make(name)};
  EXPECT_THAT(codes, ::testing::Each(kInvalidParameter));
}

TEST_F(RefusalsTest, NoOperationSucceedsOnAPathThatCannotExist) {
  Write("file");
  Write("to-rename");
  std::string deep = "file";
  for (int i = 0; i < 2500; ++i) deep = "d\\" + deep;
  for (const WideString& path : {InFolder("missing\\new"), InFolder("file\\new"), WideString(),
                                 InFolder(deep), InFolder(std::string(5000, 'x'))}) {
    for (const auto& [operation, run] : operations)
      EXPECT_NE(run(path), kSuccess) << operation << " " << Utf8FromWide(path).substr(0, 100);
  }
}

}  // namespace
}  // namespace larder::platform
