// A file that is opened to be read, on a machine of its own.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/file.h"
#include "platform/machine-fixture.h"

namespace larder::platform {

class FileTest : public MachineTest {
 protected:
  ~FileTest() override { CloseObject(file); }

  Code Open(const WideString& path) {
    CloseObject(file);
    return OpenFileToRead(path, file, kind);
  }
  FileInfo Info() const {
    FileInfo info;
    EXPECT_EQ(QueryFileInfo(file, info), kSuccess);
    return info;
  }
  void ExpectNotOpened(const WideString& path, FileKind expected) {
    kind = FileKind::kRegular;
    EXPECT_EQ(Open(path), kSuccess);
    EXPECT_EQ(kind, expected);
    EXPECT_EQ(file, InvalidHandle());
  }

  Handle file = InvalidHandle();
  FileKind kind = FileKind::kOther;
};

}  // namespace larder::platform
