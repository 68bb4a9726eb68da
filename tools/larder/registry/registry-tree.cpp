#include "tools/larder/registry/registry-tree.h"

#include <vector>

#include "platform/utf.h"
#include "support/registry.h"
#include "tools/larder/cli/errors.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/registry/registry-value.h"

namespace larder::tool {
namespace {

constexpr std::size_t kLongestName = 16383;  // units; of a value, a key's is shorter

using NameReader = platform::Code (*)(platform::RegistryKey, std::uint32_t, LarderWideChar*,
                                      std::uint32_t&);

class TreePrinter {
 public:
  explicit TreePrinter(Output& target) : output(target), buffer(kLongestName + 1) {}

  void PrintKey(const WideString& subkey);
  [[nodiscard]] bool Succeeded() const { return succeeded; }

 private:
  void Report(const std::string& what, platform::Code code);
  std::vector<WideString> Names(platform::RegistryKey key, NameReader read,
                                const std::string& what);
  void PrintValue(platform::RegistryKey key, const WideString& subkey, const WideString& name);

  Output& output;
  std::vector<LarderWideChar> buffer;
  bool succeeded = true;
};

void TreePrinter::Report(const std::string& what, platform::Code code) {
  PrintError("cannot " + what + ": " + SystemReason(code));
  succeeded = false;
}

std::vector<WideString> TreePrinter::Names(platform::RegistryKey key, NameReader read,
                                           const std::string& what) {
  std::vector<WideString> names;
  for (std::uint32_t index = 0;; ++index) {
    auto length = static_cast<std::uint32_t>(buffer.size());
    const platform::Code code = read(key, index, buffer.data(), length);
    if (code == platform::kNoMoreItems) return names;
    if (code != platform::kSuccess) {
      Report(what, code);
      return names;
    }
    names.emplace_back(buffer.data(), length);
  }
}

void TreePrinter::PrintValue(platform::RegistryKey key, const WideString& subkey,
                             const WideString& name) {
  RegistryValue value;
  const platform::Code code = ReadRegistryValue(key, name, value);
  if (code != platform::kSuccess) {
    Report("read value \"" + platform::Utf8FromWide(name) + "\" of key " + KeyLabel(subkey), code);
    return;
  }
  output.Write(Printable(platform::Utf8FromWide(subkey)) + "\t" +
               Printable(platform::Utf8FromWide(name)) + "\t" + TypeName(value.type) + "\t" +
               Printable(DataText(value)) + "\n");
}

void TreePrinter::PrintKey(const WideString& subkey) {
  const std::string label = KeyLabel(subkey);
  platform::OwnedRegistryKey key;
  const platform::Code code =
      platform::OpenRegistryKey(PathOfSubkey(subkey), platform::kKeyRead, key.Out());
  if (!subkey.empty()) output.Write(Printable(platform::Utf8FromWide(subkey)) + "\n");
  if (code != platform::kSuccess) return Report("open key " + label, code);
  for (const WideString& name :
       Names(key.Get(), &platform::RegistryValueName, "list the values of key " + label)) {
    PrintValue(key.Get(), subkey, name);
  }
  const WideString prefix = subkey.empty() ? subkey : subkey + LARDER_WIDE('\\');
  for (const WideString& name :
       Names(key.Get(), &platform::RegistrySubkeyName, "list the subkeys of key " + label)) {
    PrintKey(prefix + name);
  }
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

bool PrintTree(Output& output) {
  TreePrinter printer(output);
  printer.PrintKey({});
  return printer.Succeeded();
}

}  // namespace larder::tool
