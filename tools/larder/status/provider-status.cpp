#include "tools/larder/status/provider-status.h"

#include <array>
#include <map>

#include "platform/folder.h"
#include "platform/message.h"
#include "platform/scoped-handle.h"
#include "platform/wide.h"
#include "product/product.h"
#include "support/registry.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/status/module-file.h"

namespace larder::tool {
namespace {

// The length of a text that may be stored with or without a terminator.
std::size_t CharactersOf(const std::vector<unsigned char>& data) {
  const std::size_t units = (data.size() + 1) / sizeof(LarderWideChar);
  const bool isTerminated = data.size() >= 2 && data.back() == 0 && data[data.size() - 2] == 0;
  return isTerminated ? units - 1 : units;
}

// Why the library gets no text from a value.
std::string ReasonOfNoText(const ValueName& target) {
  platform::OwnedRegistryKey key;
  platform::Code code =
      platform::OpenRegistryKey(PathOfSubkey(target.subkey), platform::kKeyRead, key.Out());
  if (code == platform::kFileNotFound) return "the key " + KeyLabel(target.subkey) + " isn't there";
  if (code != platform::kSuccess) {
    return "the key " + KeyLabel(target.subkey) +
           " can't be opened: " + platform::SystemReason(code);
  }
  RegistryValue value;
  code = ReadRegistryValue(key.Get(), target.name, value);
  if (code == platform::kFileNotFound) return "the value isn't there";
  if (code != platform::kSuccess) return "the value can't be read: " + platform::SystemReason(code);
  const std::size_t bytes = value.data.size();
  const bool fits = bytes <= (kMaxRegistryCharacters + 1) * sizeof(LarderWideChar);
  if (fits && value.type != platform::kRegSz) {
    return "the value has the type " + TypeName(value.type) + ", not REG_SZ";
  }
  const std::size_t characters = CharactersOf(value.data);
  if (characters <= kMaxRegistryCharacters) return "the value is empty";
  return "the value is too long: " + std::to_string(characters) +
         " characters, where the library reads at most " + std::to_string(kMaxRegistryCharacters);
}

// What lets this user open the key DataProviders, after a refusal; empty if it isn't the mark.
std::string RemedyFor(platform::Code code) {
  platform::OwnedRegistryKey key;
  const bool isMarkMissing =
      code == platform::kAccessDenied && platform::CanBeOpenToAll() &&
      platform::OpenRegistryKey(PathOfSubkey(kProvidersKey), platform::kKeyRead, key.Out()) ==
          platform::kSuccess;
  if (!isMarkMissing) return {};
  return "; root can let the programs of all users load the providers: larder setup --everyone";
}

std::vector<WideString> ProviderKeys(std::string& fault) {
  std::vector<WideString> keys;
  platform::OwnedRegistryKey key;
  // Like the library, which only reads the key but opens it for all access.
  platform::Code code =
      platform::OpenRegistryKey(PathOfSubkey(kProvidersKey), platform::kKeyAllAccess, key.Out());
  while (code == platform::kSuccess) {
    std::array<LarderWideChar, kRegistryNameRoom> name{};
    std::uint32_t length = kRegistryNameRoom;
    const auto index = static_cast<std::uint32_t>(keys.size());
    code = platform::RegistrySubkeyName(key.Get(), index, name.data(), length);
    if (code == platform::kSuccess) keys.emplace_back(name.data(), length);
  }
  if (key.IsEmpty() && code == platform::kFileNotFound) {
    fault = "the key isn't there";
  } else if (key.IsEmpty()) {
    fault = "the key can't be opened for reading and writing, which the library does: " +
            platform::SystemReason(code) + RemedyFor(code);
  } else if (code != platform::kNoMoreItems) {
    fault = "the keys below it can't be listed: " + platform::SystemReason(code);
  } else if (keys.empty()) {
    fault = "there is no key below it";
  }
  return keys;
}

bool EndsInBackslash(const WideString& path) { return path.ends_with(LARDER_WIDE('\\')); }

std::string QuotedPath(const WideString& path) { return '"' + PathText(path) + '"'; }

// Looks near a path without a file for the one that was probably meant.
std::string Hint(const WideString& location, const WideString& dll, const WideString& path) {
  if (!location.empty() && !EndsInBackslash(location)) {
    const WideString meant = location + LARDER_WIDE('\\') + dll;
    if (IsThere(meant)) {
      return "; the file is at " + QuotedPath(meant) +
             ", which is another path: szLocation must end in a backslash";
    }
  }
  std::vector<WideString> names;
  if (platform::FindNames(path, names) == platform::kSuccess && !names.empty()) {
    return "; there is \"" + platform::Utf8FromWide(names.front()) +
           "\", which differs in upper and lower case";
  }
  return {};
}

void Locate(const StatusValue& location, ProviderStatus& provider) {
  if (location.text.empty()) {
    provider.place = "searched for by the system, because szLocation names no folder";
    return;
  }
  std::uint32_t attributes = 0;
  const platform::Code code = platform::PathAttributes(provider.path, attributes);
  provider.isThere = code == platform::kSuccess;
  if (provider.isThere) {
    const bool isFolder = (attributes & platform::kAttributeDirectory) != 0;
    provider.place = isFolder ? "there, but it is a folder" : "there";
    return;
  }
  const bool isMissing = code == platform::kFileNotFound || code == platform::kPathNotFound;
  provider.place = isMissing ? "not there" : "not accessible: " + platform::SystemReason(code);
  provider.place += Hint(location.text, provider.dll.text, provider.path);
}

ProviderStatus FindProvider(const WideString& key, const StatusValue& location,
                            std::chrono::milliseconds limit) {
  ProviderStatus provider;
  provider.key = key;
  provider.dll = ReadStatusValue({kProvidersKey + (LARDER_WIDE('\\') + key), kModuleValue});
  if (provider.dll.text.empty()) return provider;
  provider.path = location.text + provider.dll.text;
  Locate(location, provider);
  provider.probe = ProbeProvider(provider.path, limit);
  ProbeResult& probe = provider.probe;
  if (location.text.empty()) {
    if (!probe.fault.empty()) probe.fault += "; szLocation names no folder: " + location.fault;
  } else if (!provider.isThere) {
    probe.fault = "the file is " + provider.place;
  }
  return provider;
}

// Two modules of one type, or a type out of range: each module loads by itself, but LarderInit
// fails.
void FindClashes(std::vector<ProviderStatus>& providers) {
  std::map<std::int32_t, WideString> owners;
  for (ProviderStatus& provider : providers) {
    if (!provider.probe.fault.empty() || !provider.probe.type) continue;
    const std::int32_t type = *provider.probe.type;
    const auto [owner, isFirst] = owners.emplace(type, provider.key);
    if (type < 0 || type >= kProviderTypeCount) {
      provider.probe.fault =
          "it reports the type " + std::to_string(type) + ", not one from 0 to 5";
    } else if (!isFirst) {
      provider.probe.fault = "it reports the type " + std::to_string(type) +
                             ", which is already taken by \"" +
                             platform::Utf8FromWide(owner->second) + "\"";
    }
  }
}

}  // namespace

StatusValue ReadStatusValue(const ValueName& target) {
  StatusValue value{GetRegistryString(target.subkey, target.name), {}};
  if (value.text.empty()) value.fault = ReasonOfNoText(target);
  return value;
}

std::vector<ProviderStatus> FindProviders(const StatusValue& location,
                                          std::chrono::milliseconds limit, std::string& fault) {
  std::vector<ProviderStatus> providers;
  for (const WideString& key : ProviderKeys(fault)) {
    providers.push_back(FindProvider(key, location, limit));
  }
  FindClashes(providers);
  return providers;
}

}  // namespace larder::tool
