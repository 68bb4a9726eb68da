// The certificates of a record.
#pragma once

#include <vector>

#include "testing/certificate-file.h"
#include "testing/file-record-bytes.h"

namespace larder {

inline constexpr int kChains = 3;  // all alike

inline std::vector<RecordBytes> MakeChain() {
  return {CertificateFile("rsa"), CertificateFile("ecdsa"), CertificateFile("signer"),
          CertificateFile("ca")};
}

}  // namespace larder
