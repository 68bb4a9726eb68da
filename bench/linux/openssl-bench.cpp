// The peer of the dump: openssl parses the same certificates.
#include <openssl/x509.h>

#include "dump-bench.h"
#include "suite.h"

namespace larder {
namespace {

void Parse(const RecordBytes& certificate) {
  const unsigned char* bytes = certificate.data();
  X509* const parsed = d2i_X509(nullptr, &bytes, static_cast<long>(certificate.size()));
  benchmark::DoNotOptimize(parsed);
  X509_free(parsed);
}

void ParseCertificates(benchmark::State& state) {
  const std::vector<RecordBytes> chain = MakeChain();
  for (auto _ : state) {
    for (int i = 0; i < kChains; ++i) {
      for (const RecordBytes& certificate : chain) Parse(certificate);
    }
  }
}
BENCHMARK(ParseCertificates);

}  // namespace
}  // namespace larder
