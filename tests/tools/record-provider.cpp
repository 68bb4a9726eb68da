// A provider whose records are what the object's name asks for. Its type is RECORD_TYPE. It reports
// its life, its queries and the blocks that come back as fixtures do (event-log.h).
#include <larder/provider.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "fixtures/event-log.h"
#include "platform/event.h"
#include "testing/certificate-file.h"
#include "testing/file-record-bytes.h"

namespace {

using Bytes = std::vector<unsigned char>;

// The last part of the path; the names are ASCII.
std::string NameOf(const void* objectDescriptor) {
  const auto* units = static_cast<const FileObjectDescriptor*>(objectDescriptor)->filePath;
  std::string name;
  for (; *units != 0; ++units) {
    if (*units == LARDER_WIDE('\\')) {
      name.clear();
    } else {
      name += static_cast<char>(*units);
    }
  }
  return name;
}

template <typename Record>
void Append(Bytes& block, const Record& record, std::size_t trailing = 0) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(&record);
  block.insert(block.end(), bytes, bytes + sizeof record);
  block.resize(block.size() + trailing);
}

FileDataRecord Facts(std::uint32_t option) {
  FileDataRecord facts{};
  facts.fileId = option;
  return facts;
}

Bytes PlainRecord(std::uint32_t option, std::uint32_t certSize) {
  Bytes block;
  Append(block, Facts(option));
  Append(block, CertChainRecord{0, 0});
  Append(block, CertDataRecord{0, certSize});
  return block;
}

constexpr std::uint8_t kKept = 1;

// One that FreeQuery knows again.
Bytes KeptRecord(std::uint32_t option) {
  Bytes block = PlainRecord(option, 0);
  block[offsetof(FileDataRecord, reserved)] = kKept;
  return block;
}

bool IsKept(const unsigned char* block) {
  DataBlockHeader header{};
  std::memcpy(&header, block, sizeof header);
  return header.dataSize >= sizeof(FileDataRecord) &&
         block[offsetof(FileDataRecord, reserved)] == kKept;
}

// Two chains; a gap behind the first certificate.
Bytes SignedRecord(std::uint32_t option) {
  FileDataRecord facts = Facts(option);
  std::memset(facts.peMD5, 0x77, sizeof facts.peMD5);
  Bytes block;
  Append(block, facts);
  Append(block, CertChainRecord{8 + 16 + 11, 0});
  Append(block, CertDataRecord{16, 5}, 8);
  Append(block, CertDataRecord{0, 3}, 3);
  Append(block, CertChainRecord{0, 0});
  Append(block, CertDataRecord{0, 1}, 1);
  return block;
}

// Two chains of real certificates, one certificate that is none, and a chain that is none.
Bytes CertifiedRecord(std::uint32_t option) {
  using larder::CertificateFile;
  return larder::FileRecordBytes(Facts(option), {{CertificateFile("signer"), CertificateFile("ca")},
                                                 {CertificateFile("utf8"), CertificateFile("text")},
                                                 {{}}});
}

Bytes Record(const std::string& name, std::uint32_t option) {
  if (name == "kept") return KeptRecord(option);
  if (name == "signed") return SignedRecord(option);
  if (name == "certified") return CertifiedRecord(option);
  if (name == "cut") return PlainRecord(option, 1);
  if (name == "small" || name == "tiny") return Bytes(sizeof(DataBlockHeader));
  if (name == "dump") return Bytes(100, 0xAA);
  return PlainRecord(option, 0);
}

// Tells that a query is running, and stays in it until it is told to go on.
void StayInQuery() {
  namespace platform = larder::platform;
  const platform::Handle goOn = platform::MakeNamedEvent(LARDER_WIDE("QueryGoOn"));
  const platform::Handle running = platform::MakeNamedEvent(LARDER_WIDE("QueryRunning"));
  platform::RaiseEvent(running);
  platform::CloseObject(running);
  std::size_t index = 0;
  const platform::Code code = platform::WaitForAny(&goOn, 1, index);
  platform::CloseObject(goOn);
  if (code != platform::kSuccess) throw std::runtime_error("cannot wait");
}

class RecordProvider final : public IDataProvider {
 public:
  std::int32_t GetType() override { return RECORD_TYPE; }

  void GetKey(const void*, std::uint64_t*) override {}

  void Query(const void* objectDescriptor, std::uint32_t queryOption, std::uint64_t*,
             DbBuffer* result) override {
    fixture::Report("query");
    const std::string name = NameOf(objectDescriptor);
    if (name == "staying") StayInQuery();
    if (name == "failing") throw std::runtime_error("a failure");
    Bytes block = Record(name, queryOption);
    const DataBlockHeader header{name == "tiny" ? 7U : static_cast<std::uint32_t>(block.size()),
                                 name == "foreign" ? RECORD_TYPE + 1 : RECORD_TYPE};
    std::memcpy(block.data(), &header, sizeof header);
    result->Copy(block.data(), block.size());
  }

  void FreeQuery(DbBuffer* data) override {
    fixture::Report("free");
    const bool isKept = IsKept(data->data);
    data->Reset();
    if (isKept) throw std::runtime_error("the block is kept");
  }

  void Write(const void*, std::uint64_t*, DbBuffer*) override {}

 private:
  fixture::Life life{"created", "destroyed"};
};

}  // namespace

LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) { *out = new RecordProvider; }
