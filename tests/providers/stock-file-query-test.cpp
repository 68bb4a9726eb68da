// The query module that comes with the file provider, as the built module.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <system_error>

#include "common/file-query.h"
#include "providers/file-provider-test.h"

namespace larder::feed {
namespace {

class StockFileQueryTest : public FileProviderTest {
 protected:
  StockFileQueryTest() {
    EXPECT_EQ(platform::OpenModule(BesideProgram(LARDER_WIDE("stock-file-query.dll")), module),
              platform::kSuccess);
    IFileQuery* made = nullptr;
    reinterpret_cast<GetFileQueryFunction>(platform::FindSymbol(module, "GetFileQuery"))(&made);
    query.reset(made);
  }
  ~StockFileQueryTest() override {
    query.reset();
    platform::CloseModule(module);
  }

  platform::ModuleHandle module = nullptr;
  std::unique_ptr<IFileQuery> query;
  platform::FileInfo seen;
  DbBuffer record;
};

TEST_F(StockFileQueryTest, TellsTheFileThatItHasReadBesideTheWholeRecord) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  ASSERT_TRUE(query->Query({0, path}, &seen, &record));
  platform::Handle file = nullptr;
  platform::FileKind kind{};
  platform::FileInfo expected;
  ASSERT_EQ(platform::OpenFileToRead(path, file, kind), platform::kSuccess);
  ASSERT_EQ(platform::QueryFileInfo(file, expected), platform::kSuccess);
  platform::CloseObject(file);
  EXPECT_EQ(seen.size, 3u);
  EXPECT_EQ(seen.lastModified, expected.lastModified);
  EXPECT_EQ(seen.volume, expected.volume);
  EXPECT_EQ(seen.index, expected.index);
  EXPECT_EQ(seen.changed, expected.changed);
  ASSERT_EQ(record.size, 400u);
  EXPECT_EQ(HeaderOf(record).dataSize, 400u);
  EXPECT_EQ(HeaderOf(record).providerType, kFileProviderType);
  EXPECT_TRUE(query->Query({expected.lastModified, path}, &seen, &record));
}

TEST_F(StockFileQueryTest, LeavesEverythingAsItWasWithoutAnAnswer) {
  seen.size = 17;
  record.Copy(reinterpret_cast<const unsigned char*>("old"), 3);
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  EXPECT_FALSE(query->Query({0, path + LARDER_WIDE("x")}, &seen, &record));
  EXPECT_THROW(query->Query({1, path}, &seen, &record), std::system_error);
  EXPECT_EQ(TextThrownBy([&] {
              query->Query({0, machine.WideFolder()}, &seen, &record);
            }),
            CannotRead(machine.WideFolder()) + "it is a directory");
  EXPECT_EQ(seen.size, 17u);
  EXPECT_EQ(record.size, 3u);
  EXPECT_EQ(std::memcmp(record.data, "old", 3), 0);
}

}  // namespace
}  // namespace larder::feed
