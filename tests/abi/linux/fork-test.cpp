// A host that forks while it logs: each child is a process without a handle, and may build one.
#include <gtest/gtest.h>
#include <larder/larder.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "platform/registry.h"
#include "platform/wide.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

void NoCall(std::int32_t) {}

void SetString(const WideString& subkey, const WideString& name, const WideString& text) {
  platform::RegistryKey key = nullptr;
  ASSERT_EQ(platform::MakeRegistryKey(LARDER_WIDE("Software\\Velmor\\Larder\\") + subkey,
                                      platform::kKeySetValue, key),
            platform::kSuccess);
  EXPECT_EQ(platform::SetRegistryValue(key, name, platform::kRegSz, text.c_str(),
                                       static_cast<std::uint32_t>((text.size() + 1) * 2)),
            platform::kSuccess);
  platform::CloseRegistryKey(key);
}

// A machine with the test provider, logging switched on.
class Fork : public testing::Test {
 protected:
  Fork() {
    const std::filesystem::path modules = LARDER_TEST_MODULES;
    std::filesystem::copy_file(modules / "feed-test.dll", machine.Folder() / "feed-test.dll");
    for (const char* module : {"feed-file.dll", "stock-file-query.dll"}) {
      std::filesystem::copy_file(modules / module, machine.Folder() / module);
    }
    SetString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"), machine.WideFolder());
    SetString(LARDER_WIDE("DataProviders\\T"), LARDER_WIDE("szDLL"), LARDER_WIDE("feed-test.dll"));
    SetString(LARDER_WIDE("Logging"), LARDER_WIDE("szEnable"), LARDER_WIDE("true"));
  }

  // How often each log tells of a handle that was built.
  std::map<std::string, int> HandlesBuiltPerLog() const {
    std::map<std::string, int> counts;
    const auto root = machine.Folder().parent_path();
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      if (entry.path().filename().string().rfind("lr_", 0) != 0) continue;
      std::ifstream file(entry.path());
      int& count = counts[entry.path()];
      for (std::string line; std::getline(file, line);) {
        count += line.find(" created new handle") != std::string::npos ? 1 : 0;
      }
    }
    return counts;
  }

  TestMachine machine;
};

// A handle's whole life in a child; ends it as a program ends.
[[noreturn]] void LiveAndExit() {
  LarderHandle handle = nullptr;
  const std::uint32_t descriptor[4] = {0, 0, 'a', 0};
  DataBlockHeader* data = nullptr;
  if (LarderRelease() != LARDER_E_INVALID_HANDLE) exit(2);
  if (LarderInit(NoCall, &handle) != LARDER_OK) exit(3);
  if (LarderQuery(handle, descriptor, 2, 0, &data, 1) != LARDER_E_NO_DATA) exit(4);
  if (LarderRelease() != LARDER_OK) exit(5);
  exit(0);
}

int ResultOf(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Fork, AChildMayBuildAHandleOfItsOwnOrExitAndTheParentGoesOn) {
  LarderHandle handle = nullptr;
  ASSERT_EQ(LarderInit(NoCall, &handle), LARDER_OK);
  const pid_t living = fork();
  if (living == 0) LiveAndExit();
  EXPECT_EQ(ResultOf(living), 0);
  const pid_t leaving = fork();
  if (leaving == 0) exit(0);
  EXPECT_EQ(ResultOf(leaving), 0);
  const std::uint32_t descriptor[4] = {0, 0, 'a', 0};
  DataBlockHeader* data = nullptr;
  EXPECT_EQ(LarderQuery(handle, descriptor, 2, 0, &data, 1), LARDER_E_NO_DATA);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  // One log for the parent, one for the child that lived, each with its own lines only.
  const auto built = HandlesBuiltPerLog();
  EXPECT_EQ(built.size(), 2U);
  for (const auto& [log, count] : built) EXPECT_EQ(count, 1) << log;
}

TEST_F(Fork, AChildNeverWaitsForThreadsThatOnlyTheParentHas) {
  LarderHandle kept = nullptr;
  ASSERT_EQ(LarderInit(NoCall, &kept), LARDER_OK);
  std::atomic<bool> isDone{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] {
      while (!isDone) {
        LarderHandle handle = nullptr;
        LarderInit(NoCall, &handle);
        LarderRelease();
      }
    });
  }
  for (int i = 0; i < 20; ++i) {
    const pid_t child = fork();
    if (child == 0) LiveAndExit();
    EXPECT_EQ(ResultOf(child), 0);
  }
  isDone = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

// The facts about a file that is always there.
std::int32_t QueryFile(LarderHandle handle) {
  const std::uint32_t words[] = {0, 0};
  constexpr LarderWideChar kPath[] = u"\\proc\\self\\exe";
  std::vector<unsigned char> descriptor(sizeof words + sizeof kPath);
  std::copy_n(reinterpret_cast<const unsigned char*>(kPath), sizeof kPath,
              descriptor.begin() + sizeof words);
  DataBlockHeader* data = nullptr;
  const std::int32_t result = LarderQuery(handle, descriptor.data(), 1, 0, &data, 1);
  return result == LARDER_OK ? LarderFreeQuery(handle, data) : result;
}

[[noreturn]] void QueryFileAndExit() {
  LarderHandle handle = nullptr;
  if (LarderInit(NoCall, &handle) != LARDER_OK) exit(2);
  if (QueryFile(handle) != LARDER_OK || QueryFile(handle) != LARDER_OK) exit(3);
  if (LarderRelease() != LARDER_OK) exit(4);
  exit(0);
}

TEST_F(Fork, AChildHasTheFileProvidersStoreForItself) {
  SetString(LARDER_WIDE("DataProviders\\F"), LARDER_WIDE("szDLL"), LARDER_WIDE("feed-file.dll"));
  LarderHandle handle = nullptr;
  ASSERT_EQ(LarderInit(NoCall, &handle), LARDER_OK);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(QueryFile(handle), LARDER_OK);
    const pid_t child = fork();
    if (child == 0) QueryFileAndExit();
    EXPECT_EQ(QueryFile(handle), LARDER_OK);
    EXPECT_EQ(ResultOf(child), 0);
  }
  EXPECT_EQ(QueryFile(handle), LARDER_OK);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
}

}  // namespace
}  // namespace larder
