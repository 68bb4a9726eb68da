#include "providers/provider-module.h"

#include <algorithm>

#include "platform/utf.h"

namespace larder {

WideString BesideProgram(WideView relativePath) {
  WideString path;
  if (platform::HostImagePath(path) != platform::kSuccess)
    throw std::runtime_error("no image path");
  path.erase(path.rfind(u'\\') + 1);
  return path.append(relativePath);
}

std::filesystem::path NativePath(WideString path) {
  std::replace(path.begin(), path.end(), LarderWideChar(u'\\'), LarderWideChar(u'/'));
  return {path};
}

ModuleFile::ModuleFile(const WideString& path) {
  const platform::Code code = platform::OpenModule(path, handle);
  if (code == platform::kSuccess) return;
  throw std::runtime_error(platform::Utf8FromWide(path) + ": code " + std::to_string(code));
}

ModuleFile::~ModuleFile() { platform::CloseModule(handle); }

GetProviderFunction ModuleFile::GetProvider() const {
  return reinterpret_cast<GetProviderFunction>(platform::FindSymbol(handle, "GetProvider"));
}

ProviderModule::ProviderModule(const WideString& path) : file(path) {
  file.GetProvider()(&provider);
}

ProviderModule::~ProviderModule() { delete provider; }

Descriptor::Descriptor(WideView path, std::uint64_t lastModified)
    : words(2 + path.size() / 2 + 1) {  // a NUL unit at least
  std::memcpy(words.data(), &lastModified, sizeof lastModified);
  if (!path.empty()) {
    std::memcpy(words.data() + 2, path.data(), path.size() * sizeof(LarderWideChar));
  }
}

std::uint64_t KeyOf(IDataProvider& provider, const Descriptor& descriptor) {
  std::uint64_t key = 0;
  provider.GetKey(descriptor.Get(), &key);
  return key;
}

DbBuffer QueryOf(IDataProvider& provider, const Descriptor& descriptor, std::uint32_t option) {
  std::uint64_t key = KeyOf(provider, descriptor);
  DbBuffer block;
  provider.Query(descriptor.Get(), option, &key, &block);
  return block;
}

void WriteTo(IDataProvider& provider, const Descriptor& descriptor, DbBuffer block) {
  std::uint64_t key = KeyOf(provider, descriptor);
  provider.Write(descriptor.Get(), &key, &block);
}

void FreeQueryOf(IDataProvider& provider, DbBuffer& block) {
  block.size = 0;
  provider.FreeQuery(&block);
}

DbBuffer BlockOf(std::string_view payload, std::int32_t providerType) {
  DbBuffer block(sizeof(DataBlockHeader) + payload.size());
  const DataBlockHeader header{static_cast<std::uint32_t>(block.size), providerType};
  std::memcpy(block.data, &header, sizeof header);
  std::copy(payload.begin(), payload.end(), block.data + sizeof header);
  return block;
}

std::string PayloadOf(const DbBuffer& block) {
  return {reinterpret_cast<const char*>(block.data) + sizeof(DataBlockHeader),
          HeaderOf(block).dataSize - sizeof(DataBlockHeader)};
}

}  // namespace larder
