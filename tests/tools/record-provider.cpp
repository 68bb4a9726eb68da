// A provider whose records are what the object's name asks for. Its type is RECORD_TYPE. It reports
// its life, its queries and the blocks that come back as fixtures do (event-log.h).
#include <larder/provider.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>

#include "fixtures/event-log.h"
#include "platform/event.h"
#include "testing/certificate-file.h"
#include "testing/file-record-bytes.h"

namespace {

using larder::RecordBytes;

// The last part of the path; the names are ASCII.
std::string NameOf(const void* objectDescriptor) {
  const larder::WideView path =
      static_cast<const FileObjectDescriptor*>(objectDescriptor)->filePath;
  const larder::WideView name = path.substr(path.rfind(LARDER_WIDE('\\')) + 1);
  return {name.begin(), name.end()};
}

// Chains of real certificates, one certificate that is none, and a chain that is none.
RecordBytes CertifiedRecord(FileDataRecord facts) {
  using larder::CertificateFile;
  std::memset(facts.peMD5, 0x77, sizeof facts.peMD5);
  return larder::FileRecordBytes(facts, {{CertificateFile("signer"), CertificateFile("ca")},
                                         {CertificateFile("utf8")},
                                         {CertificateFile("ca"), CertificateFile("text")},
                                         {{}}});
}

// A certificate follows that has more bytes than the record.
RecordBytes CutRecord(const FileDataRecord& facts) {
  RecordBytes block;
  larder::AppendRecord(block, facts);
  larder::AppendRecord(block, CertChainRecord{0, 0});
  larder::AppendRecord(block, CertDataRecord{0, 1});
  return block;
}

// One that FreeQuery knows again.
constexpr std::uint8_t kKept = 1;
constexpr std::size_t kMark = offsetof(FileDataRecord, reserved);

RecordBytes Record(const std::string& name, std::uint32_t option) {
  FileDataRecord facts{};
  facts.fileId = option;
  if (name == "certified") return CertifiedRecord(facts);
  if (name == "cut") return CutRecord(facts);
  if (name == "small" || name == "tiny") return RecordBytes(sizeof(DataBlockHeader));
  if (name == "dump") return RecordBytes(100, 0xAA);
  RecordBytes block = larder::FileRecordBytes(facts, {{{}}});
  if (name == "kept") block[kMark] = kKept;
  return block;
}

// Tells that a query is running, and stays in it until it is told to go on.
void StayInQuery() {
  namespace platform = larder::platform;
  platform::Handle goOn = nullptr;
  platform::Handle running = nullptr;
  platform::MakeNamedEvent(LARDER_WIDE("QueryGoOn"), goOn);
  platform::MakeNamedEvent(LARDER_WIDE("QueryRunning"), running);
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
    RecordBytes block = Record(name, queryOption);
    const DataBlockHeader header{name == "tiny" ? 7U : static_cast<std::uint32_t>(block.size()),
                                 name == "foreign" ? RECORD_TYPE + 1 : RECORD_TYPE};
    std::memcpy(block.data(), &header, sizeof header);
    result->Copy(block.data(), block.size());
  }

  void FreeQuery(DbBuffer* data) override {
    fixture::Report("free");
    DataBlockHeader header{};
    std::memcpy(&header, data->data, sizeof header);
    const bool isKept = header.dataSize > kMark && data->data[kMark] == kKept;
    data->Reset();
    if (isKept) throw std::runtime_error("the block is kept");
  }

  void Write(const void*, std::uint64_t*, DbBuffer*) override {}

 private:
  fixture::Life life{"created", "destroyed"};
};

}  // namespace

LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) { *out = new RecordProvider; }
