// Statements read the list far more often than it changes, so a reader takes no lock.
//
// The listeners are in an immutable array that is published as a whole. Adding one publishes a
// larger array in which every listener keeps its index, so a reader that goes on from one array to
// the next neither misses nor repeats a listener. Removing one sets its entry to null.
//
// Before a removed listener or an old array may be freed, all readers that may still see it must
// have left. Each reader increments one of two counters, chosen by the parity of the current
// period. A removal advances the period and waits until the old period's counter is zero: it waits
// for exactly the readers that entered before the change, however many new ones arrive.
//
// There are several pairs of counters, so that threads that log at the same time seldom write to
// the same cache line. A removal waits for one after the other.
#include "log/log-listener-list.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <thread>
#include <utility>

namespace larder {

// Registers this thread as a reader during its lifetime.
class LRLogListenerList::Reading {
 public:
  explicit Reading(LRLogListenerList& list) noexcept : counters(list.counters[Index()]) {
    for (;;) {
      const std::uint32_t now = list.period.load();
      mine = now & 1;
      counters.readers[mine].fetch_add(1);
      // If the period is still the same, a removal from here on sees this reader in the counter.
      if (list.period.load() == now) return;
      Leave();
    }
  }
  ~Reading() { Leave(); }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

 private:
  void Leave() noexcept { counters.readers[mine].fetch_sub(1); }

  // By the address of this object, which is on the thread's stack: it costs less than the thread's
  // number. The multiplication distributes stacks at any distance; its upper three bits remain.
  std::size_t Index() const noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(this);
    return static_cast<std::uint32_t>(address >> 16) * 0x9E3779B9u >> 29;
  }

  Counters& counters;
  std::uint32_t mine = 0;
};

LRLogListenerList& LRLogListenerList::Instance() {
  static LRLogListenerList list;
  return list;
}

// Runs at process exit, when other threads may still execute statements; they find an empty list.
// Nothing waits here: arrays that a thread may be reading are leaked.
LRLogListenerList::~LRLogListenerList() {
  Array* const last = current.exchange(nullptr);
  if (!HasReaders(0) && !HasReaders(1)) FreeArrays(last);
}

LRLogListenerList::Array* LRLogListenerList::MakeArray(std::size_t room) {
  const std::size_t extra = (room - 1) * sizeof(std::atomic<LRLogListener*>);
  auto* const array = new (::operator new(sizeof(Array) + extra)) Array{0, nullptr, {nullptr}};
  for (std::size_t i = 1; i < room; ++i)
    new (&array->entries[i]) std::atomic<LRLogListener*>(nullptr);
  return array;
}

void LRLogListenerList::FreeArrays(Array* array) noexcept {
  while (array != nullptr) ::operator delete(std::exchange(array, array->retired));
}

std::atomic<LRLogListener*>* LRLogListenerList::Find(const LRLogListener* listener) noexcept {
  Array* const array = current.load();
  if (array == nullptr) return nullptr;
  auto* const end = array->entries + array->count;
  auto* const found = std::find(array->entries, end, listener);
  return found == end ? nullptr : found;
}

bool LRLogListenerList::HasReaders(std::uint32_t parity) const noexcept {
  return std::any_of(std::begin(counters), std::end(counters),
                     [parity](const Counters& each) { return each.readers[parity].load() != 0; });
}

// A reader leaves within microseconds unless it isn't scheduled. The system's objects to wait on
// would cost the readers more.
void LRLogListenerList::WaitForReaders() noexcept {
  const std::uint32_t old = period.fetch_add(1) & 1;
  while (HasReaders(old)) std::this_thread::sleep_for(std::chrono::microseconds(100));
}

void LRLogListenerList::AddListener(LRLogListener* listener) {
  if (Find(listener) == nullptr) {
    Array* const old = current.load();
    std::size_t kept = old == nullptr ? 0 : old->count;
    while (kept > 0 && old->entries[kept - 1] == nullptr) --kept;
    Array* const grown = MakeArray(kept + 1);
    for (std::size_t i = 0; i < kept; ++i) grown->entries[i] = old->entries[i].load();
    grown->entries[kept] = listener;
    grown->count = kept + 1;
    grown->retired = old;  // readers may still use it; the next removal frees it
    current.store(grown);
  }
  LogGate.fetch_or(kDiskSink);
}

void LRLogListenerList::RemoveListener(LRLogListener* listener) noexcept {
  auto* const entry = Find(listener);
  if (entry == nullptr) return;
  entry->store(nullptr);
  WaitForReaders();
  FreeArrays(std::exchange(current.load()->retired, nullptr));
}

void LRLogListenerList::ForgetInForkedChild() noexcept {
  current = nullptr;
  for (Counters& each : counters) {
    for (std::atomic<std::uint32_t>& count : each.readers) count = 0;
  }
}

void LRLogListenerList::Log(const char* line) {
  const Reading reading(*this);
  for (std::size_t i = 0;; ++i) {
    const Array* const now = current.load();
    if (now == nullptr || i >= now->count) return;
    if (LRLogListener* const entry = now->entries[i].load()) entry->Log(line);
  }
}

}  // namespace larder
