// A file provider whose records are what the object's name asks for. It reports its life, its
// queries and the blocks that are freed as fixtures do (event-log.h).
#include <larder/provider.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include "fixtures/event-log.h"
#include "platform/wide.h"
#include "testing/certificate-file.h"
#include "testing/file-record-bytes.h"

namespace {

using larder::CertificateFile;
using larder::RecordBytes;

constexpr std::int32_t kType = 1;
constexpr std::uint8_t kKept = 1;  // in a record's reserved field: FreeQuery fails

// The last part of the path; the names are ASCII.
std::string NameOf(const void* objectDescriptor) {
  const larder::WideView path =
      static_cast<const FileObjectDescriptor*>(objectDescriptor)->filePath;
  const larder::WideView name = path.substr(path.rfind(LARDER_WIDE('\\')) + 1);
  return {name.begin(), name.end()};
}

// For "certified": chains of certificates, of which one can't be read, and an empty certificate.
// For "hostile": a certificate whose names would be mistaken for something else.
std::vector<std::vector<RecordBytes>> ChainsOf(const std::string& name) {
  if (name == "hostile") return {{CertificateFile("hostile")}};
  if (name != "certified") return {{{}}};
  return {{CertificateFile("signer"), CertificateFile("ca")},
          {CertificateFile("utf8")},
          {CertificateFile("ca"), CertificateFile("text")},
          {{}}};
}

// Says that the record goes on where no memory is.
void LinkFar(RecordBytes& block) {
  const std::uint32_t chain = 0x80000000 - sizeof(FileDataRecord) - sizeof(CertChainRecord);
  std::fill_n(block.begin(), sizeof(FileDataRecord::dataSize), 0xFF);
  std::memcpy(&block[sizeof(FileDataRecord)], &chain, sizeof chain);
}

RecordBytes RecordOf(const std::string& name, std::uint32_t option) {
  FileDataRecord facts{};
  facts.providerType = name == "foreign" ? kType + 1 : kType;
  facts.fileId = option;
  if (name == "kept") facts.reserved[0] = kKept;
  if (name == "certified") std::memset(facts.peMD5, 0x77, sizeof facts.peMD5);
  RecordBytes block = larder::FileRecordBytes(facts, ChainsOf(name));
  if (name == "long") std::fill_n(block.begin(), sizeof facts.dataSize, 0xFF);
  if (name == "far") LinkFar(block);
  if (name == "tiny") block[0] = 7, block[1] = 0;
  if (name == "cut") block.back() = 1;  // of the certificate's size
  return block;
}

class RecordProvider final : public IDataProvider {
 public:
  std::int32_t GetType() override { return kType; }

  void GetKey(const void*, std::uint64_t*) override {}

  // For "staying", doesn't return before the file "go-on" exists.
  void Query(const void* objectDescriptor, std::uint32_t queryOption, std::uint64_t*,
             DbBuffer* result) override {
    fixture::Report("query");
    const std::string name = NameOf(objectDescriptor);
    while (name == "staying" && !std::filesystem::exists("go-on")) std::this_thread::yield();
    if (name == "failing") throw std::runtime_error("a failure");
    const RecordBytes block = RecordOf(name, queryOption);
    result->Copy(block.data(), block.size());
  }

  void FreeQuery(DbBuffer* data) override {
    fixture::Report("free");
    FileDataRecord facts{};
    std::memcpy(&facts, data->data, sizeof facts);
    data->Reset();
    if (facts.reserved[0] == kKept) throw std::runtime_error("the block is kept");
  }

  void Write(const void*, std::uint64_t*, DbBuffer*) override {}

 private:
  fixture::Life life{"created", "destroyed"};
};

}  // namespace

LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) { *out = new RecordProvider; }
