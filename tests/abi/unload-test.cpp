// A host that loads the library while it runs, and lets it go again.
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include "abi/process-footprint.h"
#include "host/file-descriptor.h"
#include "host/host-machine.h"
#include "platform/module.h"
#include "testing/modules.h"

namespace larder {
namespace {

constexpr std::int32_t kFeedFileType = 1;
constexpr std::int32_t kFeedTestType = 2;

struct Note {
  DataBlockHeader header = {.dataSize = sizeof(Note), .providerType = kFeedTestType};
  char text[8] = "kept";
};

// The tests run in the folder that holds the library and the modules.
WideString LibraryPath() { return Wide(".\\" LARDER_LIBRARY_FILE); }

// The library as a host has it that found its six functions by name.
class LoadedLibrary {
 public:
  LoadedLibrary() {
    EXPECT_EQ(platform::OpenModule(LibraryPath(), module), platform::kSuccess);
    Find("LarderInit", init);
    Find("LarderRelease", release);
    Find("LarderQuery", query);
    Find("LarderFreeQuery", freeQuery);
    Find("LarderWrite", write);
  }
  ~LoadedLibrary() { platform::CloseModule(module); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  decltype(&LarderInit) init = nullptr;
  decltype(&LarderRelease) release = nullptr;
  decltype(&LarderQuery) query = nullptr;
  decltype(&LarderFreeQuery) freeQuery = nullptr;
  decltype(&LarderWrite) write = nullptr;

 private:
  template <typename Function>
  void Find(const char* name, Function& function) {
    function = reinterpret_cast<Function>(platform::FindSymbol(module, name));
    if (function == nullptr) throw std::runtime_error(name);
  }

  platform::ModuleHandle module = nullptr;
};

void WriteAndQuery(const LoadedLibrary& library, LarderHandle handle) {
  const TestDescriptor object(LARDER_WIDE("object"));
  const Note note;
  ASSERT_EQ(library.write(handle, &object, kFeedTestType, &note.header), LARDER_OK);
  DataBlockHeader* data = nullptr;
  ASSERT_EQ(library.query(handle, &object, kFeedTestType, 0, &data, LARDER_QUERY_VERSION),
            LARDER_OK);
  EXPECT_STREQ(reinterpret_cast<const Note*>(data)->text, "kept");
  EXPECT_EQ(library.freeQuery(handle, data), LARDER_OK);
}

// Twice, so that the store is written to and read from.
void QueryFile(const LoadedLibrary& library, LarderHandle handle) {
  const TestDescriptor file(LARDER_WIDE(".\\feed-test.dll"));
  for (int i = 0; i < 2; ++i) {
    DataBlockHeader* data = nullptr;
    ASSERT_EQ(library.query(handle, &file, kFeedFileType, 0, &data, LARDER_QUERY_VERSION),
              LARDER_OK);
    EXPECT_EQ(library.freeQuery(handle, data), LARDER_OK);
  }
}

const char* const kModules[] = {"feed-test.dll", "feed-file.dll", "stock-file-query.dll"};

// Load, use, let go. The library's file is mapped exactly as long as it is loaded, the providers'
// as long as there is a handle.
void LiveOnce(const std::filesystem::path& folder) {
  const LoadedLibrary library;
  EXPECT_TRUE(IsModuleLoaded(LARDER_LIBRARY_FILE));
  LarderHandle handle = nullptr;
  ASSERT_EQ(library.init([](std::int32_t) {}, &handle), LARDER_OK);
  for (const char* module : kModules) EXPECT_TRUE(IsModuleLoaded(folder / module)) << module;
  WriteAndQuery(library, handle);
  QueryFile(library, handle);
  EXPECT_EQ(library.release(), LARDER_OK);
  for (const char* module : kModules) EXPECT_FALSE(IsModuleLoaded(folder / module)) << module;
}

// The first exception of a process: the C++ runtime may keep handles for it.
void WarmUp() {
  try {
    throw 0;
  } catch (int) {
  }
}

constexpr int kMostLives = 12;
constexpr int kLivesWithoutTrace = 3;

// Lets lives pass until some in a row have left nothing. A single trace is no leak: a thread that
// has been joined may still be on its way out of the system, and MinGW's thread library keeps what
// it has made for a thread to use it for the next one. What each life leaves is never forgiven.
template <typename Live>
void ExpectNothingLeft(const Live& live) {
  Footprint before = TakeFootprint();
  int inARow = 0;
  for (int life = 1; inARow < kLivesWithoutTrace; ++life) {
    ASSERT_LE(life, kMostLives) << before.threads << " threads, " << before.handles << " handles";
    live();
    EXPECT_FALSE(IsModuleLoaded(LARDER_LIBRARY_FILE)) << "after life " << life;
    const Footprint after = TakeFootprint();
    const bool hasGrown = after.threads > before.threads || after.handles > before.handles;
    inARow = hasGrown ? 0 : inARow + 1;
    before = {std::max(before.threads, after.threads), std::max(before.handles, after.handles)};
  }
}

TEST(Unload, LeavesNoThreadNoHandleAndNoModuleBehind) {
  HostMachine host;
  host.AddProvider("FeedTest", "feed-test.dll");
  host.AddProvider("FeedFile", "feed-file.dll");
  host.AddModule("stock-file-query.dll");
  WarmUp();
  ExpectNothingLeft([&] { LiveOnce(host.machine.Folder()); });
}

void FailOnce() {
  const LoadedLibrary library;
  LarderHandle handle = nullptr;
  EXPECT_EQ(library.init([](std::int32_t) {}, &handle), LARDER_E_DB_OPEN_FAILED);
  EXPECT_EQ(library.release(), LARDER_E_INVALID_HANDLE);
}

TEST(Unload, LeavesNothingBehindAfterAFailedInitEither) {
  const HostMachine host;
  WarmUp();
  ExpectNothingLeft(FailOnce);
}

}  // namespace
}  // namespace larder
