#include "providers/foreign-signature.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "testing/test-machine.h"
#include "tools/run-program.h"

namespace larder::feed {
namespace {

void Write(const std::filesystem::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

std::string Read(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// Arguments that are files lie in the folder. The exit status.
int OpenSsl(const std::vector<std::string>& arguments, const std::filesystem::path& folder) {
  return RunProgram("/usr/bin/openssl", arguments, folder / "output", folder / "errors");
}

void Check(int status, const std::filesystem::path& folder) {
  if (status != 0) throw std::runtime_error("openssl: " + Read(folder / "errors"));
}

std::string Decoded(const std::string& base64) {
  const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  unsigned bits = 0;
  int count = 0;
  for (const char c : base64) {
    const std::size_t digit = digits.find(c);
    if (digit == std::string::npos) continue;
    bits = bits << 6 | static_cast<unsigned>(digit);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes += static_cast<char>(bits >> count);
  }
  return bytes;
}

std::set<std::string> CertificatesIn(const std::string& pem) {
  const std::string begin = "-----BEGIN CERTIFICATE-----";
  std::set<std::string> certificates;
  for (std::size_t at = pem.find(begin); at != std::string::npos; at = pem.find(begin, at)) {
    at += begin.size();
    certificates.insert(Decoded(pem.substr(at, pem.find("-----END", at) - at)));
  }
  return certificates;
}

}  // namespace

ForeignSignature ReadForeign(const std::string& signature) {
  TestMachine machine;
  const std::filesystem::path& folder = machine.Folder();
  const std::string blob = folder / "signature";
  const std::string signers = folder / "signers";
  Write(blob, signature);
  Check(OpenSsl({"pkcs7", "-inform", "DER", "-in", blob, "-print_certs"}, folder), folder);
  ForeignSignature foreign{CertificatesIn(Read(folder / "output")), {}};
  Check(OpenSsl({"smime", "-verify", "-inform", "DER", "-in", blob, "-content", "/dev/null",
                 "-noverify", "-nosigs", "-signer", signers},
                folder),
        folder);
  foreign.signers = CertificatesIn(Read(signers));
  return foreign;
}

bool IsIssuedBy(const std::string& certificate, const std::string& issuer) {
  TestMachine machine;
  const std::filesystem::path& folder = machine.Folder();
  const std::string issued = folder / "certificate";
  const std::string trusted = folder / "issuer";
  Write(issued, certificate);
  Write(trusted, issuer);
  return OpenSsl({"verify", "-partial_chain", "-no_check_time", "-trusted", trusted, issued},
                 folder) == 0;
}

}  // namespace larder::feed
