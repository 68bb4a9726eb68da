// The certificates of tests/certificates.
#pragma once

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace larder {

inline std::vector<unsigned char> CertificateFile(const std::string& name) {
  std::ifstream stream(LARDER_TEST_CERTIFICATES "/" + name + ".der", std::ios::binary);
  if (!stream) throw std::runtime_error("no certificate " + name);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace larder
