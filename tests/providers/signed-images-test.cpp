// Real images, made by make-images.sh: what is read from them against what their own signatures say
// was signed, and against another reader of signatures.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

#include "platform/digest.h"
#include "providers/foreign-signature.h"
#include "providers/made-image.h"
#include "stock-file-query/certificate-table.h"
#include "stock-file-query/der-reader.h"
#include "stock-file-query/signer-chains.h"

namespace larder::feed {
namespace {

std::string FileOf(const std::string& name) {
  std::ifstream file("images/" + name, std::ios::binary);
  if (!file) throw std::runtime_error("images/" + name + " isn't there: run make-images.sh");
  return {std::istreambuf_iterator<char>(file), {}};
}

// A file taken apart.
struct Image {
  explicit Image(const std::string& name) : Image(name, FileOf(name)) {}
  Image(const std::string& name, std::string bytes) : file(std::move(bytes)) {
    const auto read = ReadImageLayout(file.size(), ReadAtOf(file));
    if (!read) throw std::runtime_error(name + " is no image");
    layout = *read;
    table = ReadCertificateTable(layout, ReadAtOf(file));
    signatures = ReadSignatures(table);
  }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  std::string file;
  ImageLayout layout;
  std::vector<std::uint8_t> table;
  std::vector<SignedData> signatures;  // point into the table
};

// Of what the image covers, by the digest's size in bytes.
std::string DigestOf(const Image& image, std::size_t size) {
  using platform::DigestKind;
  const std::map<std::size_t, DigestKind> kinds = {{16, DigestKind::kMd5},
                                                   {20, DigestKind::kSha1},
                                                   {32, DigestKind::kSha256},
                                                   {48, DigestKind::kSha384},
                                                   {64, DigestKind::kSha512}};
  const platform::AutoDigestLibrary library = platform::OpenDigestLibrary();
  const platform::AutoDigest state = platform::StartDigest(*library, kinds.at(size));
  const auto add = [&](Bytes part) {
    ASSERT_TRUE(platform::AddToDigest(*state, part.data(), part.size()));
  };
  constexpr std::size_t kBlock = 1000;
  for (std::size_t at = 0; at < image.file.size(); at += kBlock) {
    const Bytes block = BytesOf(image.file).subspan(at);
    FeedCovered(image.layout, at, block.first(std::min(kBlock, block.size())), add);
  }
  add(BytesOf(std::string(image.layout.padding, '\0')));
  std::string digest(size, '\0');
  auto* const bytes = reinterpret_cast<std::uint8_t*>(digest.data());
  EXPECT_TRUE(platform::FinishDigest(*state, {bytes, size}));
  return digest;
}

// The image's digest that was signed: in SpcIndirectDataContent, messageDigest's digest.
std::string SignedDigest(const SignedData& signature) {
  DerReader content(signature.content);
  content.Skip(der::kObjectIdentifier);
  const auto holder = content.Next(der::Constructed(0)).value();
  DerReader data(DerReader(holder.content).Next(der::kSequence).value().content);
  data.Skip(der::kSequence);
  DerReader digest(data.Next(der::kSequence).value().content);
  digest.Skip(der::kSequence);
  return TextOf(digest.Next(der::kOctetString).value().content);
}

std::string Certificates(std::initializer_list<const char*> names) {
  std::string all;
  for (const std::string name : names) all += FileOf(name + ".der");
  return all;
}

// Each chain's certificates, one behind the other.
std::vector<std::string> ChainsIn(const std::string& name) {
  const Image image(name);
  std::vector<std::string> chains;
  for (const CertChain& chain : ReadSignerChains(image.table)) {
    chains.emplace_back();
    for (const Bytes certificate : chain) chains.back() += TextOf(certificate);
  }
  return chains;
}

// What there is, and how many signatures each holds.
struct Expected {
  const char* name;
  std::size_t signatures;
};
constexpr Expected kImages[] = {
    {"shim.efi", 2},
    {"grub.efi", 1},
    {"memtest32.efi", 0},
    {"memtest64.efi", 0},
    {"overlapping.exe", 0},
    {"zlib32.dll", 0},
    {"zlib64.dll", 0},
    {"signed32.dll", 1},
    {"signed-overlapping.exe", 1},
    {"nested.dll", 3},
    {"signed-memtest32.efi", 1},
    {"twice.efi", 2},
};

TEST(SignedImagesTest, HaveTheDigestsThatTheirSignersSigned) {
  for (const Expected& expected : kImages) {
    const Image image(expected.name);
    EXPECT_EQ(image.signatures.size(), expected.signatures) << expected.name;
    for (const SignedData& signature : image.signatures) {
      const std::string digest = SignedDigest(signature);
      EXPECT_EQ(DigestOf(image, digest.size()), digest) << expected.name << ' ' << digest.size();
    }
  }
}

TEST(SignedImagesTest, HaveTheDigestsThatTheyHadUnsigned) {
  const char* const pairs[][2] = {{"zlib32.dll", "signed32.dll"},
                                  {"zlib64.dll", "nested.dll"},
                                  {"overlapping.exe", "signed-overlapping.exe"},
                                  {"memtest32.efi", "signed-memtest32.efi"},
                                  {"memtest64.efi", "twice.efi"}};
  std::size_t padded = 0;
  for (const auto& [before, after] : pairs) {
    const Image image(before);
    padded += image.layout.padding > 0;
    EXPECT_EQ(DigestOf(image, 32), DigestOf(Image(after), 32)) << before;
  }
  EXPECT_EQ(padded, 2u);
}

TEST(SignedImagesTest, ChangeTheirDigestsWithBytesBehindTheTable) {
  const Image longer("more", FileOf("twice.efi") + "x");
  EXPECT_NE(DigestOf(longer, 32), DigestOf(Image("twice.efi"), 32));
  EXPECT_EQ(longer.signatures.size(), 2u);
}

TEST(SignedImagesTest, HaveTheChainsOfThoseWhoSignedThem) {
  const std::string chain = Certificates({"signer", "issuer", "root"});
  const std::string lone = Certificates({"lone"});
  using Chains = std::vector<std::string>;
  EXPECT_EQ(ChainsIn("signed32.dll"), Chains{chain});
  EXPECT_EQ(ChainsIn("signed-overlapping.exe"), Chains{chain});
  EXPECT_EQ(ChainsIn("signed-memtest32.efi"), Chains{lone});
  EXPECT_EQ(ChainsIn("twice.efi"), (Chains{chain, lone}));
  EXPECT_EQ(ChainsIn("zlib32.dll"), Chains());
  // The order of those inside another signature is up to whoever wrote that.
  Chains nested = ChainsIn("nested.dll");
  ASSERT_EQ(nested.size(), 3u);
  EXPECT_EQ(nested.front(), chain);
  std::sort(nested.begin(), nested.end());
  Chains all{chain, chain, lone};
  std::sort(all.begin(), all.end());
  EXPECT_EQ(nested, all);
}

TEST(SignedImagesTest, HoldTheCertificatesAndSignersThatAnotherReaderFinds) {
  std::size_t compared = 0;
  for (const Expected& expected : kImages) {
    const Image image(expected.name);
    for (const SignedData& signature : image.signatures) {
      const ForeignSignature foreign = ReadForeign(TextOf(signature.whole));
      std::set<std::string> certificates;
      for (const auto& certificate : signature.certificates) {
        certificates.insert(TextOf(certificate.whole));
      }
      EXPECT_EQ(certificates, foreign.certificates) << expected.name;
      std::set<std::string> signers;
      for (const CertChain& chain : ChainsOf(signature)) signers.insert(TextOf(chain.front()));
      EXPECT_EQ(signers, foreign.signers) << expected.name;
      ++compared;
    }
  }
  EXPECT_EQ(compared, 11u);
}

TEST(SignedImagesTest, HaveChainsInWhichEachCertificateIsIssuedByTheNext) {
  std::size_t links = 0;
  for (const char* const name : {"shim.efi", "nested.dll"}) {
    const Image image(name);
    for (const CertChain& chain : ReadSignerChains(image.table)) {
      for (std::size_t i = 1; i < chain.size(); ++i, ++links) {
        EXPECT_TRUE(IsIssuedBy(TextOf(chain[i - 1]), TextOf(chain[i]))) << name;
      }
    }
  }
  EXPECT_EQ(links, 6u);
  EXPECT_FALSE(IsIssuedBy(FileOf("signer.der"), FileOf("earlier-issuer.der")));
}

TEST(SignedImagesTest, AreUnsignedOnceTheTableIsCutOff) {
  const std::string whole = FileOf("shim.efi");
  const Image image("shim.efi");
  for (const std::uint64_t size :
       {image.layout.table.begin, image.layout.table.begin + 100, image.layout.table.end - 1}) {
    const Image cut("cut", whole.substr(0, size));
    EXPECT_TRUE(cut.signatures.empty());
    EXPECT_EQ(cut.layout.table.Size(), 0u);
  }
}

}  // namespace
}  // namespace larder::feed
