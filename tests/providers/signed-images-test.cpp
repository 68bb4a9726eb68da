// Real images, made by make-images.sh: what is read from them against what their own signatures say
// was signed, against the certificates that they were signed with, and against another reader of
// signatures.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

#include "platform/digest.h"
#include "providers/foreign-signature.h"
#include "providers/made-image.h"
#include "stock-file-query/cms/der-reader.h"
#include "stock-file-query/cms/signer-chains.h"
#include "stock-file-query/hash/file-hasher.h"
#include "stock-file-query/pe/certificate-table.h"

namespace larder::feed {
namespace {

std::string FileOf(const std::string& name) {
  std::ifstream file("images/" + name, std::ios::binary);
  if (!file) throw std::runtime_error("images/" + name + " isn't there: run make-images.sh");
  return {std::istreambuf_iterator<char>(file), {}};
}

// A file taken apart.
struct Image {
  explicit Image(const std::string& name)
      : file(FileOf(name)),
        layout(ReadImageLayout(file.size(), ReadAtOf(file)).value()),
        table(ReadCertificateTable(layout, ReadAtOf(file))),
        signatures(ReadSignatures(table)) {}
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  const std::string file;
  const ImageLayout layout;
  const std::vector<std::uint8_t> table;
  const std::vector<SignedData> signatures;  // point into the table
};

// Of what the image covers, the one that has this size.
std::string DigestOf(const Image& image, std::size_t size) {
  const platform::AutoDigestLibrary library = platform::OpenDigestLibrary();
  const auto read = [&](std::uint64_t offset, void* buffer, std::size_t room) {
    return image.file.copy(static_cast<char*>(buffer), room, offset);
  };
  Digests digests = HashFile(*library, image.file.size(), image.layout, read).image.value();
  for (const platform::DigestKind kind : kAllDigests) {
    if (digests.Of(kind).size() == size) return TextOf(digests.Of(kind));
  }
  throw std::runtime_error("no digest has " + std::to_string(size) + " bytes");
}

// The image's digest that was signed: in SpcIndirectDataContent, messageDigest's digest.
std::string SignedDigest(const SignedData& signature) {
  DerReader content(signature.encapContentInfo);
  content.Skip(der::kObjectIdentifier);
  const auto holder = content.Next(der::ContextConstructed(0)).value();
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

TEST(SignedImagesTest, HaveTheChainsOfThoseWhoSignedThem) {
  const std::string chain = Certificates({"signer", "issuer", "root"});
  const std::string lone = Certificates({"lone"});
  using Chains = std::vector<std::string>;
  EXPECT_EQ(ChainsIn("signed32.dll"), Chains{chain});
  EXPECT_EQ(ChainsIn("signed-overlapping.exe"), Chains{chain});
  EXPECT_EQ(ChainsIn("signed-memtest32.efi"), Chains{lone});
  EXPECT_EQ(ChainsIn("twice.efi"), (Chains{chain, lone}));
  EXPECT_EQ(ChainsIn("zlib32.dll"), Chains());
  for (const auto& [name, sizes] :
       std::map<std::string, std::vector<std::size_t>>{{"shim.efi", {2, 2}}, {"grub.efi", {1}}}) {
    std::vector<std::size_t> found;
    for (const CertChain& one : ReadSignerChains(Image(name).table)) found.push_back(one.size());
    EXPECT_EQ(found, sizes) << name;
  }
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

}  // namespace
}  // namespace larder::feed
