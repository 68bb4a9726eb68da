// The peer of LarderInit and LarderRelease: what a program does by itself to load the same modules,
// with a thread of its own.
#include <dlfcn.h>

#include <stdexcept>
#include <thread>

#include "init-bench.h"

namespace larder {
namespace {

void* Load(const std::filesystem::path& path) {
  void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) throw std::runtime_error(dlerror());
  benchmark::DoNotOptimize(dlsym(module, "GetProvider"));
  return module;
}

void LoadAndUnload(benchmark::State& state) {
  const std::vector<std::string> names = ModulesOf(state);
  std::vector<std::filesystem::path> paths;
  for (const std::string& name : names) paths.push_back(Shared<Machine>().Folder() / name);
  for (auto _ : state) {
    std::vector<void*> modules;
    for (const auto& path : paths) modules.push_back(Load(path));
    // As a handle's thread, it runs only while the modules are loaded.
    std::thread([] {}).join();
    for (void* const module : modules) dlclose(module);
  }
}
BENCHMARK(LoadAndUnload)->Arg(1)->Arg(3);

}  // namespace
}  // namespace larder
