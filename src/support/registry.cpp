#include "support/registry.h"

#include <algorithm>
#include <iterator>

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

  [[nodiscard]] WideString Shown(platform::Code code) const {
    return FormatSystemError(hidesReasons ? platform::kSuccess : code);
  }
};

void LogFailedQuery(const ReadRequest& request, platform::Code code) {
  LogWarn("RegQueryValueExW failed for \"", request.subkey, "\", ", request.valueName, ": ",
          request.Shown(code));
}

// The key stays open until the caller returns.
bool ReadValue(const ReadRequest& request, AutoRegKeyHandle& key, std::uint32_t& type, void* data,
               std::uint32_t& size) {
  platform::Code code =
      platform::OpenRegistryKey(WholePath(request.subkey), platform::kKeyRead, key.Out());
  if (code != platform::kSuccess) {
    LogWarn("RegOpenKeyExW failed for \"", request.subkey, "\": ", request.Shown(code));
    return false;
  }
  code = platform::QueryRegistryValue(key.Get(), request.valueName, type, data, size);
  if (code == platform::kSuccess) return true;
  LogFailedQuery(request, code);
  return false;
}

}  // namespace

WideString GetRegistryString(const WideString& subkey, const WideString& valueName) {
  ScopeTrace scope("Entering GetRegistryString()", "Leaving GetRegistryString()");
  const ReadRequest request{subkey, valueName, true};
  AutoRegKeyHandle key;
  std::uint32_t type = 0;
  LarderWideChar text[kStringRoom] = {};
  std::uint32_t size = sizeof text;
  if (!ReadValue(request, key, type, text, size)) return {};
  if (type != platform::kRegSz) {
    LogWarn("Unexpected type ", type);
    return {};
  }
  // The value was stored without a terminator, and would have been too long with one.
  if (std::ranges::find(text, LARDER_WIDE('\0')) == std::end(text)) {
    LogFailedQuery(request, platform::kMoreData);
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
