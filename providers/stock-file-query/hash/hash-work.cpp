#include "stock-file-query/hash/hash-work.h"

#include <algorithm>
#include <stdexcept>

namespace larder::feed {
namespace {

constexpr std::size_t kBlocksForTwoThreads = 4;

[[noreturn]] void FailRefused() {
  throw std::runtime_error("the system's cryptographic library refuses a digest");
}

}  // namespace

DigestLane::DigestLane(const platform::DigestLibrary& library, platform::DigestKind digestKind,
                       const ImageLayout* imageLayout)
    : kind(digestKind), layout(imageLayout), digest(platform::StartDigest(library, digestKind)) {
  if (digest == nullptr) FailRefused();
}

bool DigestLane::Claim(std::size_t done) noexcept {
  std::size_t expected = 2 * done;
  return state.compare_exchange_strong(expected, expected + 1);
}

void DigestLane::Add(const FileBlock& block) noexcept {
  if (layout == nullptr) {
    AddBytes(block.Content());
  } else {
    FeedCovered(*layout, block.offset, block.Content(), [this](Bytes bytes) { AddBytes(bytes); });
  }
  ++state;
}

void DigestLane::Finish(Digests& digests) {
  constexpr std::array<std::uint8_t, 8> kZeros{};
  if (layout != nullptr) AddBytes(Bytes(kZeros).first(layout->padding));
  if (isRefused || !platform::FinishDigest(*digest, digests.Of(kind))) FailRefused();
}

void DigestLane::AddBytes(Bytes bytes) noexcept {
  if (!platform::AddToDigest(*digest, bytes.data(), bytes.size())) isRefused = true;
}

HashWork::HashWork(const platform::DigestLibrary& library, const ImageLayout* layout) {
  for (const platform::DigestKind kind : kAllDigests) lanes.emplace_back(library, kind, nullptr);
  if (layout == nullptr) return;
  for (const platform::DigestKind kind : kAllDigests) lanes.emplace_back(library, kind, layout);
}

bool HashWork::EnableHelper() {
  for (Waiter& waiter : waiters) {
    if (platform::MakeEvent(waiter.event.Out()) != platform::kSuccess) return false;
  }
  blocks.resize(kBlocksForTwoThreads);
  return true;
}

FileBlock* HashWork::AcquireBlock() noexcept {
  if (hasEnded || submitted - FewestDone() >= blocks.size()) return nullptr;
  return &blocks[submitted % blocks.size()];
}

void HashWork::Submit() noexcept {
  ++submitted;
  NotifyChange();
}

void HashWork::End() noexcept {
  hasEnded = true;
  NotifyChange();
}

bool HashWork::RunOne() noexcept {
  DigestLane* const lane = ClaimSlowestLane();
  if (lane == nullptr) return false;
  lane->Add(blocks[lane->Done() % blocks.size()]);
  NotifyChange();
  return true;
}

bool HashWork::IsDone() const noexcept { return hasEnded && FewestDone() == submitted; }

void HashWork::WaitForChange(Worker who, std::size_t countSeen) noexcept {
  Waiter& self = waiters[static_cast<std::size_t>(who)];
  const platform::Handle event = self.event.Get();
  self.isWaiting = true;
  while (changeCount == countSeen) {
    std::size_t index = 0;
    static_cast<void>(platform::WaitForAny(&event, 1, index));
    platform::LowerEvent(event);
  }
  self.isWaiting = false;
}

void HashWork::Finish(Digests& file, Digests* image) {
  for (std::size_t i = 0; i < lanes.size(); ++i)
    lanes[i].Finish(i < kAllDigests.size() ? file : *image);
}

std::size_t HashWork::FewestDone() const noexcept {
  std::size_t fewest = submitted;
  for (const DigestLane& lane : lanes) fewest = std::min(fewest, lane.Done());
  return fewest;
}

DigestLane* HashWork::ClaimSlowestLane() noexcept {
  for (;;) {
    DigestLane* best = nullptr;
    std::size_t fewest = submitted;
    for (DigestLane& lane : lanes) {
      if (const std::size_t done = lane.Done(); done < fewest && !lane.IsClaimed()) {
        best = &lane;
        fewest = done;
      }
    }
    if (best == nullptr || best->Claim(fewest)) return best;
  }
}

void HashWork::NotifyChange() noexcept {
  ++changeCount;
  for (Waiter& waiter : waiters)
    if (waiter.isWaiting) platform::RaiseEvent(waiter.event.Get());
}

}  // namespace larder::feed
