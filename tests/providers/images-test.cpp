// What the file provider finds in executable images: which bytes the digests cover, and who signed.
// First in real images from make-images.sh, then in generated parts that wouldn't verify.
#include <memory>
#include <set>

#include "providers/foreign-signature.h"
#include "providers/provider-test.h"
#include "stock-file-query/cms/der-reader.h"
#include "stock-file-query/pe/certificate-table.h"

namespace larder::feed {
namespace {

using std::string_literals::operator""s;
using Texts = std::vector<std::string>;

Bytes BytesOf(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string TextOf(Bytes bytes) { return {bytes.begin(), bytes.end()}; }

// The file must outlive the result.
ReadAt ReadAtOf(const std::string& file) {
  return [&file](std::uint64_t offset, void* buffer, std::size_t size) {
    return offset < file.size() && file.copy(static_cast<char*>(buffer), size, offset) == size;
  };
}

WideString ImagePath(const std::string& name) {
  return BesideProgram(LARDER_WIDE("images\\")).append(name.begin(), name.end());
}

class SignedImagesTest : public FileProviderTest {
 protected:
  // The image's.
  Texts DigestsOf(const std::string& name) const {
    const DbBuffer block = QueryOf(*provider, Descriptor(ImagePath(name)));
    std::size_t offset = offsetof(FileDataRecord, peMD5);
    Texts digests;
    for (const unsigned size : {16u, 20u, 32u, 48u, 64u}) {
      digests.emplace_back(reinterpret_cast<const char*>(block.data) + offset, size);
      offset += size;
    }
    return digests;
  }

  // The certificates of each chain, as a client reads them.
  std::vector<Texts> ChainsIn(const std::string& name) const {
    const DbBuffer block = QueryOf(*provider, Descriptor(ImagePath(name)));
    std::vector<Texts> chains;
    std::size_t end = 0;
    for (std::size_t chain = 384, next = 1; next != 0; chain += next) {
      next = RecordIn<CertChainRecord>(block, chain).nextChain;
      chains.emplace_back();
      std::size_t at = chain + sizeof(CertChainRecord);
      for (std::size_t link = 1; link != 0; at += link) {
        const auto record = RecordIn<CertDataRecord>(block, at);
        EXPECT_EQ(at % 8, 0u);
        link = record.nextCert;
        end = at + sizeof record + record.certSize;
        chains.back().emplace_back(block.data + at + sizeof record, block.data + end);
      }
    }
    EXPECT_EQ(end, block.size);
    return chains;
  }
};

std::vector<std::uint8_t> TableOf(const std::string& name) {
  const std::string file = ContentOf(PathOf(ImagePath(name)));
  return ReadCertificateTable(ReadImageLayout(file.size(), ReadAtOf(file)).value(), ReadAtOf(file));
}

constexpr std::pair<const char*, std::size_t> kSignatures[] = {
    {"shim.efi", 2},     {"grub.efi", 1},
    {"signed32.dll", 1}, {"signed-overlapping.exe", 1},
    {"nested.dll", 3},   {"signed-memtest32.efi", 1},
    {"twice.efi", 2}};

// On a machine of its own the other reader wouldn't find its algorithms.
TEST(SignaturesTest, HaveTheCertificatesAndSignersThatAnotherReaderFinds) {
  for (const auto& [name, count] : kSignatures) {
    SCOPED_TRACE(name);
    const std::vector<std::uint8_t> table = TableOf(name);
    EXPECT_EQ(ReadSignatures(table).size(), count);
    for (const SignedData& signature : ReadSignatures(table)) {
      std::set<std::string> certificates;
      for (const Certificate& one : signature.certificates) certificates.insert(TextOf(one.whole));
      std::set<std::string> signers;
      for (const CertChain& chain : ChainsOf(signature)) signers.insert(TextOf(chain.front()));
      const ForeignSignature foreign = ReadForeign(TextOf(signature.whole));
      EXPECT_EQ(certificates, foreign.certificates);
      EXPECT_EQ(signers, foreign.signers);
    }
  }
}

TEST_F(SignedImagesTest, HaveTheDigestsThatTheirSignersSigned) {
  for (const auto& [name, count] : kSignatures) {
    const Texts digests = DigestsOf(name);
    const std::vector<std::uint8_t> table = TableOf(name);
    for (const SignedData& signature : ReadSignatures(table)) {
      const std::string content = TextOf(signature.encapContentInfo);
      EXPECT_TRUE(std::ranges::any_of(digests, [&](const std::string& digest) {
        return content.ends_with(digest);
      })) << name;
    }
  }
}

TEST_F(SignedImagesTest, HaveTheDigestsThatTheyHadUnsigned) {
  for (const auto& [before, after] :
       {std::pair("zlib32.dll", "signed32.dll"), std::pair("zlib64.dll", "nested.dll"),
        std::pair("overlapping.exe", "signed-overlapping.exe"),
        std::pair("memtest32.efi", "signed-memtest32.efi"),
        std::pair("memtest64.efi", "twice.efi")}) {
    EXPECT_EQ(DigestsOf(before), DigestsOf(after)) << before;
    EXPECT_EQ(ChainsIn(before), (std::vector<Texts>{{""}})) << before;
  }
}

TEST_F(SignedImagesTest, HaveTheChainsOfThoseWhoSignedThem) {
  const auto certificate = [](const char* name) { return ContentOf(PathOf(ImagePath(name))); };
  const Texts chain = {certificate("signer.der"), certificate("issuer.der"),
                       certificate("root.der")};
  const Texts lone = {certificate("lone.der")};
  EXPECT_THAT(ChainsIn("signed32.dll"), testing::ElementsAre(chain));
  EXPECT_THAT(ChainsIn("twice.efi"), testing::ElementsAre(chain, lone));
  // The program that nests a signature chooses its place.
  EXPECT_EQ(ChainsIn("nested.dll").at(0), chain);
  EXPECT_THAT(ChainsIn("nested.dll"), testing::UnorderedElementsAre(chain, chain, lone));
}

std::string Little(std::uint32_t number, std::size_t size = 4) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> (8 * i));
  return bytes;
}

struct ImageShape {
  std::size_t size = 512;
  std::uint32_t headerOffset = 64;
  std::string mark = "MZ";
  std::string signature = "PE\0\0"s;
  std::uint16_t magic = 0x20b;
  std::uint32_t directoryCount = 16;
  std::pair<std::uint32_t, std::uint32_t> table = {0, 0};  // offset and size
};

// Fields that don't fit into the size are left out.
std::string MakeImage(const ImageShape& shape) {
  std::string file(shape.size, 'x');
  const auto put = [&](std::uint64_t offset, const std::string& bytes) {
    if (offset + bytes.size() <= file.size()) file.replace(offset, bytes.size(), bytes);
  };
  const std::uint64_t headers = shape.headerOffset;
  const std::uint64_t directory = headers + 24 + (shape.magic == 0x10b ? 96 : 112);
  put(0, shape.mark);
  put(60, Little(shape.headerOffset));
  put(headers, shape.signature);
  put(headers + 24, Little(shape.magic, 2));
  put(directory - 4, Little(shape.directoryCount));
  put(directory + 32, Little(shape.table.first) + Little(shape.table.second));
  return file;
}

// "0-10 20-30 pad 2 table 30-40", or "no image".
std::string Described(const std::optional<ImageLayout>& layout) {
  if (!layout) return "no image";
  const auto text = [](const FileRange& range) {
    return std::to_string(range.begin) + '-' + std::to_string(range.end);
  };
  std::string all;
  for (const FileRange& range : layout->covered) {
    if (range.Size() > 0) all += text(range) + ' ';
  }
  all += "pad " + std::to_string(layout->padding);
  return layout->table.Size() == 0 ? all : all + " table " + text(layout->table);
}

TEST(ImageLayoutTest, CoversAllButCheckSumDirectoryEntryAndTable) {
  const std::string noTable = "0-152 156-232 240-512 pad 0";
  const std::pair<ImageShape, std::string> cases[] = {
      {{.magic = 0x10b, .table = {400, 112}}, "0-152 156-216 224-400 pad 0 table 400-512"},
      {{.size = 515, .table = {400, 56}}, "0-152 156-232 240-400 456-515 pad 0 table 400-456"},
      {{.table = {240, 8}}, "0-152 156-232 248-512 pad 0 table 240-248"},
      {{.size = 515}, "0-152 156-232 240-515 pad 5"},
      {{.directoryCount = 4, .table = {400, 112}}, "0-152 156-512 pad 0"},
      {{.directoryCount = 5}, noTable},
      // A table that isn't between its entry and the end of the file is none.
      {{.table = {239, 100}}, noTable},
      {{.table = {400, 7}}, noTable},
      {{.table = {400, 113}}, noTable},
      {{.table = {0xfffffff8, 0xfffffff8}}, noTable},
      // Headers at the end of the file, whole or cut off.
      {{.headerOffset = 512 - 176}, "0-424 428-504 pad 0"},
      {{.headerOffset = 512 - 175}, "no image"},
      {{.headerOffset = 512 - 160, .magic = 0x10b}, "0-440 444-504 pad 0"},
      {{.headerOffset = 512 - 136, .directoryCount = 4}, "0-464 468-512 pad 0"},
      {{.headerOffset = 512 - 135, .directoryCount = 4}, "no image"},
      {{.headerOffset = 0xfffffff0}, "no image"},
      {{.size = 63}, "no image"},
      // Other formats.
      {{.mark = "MX"}, "no image"},
      {{.signature = "PE\0\1"s}, "no image"},
      {{.magic = 0x107}, "no image"}};
  for (const auto& [shape, layout] : cases) {
    const std::string file = MakeImage(shape);
    EXPECT_EQ(Described(ReadImageLayout(file.size(), ReadAtOf(file))), layout);
  }
  const std::string head = MakeImage({.table = {0xfffffff0, 0xffffff00}});
  EXPECT_EQ(Described(ReadImageLayout(0x2'0000'0001, ReadAtOf(head))),
            "0-152 156-232 240-4294967280 8589934320-8589934593 pad 0 table "
            "4294967280-8589934320");
}

// An element in DER.
std::string Der(int tag, const std::string& content) {
  std::string length(1, static_cast<char>(content.size()));
  if (content.size() >= 0x80) {
    const auto size = static_cast<std::uint32_t>(content.size());
    length = "\x84"s;
    for (int shift = 24; shift >= 0; shift -= 8) length += static_cast<char>(size >> shift);
  }
  return static_cast<char>(tag) + length + content;
}

std::string Joined(const Texts& parts) {
  std::string whole;
  for (const std::string& part : parts) whole += part;
  return whole;
}

std::string Sequence(const Texts& parts) { return Der(0x30, Joined(parts)); }

std::string Extension(const std::string& type, const std::string& value) {
  return Sequence({Der(0x06, type), Der(0x01, "\xff"), Der(0x04, value)});
}

// Without a key there is no extension for it. The tests name a certificate by its serial number.
std::string MakeCertificate(const std::string& serial, const std::string& subject,
                            const std::string& issuer, const std::string& keyId = {},
                            const std::string& issuerKeyId = {}) {
  std::string extensions;
  if (!keyId.empty()) extensions += Extension("\x55\x1d\x0e", Der(0x04, keyId));
  const std::string issuerKey = Sequence({Der(0x80, issuerKeyId)});
  if (!issuerKeyId.empty()) extensions += Extension("\x55\x1d\x23", issuerKey);
  const std::string unread = Sequence({});  // an algorithm, the validity, a key
  return Sequence({Sequence({Der(0x02, serial), unread, Sequence({issuer}), unread,
                             Sequence({subject}), unread, Der(0xa3, Sequence({extensions}))})});
}

// identifier: the issuer and the serial number, or a key.
std::string SignerOf(const std::string& identifier, const Texts& nested = {}) {
  const std::string type = Der(0x06, "\x2b\x06\x01\x04\x01\x82\x37\x02\x04\x01");
  const std::string time = Sequence({Der(0x06, "\x2a\x05"), Der(0x31, Der(0x04, "time stamp"))});
  return Sequence({identifier, Der(0xa1, time + Sequence({type, Der(0x31, Joined(nested))}))});
}
std::string Signer(const std::string& issuer, const std::string& serial, const Texts& nested = {}) {
  return SignerOf(Sequence({Sequence({issuer}), Der(0x02, serial)}), nested);
}

std::string Signature(const Texts& certificates, const Texts& signers) {
  const std::string revoked = Der(0xa1, "lists");
  return Sequence({Der(0x06, "\x2a\x86\x48\x86\xf7\x0d\x01\x07\x02"),
                   Der(0xa0, Sequence({Der(0xa0, Joined(certificates)), revoked,
                                       Der(0x31, Joined(signers))}))});
}

// A signature by a certificate that issued itself.
std::string Lone(const std::string& name, const Texts& nested = {}) {
  return Signature({MakeCertificate(name, name, name)}, {Signer(name, name, nested)});
}

// An entry of a certificate table. `more` is added to the size that it has.
std::string Entry(const std::string& content, std::uint32_t type = 2, std::uint32_t more = 0) {
  std::string entry = Little(static_cast<std::uint32_t>(8 + content.size()) + more) +
                      Little(0x0200, 2) + Little(type, 2) + content;
  entry.resize((entry.size() + 7) / 8 * 8);
  return entry;
}

// "leaf issuer root | other". The table is at the end of its memory, for a sanitizer.
std::string ChainsIn(const std::string& table) {
  const std::vector<std::uint8_t> bytes(table.begin(), table.end());
  std::string text;
  for (const CertChain& chain : ReadSignerChains(bytes)) {
    text += text.empty() ? "" : " |";
    for (const Bytes certificate : chain) {
      text += (text.empty() ? "" : " ") + TextOf(ReadCertificate(certificate).value().serial);
    }
  }
  return text;
}

const std::string kLeaf = MakeCertificate("leaf", "Leaf", "Issuer");
const std::string kSigner = Signer("Issuer", "leaf");

TEST(SignerChainsTest, LeadFromTheSignerToTheLastCertificatePresent) {
  const std::string root = MakeCertificate("root", "Root", "Root");
  const std::string issuer = MakeCertificate("issuer", "Issuer", "Root");
  const std::string stamp = MakeCertificate("stamp", "Stamp", "Issuer");
  // A loop.
  const std::string a = MakeCertificate("a", "A", "B");
  const std::string b = MakeCertificate("b", "B", "C");
  const std::string c = MakeCertificate("c", "C", "B");
  // Issuers of one name with other keys, and a leaf that has a key and says which one it needs.
  const std::string none = MakeCertificate("none", "Issuer", "Root");
  const std::string old = MakeCertificate("old", "Issuer", "Root", "old");
  const std::string right = MakeCertificate("new", "Issuer", "Root", "new");
  const std::string leaf = MakeCertificate("leaf", "Leaf", "Issuer", "key", "new");
  // Its issuer has its own name but another key.
  const std::string newRoot = MakeCertificate("new", "Root", "Root", "new", "old");
  const std::string oldRoot = MakeCertificate("old", "Root", "Root", "old", "old");
  const struct {
    Texts certificates;
    Texts signers;
    const char* chains;
  } cases[] = {{{stamp, root, issuer, kLeaf}, {kSigner}, "leaf issuer root"},
               {{root, kLeaf}, {kSigner}, "leaf"},
               {{issuer, kLeaf, stamp},
                {Signer("Issuer", "stamp"), Signer("Issuer", "stranger"), kSigner},
                "stamp issuer | leaf issuer"},
               {{a, b, c}, {Signer("B", "a")}, "a b c"},
               {{leaf, none, old, right}, {kSigner}, "leaf new"},
               {{old, none, leaf}, {kSigner}, "leaf none"},
               {{old, leaf}, {kSigner}, "leaf"},
               {{kLeaf, old, right}, {kSigner}, "leaf old"},
               {{newRoot, oldRoot}, {Signer("Root", "new")}, "new old"},
               {{newRoot, oldRoot}, {Signer("Root", "old")}, "old"},
               {{old, leaf}, {SignerOf(Der(0x80, "key"))}, "leaf"},
               {{issuer, kLeaf}, {SignerOf(Der(0x80, ""))}, ""}};
  for (const auto& one : cases) {
    EXPECT_EQ(ChainsIn(Entry(Signature(one.certificates, one.signers))), one.chains);
  }
}

TEST(SignerChainsTest, ComeFromEverySignatureThatCanBeRead) {
  const std::string good = Entry(Lone("good"));
  const std::string lone = Lone("lone");
  const auto minusSize = 0u - static_cast<std::uint32_t>(8 + lone.size());
  const std::pair<std::string, std::string> tables[] = {
      {Entry(Lone("a", {Lone("b", {Lone("c"), Lone("d")}), Lone("e")})) + good,
       "a | b | c | d | e | good"},
      {Entry(Lone("1", {Lone("2", {Lone("3", {Lone("4", {Lone("5")})})})})), "1 | 2 | 3 | 4"},
      {Entry(lone, 1) + good, "good"},
      {Entry("no signature") + good, "good"},
      {Entry(Lone("a", {"no signature", lone})) + good, "a | good"},
      {Entry(Lone("a", {Der(0x04, "none"), lone})) + good, "a | lone | good"},
      // The size of an entry is used only to find the next one.
      {good + Entry(lone, 2, minusSize + 7) + good, "good"},
      {good + Entry(lone, 2, 1000) + good, "good | lone"},
      {good + Entry(lone, 2, minusSize - 1) + good, "good | lone"},
      {Entry(lone + std::string(7, 'x')) + good, "lone | good"},
      {Entry(lone, 2, minusSize + 16) + good, ""},
  };
  for (const auto& [table, chains] : tables) EXPECT_EQ(ChainsIn(table), chains);
}

TEST(SignerChainsTest, EndAtTheLimits) {
  Texts many;
  for (int i = 0; i < 64; ++i) many.push_back(MakeCertificate(std::to_string(i), "x", "y"));
  many.push_back(kLeaf);
  EXPECT_EQ(ChainsIn(Entry(Signature(many, {kSigner}))), "");
  EXPECT_EQ(ChainsIn(Entry(Signature({many.begin() + 1, many.end()}, {kSigner}))), "leaf");

  const std::string last = Entry(Lone("last"));
  const std::string empty = Joined(Texts(63, Entry("")));
  EXPECT_EQ(ChainsIn(empty + last + last), "last");

  const std::string wide = Entry(Lone("a", Texts(100, Lone("x"))));
  EXPECT_EQ(ReadSignatures(BytesOf(wide)).size(), 64u);
  const std::string signers = Entry(Signature({kLeaf}, Texts(100, kSigner)));
  EXPECT_EQ(ReadSignerChains(BytesOf(signers + signers)).size(), 64u);

  ImageLayout layout;
  layout.table = {0, 0x1000008};
  EXPECT_EQ(ReadCertificateTable(layout, [](auto...) { return true; }).size(), 0x1000000u);
  const std::string large = MakeCertificate("leaf", std::string(0x700000, 'x'), "Issuer");
  EXPECT_EQ(ChainsIn(Entry(Signature({large}, Texts(3, kSigner)))), "leaf | leaf");
}

TEST(DerReaderTest, ReadsLengthsOfUpToEightBytesAndEndsAtWhatItCannotRead) {
  const std::string longest = "\x04\x88\0\0\0\0\0\0\0\x01y"s;
  EXPECT_EQ(TextOf(DerReader(BytesOf(longest)).Next(0x04).value().content), "y");
  for (const std::string& bad :
       {"\x04"s, "\x04\x01"s, "\x04\x82\x01"s, "\x1f\x01\x00"s, "\x24\x80\x04\x00\x00\x00"s,
        "\x04\x89\0\0\0\0\0\0\0\0\0"s, "\x04\x88\xff\xff\xff\xff\xff\xff\xff\xff"s}) {
    const std::string bytes = Der(0x04, "") + bad;
    DerReader reader(BytesOf(bytes));
    EXPECT_TRUE(reader.Next().has_value());
    EXPECT_FALSE(reader.Next().has_value()) << testing::PrintToString(bad);
  }
}

}  // namespace
}  // namespace larder::feed
