// The query module that comes with the file provider, as the built module.
#include <gtest/gtest.h>

#include <cstring>
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

template <typename Record>
Record RecordAt(const DbBuffer& block, std::size_t offset) {
  Record record{};
  EXPECT_LE(offset + sizeof record, block.size);
  std::memcpy(&record, block.data + offset, sizeof record);
  return record;
}

// A signature is around the image, not in it.
TEST_F(StockFileQueryTest, AnImageHasItsDigestsAndItsSignersChain) {
  const std::string leaf = MakeCertificate({"leaf", "Leaf", "Issuer"});
  const std::string issuer = MakeCertificate({"issuer", "Issuer", "Issuer"});
  const std::string table =
      MakeEntry(MakeSignature({issuer, leaf}, {MakeSigner("Issuer", "leaf")}));
  for (const std::size_t size : {std::size_t{512}, std::size_t{0x180000}}) {
    ASSERT_TRUE(query->Query({0, MakeFile(LARDER_WIDE("plain"), MakeImage({.size = size}))}, &seen,
                             &record));
    const auto plain = RecordAt<FileDataRecord>(record, 0);
    ASSERT_TRUE(
        query->Query({0, MakeFile(LARDER_WIDE("signed"), MakeSignedImage({.size = size}, table))},
                     &seen, &record));
    const auto withSigner = RecordAt<FileDataRecord>(record, 0);
    EXPECT_EQ(withSigner.dataSize, record.size);
    EXPECT_NE(std::memcmp(plain.fileSHA256, withSigner.fileSHA256, 32), 0);
    EXPECT_EQ(std::memcmp(plain.peMD5, withSigner.peMD5, sizeof plain.peMD5), 0);
    EXPECT_EQ(std::memcmp(plain.peSHA1, withSigner.peSHA1, sizeof plain.peSHA1), 0);
    EXPECT_EQ(std::memcmp(plain.peSHA256, withSigner.peSHA256, sizeof plain.peSHA256), 0);
    EXPECT_EQ(std::memcmp(plain.peSHA384, withSigner.peSHA384, sizeof plain.peSHA384), 0);
    EXPECT_EQ(std::memcmp(plain.peSHA512, withSigner.peSHA512, sizeof plain.peSHA512), 0);
    EXPECT_NE(std::string(plain.peSHA512, std::end(plain.peSHA512)), std::string(64, '\0'));

    EXPECT_EQ(RecordAt<CertChainRecord>(record, 384).nextChain, 0u);
    const auto first = RecordAt<CertDataRecord>(record, 392);
    ASSERT_EQ(first.certSize, leaf.size());
    EXPECT_EQ(std::memcmp(record.data + 400, leaf.data(), leaf.size()), 0);
    const std::size_t next = 392 + first.nextCert;
    EXPECT_EQ(RecordAt<CertDataRecord>(record, next).certSize, issuer.size());
    EXPECT_EQ(RecordAt<CertDataRecord>(record, next).nextCert, 0u);
  }
}

}  // namespace
}  // namespace larder::feed
