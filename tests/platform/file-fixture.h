// An open file, on a machine of its own.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/file-time.h"
#include "platform/file.h"
#include "platform/folder.h"
#include "platform/log-file.h"
#include "platform/machine-fixture.h"
#include "platform/path.h"
#include "platform/scoped-handle.h"

namespace larder::platform {

class FileTest : public MachineTest {
 protected:
  Code Open(const WideString& path) {
    file = {};
    return OpenFileToRead(path, file.Out(), kind);
  }
  Code OpenToWrite(const WideString& path, WriteMode mode = WriteMode::kWrite) {
    file = {};
    return OpenFileToWrite(path, mode, file.Out());
  }
  Code Delete(const std::string& name) const {
    return DeleteTree(InFolder(name).append(2, LarderWideChar()).data());
  }
  FileInfo Info() const {
    FileInfo info;
    EXPECT_EQ(QueryFileInfo(file.Get(), info), kSuccess);
    return info;
  }
  void ExpectNotOpened(const WideString& path, FileKind expected) {
    kind = FileKind::kRegular;
    EXPECT_EQ(Open(path), kSuccess);
    EXPECT_EQ(kind, expected);
    EXPECT_TRUE(file.IsEmpty());
  }

  OwnedHandle file;
  FileKind kind = FileKind::kOther;
};

}  // namespace larder::platform
