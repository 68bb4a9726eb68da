#include "tools/larder/registry/registry-value.h"

#include <cstring>
#include <limits>

#include "platform/scoped-handle.h"
#include "platform/wide.h"
#include "support/registry.h"
#include "tools/larder/cli/text.h"

namespace larder::tool {
namespace {

constexpr std::size_t kMaxNameLength = 16383;  // of a value, in units; a key's name is shorter
constexpr std::uint32_t kFirstGuess = 512;     // bytes
constexpr int kMaxReads = 8;                   // a value may grow between two reads

bool IsText(std::uint32_t type) {
  return type == platform::kRegSz || type == platform::kRegExpandSz;
}

std::string WideDataText(const std::vector<unsigned char>& data) {
  WideString text(data.size() / sizeof(LarderWideChar), LARDER_WIDE('\0'));
  if (!text.empty()) std::memcpy(text.data(), data.data(), data.size());
  if (text.ends_with(LARDER_WIDE('\0'))) text.pop_back();
  return platform::Utf8FromWide(text);
}

std::uint32_t DwordOf(const std::vector<unsigned char>& data) {
  std::uint32_t number = 0;
  std::memcpy(&number, data.data(), sizeof number);
  return number;
}

}  // namespace

WideString PathOfSubkey(const WideString& subkey) {
  WideString path(LarderRegistryRoot);
  path += subkey;
  if (path.ends_with(LARDER_WIDE('\\'))) path.pop_back();
  return path;
}

std::string KeyLabel(const WideString& subkey) {
  return "\"" + platform::Utf8FromWide(subkey.empty() ? PathOfSubkey(subkey) : subkey) + "\"";
}

std::string ValueLabel(const ValueName& target) {
  return "value \"" + platform::Utf8FromWide(target.name) + "\" of key " + KeyLabel(target.subkey);
}

platform::Code ReadNames(platform::RegistryKey key, NameReader read,
                         std::vector<WideString>& names) {
  std::vector<LarderWideChar> buffer(kMaxNameLength + 1);
  for (std::uint32_t index = 0;; ++index) {
    auto length = static_cast<std::uint32_t>(buffer.size());
    const platform::Code code = read(key, index, buffer.data(), length);
    if (code == platform::kNoMoreItems) return platform::kSuccess;
    if (code != platform::kSuccess) return code;
    names.emplace_back(buffer.data(), length);
  }
}

platform::Code ReadRegistryValue(platform::RegistryKey key, const WideString& name,
                                 RegistryValue& value) {
  value.data.resize(kFirstGuess);
  platform::Code code = platform::kMoreData;
  for (int i = 0; i < kMaxReads && code == platform::kMoreData; ++i) {
    auto size = static_cast<std::uint32_t>(value.data.size());
    code = platform::QueryRegistryValue(key, name, value.type, value.data.data(), size);
    if (code == platform::kSuccess || code == platform::kMoreData) value.data.resize(size);
  }
  return code;
}

platform::Code GetValue(const ValueName& target, RegistryValue& value) {
  platform::OwnedRegistryKey key;
  const platform::Code code =
      platform::OpenRegistryKey(PathOfSubkey(target.subkey), platform::kKeyRead, key.Out());
  return code == platform::kSuccess ? ReadRegistryValue(key.Get(), target.name, value) : code;
}

platform::Code SetValue(const ValueName& target, const RegistryValue& value) {
  platform::OwnedRegistryKey key;
  const platform::Code code =
      platform::MakeRegistryKey(PathOfSubkey(target.subkey), platform::kKeySetValue, key.Out());
  if (code != platform::kSuccess) return code;
  return platform::SetRegistryValue(key.Get(), target.name, value.type, value.data.data(),
                                    static_cast<std::uint32_t>(value.data.size()));
}

platform::Code DeleteValue(const ValueName& target) {
  platform::OwnedRegistryKey key;
  const platform::Code code =
      platform::OpenRegistryKey(PathOfSubkey(target.subkey), platform::kKeySetValue, key.Out());
  return code == platform::kSuccess ? platform::RemoveRegistryValue(key.Get(), target.name) : code;
}

bool IsOpenToAll(const WideString& subkey) {
  platform::OwnedRegistryKey key;
  return platform::OpenRegistryKey(PathOfSubkey(subkey), platform::kKeyRead, key.Out()) ==
             platform::kSuccess &&
         platform::IsOpenToAll(key.Get());
}

std::string TypeName(std::uint32_t type) {
  switch (type) {
    case 0:
      return "REG_NONE";
    case platform::kRegSz:
      return "REG_SZ";
    case platform::kRegExpandSz:
      return "REG_EXPAND_SZ";
    case platform::kRegBinary:
      return "REG_BINARY";
    case platform::kRegDword:
      return "REG_DWORD";
    case 7:
      return "REG_MULTI_SZ";
    case 11:
      return "REG_QWORD";
    default:
      return "REG_" + std::to_string(type);
  }
}

std::string DataText(const RegistryValue& value) {
  if (IsText(value.type) && value.data.size() % sizeof(LarderWideChar) == 0) {
    return WideDataText(value.data);
  }
  if (value.type == platform::kRegDword && value.data.size() == sizeof(std::uint32_t)) {
    return std::to_string(DwordOf(value.data));
  }
  return Hex(value.data);
}

RegistryValue TextValue(std::uint32_t type, const WideString& text) {
  RegistryValue value{type, std::vector<unsigned char>((text.size() + 1) * sizeof(LarderWideChar))};
  std::memcpy(value.data.data(), text.c_str(), value.data.size());
  return value;
}

std::optional<RegistryValue> DwordValue(const std::string& text) {
  const auto number = ParseUnsigned(text, std::numeric_limits<std::uint32_t>::max());
  if (!number) return std::nullopt;
  const auto dword = static_cast<std::uint32_t>(*number);
  RegistryValue value{platform::kRegDword, std::vector<unsigned char>(sizeof dword)};
  std::memcpy(value.data.data(), &dword, sizeof dword);
  return value;
}

}  // namespace larder::tool
