#include "tools/larder/check/module-trial.h"

#include <larder/provider.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>

#include "platform/module.h"
#include "product/product.h"
#include "tools/larder/check/module-image.h"
#include "tools/larder/check/process-resources.h"
#include "tools/larder/check/provider-calls.h"
#include "tools/larder/status/module-file.h"

namespace larder::tool {
namespace {

// By which feed-file serves other parts of Larder.
constexpr const char* kOwnExports[] = {kFileFiguresExport, kStoredRecordsExport};
constexpr std::size_t kMaxNames = 5;

constexpr std::chrono::seconds kMaxThreadEnd(5);
constexpr std::chrono::milliseconds kPollPause(10);

// One module, which may be loaded several times.
class ModuleTrial {
 public:
  ModuleTrial(const WideString& newPath, CheckReport& newReport)
      : path(newPath), report(newReport) {}

  // Each continues what the one before has begun, and returns whether the next one makes sense.
  bool Load();
  bool Examine();
  bool MakeProvider();
  void Query(const std::vector<ObjectDescriptor>& objects) {
    TryQueries(*provider, *type, objects, report);
  }
  bool Destroy();
  bool Unload();

 private:
  void TryExports();
  bool CallGetProvider();
  bool TryType();

  const WideString& path;
  CheckReport& report;
  std::size_t threadsBefore = 0;
  platform::ModuleHandle module = nullptr;
  IDataProvider* provider = nullptr;
  std::optional<std::int32_t> type;  // since the first time
};

bool ModuleTrial::Load() {
  threadsBefore = CountThreads();
  report.Begin(Rule::kLoading, "it is being loaded");
  const platform::Code code = platform::OpenModule(path, module);
  // Not every system fails for an undefined symbol.
  const bool canLackSymbol = code == platform::kSuccess || code == platform::kProcedureNotFound;
  const std::string symbol = canLackSymbol ? FindUndefinedSymbol(path) : "";
  if (canLackSymbol) {
    report.Judge(Rule::kSymbols, symbol.empty() ? "" : symbol + " isn't defined");
  }
  if (!symbol.empty()) return false;
  std::vector<std::string> missing;
  report.Judge(Rule::kLoading,
               code == platform::kSuccess ? "" : DescribeLoadFault(path, code, missing));
  return code == platform::kSuccess;
}

void ModuleTrial::TryExports() {
  std::vector<std::string> names = ExportsOf(module);
  if (std::erase(names, kProviderExport) == 0) {
    return report.Fail(Rule::kExports, "GetProvider isn't exported");
  }
  for (const char* own : kOwnExports) std::erase(names, own);
  std::string others;
  for (std::size_t i = 0; i < std::min(names.size(), kMaxNames); ++i) others += ", " + names[i];
  if (names.size() > kMaxNames) others += " and others";
  report.Judge(Rule::kExports, others.empty() ? "" : "exported too: " + others.substr(2));
}

bool ModuleTrial::Examine() {
  TryExports();
  const bool isShared = UsesSharedRuntime(module);
  report.Judge(Rule::kRuntime,
               isShared ? "" : std::string("the module doesn't need ") + kSharedRuntime);
  return isShared;
}

bool ModuleTrial::MakeProvider() { return CallGetProvider() && TryType(); }

bool ModuleTrial::CallGetProvider() {
  const auto getProvider =
      reinterpret_cast<GetProviderFunction>(platform::FindSymbol(module, kProviderExport));
  if (getProvider == nullptr) return false;
  report.Begin(Rule::kGetProvider, "GetProvider runs");
  provider = nullptr;
  Thrown thrown = CatchFrom([&] { getProvider(&provider); });
  if (!thrown.isAny && provider == nullptr) thrown.text = "it stores null: the host crashes";
  report.Judge(Rule::kGetProvider, thrown.text);
  return provider != nullptr && !thrown.isAny;
}

bool ModuleTrial::TryType() {
  report.Begin(Rule::kGetType, "GetType runs");
  std::int32_t first = 0;
  std::int32_t second = 0;
  const Thrown thrown = CatchFrom([&] {
    first = provider->GetType();
    second = provider->GetType();
  });
  if (thrown.isAny) {
    report.Fail(Rule::kGetType, thrown.text);
    return false;
  }
  if (!type) type = first;
  if (first != second || first != *type) {
    const std::int32_t other = first != *type ? first : second;
    report.Fail(Rule::kGetType,
                "it returns " + std::to_string(*type) + ", then " + std::to_string(other));
  }
  const bool isInRange = first >= 0 && first < kProviderTypeCount;
  report.Judge(Rule::kGetType, isInRange ? "" : "it returns " + std::to_string(first));
  return true;
}

// The system may show a thread for a moment after it has ended.
bool HasThreadsBeyond(std::size_t count) {
  const auto end = std::chrono::steady_clock::now() + kMaxThreadEnd;
  while (CountThreads() > count) {
    if (std::chrono::steady_clock::now() > end) return true;
    std::this_thread::sleep_for(kPollPause);
  }
  return false;
}

bool ModuleTrial::Destroy() {
  report.Begin(Rule::kDestructor, "its provider is destroyed");
  delete provider;
  report.Pass(Rule::kDestructor);
  report.Begin(Rule::kThreads, "its threads end");
  const bool isThreadLeft = HasThreadsBeyond(threadsBefore);
  report.Judge(Rule::kThreads, isThreadLeft ? "a thread is still running" : "");
  return !isThreadLeft;  // the thread would go on in a module that is gone
}

bool ModuleTrial::Unload() {
  report.Begin(Rule::kUnloading, "it is being unloaded");
  platform::CloseModule(module);
  const bool isThere = platform::FindLoadedModule(path) != nullptr;
  report.Judge(Rule::kUnloading, isThere ? "it stays loaded" : "");
  return !isThere;
}

}  // namespace

void TryModule(const WideString& path, const std::vector<ObjectDescriptor>& objects,
               CheckReport& report) {
  std::thread([] {}).join();  // a sanitizer starts a thread of its own with the first one
  ModuleTrial trial(path, report);
  if (!trial.Load() || !trial.Examine() || !trial.MakeProvider()) return;
  trial.Query(objects);
  if (!trial.Destroy() || !trial.Unload()) return;
  // A second life in one process, as after the last LarderRelease.
  if (trial.Load() && trial.MakeProvider() && trial.Destroy()) trial.Unload();
}

}  // namespace larder::tool
