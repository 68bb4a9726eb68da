// Provider modules driven as a host drives them, and what the tests put in and take out.
#pragma once

#include <larder/provider.h>

#include <cstdint>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/module.h"
#include "platform/wide.h"

namespace larder {

// The full path of something in the program's folder.
WideString BesideProgram(WideView relativePath);

// The same path for the standard library, which knows no backslashes on Linux.
std::filesystem::path NativePath(WideString path);

// A loaded module.
class ModuleFile {
 public:
  explicit ModuleFile(const WideString& path);  // throws std::runtime_error if it can't be loaded
  ~ModuleFile();
  ModuleFile(const ModuleFile&) = delete;
  ModuleFile& operator=(const ModuleFile&) = delete;

  // The export; null if there is none.
  GetProviderFunction GetProvider() const;

 private:
  platform::ModuleHandle handle = nullptr;
};

// A loaded module and its object, which is destroyed before the module is unloaded.
class ProviderModule {
 public:
  explicit ProviderModule(const WideString& path);
  ~ProviderModule();
  ProviderModule(const ProviderModule&) = delete;
  ProviderModule& operator=(const ProviderModule&) = delete;

  IDataProvider* operator->() const { return provider; }
  IDataProvider& operator*() const { return *provider; }

 private:
  ModuleFile file;
  IDataProvider* provider = nullptr;
};

// A FileObjectDescriptor with a path of any length.
class Descriptor {
 public:
  explicit Descriptor(WideView path, std::uint64_t lastModified = 0);
  const void* Get() const { return words.data(); }

 private:
  std::vector<std::uint32_t> words;
};

// GetKey, then the operation, as a host does it.
std::uint64_t KeyOf(IDataProvider& provider, const Descriptor& descriptor);
DbBuffer QueryOf(IDataProvider& provider, const Descriptor& descriptor, std::uint32_t option = 0);
void WriteTo(IDataProvider& provider, const Descriptor& descriptor, DbBuffer block);
// The block as LarderFreeQuery hands it over: with a size of 0.
void FreeQueryOf(IDataProvider& provider, DbBuffer& block);

// A block with a correct header and this behind it.
DbBuffer BlockOf(std::string_view payload, std::int32_t providerType = 0);
// What follows the header.
std::string PayloadOf(const DbBuffer& block);

// A record in the block. Throws std::runtime_error if it isn't there as a whole.
template <typename Record>
Record RecordAt(const DbBuffer& block, std::size_t offset = 0) {
  if (offset + sizeof(Record) > block.size) throw std::runtime_error("no record there");
  Record record;
  std::memcpy(&record, block.data + offset, sizeof record);
  return record;
}
inline DataBlockHeader HeaderOf(const DbBuffer& block) { return RecordAt<DataBlockHeader>(block); }

// The text of the std::exception that a call throws; "(nothing thrown)" if it throws none.
template <typename Call>
std::string TextThrownBy(Call&& call) {
  try {
    call();
  } catch (const std::exception& error) {
    return error.what();
  }
  return "(nothing thrown)";
}

}  // namespace larder
