// Signatures as a reader sees them that isn't ours: OpenSSL's program on Linux, the system's
// functions on Windows. One source for each system.
#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace larder::feed {

struct ForeignSignature {
  std::set<std::string> certificates;  // all that the signature holds
  std::set<std::string> signers;       // those among them that signed
};

// signature: a ContentInfo of SignedData. The folder takes files for the time of the call. Throws
// std::runtime_error if the reader can't read the signature.
ForeignSignature ReadForeign(const std::string& signature, const std::filesystem::path& folder);

// Whether the certificate's signature is one with the issuer's key.
bool IsIssuedBy(const std::string& certificate, const std::string& issuer,
                const std::filesystem::path& folder);

}  // namespace larder::feed
