// The file provider, as the built module, with real files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/file.h"
#include "providers/file-provider-test.h"

namespace larder {
namespace {

using testing::StartsWith;

struct WholeRecord {
  FileDataRecord file;
  CertChainRecord chain;
  CertDataRecord certificate;
};

struct DigestCase {
  const char* name;
  std::string bytes;
  const char* md5;
  const char* sha1;
  const char* sha256;
  const char* sha384;
  const char* sha512;
};

template <std::size_t size>
std::string Hex(const std::uint8_t (&bytes)[size]) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

// Three MiB and 17 bytes that repeat with no power of two.
std::string Pattern() {
  std::string bytes(3 * 1024 * 1024 + 17, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  return bytes;
}

class FeedFile : public FileProviderTest {
 protected:
  WholeRecord RecordOf(const WideString& path, std::uint64_t lastModified = 0) const {
    DbBuffer block = QueryOf(*provider, Descriptor(path, lastModified));
    if (block.data == nullptr || block.size != sizeof(WholeRecord)) {
      throw std::runtime_error("no record of 400 bytes");
    }
    WholeRecord record;
    std::memcpy(&record, block.data, sizeof record);
    FreeQueryOf(*provider, block);
    EXPECT_EQ(block.data, nullptr);
    return record;
  }

  static std::uint64_t LastModified(const WideString& path) {
    platform::Handle file = nullptr;
    platform::FileKind kind{};
    platform::FileInfo info;
    EXPECT_EQ(platform::OpenFileToRead(path, file, kind), platform::kSuccess);
    EXPECT_EQ(platform::QueryFileInfo(file, info), platform::kSuccess);
    platform::CloseObject(file);
    return info.lastModified;
  }

  bool HasData(const WideString& path) const {
    return QueryOf(*provider, Descriptor(path)).data != nullptr;
  }
};

class FeedFileDigests : public FeedFile, public testing::WithParamInterface<DigestCase> {};

TEST_P(FeedFileDigests, AreThoseOfTheBytes) {
  const DigestCase& expected = GetParam();
  const FileDataRecord file = RecordOf(MakeFile(LARDER_WIDE("file"), expected.bytes)).file;
  EXPECT_EQ(Hex(file.fileMD5), expected.md5);
  EXPECT_EQ(Hex(file.fileSHA1), expected.sha1);
  EXPECT_EQ(Hex(file.fileSHA256), expected.sha256);
  EXPECT_EQ(Hex(file.fileSHA384), expected.sha384);
  EXPECT_EQ(Hex(file.fileSHA512), expected.sha512);
}

// The vectors for no bytes and "abc" are those of RFC 1321 and FIPS 180; those of the pattern were
// computed with md5sum, sha1sum, sha256sum, sha384sum and sha512sum.
INSTANTIATE_TEST_SUITE_P(
    All, FeedFileDigests,
    testing::Values(DigestCase{"Nothing", "", "d41d8cd98f00b204e9800998ecf8427e",
                               "da39a3ee5e6b4b0d3255bfef95601890afd80709",
                               "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
                               "38b060a751ac96384cd9327eb1b1e36a21fdb71114be07434c0cc7bf63f6e1da"
                               "274edebfe76f65fbd51ad2f14898b95b",
                               "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
                               "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e"},
                    DigestCase{"Abc", "abc", "900150983cd24fb0d6963f7d28e17f72",
                               "a9993e364706816aba3e25717850c26c9cd0d89d",
                               "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
                               "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
                               "8086072ba1e7cc2358baeca134c825a7",
                               "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
                               "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
                    DigestCase{"Pattern", Pattern(), "3cacfeb0e5eae924bc5b00641499aca4",
                               "d7341a729b5627b9f3f5c810cf11690c0d37019d",
                               "8584f829d64341d188b979f0984ba5615cde6af240c53ff26b023037146d3afb",
                               "a6a328db3ff52198a78e519623745a5e4ec2bd9a3e74ff341d561287a7fb32ba"
                               "da0fcbf36b50789a66f84b5bae97490d",
                               "c61d2f0c2d081c95b862e799c013bb19f39ad2455d321516a065415f3ff91e2a"
                               "ee3eaeec82892b7670cd39c75d30d942471b3f3f2f3c7b3d3e99d626c876404d"}),
    [](const testing::TestParamInfo<DigestCase>& digestCase) { return digestCase.param.name; });

template <std::size_t size>
bool IsZero(const std::uint8_t (&bytes)[size]) {
  return std::all_of(bytes, bytes + size, [](std::uint8_t byte) { return byte == 0; });
}

TEST_F(FeedFile, ReportsTypeOne) { EXPECT_EQ(provider->GetType(), 1); }

TEST_F(FeedFile, AnswersWithAWellFormedRecord) {
  const WholeRecord record = RecordOf(MakeFile(LARDER_WIDE("file"), "abc"));
  EXPECT_EQ(record.file.dataSize, 400u);
  EXPECT_EQ(record.file.providerType, 1);
  EXPECT_NE(record.file.fileId, 0u);
  EXPECT_TRUE(IsZero(record.file.peMD5));
  EXPECT_TRUE(IsZero(record.file.peSHA1));
  EXPECT_TRUE(IsZero(record.file.peSHA256));
  EXPECT_TRUE(IsZero(record.file.peSHA384));
  EXPECT_TRUE(IsZero(record.file.peSHA512));
  EXPECT_TRUE(IsZero(record.file.reserved));
  EXPECT_EQ(record.chain.nextChain, 0u);
  EXPECT_EQ(record.chain.reserved, 0u);
  EXPECT_EQ(record.certificate.nextCert, 0u);
  EXPECT_EQ(record.certificate.certSize, 0u);
}

TEST_F(FeedFile, IdentifiesAFileByWhatItIsAndNotByItsContents) {
  const WideString path = MakeFile(LARDER_WIDE("one"), "abc");
  const std::uint64_t fileId = RecordOf(path).file.fileId;
  EXPECT_NE(RecordOf(MakeFile(LARDER_WIDE("two"), "abc")).file.fileId, fileId);
  std::ofstream(NativePath(path), std::ios::app) << "more";
  EXPECT_EQ(RecordOf(path).file.fileId, fileId);
}

TEST_F(FeedFile, ReadsTheFileAnewForEachQuery) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "ab");
  EXPECT_NE(Hex(RecordOf(path).file.fileMD5), "900150983cd24fb0d6963f7d28e17f72");
  std::ofstream(NativePath(path), std::ios::app | std::ios::binary) << "c";
  EXPECT_EQ(Hex(RecordOf(path).file.fileMD5), "900150983cd24fb0d6963f7d28e17f72");
}

TEST_F(FeedFile, AnswersForTheTimeThatTheFileHas) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  EXPECT_EQ(Hex(RecordOf(path, LastModified(path)).file.fileMD5),
            "900150983cd24fb0d6963f7d28e17f72");
}

TEST_F(FeedFile, TellsAnotherTimeByTheCodeOfAMismatch) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  const std::uint64_t time = LastModified(path);
  for (const std::uint64_t other : {time + 1, time - 1, time ^ (std::uint64_t{1} << 32)}) {
    try {
      QueryOf(*provider, Descriptor(path, other));
      ADD_FAILURE() << other;
    } catch (const std::system_error& error) {
      EXPECT_EQ(error.code().value(), -15);
      EXPECT_EQ(error.what(), '"' + platform::Utf8FromWide(path) + "\" was last modified at " +
                                  std::to_string(time) + ", not at " + std::to_string(other) +
                                  ": result -15");
    }
  }
}

