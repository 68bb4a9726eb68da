// Arguments that every group refuses: empty handles, and names that contain a NUL.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "platform/file-fixture.h"
#include "platform/file.h"
#include "platform/module.h"
#include "platform/owned-event.h"
#include "platform/registry-key.h"
#include "platform/thread.h"

namespace larder::platform {
namespace {

TEST(RefusalsTest, NoOperationAcceptsANullOrInvalidHandle) {
  const OwnedEvent raised;
  RaiseEvent(raised);
  for (const Handle none : {Handle{nullptr}, InvalidHandle()}) {
    const std::array<Handle, 2> events = {raised, none};
    std::array<char, 4> buffer{};
    std::size_t count = 0;
    std::uint64_t size = 7;
    FileInfo info;
    EXPECT_EQ(RaiseEvent(none), kInvalidHandle);
    EXPECT_EQ(LowerEvent(none), kInvalidHandle);
    EXPECT_EQ(WaitForAny(events.data(), events.size(), count), kInvalidHandle);
    EXPECT_EQ(TryLockFile(none), kInvalidHandle);
    EXPECT_EQ(UnlockFile(none), kInvalidHandle);
    EXPECT_EQ(SeekToEnd(none, size), kInvalidHandle);
    EXPECT_EQ(WriteOnce(none, "x", 1), kInvalidHandle);
    EXPECT_EQ(QueryFileInfo(none, info), kInvalidHandle);
    EXPECT_EQ(ReadNext(none, buffer.data(), buffer.size(), count), kInvalidHandle);
    EXPECT_EQ(ReadAt(none, 0, buffer.data(), buffer.size(), count), kInvalidHandle);
    WaitForThread(none);
    CloseObject(none);
  }
  EXPECT_EQ(FindSymbol(nullptr, "LarderTestAnswer"), nullptr);
  CloseModule(nullptr);
  CloseRegistryKey(nullptr);
}

using NulTest = RegistryTest;

TEST_F(NulTest, NoOperationCutsANameAtANul) {
  const std::string name("a\0b", 3);
  const WideString path = InFolder(name);
  Handle file = nullptr;
  FileKind kind{};
  FileInfo info;
  std::uint32_t attributes = 0;
  WideString made;
  std::vector<WideString> names;
  std::vector<FolderEntry> entries;
  ModuleHandle module = nullptr;
  EXPECT_EQ(OpenFileToRead(path, file, kind), kInvalidName);
  EXPECT_EQ(QueryPathInfo(path, info, kind), kInvalidName);
  EXPECT_EQ(OpenFileToWrite(path, WriteMode::kWrite, file), kInvalidName);
  EXPECT_EQ(OpenLockFile(path, file), kInvalidName);
  EXPECT_EQ(RemoveFile(path), kInvalidName);
  EXPECT_EQ(RenameFile(path, InFolder("new")), kInvalidName);
  EXPECT_EQ(RenameFile(InFolder("new"), path), kInvalidName);
  EXPECT_EQ(MakeTemporaryFile(path, Wide("lr_"), made), kInvalidName);
  EXPECT_EQ(PathAttributes(path, attributes), kInvalidName);
  EXPECT_EQ(MakeFolder(path), kInvalidName);
  EXPECT_EQ(FindNames(path, names), kInvalidName);
  EXPECT_EQ(ListFolder(name, entries), kInvalidName);
  EXPECT_EQ(RemoveFolder(path), kInvalidName);
  EXPECT_EQ(OpenModule(path, module), kInvalidName);
  EXPECT_FALSE(Exists("a"));
  EXPECT_EQ(TryToMakeEvent(Wide(name)), kInvalidName);
  EXPECT_EQ(key.Get(name), "code 87");
  EXPECT_EQ(key.Set(name, "data"), kInvalidParameter);
  EXPECT_EQ(key.Remove(name), kInvalidParameter);
  EXPECT_EQ(key.RemoveKey(name), kInvalidParameter);
  EXPECT_EQ(RemoveTree(name), kInvalidParameter);
  EXPECT_EQ(Key().Open(name), kInvalidParameter);
  EXPECT_EQ(Key().Make(name), kInvalidParameter);
}

}  // namespace
}  // namespace larder::platform
