#include "platform/file-lock.h"

#include <gtest/gtest.h>

#include "platform/machine-fixture.h"

namespace larder::platform {
namespace {

using FileLockTest = MachineTest;

TEST_F(FileLockTest, OneHandleHoldsTheLockUntilItIsGivenBackOrClosed) {
  const Handle one = OpenLockFile(InFolder("lock"));
  const Handle other = OpenLockFile(InFolder("lock"));
  ASSERT_NE(one, InvalidHandle());
  ASSERT_NE(other, InvalidHandle());
  ASSERT_EQ(TryToLockFile(one), kSuccess);
  EXPECT_EQ(TryToLockFile(other), kSharingViolation);
  EXPECT_EQ(UnlockFile(one), kSuccess);
  ASSERT_EQ(TryToLockFile(other), kSuccess);
  EXPECT_EQ(TryToLockFile(one), kSharingViolation);
  CloseObject(other);
  EXPECT_EQ(TryToLockFile(one), kSuccess);
  CloseObject(one);
}

TEST_F(FileLockTest, WhatCannotBeOpenedCannotBeLocked) {
  EXPECT_EQ(OpenLockFile(InFolder("missing/lock")), InvalidHandle());
  EXPECT_EQ(TryToLockFile(InvalidHandle()), kInvalidHandle);
  EXPECT_EQ(UnlockFile(InvalidHandle()), kInvalidHandle);
}

}  // namespace
}  // namespace larder::platform
