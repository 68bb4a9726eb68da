// Signatures as a reader sees them that isn't ours: OpenSSL's functions on Linux, the system's on
// Windows, which need the machine's real registry. One source for each system.
#pragma once

#include <set>
#include <string>

namespace larder::feed {

struct ForeignSignature {
  std::set<std::string> certificates;  // all that the signature holds
  std::set<std::string> signers;       // the ones of them that signed
};

// signature: a ContentInfo of SignedData. Throws std::runtime_error if the reader can't read it.
ForeignSignature ReadForeign(const std::string& signature);

}  // namespace larder::feed
