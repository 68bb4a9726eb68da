// Provider modules driven as a host drives them, on a machine of the test's own.
#pragma once

#include <gmock/gmock.h>
#include <larder/feed-file.h>
#include <larder/provider.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file.h"
#include "platform/module.h"
#include "platform/scoped-handle.h"
#include "platform/wide.h"
#include "testing/files.h"
#include "testing/test-machine.h"

namespace larder {

// The full path of a file in the program's folder.
inline WideString BesideProgram(WideView relativePath) {
  WideString path;
  EXPECT_EQ(platform::HostImagePath(path), platform::kSuccess);
  return path.erase(path.rfind(u'\\') + 1).append(relativePath);
}

class ModuleFile {
 public:
  explicit ModuleFile(const WideString& path) {
    const platform::Code code = platform::OpenModule(path, module.Out());
    if (code != platform::kSuccess) throw std::runtime_error("code " + std::to_string(code));
  }

  // The object must be destroyed before the module is unloaded.
  std::unique_ptr<IDataProvider> CreateProvider() const {
    IDataProvider* provider = nullptr;
    const platform::Symbol symbol = platform::FindSymbol(module.Get(), "GetProvider");
    reinterpret_cast<GetProviderFunction>(symbol)(&provider);
    return std::unique_ptr<IDataProvider>(provider);
  }

 private:
  platform::OwnedModule module;
};

// A loaded module and one object of it.
class ProviderModule {
 public:
  explicit ProviderModule(const WideString& path) : file(path), provider(file.CreateProvider()) {}
  IDataProvider* operator->() const { return provider.get(); }
  IDataProvider& operator*() const { return *provider; }

 private:
  const ModuleFile file;
  const std::unique_ptr<IDataProvider> provider;
};

// A FileObjectDescriptor with a path of any length.
class Descriptor {
 public:
  explicit Descriptor(WideView path, std::uint64_t lastModified = 0) : units(4, 0) {
    std::memcpy(units.data(), &lastModified, sizeof lastModified);
    units += path;
  }
  const void* Get() const { return units.c_str(); }

