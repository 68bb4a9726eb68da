#include "providers/provider-machine.h"

#include <gtest/gtest.h>

#include "platform/scoped-handle.h"
#include "providers/provider-module.h"

namespace larder {
namespace {

void SetValue(const WideString& subkey, const WideString& name, std::uint32_t type,
              const void* data, std::size_t size) {
  platform::OwnedRegistryKey key;
  const WideString path = LARDER_WIDE("Software\\Velmor\\Larder\\") + subkey;
  ASSERT_EQ(platform::MakeRegistryKey(path, platform::kKeySetValue, key.Out()), platform::kSuccess);
  EXPECT_EQ(
      platform::SetRegistryValue(key.Get(), name, type, data, static_cast<std::uint32_t>(size)),
      platform::kSuccess);
}

}  // namespace

ProviderMachine::ProviderMachine() {
  UseOwnCommonFolders();
  AddModule(LARDER_WIDE("stock-file-query.dll"));
  SetText(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"), WideFolder());
}

WideString ProviderMachine::AddModule(WideView relativePath) const {
  const std::filesystem::path source = NativePath(BesideProgram(relativePath));
  std::filesystem::copy_file(source, Folder() / source.filename());
  return WideFolder().append(relativePath.substr(relativePath.rfind(u'\\') + 1));
}

void ProviderMachine::SetText(const WideString& subkey, const WideString& name,
                              const WideString& text) const {
  SetValue(subkey, name, platform::kRegSz, text.c_str(),
           (text.size() + 1) * sizeof(LarderWideChar));
}

void ProviderMachine::SetNumber(const WideString& subkey, const WideString& name,
                                std::uint32_t number) const {
  SetValue(subkey, name, platform::kRegDword, &number, sizeof number);
}

}  // namespace larder
