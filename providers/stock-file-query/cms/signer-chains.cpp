#include "stock-file-query/cms/signer-chains.h"

#include <algorithm>
#include <utility>

namespace larder::feed {
namespace {

// known: both certificates have the key identifier; same: and they are equal.
struct KeyAgreement {
  bool known;
  bool same;
};

KeyAgreement Compare(const Certificate& certificate, const Certificate& issuer) {
  const bool known = !certificate.authorityKeyId.empty() && !issuer.subjectKeyId.empty();
  return {known, known && Equal(certificate.authorityKeyId, issuer.subjectKeyId)};
}

bool IssuedItself(const Certificate& certificate) {
  const KeyAgreement keys = Compare(certificate, certificate);
  return Equal(certificate.issuer, certificate.subject) && (!keys.known || keys.same);
}

const Certificate* IssuerOf(const Certificate& certificate, const std::vector<Certificate>& all) {
  if (IssuedItself(certificate)) return nullptr;
  const Certificate* issuer = nullptr;
  for (const Certificate& candidate : all) {
    if (&candidate == &certificate || !Equal(candidate.subject, certificate.issuer)) continue;
    const KeyAgreement keys = Compare(certificate, candidate);
    if (keys.same) return &candidate;
    if (!keys.known && issuer == nullptr) issuer = &candidate;
  }
  return issuer;
}

bool IsOf(const Certificate& certificate, const SignerIdentifier& signer) {
  if (signer.issuer.empty()) {
    return !certificate.subjectKeyId.empty() &&
           Equal(certificate.subjectKeyId, signer.subjectKeyId);
  }
  return Equal(certificate.serial, signer.serial) && Equal(certificate.issuer, signer.issuer);
}

// The certificates of one signature and the issuer of each, which is looked up once for all chains.
class Issuers {
 public:
  explicit Issuers(const std::vector<Certificate>& certificates) : all(certificates) {
    for (const Certificate& certificate : all) issuers.push_back(IssuerOf(certificate, all));
  }

  // Empty if the signer's certificate isn't in the signature.
  CertChain ChainOf(const SignerIdentifier& signer) const {
    CertChain chain;
    std::vector<bool> taken(all.size());
    const auto first =
        std::ranges::find_if(all, [&](const auto& one) { return IsOf(one, signer); });
    const Certificate* next = first == all.end() ? nullptr : &*first;
    while (next != nullptr && !taken[IndexOf(*next)]) {
      chain.push_back(next->whole);
      taken[IndexOf(*next)] = true;
      next = issuers[IndexOf(*next)];
    }
    return chain;
  }

 private:
  std::size_t IndexOf(const Certificate& certificate) const {
    return static_cast<std::size_t>(&certificate - all.data());
  }

  const std::vector<Certificate>& all;
  std::vector<const Certificate*> issuers;  // by index; null: none
};

}  // namespace

std::vector<CertChain> ChainsOf(const SignedData& signature) {
  const Issuers issuers(signature.certificates);
  std::vector<CertChain> chains;
  for (const SignerIdentifier& signer : signature.signers) {
    CertChain chain = issuers.ChainOf(signer);
    if (!chain.empty()) chains.push_back(std::move(chain));
  }
  return chains;
}

}  // namespace larder::feed
