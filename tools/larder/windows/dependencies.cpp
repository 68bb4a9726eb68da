#include "tools/larder/status/module-file.h"

#include <windows.h>

#include <memory>
#include <set>

#include "platform/wide.h"
#include "platform/windows/native.h"
#include "tools/larder/windows/image-imports.h"

namespace larder::tool {
namespace {

struct FreeModule {
  void operator()(HMODULE module) const noexcept { FreeLibrary(module); }
};
using OwnedModule = std::unique_ptr<HINSTANCE__, FreeModule>;

class DependencySearch {
 public:
  explicit DependencySearch(std::vector<std::string>& target) : missing(target) {}

  // module: a path, or a bare name to search for.
  platform::Code Inspect(const WideString& module) {
    // Maps the file without loading its dependencies or calling its entry point.
    const OwnedModule mapped(LoadLibraryExW(module.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES));
    if (!mapped) return platform::LastError();
    for (const ImportedLibrary& library : ImportsOf(mapped.get())) Check(library.name);
    return platform::kSuccess;
  }

 private:
  void Check(const std::string& name) {
    WideString wide;
    if (!platform::WideFromUtf8(name, wide) || !seen.insert(wide).second) return;
    if (const OwnedModule found(LoadLibraryW(wide.c_str())); found) return;
    // A file that exists but can't be loaded either lacks something itself or isn't a module.
    const std::size_t before = missing.size();
    if (Inspect(wide) != platform::kSuccess || missing.size() == before) {
      missing.push_back(name);
    }
  }

  std::vector<std::string>& missing;
  std::set<WideString> seen;
};

}  // namespace

platform::Code FindMissingDependencies(const WideString& path, std::vector<std::string>& names) {
  WideString native;
  if (const platform::Code code = platform::NativePath(path, native); code != platform::kSuccess)
    return code;
  return DependencySearch(names).Inspect(native);
}

}  // namespace larder::tool
