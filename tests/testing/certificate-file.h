// The certificates of tests/certificates.
#pragma once

#include <string>
#include <vector>

#include "testing/files.h"

namespace larder {

inline std::vector<unsigned char> CertificateFile(const std::string& name) {
  const std::string bytes = ContentOf(LARDER_TEST_CERTIFICATES "/" + name + ".der");
  return {bytes.begin(), bytes.end()};
}

}  // namespace larder
