#include "platform/file-lock.h"

#include <gtest/gtest.h>

#include "platform/machine-fixture.h"

namespace larder::platform {
namespace {

class FileLockTest : public MachineTest {
 protected:
  // InvalidHandle() if it can't be opened.
  Handle NewLockFile(const WideString& path) const {
    Handle file = nullptr;
    const Code code = OpenLockFile(path, file);
    EXPECT_EQ(code == kSuccess, file != InvalidHandle());
    return file;
  }
};

TEST_F(FileLockTest, OneHandleHoldsTheLockUntilItIsGivenBackOrClosed) {
  const Handle one = NewLockFile(InFolder("lock"));
  const Handle other = NewLockFile(InFolder("lock"));
  ASSERT_NE(one, InvalidHandle());
  ASSERT_NE(other, InvalidHandle());
  ASSERT_EQ(TryLockFile(one), kSuccess);
  EXPECT_EQ(TryLockFile(other), kSharingViolation);
  EXPECT_EQ(UnlockFile(one), kSuccess);
  ASSERT_EQ(TryLockFile(other), kSuccess);
  EXPECT_EQ(TryLockFile(one), kSharingViolation);
  CloseObject(other);
  EXPECT_EQ(TryLockFile(one), kSuccess);
  CloseObject(one);
}

TEST_F(FileLockTest, WhatCannotBeOpenedCannotBeLocked) {
  EXPECT_EQ(NewLockFile(InFolder("missing/lock")), InvalidHandle());
  EXPECT_EQ(TryLockFile(InvalidHandle()), kInvalidHandle);
  EXPECT_EQ(UnlockFile(InvalidHandle()), kInvalidHandle);
}

}  // namespace
}  // namespace larder::platform
