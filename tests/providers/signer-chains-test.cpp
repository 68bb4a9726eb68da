// Which certificates are found in certificate tables, in which order, however the tables are made.
#include "stock-file-query/cms/signer-chains.h"

#include <gtest/gtest.h>

#include <memory>

#include "providers/made-image.h"
#include "stock-file-query/cms/der-reader.h"
#include "stock-file-query/pe/certificate-table.h"

namespace larder::feed {
namespace {

std::string SerialOf(Bytes certificate) {
  const auto read = ReadCertificate(certificate);
  return read ? TextOf(read->serial) : "?";
}

// "leaf issuer root | other": the chains by their certificates' serial numbers.
std::string Told(const std::vector<CertChain>& chains) {
  std::string text;
  for (const CertChain& chain : chains) {
    if (!text.empty()) text += " | ";
    for (const Bytes& certificate : chain) {
      text += (&certificate == chain.data() ? "" : " ") + SerialOf(certificate);
    }
  }
  return text;
}

// The table lies at the end of its memory, for whoever watches accesses behind that.
std::string ChainsIn(const std::string& table) {
  const auto copy = std::make_unique<std::uint8_t[]>(table.size());
  std::copy(table.begin(), table.end(), copy.get());
  return Told(ReadSignerChains({copy.get(), table.size()}));
}

// Of a table with the one signature.
std::string ChainsOfSignature(const std::vector<std::string>& certificates,
                              const std::vector<std::string>& signers) {
  return ChainsIn(MakeEntry(MakeSignature(certificates, signers)));
}

// A signature by a certificate that issued itself.
std::string Lone(const std::string& name, const std::vector<std::string>& nested = {}) {
  return MakeSignature({MakeCertificate({name, name, name})}, {MakeSigner(name, name, nested)});
}

const std::string kRoot = MakeCertificate({"root", "Root", "Root"});
const std::string kIssuer = MakeCertificate({"issuer", "Issuer", "Root"});
const std::string kLeaf = MakeCertificate({"leaf", "Leaf", "Issuer"});
const std::string kStamp = MakeCertificate({"stamp", "Stamp", "Issuer"});
const std::string kLeafSigner = MakeSigner("Issuer", "leaf");

TEST(SignerChainsTest, GoFromTheSignerToTheLastCertificateThatIsThereInWhateverOrder) {
  EXPECT_EQ(ChainsOfSignature({kLeaf, kIssuer, kRoot, kStamp}, {kLeafSigner}), "leaf issuer root");
  EXPECT_EQ(ChainsOfSignature({kStamp, kRoot, kIssuer, kLeaf}, {kLeafSigner}), "leaf issuer root");
  EXPECT_EQ(ChainsOfSignature({kIssuer, kLeaf}, {kLeafSigner}), "leaf issuer");
  EXPECT_EQ(ChainsOfSignature({kRoot, kLeaf}, {kLeafSigner}), "leaf");
  EXPECT_EQ(ChainsOfSignature({kRoot, kIssuer}, {kLeafSigner}), "");
  EXPECT_EQ(ChainsOfSignature({kLeaf, kIssuer, kRoot}, {}), "");
  EXPECT_EQ(ChainsOfSignature(
                {kRoot, kIssuer, kLeaf, kStamp},
                {MakeSigner("Issuer", "stamp"), MakeSigner("Issuer", "stranger"), kLeafSigner}),
            "stamp issuer root | leaf issuer root");
}

TEST(SignerChainsTest, EndWhereALoopCloses) {
  const std::string a = MakeCertificate({"a", "A", "B"});
  const std::string b = MakeCertificate({"b", "B", "C"});
  const std::string c = MakeCertificate({"c", "C", "B"});
  EXPECT_EQ(ChainsOfSignature({a, b, c}, {MakeSigner("B", "a")}), "a b c");
  EXPECT_EQ(ChainsOfSignature({c, b, a}, {MakeSigner("C", "b")}), "b c");
  EXPECT_EQ(ChainsOfSignature({kRoot, kRoot}, {MakeSigner("Root", "root")}), "root");
}

TEST(SignerChainsTest, ChooseAmongIssuersOfOneNameTheOneWithTheKey) {
  const std::string leaf = MakeCertificate({"leaf", "Leaf", "Issuer", "", "new"});
  const std::string none = MakeCertificate({"none", "Issuer", "Root"});
  const std::string other = MakeCertificate({"old", "Issuer", "Root", "old"});
  const std::string right = MakeCertificate({"new", "Issuer", "Root", "new"});
  EXPECT_EQ(ChainsOfSignature({leaf, none, other, right}, {kLeafSigner}), "leaf new");
  EXPECT_EQ(ChainsOfSignature({right, other, none, leaf}, {kLeafSigner}), "leaf new");
  EXPECT_EQ(ChainsOfSignature({other, none, leaf}, {kLeafSigner}), "leaf none");
  EXPECT_EQ(ChainsOfSignature({other, leaf}, {kLeafSigner}), "leaf");
  EXPECT_EQ(ChainsOfSignature({kLeaf, other, right}, {kLeafSigner}), "leaf old");

  // A certificate that bears its issuer's name but not its key has an issuer all the same.
  const std::string newRoot = MakeCertificate({"new", "Root", "Root", "new", "old"});
  const std::string oldRoot = MakeCertificate({"old", "Root", "Root", "old", "old"});
  EXPECT_EQ(ChainsOfSignature({newRoot, oldRoot}, {MakeSigner("Root", "new")}), "new old");
  EXPECT_EQ(ChainsOfSignature({newRoot, oldRoot}, {MakeSigner("Root", "old")}), "old");
}

TEST(SignerChainsTest, FindASignersCertificateByItsKey) {
  const std::string leaf = MakeCertificate({"leaf", "Leaf", "Issuer", "key"});
  EXPECT_EQ(ChainsOfSignature({kIssuer, leaf}, {MakeSignerByKey("key")}), "leaf issuer");
  EXPECT_EQ(ChainsOfSignature({kIssuer, leaf}, {MakeSignerByKey("other")}), "");
  EXPECT_EQ(ChainsOfSignature({kIssuer, kLeaf}, {MakeSignerByKey("")}), "");
}

TEST(SignerChainsTest, ComeFromAllEntriesAndFromAllSignaturesInsideOthers) {
  const std::string deep = Lone("b", {Lone("c"), Lone("d")});
  const std::string first = Lone("a", {deep, Lone("e")});
  EXPECT_EQ(ChainsIn(MakeEntry(first) + MakeEntry(Lone("f"))), "a | b | c | d | e | f");
}

TEST(SignerChainsTest, PassOverEntriesAndSignaturesThatCannotBeRead) {
  const std::string good = MakeEntry(Lone("good"));
  EXPECT_EQ(ChainsIn(MakeEntry(Lone("other"), 1) + good), "good");
  EXPECT_EQ(ChainsIn(MakeEntry("") + good), "good");
  EXPECT_EQ(ChainsIn(MakeEntry("no signature") + good), "good");
  EXPECT_EQ(ChainsIn(MakeEntry(Lone("cut").substr(0, 100)) + good), "good");
  EXPECT_EQ(ChainsIn(MakeEntry(Lone("a", {"no signature", Lone("b")})) + good), "a | good");
  EXPECT_EQ(ChainsIn(MakeEntry(Lone("a", {Der(0x04, "none"), Lone("b")})) + good), "a | b | good");
}

TEST(SignerChainsTest, BelieveAnEntrysSizeOnlyToFindTheNext) {
  const std::string good = MakeEntry(Lone("good"));
  const std::string lone = Lone("lone");
  const auto size = static_cast<std::uint32_t>(8 + lone.size());
  for (const std::uint32_t tooSmall : {0u, 1u, 7u}) {
    EXPECT_EQ(ChainsIn(good + MakeEntry(lone, 2, tooSmall) + good), "good") << tooSmall;
  }
  for (const std::uint32_t tooLarge : {size + 1000, 0xfffffff8u, 0xffffffffu}) {
    EXPECT_EQ(ChainsIn(good + MakeEntry(lone, 2, tooLarge) + good), "good | lone") << tooLarge;
  }
  EXPECT_EQ(ChainsIn(MakeEntry(lone, 2, size - 1) + good), "good");
  EXPECT_EQ(ChainsIn(MakeEntry(lone + std::string(7, 'x')) + good), "lone | good");
  // An entry that says to end within another's signature leaves no entry that can be read there.
  EXPECT_EQ(ChainsIn(MakeEntry(lone, 2, 16) + good), "");
}

TEST(SignerChainsTest, EndAtTheLimits) {
  std::vector<std::string> many;
  for (int i = 0; i < 64; ++i) many.push_back(MakeCertificate({std::to_string(i), "x", "y"}));
  many.push_back(kLeaf);
  EXPECT_EQ(ChainsOfSignature(many, {kLeafSigner}), "");
  EXPECT_EQ(ChainsOfSignature({many.begin() + 1, many.end()}, {kLeafSigner}), "leaf");

  std::string deep = Lone("5");
  for (const char* const name : {"4", "3", "2", "1"}) deep = Lone(name, {deep});
  EXPECT_EQ(ChainsIn(MakeEntry(deep)), "1 | 2 | 3 | 4");

  std::string table;
  for (int i = 0; i < 63; ++i) table += MakeEntry("");
  const std::string last = MakeEntry(Lone("last"));
  EXPECT_EQ(ChainsIn(table + last), "last");
  EXPECT_EQ(ChainsIn(table + MakeEntry("") + last), "");

  const std::vector<std::string> wide(100, Lone("x"));
  EXPECT_EQ(ReadSignatures(BytesOf(MakeEntry(Lone("a", wide)) + last)).size(), 64u);
  const std::vector<std::string> signers(100, kLeafSigner);
  const std::string twice = MakeEntry(MakeSignature({kLeaf}, signers));
  EXPECT_EQ(ReadSignerChains(BytesOf(twice + twice)).size(), 64u);

  const std::string large = MakeCertificate({"leaf", std::string(0x700000, 'x'), "Issuer"});
  EXPECT_EQ(ChainsOfSignature({large}, {kLeafSigner, kLeafSigner, kLeafSigner}), "leaf | leaf");
}

TEST(SignerChainsTest, StayInsideTheTableWhereverItIsCutOffOrChanged) {
  const std::string whole = MakeEntry(MakeSignature(
      {kRoot, kIssuer, MakeCertificate({"leaf", "Leaf", "Issuer", "key", "issuer's"})},
      {MakeSigner("Issuer", "leaf", {Lone("a"), Lone("b")}), MakeSignerByKey("key")}));
  const std::string expected = "leaf issuer root | leaf issuer root | a | b";
  EXPECT_EQ(ChainsIn(whole), expected);
  for (std::size_t size = 0; size < whole.size() - 8; ++size) {
    EXPECT_EQ(ChainsIn(whole.substr(0, size)), "") << size;
  }
  int different = 0;
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (const char value : {'\x00', '\x30', '\x84', '\xff'}) {
      std::string changed = whole;
      changed[i] = value;
      different += ChainsIn(changed) != expected;
    }
  }
  EXPECT_GT(different, 100);
}

TEST(DerReaderTest, TakesLengthsOfUpToEightBytesAndEndsAtWhatItCannotRead) {
  const std::string longer("\x04\x84\0\0\0\x01x\x04\x88\0\0\0\0\0\0\0\x01y", 18);
  DerReader ofLonger(BytesOf(longer));
  EXPECT_EQ(TextOf(ofLonger.Next(0x04).value().content), "x");
  EXPECT_EQ(TextOf(ofLonger.Next(0x04).value().content), "y");
  const std::string good = Der(0x04, "");
  using std::string_literals::operator""s;
  for (const std::string& bad :
       {"\x04"s, "\x04\x01"s, "\x04\x7f x"s, "\x04\x81"s, "\x04\x82\x01"s, "\x1f\x01\x00"s,
        "\x24\x80\x04\x00\x00\x00"s, "\x04\x89\0\0\0\0\0\0\0\0\0"s, "\x04\xff"s,
        "\x04\x88\xff\xff\xff\xff\xff\xff\xff\xff"s, "\x04\x88\x7f\xff\xff\xff\xff\xff\xff\xff"s}) {
    const std::string bytes = good + bad;
    DerReader reader(BytesOf(bytes));
    EXPECT_TRUE(reader.Next().has_value());
    EXPECT_FALSE(reader.Next().has_value()) << testing::PrintToString(bad);
    EXPECT_FALSE(reader.Next().has_value());
  }
}

}  // namespace
}  // namespace larder::feed
