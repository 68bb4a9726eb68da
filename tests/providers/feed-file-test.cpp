// The file provider, as the built module, with real files.
#include <gtest/gtest.h>

#include <system_error>
#include <thread>
#include <vector>

#include "providers/file-provider-test.h"
#include "providers/made-image.h"

namespace larder {
namespace {

constexpr std::uint32_t kOptions[] = {LARDER_FEED_FILE_NOW, LARDER_FEED_FILE_STORED,
                                      LARDER_FEED_FILE_AFRESH};

// Three MiB and 17 bytes that repeat with no power of two.
std::string Pattern() {
  std::string bytes(3 * 1024 * 1024 + 17, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  return bytes;
}

std::string Hex(const unsigned char* bytes, std::size_t size) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    text += "0123456789abcdef"[bytes[i] >> 4];
    text += "0123456789abcdef"[bytes[i] & 15];
  }
  return text;
}

class FeedFile : public FileProviderTest {
 protected:
  bool HasData(const WideString& path, std::uint64_t lastModified = 0) const {
    return QueryOf(*provider, Descriptor(path, lastModified)).data != nullptr;
  }
  std::string Sha512Of(const WideString& path) const {
    const auto record = RecordAt<FileDataRecord>(QueryOf(*provider, Descriptor(path)));
    return Hex(record.fileSHA512, sizeof record.fileSHA512);
  }
  std::uint64_t IdOf(const WideString& path) const {
    return RecordAt<FileDataRecord>(QueryOf(*provider, Descriptor(path))).fileId;
  }
};

// The digests were computed with md5sum, sha1sum, sha256sum, sha384sum and sha512sum.
TEST_F(FeedFile, AnswersWithTheDigestsOfTheBytes) {
  DbBuffer block = QueryOf(*provider, Descriptor(MakeFile(LARDER_WIDE("file"), Pattern())));
  ASSERT_EQ(block.size, 400u);
  EXPECT_EQ(HeaderOf(block).dataSize, 400u);
  EXPECT_EQ(HeaderOf(block).providerType, 1);
  EXPECT_NE(RecordAt<FileDataRecord>(block).fileId, 0u);
  constexpr std::size_t kImageDigests = offsetof(FileDataRecord, peMD5);
  EXPECT_EQ(Hex(block.data + 16, kImageDigests - 16),
            "3cacfeb0e5eae924bc5b00641499aca4"
            "d7341a729b5627b9f3f5c810cf11690c0d37019d"
            "8584f829d64341d188b979f0984ba5615cde6af240c53ff26b023037146d3afb"
            "a6a328db3ff52198a78e519623745a5e4ec2bd9a3e74ff341d561287a7fb32ba"
            "da0fcbf36b50789a66f84b5bae97490d"
            "c61d2f0c2d081c95b862e799c013bb19f39ad2455d321516a065415f3ff91e2a"
            "ee3eaeec82892b7670cd39c75d30d942471b3f3f2f3c7b3d3e99d626c876404d");
  EXPECT_EQ(Hex(block.data + kImageDigests, 400 - kImageDigests),
            std::string(2 * (400 - kImageDigests), '0'))
      << "neither an image nor signed";
  FreeQueryOf(*provider, block);
  EXPECT_EQ(block.data, nullptr);
}

// A signature is around the image, not in it.
TEST_F(FeedFile, GivesAnImageItsDigestsAndItsSignersChain) {
  const std::string leaf = feed::MakeCertificate({"leaf", "Leaf", "Issuer"});
  const std::string issuer = feed::MakeCertificate({"issuer", "Issuer", "Issuer"});
  const std::string table =
      feed::MakeEntry(feed::MakeSignature({issuer, leaf}, {feed::MakeSigner("Issuer", "leaf")}));
  const auto payloadOf = [this](const std::string& image) {
    return PayloadOf(QueryOf(*provider, Descriptor(MakeFile(LARDER_WIDE("image"), image))));
  };
  constexpr std::size_t kFileDigests = offsetof(FileDataRecord, fileMD5) - sizeof(DataBlockHeader);
  constexpr std::size_t kImageDigests = offsetof(FileDataRecord, peMD5) - sizeof(DataBlockHeader);
  constexpr std::size_t kSize = kImageDigests - kFileDigests;
  for (const std::size_t size : {std::size_t{512}, std::size_t{0x180000}}) {
    const std::string before = payloadOf(feed::MakeImage({.size = size}));
    const std::string after = payloadOf(feed::MakeSignedImage({.size = size}, table));
    EXPECT_NE(after.substr(kFileDigests, kSize), before.substr(kFileDigests, kSize));
    EXPECT_EQ(after.substr(kImageDigests, kSize), before.substr(kImageDigests, kSize));
    EXPECT_EQ(after.substr(kImageDigests, kSize).find(std::string(16, '\0')), std::string::npos);
    EXPECT_EQ(after.find(leaf), 400 - sizeof(DataBlockHeader));
    EXPECT_TRUE(after.ends_with(issuer));
  }
}

TEST_F(FeedFile, IdentifiesAFileByWhatItIsAndNotByItsContents) {
  const WideString path = MakeFile(LARDER_WIDE("one"), "abc");
  const std::uint64_t fileId = IdOf(path);
  EXPECT_NE(IdOf(MakeFile(LARDER_WIDE("two"), "abc")), fileId);
  std::ofstream(NativePath(path), std::ios::app) << "more";
  EXPECT_EQ(IdOf(path), fileId);
}

TEST_F(FeedFile, TellsAnotherTimeByTheCodeOfAMismatch) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  const std::uint64_t time = InfoOf(path).lastModified;
  EXPECT_TRUE(HasData(path, time));
  for (const std::uint64_t other : {time + 1, time - 1, time ^ (std::uint64_t{1} << 32)}) {
    for (const std::uint32_t option : kOptions) {
      try {
        QueryOf(*provider, Descriptor(path, other), option);
        ADD_FAILURE() << other << ' ' << option;
      } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), -15);
        EXPECT_EQ(error.what(), '"' + platform::Utf8FromWide(path) + "\" was last modified at " +
                                    std::to_string(time) + ", not at " + std::to_string(other) +
                                    ": result -15");
      }
    }
  }
}

