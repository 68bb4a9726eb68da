// The file provider's own query module. Each query reads the whole file.
#include <optional>
#include <stdexcept>
#include <vector>

#include "common/file-query.h"
#include "platform/digest.h"
#include "stock-file-query/file-facts.h"
#include "stock-file-query/file-record.h"
#include "stock-file-query/pe/certificate-table.h"

namespace larder::feed {
namespace {

class StockFileQuery final : public IFileQuery {
 public:
  // Throws std::runtime_error if the system lacks one of the digests.
  StockFileQuery() : library(platform::OpenDigestLibrary()) {
    if (library != nullptr) return;
    throw std::runtime_error("the system's cryptographic library has no MD5, SHA-1 or SHA-2");
  }

  bool Query(const ObjectIdentity& wanted, SeenFile* seen, DbBuffer* record) override {
    const std::optional<FileFacts> facts = ReadFileFacts(*library, wanted);
    if (!facts) return false;
    const std::vector<CertChain> chains = ReadSignerChains(facts->certificateTable);
    *record = SerializeFileRecord(*facts, chains);
    *seen = facts->file;
    return true;
  }

 private:
  platform::AutoDigestLibrary library;
};

}  // namespace
}  // namespace larder::feed

LARDER_PROVIDER_EXPORT void GetFileQuery(larder::feed::IFileQuery** out) {
  *out = new larder::feed::StockFileQuery;
}
