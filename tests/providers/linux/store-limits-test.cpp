// The store in a process that the system sets limits, which are no fault of the store's.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <fstream>

#include "platform/linux/child-process.h"
#include "providers/store-files.h"
#include "testing/test-machine.h"

namespace larder::feed {
namespace {

constexpr std::uint64_t kLimit = std::uint64_t{64} << 20;
constexpr int kStored = 100;

class StoreLimits : public testing::Test {
 protected:
  StoreLimits() {
    std::filesystem::create_directory(machine.Folder() / "store");
    FactStore store(folder, kLimit);
    for (int i = 0; i < kStored; ++i) Keep(store, i);
  }

  static bool IsRefused(FactStore& store, int number, std::size_t size) {
    try {
      KeepNow(store, number, size);
      return false;
    } catch (const std::runtime_error&) {
      return true;
    }
  }

  // Stores large records until one is refused.
  static int RefusedNumber(FactStore& store) {
    int number = kStored;
    while (number < 10 * kStored && !IsRefused(store, number, 200'000)) ++number;
    return number;
  }

  void ExpectWhole() const {
    FactStore store(folder, kLimit);
    EXPECT_TRUE(Has(store, 0) && Has(store, kStored - 1));
    EXPECT_FALSE(std::filesystem::exists(machine.Folder() / "set-aside"));
  }

  TestMachine machine;
  const WideString folder = machine.WideFolder() + LARDER_WIDE("store");
};

TEST_F(StoreLimits, AFileThatMayNotGrowIsNoDamage) {
  const int result = RunInChild([this] {
    FactStore store(folder, kLimit);
    const rlimit limit = {std::filesystem::file_size(machine.Folder() / "store" / "data.mdb"),
                          RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    return RefusedNumber(store) < 10 * kStored && Has(store, 0) ? 0 : 1;
  });
  EXPECT_EQ(result, 0);
  ExpectWhole();
}

TEST_F(StoreLimits, AMapThatCannotGrowIsNoDamage) {
  const int result = RunInChild([this] {
    FactStore store(folder, kLimit);
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlimit limit = {pages * 4096 + (10 << 20), RLIM_INFINITY};
    setrlimit(RLIMIT_AS, &limit);
    return RefusedNumber(store) < 10 * kStored && Has(store, 0) ? 0 : 1;
  });
  EXPECT_EQ(result, 0);
  ExpectWhole();
}

}  // namespace
}  // namespace larder::feed
