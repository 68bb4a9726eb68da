#include "soak/host-machine.h"

#include <string>
#include <utility>

#include "platform/event.h"
#include "platform/registry.h"
#include "product/product.h"
#include "soak/machine.h"
#include "soak/run.h"

namespace larder::soak {
namespace {

constexpr int kStoreLimitMiB = 64;

void Check(platform::Code code, const char* what) {
  if (code != platform::kSuccess) throw Fault(std::string(what) + ": code " + std::to_string(code));
}

WideString Under(WideView key) { return WideString(LarderRegistryRoot) + WideString(key); }

void SetText(WideView key, const WideString& name, const WideString& text) {
  platform::RegistryKey open = nullptr;
  Check(platform::MakeRegistryKey(Under(key), platform::kKeyAllAccess, open), "opening a key");
  const auto size = static_cast<std::uint32_t>((text.size() + 1) * sizeof(LarderWideChar));
  const auto code = platform::SetRegistryValue(open, name, platform::kRegSz, text.c_str(), size);
  platform::CloseRegistryKey(open);
  Check(code, "setting a value");
}

void Register(const WideString& provider, const WideString& module) {
  SetText(WideString(kProvidersKey) + LARDER_WIDE("\\") + provider, kModuleValue, module);
}

}  // namespace

void PrepareHostMachine(const std::filesystem::path& folder) {
  PrepareMachine(folder, kStoreLimitMiB);
  SetText(kInstallKey, kMessageValue, LARDER_WIDE("upgrade"));
  DeleteLogs(folder);
}

void UseProviders(Providers providers) {
  static_cast<void>(platform::RemoveRegistryTree(Under(kProvidersKey)));
  if (providers == Providers::kProduct) {
    Register(LARDER_WIDE("FeedFile"), LARDER_WIDE("feed-file.dll"));
    Register(LARDER_WIDE("FeedStats"), LARDER_WIDE("feed-stats.dll"));
    return;
  }
  for (int type = 0; type < kProviderTypeCount; ++type) {
    const auto digit = static_cast<LarderWideChar>('0' + type);
    Register(LARDER_WIDE("Soak") + WideString(1, digit),
             LARDER_WIDE("soak-") + WideString(1, digit) + LARDER_WIDE(".dll"));
  }
}

void SwitchLog(bool on) {
  SetText(kLoggingKey, kLoggingValue, on ? kLoggingOn : LARDER_WIDE("false"));
}

std::filesystem::path LogsFolder(const std::filesystem::path& folder) {
  return StoreParent(folder).parent_path().parent_path() / "logs";
}

void DeleteLogs(const std::filesystem::path& folder) {
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(LogsFolder(folder), none)) {
    std::error_code failed;
    if (entry.path().filename().string().starts_with("lr_"))
      std::filesystem::remove(entry.path(), failed);
  }
}

InstallerSignal::InstallerSignal() {
  Check(platform::MakeNamedEvent(kInstallerEvent, event), "opening the installer's event");
}

InstallerSignal::~InstallerSignal() {
  platform::LowerEvent(event);
  platform::CloseObject(event);
}

void InstallerSignal::Raise() { Check(platform::RaiseEvent(event), "raising the event"); }

void InstallerSignal::Lower() { Check(platform::LowerEvent(event), "lowering the event"); }

}  // namespace larder::soak
