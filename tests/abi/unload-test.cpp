// A host that loads the library at run time and unloads it.
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <algorithm>
#include <future>

#include "host/host-machine.h"
#include "log-file/log-files.h"
#include "platform/event.h"
#include "platform/module.h"
#include "support/paths.h"
#include "support/registry.h"
#include "support/scoped-handles.h"
#include "testing/process.h"
#include "tools/larder/check/process-resources.h"

namespace larder {
namespace {

const char* const kModules[] = {"feed-test.dll", "feed-file.dll", "stock-file-query.dll"};

// The tests run in the library's folder.
AutoModuleHandle OpenLibrary() {
  AutoModuleHandle library;
  EXPECT_EQ(platform::OpenModule(Wide(".\\" LARDER_LIBRARY_FILE), library.Out()),
            platform::kSuccess);
  return library;
}

// The function must be one of the library's: Find<decltype(LarderInit)>(library, "LarderInit").
template <typename Function>
Function* Find(const AutoModuleHandle& library, const char* name) {
  return reinterpret_cast<Function*>(platform::FindSymbol(library.Get(), name));
}

// Loads, uses and unloads the library. Its file is mapped while it is loaded, the providers' while
// there is a handle.
void LiveOnce(const std::filesystem::path& folder) {
  const AutoModuleHandle library = OpenLibrary();
  EXPECT_TRUE(IsModuleLoaded(LARDER_LIBRARY_FILE));
  LarderHandle handle = nullptr;
  ASSERT_EQ(Find<decltype(LarderInit)>(library, "LarderInit")(UnexpectedCall, &handle), LARDER_OK);
  for (const char* module : kModules) EXPECT_TRUE(IsModuleLoaded(folder / module)) << module;
  const TestDescriptor file(LARDER_WIDE(".\\feed-test.dll"));
  const DataBlockHeader block = {sizeof block, 2};
  Find<decltype(LarderWrite)>(library, "LarderWrite")(handle, &file, 2, &block);
  // The first query of the file provider writes to its store, the second one reads from it.
  for (const std::int32_t type : {2, 1, 1}) {
    DataBlockHeader* data = nullptr;
    ASSERT_EQ(Find<decltype(LarderQuery)>(library, "LarderQuery")(handle, &file, type, 0, &data,
                                                                  LARDER_QUERY_VERSION),
              LARDER_OK);
    Find<decltype(LarderFreeQuery)>(library, "LarderFreeQuery")(handle, data);
  }
  EXPECT_EQ(Find<decltype(LarderRelease)>(library, "LarderRelease")(), LARDER_OK);
  for (const char* module : kModules) EXPECT_FALSE(IsModuleLoaded(folder / module)) << module;
}

// Throws the process's first exception, for which the C++ runtime may open handles.
void WarmUp() {
  try {
    throw 0;
  } catch (int) {
  }
}

struct Footprint {
  std::size_t threads = tool::CountThreads();
  std::size_t handles = tool::CountHandles();
};

// Repeats a life until three in a row leave nothing behind. What a single one leaves isn't a leak:
// the system may not have finished a joined thread, and MinGW's thread library keeps a thread's
// resources for the next one. A leak in every life fails.
template <typename Live>
void ExpectNothingLeft(const Live& live) {
  Footprint before;
  int inARow = 0;
  for (int life = 1; inARow < 3; ++life) {
    ASSERT_LE(life, 12) << before.threads << " threads, " << before.handles << " handles";
    live();
    EXPECT_FALSE(IsModuleLoaded(LARDER_LIBRARY_FILE)) << "after life " << life;
    const Footprint after;
    const bool hasGrown = after.threads > before.threads || after.handles > before.handles;
    inARow = hasGrown ? 0 : inARow + 1;
    before = {std::max(before.threads, after.threads), std::max(before.handles, after.handles)};
  }
}

TEST(Unload, LeavesNoThreadHandleOrModuleBehind) {
  HostMachine host;
  host.AddProvider("FeedTest", "feed-test.dll");
  host.AddProvider("FeedFile", "feed-file.dll");
  host.AddModule("stock-file-query.dll");
  WarmUp();
  ExpectNothingLeft([&] { LiveOnce(host.machine.Folder()); });
}

TEST(Unload, LeavesNothingBehindAfterAFailedInit) {
  const HostMachine host;
  WarmUp();
  ExpectNothingLeft([] {
    const AutoModuleHandle library = OpenLibrary();
    LarderHandle handle = nullptr;
    EXPECT_EQ(Find<decltype(LarderInit)>(library, "LarderInit")(UnexpectedCall, &handle),
              LARDER_E_DB_OPEN_FAILED);
  });
}

// The module's static objects call LarderInit and LarderRelease while the system loads and unloads
// the module, and so holds the lock without which Windows neither begins nor ends a thread.
TEST(Unload, StaticObjectsOfAModuleMayBuildAndReleaseTheHandle) {
  HostMachine host;
  host.AddProvider("FeedFile", "feed-file.dll");
  host.AddModule("stock-file-query.dll");
  EnableLogging();
  for (int life = 0; life < 3; ++life) {
    AutoModuleHandle client;
    ASSERT_EQ(platform::OpenModule(Wide(".\\fixtures\\static-client.dll"), client.Out()),
              platform::kSuccess);
  }
  const std::vector<WideString> logs = GetLogFiles(LARDER_WIDE("lr_*.log"));
  EXPECT_FALSE(logs.empty());
  for (const WideString& log : logs)
    EXPECT_EQ(CountLinesContaining(log, "Leaving NotificationManager::~NotificationManager()"), 1U);
}

std::promise<std::int32_t> Message;

TEST(Unload, AClientThatUnloadedTheLibraryWithoutAReleaseIsStillCalled) {
  HostMachine host;
  host.AddProvider("FeedTest", "feed-test.dll");
  platform::OwnedHandle event;
  platform::MakeNamedEvent(LARDER_WIDE("InstallerEvent"), event.Out());
  platform::LowerEvent(event.Get());
  {
    const AutoModuleHandle library = OpenLibrary();
    LarderHandle handle = nullptr;
    const auto callback = [](std::int32_t message) { Message.set_value(message); };
    ASSERT_EQ(Find<decltype(LarderInit)>(library, "LarderInit")(callback, &handle), LARDER_OK);
  }
  EXPECT_TRUE(IsModuleLoaded(LARDER_LIBRARY_FILE));
  SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szMessage"), LARDER_WIDE("uninstall"));
  platform::RaiseEvent(event.Get());
  EXPECT_EQ(Message.get_future().get(), 1);
  platform::LowerEvent(event.Get());
  {
    const AutoModuleHandle library = OpenLibrary();
    EXPECT_EQ(Find<decltype(LarderRelease)>(library, "LarderRelease")(), LARDER_OK);
  }
  EXPECT_FALSE(IsModuleLoaded(LARDER_LIBRARY_FILE));
}

// The last test of this program: the library stays in the process.
TEST(Unload, TheLoggerOfAFailedInitKeepsTheLibraryLoaded) {
  const HostMachine host;
  EnableLogging();
  {
    const AutoModuleHandle library = OpenLibrary();
    LarderHandle handle = nullptr;
    EXPECT_EQ(Find<decltype(LarderInit)>(library, "LarderInit")(UnexpectedCall, &handle),
              LARDER_E_DB_OPEN_FAILED);
  }
  EXPECT_TRUE(IsModuleLoaded(LARDER_LIBRARY_FILE));
}

}  // namespace
}  // namespace larder
