// A key of the machine's registry whose contents are read and written as plain text.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "platform/machine-fixture.h"
#include "platform/scoped-handle.h"

namespace larder::platform {

class Key {
 public:
  Code Open(std::string_view path, std::uint32_t access = kKeyRead) {
    owned = {};
    return OpenRegistryKey(Wide(path), access, owned.Out());
  }
  Code Make(std::string_view path, std::uint32_t access = kKeyRead | kKeySetValue) {
    owned = {};
    return MakeRegistryKey(Wide(path), access, owned.Out());
  }
  Code Set(std::string_view name, std::string_view data, std::uint32_t type = kRegBinary) const {
    // wine takes a zero that happens to follow the data of a text for its terminator.
    const std::string padded = std::string(data) + "##";
    return SetRegistryValue(Raw(), Wide(name), type, padded.data(),
                            static_cast<std::uint32_t>(data.size()));
  }
  // The data of a value, or "code N".
  std::string Get(std::string_view name) const {
    std::array<char, 4096> data;
    std::uint32_t type = 0;
    std::uint32_t size = data.size();
    const Code code = QueryRegistryValue(Raw(), Wide(name), type, data.data(), size);
    return code == kSuccess ? std::string(data.data(), size) : "code " + std::to_string(code);
  }
  Code Remove(std::string_view name) const { return RemoveRegistryValue(Raw(), Wide(name)); }
  Code RemoveKey(std::string_view name) const { return RemoveRegistryKey(Raw(), Wide(name)); }
  std::vector<std::string> Subkeys() const { return Names(RegistrySubkeyName); }
  std::vector<std::string> Values() const { return Names(RegistryValueName); }

  RegistryKey Raw() const { return owned.Get(); }

 private:
  std::vector<std::string> Names(decltype(RegistrySubkeyName) list) const {
    std::vector<std::string> names;
    std::array<LarderWideChar, 300> name;
    for (std::uint32_t index = 0;; ++index) {
      std::uint32_t length = name.size();
      const Code code = list(Raw(), index, name.data(), length);
      if (code == kNoMoreItems) return names;
      if (code != kSuccess) return {"code " + std::to_string(code)};
      EXPECT_EQ(name[length], 0);
      names.push_back(Utf8FromWide({name.data(), length}));
    }
  }

  OwnedRegistryKey owned;
};

inline Code RemoveTree(std::string_view path) { return RemoveRegistryTree(Wide(path)); }

// A machine whose registry holds only the empty key "Key".
class RegistryTest : public MachineTest {
 protected:
  RegistryTest() { EXPECT_EQ(key.Make("Key", kKeyAllAccess), kSuccess); }

  Key key;
};

}  // namespace larder::platform