TEST_F(FeedFile, HasNoDataForWhatDoesNotExist) {
  const WideString lone = {0xD800};
  for (const WideString& name :
       {WideString(LARDER_WIDE("no file")), WideString(LARDER_WIDE("no folder\\file")), lone}) {
    EXPECT_FALSE(HasData(machine.WideFolder() + name));
  }
  EXPECT_FALSE(HasData(lone));
  EXPECT_FALSE(HasData(machine.WideFolder() + LARDER_WIDE("no file"), 1));
}

TEST_F(FeedFile, RefusesAFolderAnEmptyPathAndAnUnknownOption) {
  const WideString folder = machine.WideFolder();
  for (const std::uint32_t option : kOptions) {
    for (const WideString& path : {folder, folder.substr(0, folder.size() - 1)}) {
      EXPECT_EQ(FailureOf(path, option), CannotRead(path) + "it is a directory");
    }
  }
  EXPECT_EQ(FailureOf({}), "The descriptor's path is empty");
  EXPECT_EQ(FailureOf(folder, 3), "The file provider has no query option 3; it must be 0, 1 or 2");
}

TEST_F(FeedFile, MakesItsKeyFromPathAndTimeWithoutTheFile) {
  const LarderWideChar* const path = LARDER_WIDE("C:\\nowhere");
  const std::uint64_t key = KeyOf(*provider, Descriptor(path));
  EXPECT_EQ(KeyOf(*provider, Descriptor(path)), key);
  EXPECT_NE(KeyOf(*provider, Descriptor(path, 1)), key);
  EXPECT_NE(KeyOf(*provider, Descriptor(LARDER_WIDE("C:\\nowherf"))), key);
}

TEST_F(FeedFile, BearsEightThreadsOfQueryAndFree) {
  const WideString shared = MakeFile(LARDER_WIDE("shared"), Pattern().substr(0, 200'000));
  const std::string expected = Sha512Of(shared);
  const std::string abc = Sha512Of(MakeFile(LARDER_WIDE("abc"), "abc"));
  std::vector<std::thread> threads;
  for (LarderWideChar name = u'a'; name < u'i'; ++name) {
    threads.emplace_back([&, own = MakeFile(WideView(&name, 1), "abc")] {
      for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(Sha512Of(shared), expected);
        DbBuffer block = QueryOf(*provider, Descriptor(own));
        FreeQueryOf(*provider, block);
        EXPECT_EQ(Sha512Of(own), abc);
        EXPECT_FALSE(HasData(own + LARDER_WIDE("x")));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace larder
