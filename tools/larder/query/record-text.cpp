#include "tools/larder/query/record-text.h"

#include <larder/feed-stats.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "records/record-cursor.h"
#include "records/record-dump.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/cli/text.h"

namespace larder::tool {
namespace {

constexpr std::size_t kLabelWidth = 12;
constexpr std::size_t kBytesPerLine = 16;

// Of a FeedStatsRecord; each has 64 bits.
struct Figure {
  const char* name;
  std::size_t offset;
  bool isTime = false;
};

constexpr std::size_t kFigureLabelWidth = 16;
constexpr Figure kFigures[] = {
    {"since", offsetof(FeedStatsRecord, since), true},
    {"getKeyCalls", offsetof(FeedStatsRecord, getKeyCalls)},
    {"queryCalls", offsetof(FeedStatsRecord, queryCalls)},
    {"freeQueryCalls", offsetof(FeedStatsRecord, freeQueryCalls)},
    {"writeCalls", offsetof(FeedStatsRecord, writeCalls)},
    {"bytesWritten", offsetof(FeedStatsRecord, bytesWritten)},
    {"storeSince", offsetof(FeedStatsRecord, storeSince), true},
    {"storeEntries", offsetof(FeedStatsRecord, storeEntries)},
    {"storeBytes", offsetof(FeedStatsRecord, storeBytes)},
    {"storeHits", offsetof(FeedStatsRecord, storeHits)},
    {"storeMisses", offsetof(FeedStatsRecord, storeMisses)},
    {"filesComputed", offsetof(FeedStatsRecord, filesComputed)},
    {"storeRefused", offsetof(FeedStatsRecord, storeRefused)},
};

bool IsZero(std::span<const unsigned char> bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte == 0; });
}

std::string FileDigests(const FileDataRecord& facts) {
  return RecordLine("md5", Hex(facts.fileMD5)) + RecordLine("sha1", Hex(facts.fileSHA1)) +
         RecordLine("sha256", Hex(facts.fileSHA256)) + RecordLine("sha384", Hex(facts.fileSHA384)) +
         RecordLine("sha512", Hex(facts.fileSHA512));
}

std::string ImageDigests(const FileDataRecord& facts) {
  if (HasNoImageDigests(facts)) return {};
  return RecordLine("pe-md5", Hex(facts.peMD5)) + RecordLine("pe-sha1", Hex(facts.peSHA1)) +
         RecordLine("pe-sha256", Hex(facts.peSHA256)) +
         RecordLine("pe-sha384", Hex(facts.peSHA384)) +
         RecordLine("pe-sha512", Hex(facts.peSHA512));
}

std::string NameLine(const char* label, const std::string& name, const void* cert) {
  if (!name.empty()) return RecordLine(label, Printable(name));
  return RecordLine(label, "(no readable name, " + SizeText(CertificateSize(cert)) + ")");
}

// A character of a path, escaped as by sha256sum.
std::string Escaped(char c) {
  switch (c) {
    case '\\':
      return "\\\\";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    default:
      return {c};
  }
}

// Whether the line of a path has escapes. A backslash that is a separator needs none.
bool NeedsEscapes(const std::string& path) {
  return path.find_first_of(Separator() == '\\' ? "\n\r" : "\\\n\r") != std::string::npos;
}

// The certificates' subjects, and behind them who issued the last one.
std::string ChainText(const std::vector<const void*>& certs) {
  if (IsNoChain(certs)) return RecordLine("chain", "none");
  std::string text =
      RecordLine("chain", std::to_string(certs.size()) +
                              (certs.size() == 1 ? " certificate" : " certificates"));
  for (const void* cert : certs) text += NameLine("  subject", GetWholeCertSubject(cert), cert);
  return text + NameLine("  issuer", GetWholeCertIssuer(certs.back()), certs.back());
}

std::string HeaderText(const DataBlockHeader& header) {
  return RecordLine("type", std::to_string(header.providerType)) +
         RecordLine("size", std::to_string(header.dataSize));
}

// Those that the block has: later versions of the provider append some.
std::string FiguresText(std::span<const unsigned char> block) {
  std::string text;
  for (const Figure& figure : kFigures) {
    if (figure.offset + sizeof(std::uint64_t) > block.size()) break;
    const auto value = ReadUnaligned<std::uint64_t>(block.data() + figure.offset);
    std::string label = std::string("  ") + figure.name;
    label.resize(kFigureLabelWidth, ' ');
    text +=
        RecordLine(label, figure.isTime && value != 0 ? TimeText(value) : std::to_string(value));
  }
  return text;
}

}  // namespace

std::string RecordLine(std::string label, const std::string& value) {
  label.resize(std::max(kLabelWidth, label.size() + 1), ' ');
  return label + value + "\n";
}

std::string PathLine(const std::string& word, const std::string& path) {
  if (!NeedsEscapes(path)) return word + "  " + path + "\n";
  std::string escaped;
  for (const char c : path) escaped += Escaped(c);
  return "\\" + word + "  " + escaped + "\n";
}

std::string FileRecordText(const FileDataRecord& record) {
  std::string text = HeaderText({record.dataSize, record.providerType}) +
                     RecordLine("file-id", std::to_string(record.fileId)) + FileDigests(record) +
                     ImageDigests(record);
  for (const auto& certs : ChainsOf(record)) text += ChainText(certs);
  return text;
}

std::string FileRecordDump(const FileDataRecord& record) {
  const CertNameTexts names{[](const void* cert) { return Printable(GetWholeCertSubject(cert)); },
                            [](const void* cert) { return Printable(GetWholeCertIssuer(cert)); }};
  std::string text = DumpFileDataRecord(&record, 0, names) + "\n";
  std::erase(text, '\r');
  return text;
}

std::vector<std::vector<const void*>> ChainsOf(const FileDataRecord& record) {
  std::vector<std::vector<const void*>> chains;
  for (RecordCursor cursor(&record, record.dataSize); cursor.NextChain();) {
    std::vector<const void*>& certs = chains.emplace_back();
    while (cursor.NextCertificate()) certs.push_back(cursor.Certificate());
  }
  return chains;
}

bool HasSigners(const FileDataRecord& record) {
  const auto chains = ChainsOf(record);
  return !std::all_of(chains.begin(), chains.end(), &IsNoChain);
}

bool IsNoChain(const std::vector<const void*>& certs) {
  return certs.size() == 1 && CertificateSize(certs.front()) == 0;
}

std::uint32_t CertificateSize(const void* cert) {
  return ReadUnaligned<CertDataRecord>(cert).certSize;
}

bool HasNoImageDigests(const FileDataRecord& record) {
  return IsZero(record.peMD5) && IsZero(record.peSHA1) && IsZero(record.peSHA256) &&
         IsZero(record.peSHA384) && IsZero(record.peSHA512);
}

std::string BlockText(std::span<const unsigned char> block) {
  DataBlockHeader header{};
  std::memcpy(&header, block.data(), sizeof header);
  std::string text = HeaderText(header);
  if (header.providerType == LARDER_FEED_STATS_TYPE &&
      block.size() >= LARDER_FEED_STATS_FIRST_SIZE) {
    return text + FiguresText(block);
  }
  for (std::size_t offset = 0; offset < block.size(); offset += kBytesPerLine) {
    const std::size_t count = std::min(kBytesPerLine, block.size() - offset);
    text += RecordLine(offset == 0 ? "data" : "", Hex(block.subspan(offset, count)));
  }
  return text;
}

}  // namespace larder::tool
