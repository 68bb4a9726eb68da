#include "tools/larder/check/module-image.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <algorithm>
#include <cstdint>

#include "platform/linux/native.h"

namespace larder::tool {
namespace {

// The dynamic section of a loaded module, which the loader has checked.
class DynamicSection {
 public:
  explicit DynamicSection(platform::ModuleHandle module) {
    void* found = nullptr;
    if (dlinfo(module, RTLD_DI_LINKMAP, &found) == 0) map = static_cast<link_map*>(found);
  }

  [[nodiscard]] std::vector<std::string> Libraries() const {
    std::vector<std::string> names;
    for (const ElfW(Dyn)* entry = Entries(); entry->d_tag != DT_NULL; ++entry) {
      if (entry->d_tag == DT_NEEDED) names.emplace_back(Table<char>(DT_STRTAB) + entry->d_un.d_val);
    }
    return names;
  }

  [[nodiscard]] std::vector<std::string> DefinedSymbols() const {
    std::vector<std::string> names;
    const auto* symbols = Table<ElfW(Sym)>(DT_SYMTAB);
    for (std::uint32_t i = 0, count = SymbolCount(); i < count; ++i) {
      const ElfW(Sym)& symbol = symbols[i];
      if (IsExport(symbol)) names.emplace_back(Table<char>(DT_STRTAB) + symbol.st_name);
    }
    return names;
  }

 private:
  [[nodiscard]] const ElfW(Dyn) * Entries() const {
    static constexpr ElfW(Dyn) kNone{DT_NULL, {}};
    return map == nullptr ? &kNone : map->l_ld;
  }

  // Null if there is no such table. Some systems' loaders replace the offsets by addresses.
  template <typename Item>
  [[nodiscard]] const Item* Table(ElfW(Sxword) tag) const {
    for (const ElfW(Dyn)* entry = Entries(); entry->d_tag != DT_NULL; ++entry) {
      if (entry->d_tag != tag) continue;
      const ElfW(Addr) value = entry->d_un.d_ptr;
      // NOLINTNEXTLINE(performance-no-int-to-ptr): the format has addresses as numbers
      return reinterpret_cast<const Item*>(value < map->l_addr ? value + map->l_addr : value);
    }
    return nullptr;
  }

  // System V ABI, "Hash Table": the second word. GNU's table has no count: its last chain ends at
  // the last symbol, in a word whose lowest bit is set.
  [[nodiscard]] std::uint32_t SymbolCount() const {
    if (const auto* hash = Table<std::uint32_t>(DT_HASH); hash != nullptr) return hash[1];
    const auto* hash = Table<std::uint32_t>(DT_GNU_HASH);
    if (hash == nullptr) return 0;
    const std::uint32_t bucketCount = hash[0];
    const std::uint32_t firstSymbol = hash[1];
    const std::uint32_t* buckets = hash + 4 + hash[2] * (sizeof(ElfW(Addr)) / sizeof *hash);
    const std::uint32_t* chains = buckets + bucketCount;
    std::uint32_t last = *std::max_element(buckets, buckets + bucketCount);
    if (last < firstSymbol) return 0;  // no symbol is exported
    while ((chains[last - firstSymbol] & 1) == 0) ++last;
    return last + 1;
  }

  static bool IsExport(const ElfW(Sym) & symbol) {
    const unsigned char type = ELF64_ST_TYPE(symbol.st_info);
    const bool isOfModule = symbol.st_shndx != SHN_UNDEF && symbol.st_shndx != SHN_ABS;
    return isOfModule && ELF64_ST_BIND(symbol.st_info) != STB_LOCAL &&
           (type == STT_FUNC || type == STT_OBJECT || type == STT_TLS || type == STT_GNU_IFUNC);
  }

  link_map* map = nullptr;
};

}  // namespace

const char* const kSharedRuntime = "libstdc++.so.6";

// Only the loader's message has the name, in the same form in every language.
std::string FindUndefinedSymbol(const WideString& path) {
  constexpr const char* kMark = ": undefined symbol: ";
  std::string native;
  if (platform::NativePath(path, native) != platform::kSuccess) return {};
  if (void* module = dlopen(native.c_str(), RTLD_NOW | RTLD_LOCAL); module != nullptr) {
    dlclose(module);
    return {};
  }
  const char* message = dlerror();
  const std::string text = message == nullptr ? "" : message;
  const std::size_t mark = text.find(kMark);
  if (mark == std::string::npos) return {};
  const std::string name = text.substr(mark + std::char_traits<char>::length(kMark));
  return name.substr(0, name.find_first_of(" \t,("));
}

std::vector<std::string> ExportsOf(platform::ModuleHandle module) {
  return DynamicSection(module).DefinedSymbols();
}

bool UsesSharedRuntime(platform::ModuleHandle module) {
  const std::vector<std::string> names = DynamicSection(module).Libraries();
  return std::find(names.begin(), names.end(), kSharedRuntime) != names.end();
}

}  // namespace larder::tool
