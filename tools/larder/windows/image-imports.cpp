#include "tools/larder/windows/image-imports.h"

#include <cstddef>

namespace larder::tool {
namespace {

const unsigned char* Base(HMODULE module) { return reinterpret_cast<const unsigned char*>(module); }

const char* TextAt(HMODULE module, std::size_t offset) {
  return reinterpret_cast<const char*>(Base(module) + offset);
}

std::vector<std::string> SymbolsOf(HMODULE module, const IMAGE_IMPORT_DESCRIPTOR& library) {
  std::vector<std::string> names;
  if (library.OriginalFirstThunk == 0) return names;  // the system has overwritten the names
  const auto* entry =
      reinterpret_cast<const IMAGE_THUNK_DATA*>(Base(module) + library.OriginalFirstThunk);
  for (; entry->u1.AddressOfData != 0; ++entry) {
    if (IMAGE_SNAP_BY_ORDINAL(entry->u1.Ordinal)) continue;
    names.emplace_back(
        TextAt(module, entry->u1.AddressOfData + offsetof(IMAGE_IMPORT_BY_NAME, Name)));
  }
  return names;
}

}  // namespace

const unsigned char* ImageDirectory(HMODULE module, unsigned index) {
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(Base(module));
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(Base(module) + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& table = headers->OptionalHeader.DataDirectory[index];
  return table.Size == 0 ? nullptr : Base(module) + table.VirtualAddress;
}

std::vector<ImportedLibrary> ImportsOf(HMODULE module) {
  std::vector<ImportedLibrary> libraries;
  const auto* entry = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(
      ImageDirectory(module, IMAGE_DIRECTORY_ENTRY_IMPORT));
  for (; entry != nullptr && entry->Name != 0; ++entry) {
    libraries.push_back({TextAt(module, entry->Name), SymbolsOf(module, *entry)});
  }
  return libraries;
}

}  // namespace larder::tool