TEST_F(FeedFile, HasNoDataForWhatDoesNotExist) {
  const WideString folder = machine.WideFolder();
  EXPECT_FALSE(HasData(folder + LARDER_WIDE("no file")));
  EXPECT_FALSE(HasData(folder + LARDER_WIDE("no folder\\file")));
  EXPECT_EQ(QueryOf(*provider, Descriptor(folder + LARDER_WIDE("no file"), 1)).data, nullptr);
}

TEST_F(FeedFile, RefusesAFolder) {
  WideString folder = machine.WideFolder();
  EXPECT_EQ(FailureOf(folder), CannotRead(folder) + "it is a directory");
  folder.pop_back();
  EXPECT_EQ(FailureOf(folder), CannotRead(folder) + "it is a directory");
}

TEST_F(FeedFile, GivesNoRecordForANameThatIsTooLong) {
  // Whether such a name is an error or a file that isn't there is the system's affair.
  const WideString path = machine.WideFolder() + WideString(5000, u'x');
  try {
    EXPECT_FALSE(HasData(path));
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), StartsWith(CannotRead(path)));
  }
}

TEST_F(FeedFile, RefusesAnEmptyPath) { EXPECT_EQ(FailureOf({}), "The descriptor's path is empty"); }

TEST_F(FeedFile, ReadsAFileWithANameBeyondAscii) {
  const LarderWideChar* const name = LARDER_WIDE("Gr\u00FC\u00DFe \u65E5\u672C \U0001F600");
  const WideString path = MakeFile(name, "abc");
  EXPECT_EQ(Hex(RecordOf(path).file.fileMD5), "900150983cd24fb0d6963f7d28e17f72");
}

TEST_F(FeedFile, HasNoDataForALoneSurrogateThatNamesNothing) {
  const WideString lone = {0xD800};
  EXPECT_FALSE(HasData(machine.WideFolder() + lone));
  EXPECT_FALSE(HasData(lone));
}

TEST_F(FeedFile, MakesItsKeyFromPathAndTimeWithoutTheFile) {
  const LarderWideChar* const path = LARDER_WIDE("C:\\nowhere");
  const std::uint64_t key = KeyOf(*provider, Descriptor(path));
  EXPECT_EQ(KeyOf(*provider, Descriptor(path)), key);
  EXPECT_NE(KeyOf(*provider, Descriptor(path, 1)), key);
  EXPECT_NE(KeyOf(*provider, Descriptor(LARDER_WIDE("C:\\nowherf"))), key);
}

TEST_F(FeedFile, BearsEightThreadsOfQueryAndFree) {
  const std::string bytes = Pattern().substr(0, 200'000);
  const WideString shared = MakeFile(LARDER_WIDE("shared"), bytes);
  const std::string expected = Hex(RecordOf(shared).file.fileSHA512);
  std::vector<std::thread> threads;
  for (LarderWideChar name = u'a'; name < u'i'; ++name) {
    threads.emplace_back([this, &shared, &expected, own = MakeFile(WideView(&name, 1), "abc")] {
      for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(Hex(RecordOf(shared).file.fileSHA512), expected);
        EXPECT_EQ(Hex(RecordOf(own).file.fileMD5), "900150983cd24fb0d6963f7d28e17f72");
        EXPECT_FALSE(HasData(own + LARDER_WIDE("x")));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(FeedFile, FreesOnOneThreadWhatAnotherQueried) {
  const Descriptor descriptor(MakeFile(LARDER_WIDE("file"), "abc"));
  DbBuffer block;
  std::thread([&] { block = QueryOf(*provider, descriptor); }).join();
  ASSERT_NE(block.data, nullptr);
  FreeQueryOf(*provider, block);
  EXPECT_EQ(block.data, nullptr);
}

}  // namespace
}  // namespace larder
