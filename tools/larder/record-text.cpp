#include "record-text.h"

#include <algorithm>
#include <cstring>

#include "text.h"

namespace larder::tool {
namespace {

constexpr std::size_t kLabelWidth = 12;
constexpr std::size_t kDumpedBytes = 64;
constexpr std::size_t kBytesPerLine = 16;

bool IsZero(std::span<const unsigned char> bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte == 0; });
}

std::string FileDigests(const FileDataRecord& facts) {
  return RecordLine("md5", Hex(facts.fileMD5)) + RecordLine("sha1", Hex(facts.fileSHA1)) +
         RecordLine("sha256", Hex(facts.fileSHA256)) + RecordLine("sha384", Hex(facts.fileSHA384)) +
         RecordLine("sha512", Hex(facts.fileSHA512));
}

std::string ImageDigests(const FileDataRecord& facts) {
  const bool hasNone = IsZero(facts.peMD5) && IsZero(facts.peSHA1) && IsZero(facts.peSHA256) &&
                       IsZero(facts.peSHA384) && IsZero(facts.peSHA512);
  if (hasNone) return {};
  return RecordLine("pe-md5", Hex(facts.peMD5)) + RecordLine("pe-sha1", Hex(facts.peSHA1)) +
         RecordLine("pe-sha256", Hex(facts.peSHA256)) +
         RecordLine("pe-sha384", Hex(facts.peSHA384)) +
         RecordLine("pe-sha512", Hex(facts.peSHA512));
}

std::string ChainText(const std::vector<std::uint32_t>& sizes) {
  std::string text = std::to_string(sizes.size());
  text += sizes.size() == 1 ? " certificate," : " certificates,";
  for (const std::uint32_t size : sizes) text += " " + std::to_string(size);
  return text + (sizes.back() == 1 ? " byte" : " bytes");
}

std::string HeaderText(const DataBlockHeader& header) {
  return RecordLine("type", std::to_string(header.providerType)) +
         RecordLine("size", std::to_string(header.dataSize));
}

}  // namespace

std::string RecordLine(std::string label, const std::string& value) {
  label.resize(std::max(kLabelWidth, label.size() + 1), ' ');
  return label + value + "\n";
}

std::string FileRecordText(const FileRecord& record) {
  const FileDataRecord& facts = record.facts;
  std::string text = HeaderText({facts.dataSize, facts.providerType}) +
                     RecordLine("file-id", std::to_string(facts.fileId)) + FileDigests(facts) +
                     ImageDigests(facts);
  for (const std::vector<std::uint32_t>& sizes : record.chains) {
    text += RecordLine("chain", ChainText(sizes));
  }
  return text;
}

std::string BlockText(std::span<const unsigned char> block) {
  DataBlockHeader header{};
  std::memcpy(&header, block.data(), sizeof header);
  std::string text = HeaderText(header);
  const auto dumped = block.first(std::min(block.size(), kDumpedBytes));
  for (std::size_t offset = 0; offset < dumped.size(); offset += kBytesPerLine) {
    const std::size_t count = std::min(kBytesPerLine, dumped.size() - offset);
    text += RecordLine(offset == 0 ? "data" : "", Hex(dumped.subspan(offset, count)));
  }
  return text;
}

}  // namespace larder::tool