 private:
  WideString units;
};

// GetKey, then the operation, as a host does it.
inline std::uint64_t KeyOf(IDataProvider& provider, const Descriptor& descriptor) {
  std::uint64_t key = 0;
  provider.GetKey(descriptor.Get(), &key);
  return key;
}
inline DbBuffer QueryOf(IDataProvider& provider, const Descriptor& descriptor,
                        std::uint32_t option = 0) {
  std::uint64_t key = KeyOf(provider, descriptor);
  DbBuffer block;
  provider.Query(descriptor.Get(), option, &key, &block);
  return block;
}
inline void WriteTo(IDataProvider& provider, const Descriptor& descriptor, DbBuffer block) {
  std::uint64_t key = KeyOf(provider, descriptor);
  provider.Write(descriptor.Get(), &key, &block);
}
// With a size of 0, as LarderFreeQuery passes the block on.
inline void FreeQueryOf(IDataProvider& provider, DbBuffer& block) {
  block.size = 0;
  provider.FreeQuery(&block);
}

// Throws std::runtime_error if the block ends before the record does.
template <typename Record>
Record RecordIn(const DbBuffer& block, std::size_t offset = 0) {
  if (offset + sizeof(Record) > block.size) throw std::runtime_error("the block is too small");
  Record record;
  std::memcpy(&record, block.data + offset, sizeof record);
  return record;
}

// A block with a correct header and this payload.
inline DbBuffer BlockOf(std::string_view payload, std::int32_t providerType = 0) {
  DbBuffer block(sizeof(DataBlockHeader) + payload.size());
  const DataBlockHeader header{static_cast<std::uint32_t>(block.size), providerType};
  std::memcpy(block.data, &header, sizeof header);
  payload.copy(reinterpret_cast<char*>(block.data) + sizeof header, payload.size());
  return block;
}
inline std::string PayloadOf(const DbBuffer& block) {
  const std::size_t size = RecordIn<DataBlockHeader>(block).dataSize;
  return {block.data + sizeof(DataBlockHeader), block.data + size};
}

// The text of the std::exception that a call throws, or what else happens.
template <typename Call>
std::string TextThrownBy(Call&& call) {
  try {
    call();
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    return "(no std::exception)";
  }
  return "(nothing thrown)";
}

inline platform::FileInfo InfoOf(const WideString& path) {
  platform::FileInfo info;
  platform::FileKind kind{};
  EXPECT_EQ(platform::QueryPathInfo(path, info, kind), platform::kSuccess);
  return info;
}

// A macro because only the test itself can be skipped.
#define SKIP_IF_NOTHING_IS_STORED(path)                                 \
  if (InfoOf(path).validity == platform::kNeverValid)                   \
  GTEST_SKIP() << "records of files in this folder aren't stored: set " \
                  "TMPDIR to one on ext4, XFS or Btrfs"

inline const WideString kFeedFileKey = LARDER_WIDE("DataProviders\\FeedFile");

// Has its own common folders, where the file provider's store is. Its folder contains the query
// module and is registered as the modules' folder: the build's may be too long for the registry.
class ProviderMachine : public TestMachine {
 public:
  ProviderMachine() {
    UseOwnCommonFolders();
    AddModule(LARDER_WIDE("stock-file-query.dll"));
    SetText(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"), WideFolder());
  }

  // Copies a module from the program's folder, or from below it; returns the copy's path.
  WideString AddModule(WideView relativePath) const {
    const std::filesystem::path source = PathOf(BesideProgram(relativePath));
    std::filesystem::copy_file(source, Folder() / source.filename());
    return WideFolder().append(relativePath.substr(relativePath.rfind(u'\\') + 1));
  }

  // Below the library's key of the registry.
  void SetText(const WideString& subkey, const WideString& name, const WideString& text) const {
    Set(subkey, name, platform::kRegSz, text.c_str(), (text.size() + 1) * sizeof(LarderWideChar));
  }
  void SetNumber(const WideString& subkey, const WideString& name, std::uint32_t number) const {
    Set(subkey, name, platform::kRegDword, &number, sizeof number);
  }

 private:
  static void Set(const WideString& subkey, const WideString& name, std::uint32_t type,
                  const void* data, std::size_t size) {
    platform::OwnedRegistryKey key;
    const WideString path = LARDER_WIDE("Software\\Velmor\\Larder\\") + subkey;
    ASSERT_EQ(platform::MakeRegistryKey(path, platform::kKeySetValue, key.Out()), 0u);
    const auto bytes = static_cast<std::uint32_t>(size);
    EXPECT_EQ(platform::SetRegistryValue(key.Get(), name, type, data, bytes), 0u);
  }
};

class FileProviderTest : public testing::Test {
 protected:
  // A file in the machine's folder; returns its path as a descriptor has it.
  WideString MakeFile(WideView name, std::string_view bytes) const {
    WideString path = machine.WideFolder().append(name);
    std::ofstream(PathOf(path), std::ios::binary) << bytes;
    return path;
  }

  FileDataRecord RecordOf(const WideString& path, std::uint32_t option = 0) const {
    return RecordIn<FileDataRecord>(QueryOf(*provider, Descriptor(path), option));
  }
  bool HasData(const WideString& path, std::uint32_t option = 0) const {
    return QueryOf(*provider, Descriptor(path), option).data != nullptr;
  }
  std::string FailureOf(const WideString& path, std::uint32_t option = 0) const {
    return TextThrownBy([&] { QueryOf(*provider, Descriptor(path), option); });
  }
  // The beginning of the provider's texts about a file.
  static std::string CannotRead(const WideString& path) {
    return "Can't read \"" + platform::Utf8FromWide(path) + "\": ";
  }

  const ProviderMachine machine;
  const ProviderModule provider{machine.AddModule(LARDER_WIDE("feed-file.dll"))};
};

}  // namespace larder
