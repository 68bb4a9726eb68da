// What the tests of the file provider have in common.
#pragma once

#include <gtest/gtest.h>
#include <larder/feed-file.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "platform/file.h"
#include "platform/utf.h"
#include "providers/provider-machine.h"
#include "providers/provider-module.h"

namespace larder {

class FileProviderTest : public testing::Test {
 protected:
  // A file in the machine's folder; returns its path as a descriptor has it.
  WideString MakeFile(WideView name, std::string_view bytes) const {
    WideString path = machine.WideFolder().append(name);
    std::ofstream(NativePath(path), std::ios::binary).write(bytes.data(), std::ssize(bytes));
    return path;
  }

  // Asks until the facts of the file come from the store: ones that are computed right after the
  // file was changed aren't stored.
  DbBuffer QueryUntilStored(const WideString& path) const {
    for (;;) {
      QueryOf(*provider, Descriptor(path), LARDER_FEED_FILE_NOW);
      DbBuffer block = QueryOf(*provider, Descriptor(path), LARDER_FEED_FILE_STORED);
      if (block.data != nullptr) return block;
    }
  }

  static platform::FileInfo InfoOf(const WideString& path) {
    platform::FileInfo info;
    platform::FileKind kind{};
    EXPECT_EQ(platform::QueryPathInfo(path, info, kind), platform::kSuccess);
    return info;
  }

  // The exception's text of a query; "(nothing thrown)" if it ends well.
  std::string FailureOf(const WideString& path, std::uint32_t option = 0) const {
    return TextThrownBy([&] { QueryOf(*provider, Descriptor(path), option); });
  }

  // How the provider's texts about a file begin.
  static std::string CannotRead(const WideString& path) {
    return "Can't read \"" + platform::Utf8FromWide(path) + "\": ";
  }

  ProviderMachine machine;
  const ProviderModule provider{machine.AddModule(LARDER_WIDE("feed-file.dll"))};
};

}  // namespace larder
