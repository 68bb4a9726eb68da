#include "tools/larder/check/query-trial.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "tools/larder/check/array-blocks.h"
#include "tools/larder/check/process-resources.h"
#include "tools/larder/check/provider-calls.h"

namespace larder::tool {
namespace {

using Objects = std::vector<ObjectDescriptor>;

constexpr std::size_t kThreads = 4;
constexpr std::size_t kBatches = 3;
constexpr std::size_t kSmallestLeak = 16;  // bytes of a heap's smallest block

// Counts the rounds of a loop. The second limit is for a provider that takes long for an answer.
class Rounds {
 public:
  bool Next() {
    const bool isLong = count >= kEnough && std::chrono::steady_clock::now() - start > kLong;
    return count < kMost && !isLong && ++count != 0;
  }
  [[nodiscard]] std::size_t Count() const { return count; }

 private:
  static constexpr std::size_t kMost = 50;  // a process may leak no more than 1,000 descriptors
  static constexpr std::size_t kEnough = 10;
  static constexpr std::chrono::seconds kLong{2};

  std::size_t count = 0;
  const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

bool IsEmpty(const DbBuffer& block) { return block.data == nullptr && block.size == 0; }

// What is wrong with the size of a block from Query; empty if nothing is.
std::string SizeFaultOf(const DbBuffer& block) {
  if (block.data == nullptr) return "the buffer has a size, but no block";
  if (block.size < sizeof(DataBlockHeader)) {
    return "the buffer's size is " + std::to_string(block.size) + ", too small for a header";
  }
  DataBlockHeader header{};
  std::memcpy(&header, block.data, sizeof header);
  if (header.dataSize == block.size) return {};
  return "dataSize is " + std::to_string(header.dataSize) + ", but the buffer's size is " +
         std::to_string(block.size);
}

// block: one without a SizeFaultOf.
std::string TypeFaultOf(const DbBuffer& block, std::int32_t type) {
  DataBlockHeader header{};
  std::memcpy(&header, block.data, sizeof header);
  if (header.providerType == type) return {};
  return "providerType is " + std::to_string(header.providerType) + ", but GetType returns " +
         std::to_string(type);
}

class QueryTrial {
 public:
  QueryTrial(IDataProvider& provider, std::int32_t newType, const Objects& newObjects,
             CheckReport& newReport)
      : calls(provider, newReport), type(newType), objects(newObjects), report(newReport) {}

  void Run();

 private:
  void TryFirstBlock();
  void TryBlock(DbBuffer& block);
  void TryWrite();
  void TryThreads();
  void TryLeaks();
  void AskForAll() const;
  void AskOnThread(std::size_t number);

  const ProviderCalls calls;
  const std::int32_t type;
  const Objects& objects;
  CheckReport& report;
  std::array<std::atomic<unsigned char*>, kThreads> blocksOnTheWay{};
};

void QueryTrial::Run() {
  TryFirstBlock();
  report.Begin(Rule::kQuery, "GetKey and Query run");
  if (!report.HasFailures()) AskForAll();
  report.Pass(Rule::kQuery);
  TryWrite();
  // What is tried from here on may be wrong because of a rule that is already broken.
  if (report.HasFailures()) return;
  report.Pass(Rule::kExceptions);
  TryThreads();
  TryLeaks();
}

void QueryTrial::TryFirstBlock() {
  report.Begin(Rule::kQuery, "GetKey and Query run");
  DbBuffer block;
  const Thrown thrown = calls.Ask(objects.front().data(), block);
  if (!thrown.isAny && !IsEmpty(block)) return TryBlock(block);
  const std::string reason = thrown.isAny ? thrown.text : "Query leaves the buffer empty";
  for (const Rule rule : {Rule::kDataSize, Rule::kProviderType, Rule::kMemory, Rule::kFreeQuery}) {
    report.Skip(rule, "there is no block: " + reason);
  }
}

void QueryTrial::TryBlock(DbBuffer& block) {
  const std::string sizeFault = SizeFaultOf(block);
  report.Judge(Rule::kDataSize, sizeFault);
  if (block.size < sizeof(DataBlockHeader) || block.data == nullptr) {
    (void)block.Release();
    return;
  }
  report.Judge(Rule::kProviderType, TypeFaultOf(block, type));
  const bool isFreeable = IsFromArrayNew(block.data);
  report.Judge(Rule::kMemory, isFreeable ? "" : "delete[] of the host can't free the block");
  report.Begin(Rule::kFreeQuery, "FreeQuery runs");
  calls.GiveBack(block);
  report.Pass(Rule::kFreeQuery);
}

void QueryTrial::TryWrite() {
  report.Begin(Rule::kWrite, "Write gets an empty block");
  calls.WriteNothing(objects.front().data());
  report.Pass(Rule::kWrite);
}

void QueryTrial::AskForAll() const {
  for (const ObjectDescriptor& object : objects) {
    DbBuffer block;
    if (!calls.Ask(object.data(), block).isAny && block.data != nullptr) calls.GiveBack(block);
  }
}

// Blocks are freed by another thread than the one that queried them, as far as the threads meet.
void QueryTrial::AskOnThread(std::size_t number) {
  Rounds rounds;
  while (rounds.Next()) {
    const std::size_t turn = number + rounds.Count();
    DbBuffer block;
    if (calls.Ask(objects[turn % objects.size()].data(), block).isAny || IsEmpty(block)) continue;
    if (!SizeFaultOf(block).empty() || !TypeFaultOf(block, type).empty()) {
      report.Fail(Rule::kConcurrency, "a block's header is wrong only on several threads");
    }
    DbBuffer other;
    other.TakeOwnership(blocksOnTheWay[turn % kThreads].exchange(block.Release()), 0);
    if (other.data != nullptr) calls.GiveBack(other);
  }
}

void QueryTrial::TryThreads() {
  report.Begin(Rule::kConcurrency, "it is queried on several threads at once");
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) threads.emplace_back([this, i] { AskOnThread(i); });
  for (std::thread& thread : threads) thread.join();
  for (auto& slot : blocksOnTheWay) {
    DbBuffer block;
    block.TakeOwnership(slot.exchange(nullptr), 0);
    if (block.data != nullptr) calls.GiveBack(block);
  }
  report.Pass(Rule::kConcurrency);
}

// A cache grows too, but not in every batch.
void QueryTrial::TryLeaks() {
  report.Begin(Rule::kLeaks, "it is queried many times");
  bool leaksMemory = true;
  bool leaksHandles = true;
  for (Rounds warmUp; warmUp.Next();) AskForAll();
  for (std::size_t batch = 0; batch < kBatches; ++batch) {
    const std::size_t heap = CountHeapBytes();
    const std::size_t handles = CountHandles();
    Rounds rounds;
    while (rounds.Next()) AskForAll();
    leaksMemory = leaksMemory && CountHeapBytes() >= heap + rounds.Count() * kSmallestLeak;
    leaksHandles = leaksHandles && CountHandles() >= handles + rounds.Count();
  }
  const char* fault =
      leaksHandles ? "each query leaves a handle open" : "each query leaves memory behind";
  report.Judge(Rule::kLeaks, leaksMemory || leaksHandles ? fault : "");
}

}  // namespace

void TryQueries(IDataProvider& provider, std::int32_t type, const Objects& objects,
                CheckReport& report) {
  QueryTrial(provider, type, objects, report).Run();
}

}  // namespace larder::tool
