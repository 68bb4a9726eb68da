#include "feed-file/query-module-path.h"

#include <stdexcept>
#include <string>

#include "common/object-identity.h"
#include "common/system-reason.h"
#include "platform/registry.h"

namespace larder::feed {
namespace {

constexpr WideView kRoot = LARDER_WIDE("Software\\Velmor\\Larder\\");
constexpr std::size_t kMostCharacters = 98;  // as much as the library itself reads

class OpenKey {
 public:
  OpenKey() = default;
  ~OpenKey() { platform::CloseRegistryKey(key); }
  OpenKey(const OpenKey&) = delete;
  OpenKey& operator=(const OpenKey&) = delete;

  platform::RegistryKey key = nullptr;
};

[[noreturn]] void Fail(const WideString& path, const WideString& name, const std::string& reason) {
  throw std::runtime_error("Can't read the registry value " + Quoted(name) + " of the key " +
                           Quoted(path) + ": " + reason);
}

// Empty if there is no such value.
WideString ReadText(WideView subkey, const WideString& name) {
  const WideString path = WideString(kRoot).append(subkey);
  OpenKey open;
  std::uint32_t type = 0;
  // One unit more than is asked for, so that a value stored without a terminator ends here.
  LarderWideChar text[kMostCharacters + 2] = {};
  std::uint32_t size = (kMostCharacters + 1) * sizeof(LarderWideChar);
  platform::Code code = platform::OpenRegistryKey(path, platform::kKeyRead, open.key);
  if (code == platform::kSuccess) {
    code = platform::QueryRegistryValue(open.key, name, type, text, size);
  }
  if (code == platform::kFileNotFound) return {};
  if (code == platform::kMoreData) Fail(path, name, "it has more than 98 characters");
  if (code != platform::kSuccess) Fail(path, name, SystemReason(code));
  if (type != platform::kRegSz) Fail(path, name, "it isn't of type REG_SZ");
  return text;
}

}  // namespace

WideString QueryModulePath() {
  const WideString location = ReadText(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"));
  const WideString file =
      ReadText(LARDER_WIDE("DataProviders\\FeedFile"), LARDER_WIDE("szFileQuery"));
  return location + (file.empty() ? LARDER_WIDE("stock-file-query.dll") : file);
}

}  // namespace larder::feed
