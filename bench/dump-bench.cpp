// A record with certificates as text.
#include "dump-bench.h"

#include "records/record-dump.h"
#include "suite.h"

namespace larder {
namespace {

void Dump(benchmark::State& state) {
  const std::vector<std::vector<RecordBytes>> chains(kChains, MakeChain());
  const RecordBytes record = FileRecordBytes({}, chains);
  const auto* data = reinterpret_cast<const FileDataRecord*>(record.data());
  for (auto _ : state) benchmark::DoNotOptimize(DumpFileDataRecord(data, 0));
}
BENCHMARK(Dump);

}  // namespace
}  // namespace larder
