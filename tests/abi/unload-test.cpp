// A host that loads the library while it runs, and lets it go again.
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include "abi/process-footprint.h"
#include "platform/module.h"
#include "platform/registry.h"
#include "platform/utf.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

constexpr std::int32_t kFeedFileType = 1;
constexpr std::int32_t kFeedTestType = 2;

struct Note {
  DataBlockHeader header = {.dataSize = sizeof(Note), .providerType = kFeedTestType};
  char text[8] = "kept";
};

// A FileObjectDescriptor with a longer path.
struct NamedObject {
  std::uint32_t lastModified[2] = {0, 0};
  LarderWideChar filePath[7] = {'o', 'b', 'j', 'e', 'c', 't', 0};
};

// The tests run in the folder that holds the library and the modules.
WideString LibraryPath() {
  WideString name;
  if (!platform::WideFromUtf8(LARDER_LIBRARY_FILE, name)) throw std::runtime_error("no UTF-8");
  return LARDER_WIDE(".\\") + name;
}

void SetString(const WideString& subkey, const WideString& name, const WideString& text) {
  platform::RegistryKey key = nullptr;
  const WideString path = LARDER_WIDE("Software\\Velmor\\Larder\\") + subkey;
  ASSERT_EQ(platform::MakeRegistryKey(path, platform::kKeySetValue, key), platform::kSuccess);
  const auto size = static_cast<std::uint32_t>((text.size() + 1) * sizeof(LarderWideChar));
  EXPECT_EQ(platform::SetRegistryValue(key, name, platform::kRegSz, text.c_str(), size),
            platform::kSuccess);
  platform::CloseRegistryKey(key);
}

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
  const NamedObject object;
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
  struct {
    std::uint32_t lastModified[2] = {0, 0};
    LarderWideChar filePath[16] = {'.', '\\', 'f', 'e', 'e', 'd', '-', 't',
                                   'e', 's',  't', '.', 'd', 'l', 'l', 0};
  } file;
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
void LiveOnce() {
  const LoadedLibrary library;
  EXPECT_TRUE(IsMapped(LARDER_LIBRARY_FILE));
  LarderHandle handle = nullptr;
  ASSERT_EQ(library.init([](std::int32_t) {}, &handle), LARDER_OK);
  for (const char* module : kModules) EXPECT_TRUE(IsMapped(module)) << module;
  WriteAndQuery(library, handle);
  QueryFile(library, handle);
  EXPECT_EQ(library.release(), LARDER_OK);
  for (const char* module : kModules) EXPECT_FALSE(IsMapped(module)) << module;
}

void SetLocation() {
  SetString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"), LARDER_WIDE(".\\"));
}

void RegisterProviders() {
  SetString(LARDER_WIDE("DataProviders\\FeedTest"), LARDER_WIDE("szDLL"),
            LARDER_WIDE("feed-test.dll"));
  SetString(LARDER_WIDE("DataProviders\\FeedFile"), LARDER_WIDE("szDLL"),
            LARDER_WIDE("feed-file.dll"));
}

// The first use of the registry and the first exception of a process: system and C++ runtime may
// keep handles for these.
void WarmUp() {
  SetLocation();
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
    EXPECT_FALSE(IsMapped(LARDER_LIBRARY_FILE)) << "after life " << life;
    for (const char* module : kModules) EXPECT_FALSE(IsMapped(module)) << "after life " << life;
    const Footprint after = TakeFootprint();
    const bool hasGrown = after.threads > before.threads || after.handles > before.handles;
    inARow = hasGrown ? 0 : inARow + 1;
    before = {std::max(before.threads, after.threads), std::max(before.handles, after.handles)};
  }
}

TEST(Unload, LeavesNoThreadNoHandleAndNoModuleBehind) {
  TestMachine machine;
  machine.UseOwnCommonFolders();
  WarmUp();
  RegisterProviders();
  ExpectNothingLeft(LiveOnce);
}

void FailOnce() {
  const LoadedLibrary library;
  LarderHandle handle = nullptr;
  EXPECT_EQ(library.init([](std::int32_t) {}, &handle), LARDER_E_DB_OPEN_FAILED);
  EXPECT_EQ(library.release(), LARDER_E_INVALID_HANDLE);
}

TEST(Unload, LeavesNothingBehindAfterAFailedInitEither) {
  const TestMachine machine;
  WarmUp();
  ExpectNothingLeft(FailOnce);
}

}  // namespace
}  // namespace larder
