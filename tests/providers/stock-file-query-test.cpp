// The query module that comes with the file provider, as the built module.
#include <gtest/gtest.h>

#include <memory>
#include <system_error>

#include "common/file-query.h"
#include "providers/file-provider-test.h"
#include "providers/made-image.h"

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

  std::string Record() const { return TextOf({record.data, record.size}); }

  platform::ModuleHandle module = nullptr;
  std::unique_ptr<IFileQuery> query;
  platform::FileInfo seen;
  DbBuffer record;
};

TEST_F(StockFileQueryTest, TellsTheFileThatItHasReadBesideTheRecord) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  const platform::FileInfo info = InfoOf(path);
  ASSERT_TRUE(query->Query({info.lastModified, path}, &seen, &record));
  EXPECT_EQ(seen.size, 3u);
  EXPECT_TRUE(seen == info);
  EXPECT_EQ(record.size, 400u);
}

TEST_F(StockFileQueryTest, LeavesEverythingAsItWasWithoutAnAnswer) {
  seen.size = 17;
  record = BlockOf("old");
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  EXPECT_FALSE(query->Query({0, path + LARDER_WIDE("x")}, &seen, &record));
  EXPECT_THROW(query->Query({1, path}, &seen, &record), std::system_error);
  EXPECT_THROW(query->Query({0, machine.WideFolder()}, &seen, &record), std::runtime_error);
  EXPECT_EQ(seen.size, 17u);
  EXPECT_EQ(PayloadOf(record), "old");
}

// A signature is around the image, not in it.
TEST_F(StockFileQueryTest, AnImageHasItsDigestsAndItsSignersChain) {
  const std::string leaf = MakeCertificate({"leaf", "Leaf", "Issuer"});
  const std::string issuer = MakeCertificate({"issuer", "Issuer", "Issuer"});
  const std::string table =
      MakeEntry(MakeSignature({issuer, leaf}, {MakeSigner("Issuer", "leaf")}));
  constexpr std::size_t kImageDigests = offsetof(FileDataRecord, peMD5);
  constexpr std::size_t kDigestsSize = 180;
  for (const std::size_t size : {std::size_t{512}, std::size_t{0x180000}}) {
    const WideString plain = MakeFile(LARDER_WIDE("plain"), MakeImage({.size = size}));
    const WideString withSigner =
        MakeFile(LARDER_WIDE("signed"), MakeSignedImage({.size = size}, table));
    ASSERT_TRUE(query->Query({0, plain}, &seen, &record));
    const std::string before = Record();
    ASSERT_TRUE(query->Query({0, withSigner}, &seen, &record));
    const std::string after = Record();
    EXPECT_EQ(HeaderOf(record).dataSize, record.size);
    EXPECT_NE(after.substr(16, kDigestsSize), before.substr(16, kDigestsSize));
    EXPECT_EQ(after.substr(kImageDigests, kDigestsSize),
              before.substr(kImageDigests, kDigestsSize));
    EXPECT_NE(after.substr(kImageDigests, kDigestsSize), std::string(kDigestsSize, '\0'));
    EXPECT_EQ(after.find(leaf), 400u);
    EXPECT_TRUE(after.ends_with(issuer));
  }
}

}  // namespace
}  // namespace larder::feed
