#include "support/registry.h"

#include "log/log-statement.h"

namespace larder {

namespace {

constexpr std::size_t kStringRoom = kMaxRegistryCharacters + 1;  // with the terminator

WideString WholePath(const WideString& subkey) { return WideString(LarderRegistryRoot) + subkey; }

// What to read, and how to log a failure: a routine that hides reasons logs the text of code 0
// whatever the failure.
struct ReadRequest {
  const WideString& subkey;
  const WideString& valueName;
  bool hidesReasons;
};

// The key stays open until the caller returns.
bool ReadValue(const ReadRequest& request, AutoRegKeyHandle& key, std::uint32_t& type, void* data,
               std::uint32_t& size) {
  const auto shown = [&](platform::Code code) {
    return FormatSystemError(request.hidesReasons ? platform::kSuccess : code);
  };
  platform::Code code =
      platform::OpenRegistryKey(WholePath(request.subkey), platform::kKeyRead, key.Out());
  if (code != platform::kSuccess) {
    LogWarn("RegOpenKeyExW failed for \"", request.subkey, "\": ", shown(code));
    return false;
  }
  code = platform::QueryRegistryValue(key.Get(), request.valueName, type, data, size);
  if (code != platform::kSuccess) {
    LogWarn("RegQueryValueExW failed for \"", request.subkey, "\", ", request.valueName, ": ",
            shown(code));
    return false;
  }
  return true;
}

}  // namespace

WideString GetRegistryString(const WideString& subkey, const WideString& valueName) {
  ScopeTrace scope("Entering GetRegistryString()", "Leaving GetRegistryString()");
  AutoRegKeyHandle key;
  std::uint32_t type = 0;
  // One unit more than is read, so that a value stored without a terminator ends there.
  LarderWideChar text[kStringRoom + 1] = {};
  std::uint32_t size = kStringRoom * sizeof(LarderWideChar);
  if (!ReadValue({subkey, valueName, true}, key, type, text, size)) return {};
  if (type != platform::kRegSz) {
    LogWarn("Unexpected type ", type);
    return {};
  }
  return text;
}

bool GetRegistryInt(const WideString& subkey, const WideString& valueName, std::int32_t* value) {
  ScopeTrace scope("Entering GetRegistryInt()", "Leaving GetRegistryInt()");
  AutoRegKeyHandle key;
  std::uint32_t type = 0;
  std::uint32_t size = sizeof *value;
  if (!ReadValue({subkey, valueName, false}, key, type, value, size)) return false;
  if (type == platform::kRegDword && size == sizeof *value) return true;
  LogWarn("Unexpected type/size ", type);
  return false;
}

void SetRegistryString(const WideString& subkey, const WideString& valueName,
                       const WideString& data) {
  ScopeTrace scope("Entering SetRegistryString()", "Leaving SetRegistryString()");
  AutoRegKeyHandle key;
  platform::Code code =
      platform::MakeRegistryKey(WholePath(subkey), platform::kKeySetValue, key.Out());
  if (code != platform::kSuccess) {
    LogWarn("RegCreateKeyEx failed for \"", subkey, "\": ", FormatSystemError(code));
    return;
  }
  const auto size = static_cast<std::uint32_t>((data.size() + 1) * sizeof(LarderWideChar));
  code = platform::SetRegistryValue(key.Get(), valueName, platform::kRegSz, data.c_str(), size);
  if (code != platform::kSuccess) {
    LogWarn("RegSetValueEx failed for \"", subkey, "\", \"", valueName,
            "\": ", FormatSystemError(code));
  }
}

void DeleteRegistryValue(const WideString& subkey, const WideString& valueName) {
  ScopeTrace scope("Entering DeleteRegistryValue()", "Leaving DeleteRegistryValue()");
  const AutoRegKeyHandle key = OpenRegistrySubkey(subkey, platform::kKeyAllAccess);
  const platform::Code code = platform::RemoveRegistryValue(key.Get(), valueName);
  if (code != platform::kSuccess) {
    LogWarn("RegDeleteValue failed for \"", valueName, "\": ", FormatSystemError(code));
  }
}

AutoRegKeyHandle OpenRegistrySubkey(const WideString& subkey, std::uint32_t access) {
  ScopeTrace scope("Entering OpenRegistrySubkey()", "Leaving OpenRegistrySubkey()");
  AutoRegKeyHandle key;
  const WideString path = WholePath(subkey);
  const platform::Code code = platform::OpenRegistryKey(path, access, key.Out());
  if (code != platform::kSuccess) {
    LogWarn("RegOpenKeyEx failed for \"", path, "\": ", FormatSystemError(code));
  }
  return key;
}

}  // namespace larder
