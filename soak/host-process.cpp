#include "soak/host-process.h"

#include <larder/feed-file.h>

#include <cstring>
#include <exception>
#include <string>
#include <thread>
#include <vector>

#include "soak/process.h"
#include "soak/run.h"

namespace larder::soak {
namespace {

constexpr int kTypes = 6;
constexpr int kFailing = 8;  // one call of so many fails

void OnSignal(std::int32_t) { ++signalsHeard; }

void MustBe(std::int32_t result, std::int32_t expected, const char* function) {
  if (result == expected) return;
  throw Fault(std::string(function) + " returned " + std::to_string(result) + ", not " +
              std::to_string(expected));
}

std::int32_t ResultOf(const SoakObject& object) {
  return object.how == FailHow::kCode ? kFailureCode : LARDER_E_GENERIC;
}

}  // namespace

std::atomic<int> signalsHeard;

HostProcess::HostProcess(const std::filesystem::path& itsFolder, int slot, HostState& shared)
    : life(shared.slots[slot]), state(shared), folder(itsFolder) {
  Begin();
}

void HostProcess::Load() {
  SetPhase(kLoading, 0);
  library = std::make_unique<Library>();
  SetPhase(kIdle, 0);
  ++state.loads;
}

void HostProcess::Unload() {
  SetPhase(kUnloading, 0);
  library.reset();
  SetPhase(kIdle, 0);
}

void HostProcess::MustBeUnmapped() const {
  if (IsLibraryLoaded()) throw Fault("the library is still mapped");
}

void HostProcess::Begin() {
  for (Sequence& thread : life.threads) thread.begun = thread.safe = 0;
  life.id = ++state.lives;
}

void HostProcess::AllSafe() {
  for (Sequence& thread : life.threads) thread.safe = thread.begun.load();
}

LarderHandle HostProcess::Init() {
  SetPhase(kStarting, 0);
  LarderHandle handle = nullptr;
  const std::int32_t result = library->init(OnSignal, &handle);
  SetPhase(kIdle, 0);
  if (result != LARDER_E_ALREADY_INITIALIZED) {
    MustBe(result, LARDER_OK, "LarderInit");
    ++state.handles;
  }
  return handle;
}

void HostProcess::MustFailToInit() {
  LarderHandle handle = nullptr;
  MustBe(library->init(OnSignal, &handle), LARDER_E_DB_OPEN_FAILED, "LarderInit");
  if (handle != nullptr) throw Fault("LarderInit failed and returned a handle");
  ++state.failedInits;
}

void HostProcess::Release() {
  SetPhase(kReleasing, 0);
  MustBe(library->release(), LARDER_OK, "LarderRelease");
  SetPhase(kIdle, 0);
  ++state.cycles;
}

void HostProcess::MustHaveNoHandle() {
  MustBe(library->release(), LARDER_E_INVALID_HANDLE, "LarderRelease without a handle");
}

void HostProcess::Call(LarderHandle handle, int thread, Random& random) {
  const auto type = static_cast<std::int32_t>(random() % kTypes);
  const SoakObject object = NextObject(thread, random);
  const bool writes =
      object.at == FailAt::kWrite || (object.at < FailAt::kQuery && random() % 4 == 0);
  if (writes)
    Write(handle, type, object, thread);
  else
    Query(handle, type, object, thread);
  ++state.calls;
}

void HostProcess::QueryFile(LarderHandle handle) {
  static const WideString path = WideOf(ProgramFolder() / LARDER_SOAK_LIBRARY);
  std::vector<unsigned char> descriptor(offsetof(FileObjectDescriptor, filePath) +
                                        (path.size() + 1) * sizeof(LarderWideChar));
  std::memcpy(&descriptor[offsetof(FileObjectDescriptor, filePath)], path.c_str(),
              path.size() * sizeof(LarderWideChar));
  DataBlockHeader* data = nullptr;
  MustBe(library->query(handle, descriptor.data(), LARDER_FEED_FILE_TYPE, LARDER_FEED_FILE_NOW,
                        &data, LARDER_QUERY_VERSION),
         LARDER_OK, "LarderQuery of a file");
  MustBe(library->freeQuery(handle, data), LARDER_OK, "LarderFreeQuery of a file");
  ++state.calls;
}

void HostProcess::CallFromThreads(LarderHandle handle, int threads, int calls, Random& random) {
  InThreads(threads, random, [&](int thread, Random& own) {
    for (int i = 0; i < calls; ++i) Call(handle, thread, own);
  });
}

void InThreads(int threads, Random& random, const std::function<void(int, Random&)>& function) {
  std::vector<std::thread> running;
  std::vector<std::exception_ptr> failures(static_cast<std::size_t>(threads));
  for (int thread = 0; thread < threads; ++thread) {
    running.emplace_back([&, thread, own = Random(random())]() mutable {
      try {
        function(thread, own);
      } catch (...) {
        failures[static_cast<std::size_t>(thread)] = std::current_exception();
      }
    });
  }
  for (std::thread& thread : running) thread.join();
  for (const std::exception_ptr& failure : failures) {
    if (failure != nullptr) std::rethrow_exception(failure);
  }
}

// The phase is that of thread 0.
void HostProcess::SetPhase(Phase phase, int thread) {
  if (thread == 0) life.phase = phase;
}

// A failing key is never logged, so that call has no number.
SoakObject HostProcess::NextObject(int thread, Random& random) {
  SoakObject object;
  if (random() % kFailing == 0) {
    object.at = static_cast<FailAt>(1 + random() % 5);
    object.how = static_cast<FailHow>(random() % static_cast<int>(FailHow::kCount));
    ++state.failedCalls;
  }
  if (object.at != FailAt::kGetKey)
    object.number = CallNumber(life.id, thread, ++life.threads[thread].begun).Key();
  return object;
}

void HostProcess::Query(LarderHandle handle, std::int32_t type, const SoakObject& object,
                        int thread) {
  const bool fails = object.at != FailAt::kNever && object.at < FailAt::kFreeQuery;
  SetPhase(kQuerying, thread);
  DataBlockHeader* data = nullptr;
  const std::int32_t result = library->query(handle, &object, type, 0, &data, LARDER_QUERY_VERSION);
  SetPhase(kIdle, thread);
  MustBe(result, fails ? ResultOf(object) : LARDER_OK, "LarderQuery");
  if (fails) return;
  const auto* const block = reinterpret_cast<const SoakBlock*>(data);
  if (block->header.providerType != type || block->object.number != object.number)
    throw Fault("LarderQuery returned the block of another object");
  SetPhase(kFreeing, thread);
  const std::int32_t freed = library->freeQuery(handle, data);
  SetPhase(kIdle, thread);
  MustBe(freed, object.at == FailAt::kFreeQuery ? LARDER_E_GENERIC : LARDER_OK, "LarderFreeQuery");
}

void HostProcess::Write(LarderHandle handle, std::int32_t type, const SoakObject& object,
                        int thread) {
  const SoakBlock block{.header = {sizeof block, type}, .object = object};
  SetPhase(kWriting, thread);
  const std::int32_t result = library->write(handle, &object, type, &block.header);
  SetPhase(kIdle, thread);
  MustBe(result, object.at == FailAt::kNever ? LARDER_OK : LARDER_E_GENERIC, "LarderWrite");
}

}  // namespace larder::soak
