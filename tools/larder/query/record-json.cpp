#include "tools/larder/query/record-text.h"

#include <nlohmann/json.hpp>
#include <vector>

#include "records/record-dump.h"
#include "tools/larder/cli/text.h"

namespace larder::tool {
namespace {

using Json = nlohmann::ordered_json;

Json FileDigests(const FileDataRecord& record) {
  return {{"md5", Hex(record.fileMD5)},
          {"sha1", Hex(record.fileSHA1)},
          {"sha256", Hex(record.fileSHA256)},
          {"sha384", Hex(record.fileSHA384)},
          {"sha512", Hex(record.fileSHA512)}};
}

Json ImageDigests(const FileDataRecord& record) {
  if (HasNoImageDigests(record)) return nullptr;
  return {{"md5", Hex(record.peMD5)},
          {"sha1", Hex(record.peSHA1)},
          {"sha256", Hex(record.peSHA256)},
          {"sha384", Hex(record.peSHA384)},
          {"sha512", Hex(record.peSHA512)}};
}

Json Certificate(const void* cert) {
  return {{"subject", GetWholeCertSubject(cert)},
          {"issuer", GetWholeCertIssuer(cert)},
          {"serial", GetCertSerial(cert)},
          {"size", CertificateSize(cert)}};
}

Json Chains(const FileDataRecord& record) {
  Json chains = Json::array();
  for (const std::vector<const void*>& certs : ChainsOf(record)) {
    if (IsNoChain(certs)) continue;
    Json& chain = chains.emplace_back(Json::array());
    for (const void* cert : certs) chain.push_back(Certificate(cert));
  }
  return chains;
}

}  // namespace

std::string JsonLine(const FileAnswer& answer, const std::string& found) {
  const FileDataRecord* record = answer.block.empty() ? nullptr : &answer.Record();
  Json line;
  line["path"] = answer.path;
  line["lastModified"] = answer.lastModified;
  line["fileId"] = record != nullptr ? Json(FormatFileId(&record->fileId)) : Json();
  line["file"] = record != nullptr ? FileDigests(*record) : Json();
  line["pe"] = record != nullptr ? ImageDigests(*record) : Json();
  line["chains"] = record != nullptr ? Chains(*record) : Json::array();
  line["result"] = answer.result ? Json(*answer.result) : Json();
  line["error"] = answer.error.empty() ? Json() : Json(answer.error);
  if (!found.empty()) line["found"] = found;
  // A path may have bytes or lone surrogates that aren't UTF-8.
  return line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace larder::tool
