#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/message.h"
#include "platform/registry.h"
#include "platform/scoped-handle.h"
#include "platform/wide.h"
#include "product/product.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/registry/registry-value.h"

namespace larder::tool {
namespace {

// Prints keys and values, one a line. Tabs separate the columns: subkey; name, type and data of a
// value; "everyone" for a key that is open to all users. What can't be read has a line on standard
// error and is skipped.
class TreePrinter {
 public:
  explicit TreePrinter(Output& target) : output(target) {}

  void PrintKey(const WideString& subkey);
  [[nodiscard]] bool HasPrintedAll() const { return hasPrintedAll; }

 private:
  void Report(const std::string& what, platform::Code code);
  std::vector<WideString> Names(platform::RegistryKey key, NameReader read,
                                const std::string& what);
  void PrintValue(platform::RegistryKey key, const WideString& subkey, const WideString& name);

  Output& output;
  bool hasPrintedAll = true;
};

void TreePrinter::Report(const std::string& what, platform::Code code) {
  PrintError("cannot " + what + ": " + platform::SystemReason(code));
  hasPrintedAll = false;
}

std::vector<WideString> TreePrinter::Names(platform::RegistryKey key, NameReader read,
                                           const std::string& what) {
  std::vector<WideString> names;
  const platform::Code code = ReadNames(key, read, names);
  if (code != platform::kSuccess) Report(what, code);
  return names;
}

void TreePrinter::PrintValue(platform::RegistryKey key, const WideString& subkey,
                             const WideString& name) {
  RegistryValue value;
  const platform::Code code = ReadRegistryValue(key, name, value);
  if (code != platform::kSuccess) {
    Report("read " + ValueLabel({subkey, name}), code);
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
  const char* mark = platform::IsOpenToAll(key.Get()) ? "\teveryone\n" : "\n";
  if (!subkey.empty()) output.Write(Printable(platform::Utf8FromWide(subkey)) + mark);
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

int PrintTree(Output& output) {
  TreePrinter printer(output);
  printer.PrintKey({});
  return printer.HasPrintedAll() ? kExitOk : kExitFailed;
}

constexpr const char* kSubkeyHelp =
    "Key, with backslashes between its levels; empty for the root itself";

// As the user gave them.
struct Arguments {
  std::string subkey;
  std::optional<std::string> name;
  std::string data;
  std::string type = "REG_SZ";
};

// Accepts one backslash at the end. Refuses an empty level: the system would ignore it and open
// another key than the one that the user named.
WideString CheckedSubkey(const std::string& argument) {
  WideString subkey = WideArgument("SUBKEY", argument);
  if (subkey.size() > 1 && subkey.ends_with(LARDER_WIDE('\\'))) subkey.pop_back();
  const bool hasEmptyLevel = subkey.starts_with(LARDER_WIDE('\\')) ||
                             subkey.ends_with(LARDER_WIDE('\\')) ||
                             subkey.find(LARDER_WIDE("\\\\")) != WideString::npos;
  if (hasEmptyLevel) throw UsageError("SUBKEY", "empty level in " + argument);
  return subkey;
}

ValueName CheckedTarget(const Arguments& arguments) {
  return {CheckedSubkey(arguments.subkey), WideArgument("NAME", arguments.name.value_or(""))};
}

// The names are ASCII.
bool IsSameName(WideView one, WideView other) {
  const auto upper = [](LarderWideChar c) {
    const bool isLower = c >= LARDER_WIDE('a') && c <= LARDER_WIDE('z');
    return isLower ? static_cast<LarderWideChar>(c - LARDER_WIDE('a') + LARDER_WIDE('A')) : c;
  };
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [&](LarderWideChar a, LarderWideChar b) { return upper(a) == upper(b); });
}

// A shell removes backslashes that aren't between quotes. What is left names no key of the library
// and no folder.
void RefuseLostBackslashes(const ValueName& target, const Arguments& arguments) {
  const WideView first = WideView(target.subkey).substr(0, target.subkey.find(LARDER_WIDE('\\')));
  const auto isFirst = [&](WideView key) { return IsSameName(first, key); };
  const WideView keys[] = {WideView(), kInstallKey, kProvidersKey, kLoggingKey};
  if (std::none_of(std::begin(keys), std::end(keys), isFirst)) {
    throw UsageError("SUBKEY", "the library has no key " + arguments.subkey +
                                   ", only Install, Logging and DataProviders\\NAME; in a shell, "
                                   "put a subkey in single quotes");
  }
  const bool isLocation = isFirst(kInstallKey) && IsSameName(target.name, kLocationValue);
  if (isLocation && !arguments.data.empty() && arguments.data.find('\\') == std::string::npos) {
    throw UsageError("DATA", "not a folder with backslashes, the last one at the end: " +
                                 arguments.data + "; in a shell, put it in single quotes");
  }
}

RegistryValue CheckedValue(const Arguments& arguments) {
  if (arguments.type == "REG_DWORD") {
    const std::optional<RegistryValue> value = DwordValue(arguments.data);
    if (!value) throw NotANumber("DATA", "from 0 to 4294967295", arguments.data);
    return *value;
  }
  const bool isExpand = arguments.type == "REG_EXPAND_SZ";
  return TextValue(isExpand ? platform::kRegExpandSz : platform::kRegSz,
                   WideArgument("DATA", arguments.data));
}

int Finish(const std::string& what, platform::Code code) {
  return Succeeded(what, code) ? kExitOk : kExitFailed;
}

int PrintData(const ValueName& target, Output& output) {
  RegistryValue value;
  const platform::Code code = GetValue(target, value);
  if (code == platform::kSuccess) output.Write(DataText(value) + "\n");
  return Finish("read " + ValueLabel(target), code);
}

int DeleteTree(const WideString& subkey) {
  return Finish("delete key " + KeyLabel(subkey),
                platform::RemoveRegistryTree(PathOfSubkey(subkey)));
}

void AddList(const Command& registry) {
  registry.AddCommand("list", "Print all keys and values, one a line").OnChosen([] {
    return &PrintTree;
  });
}

void AddGet(const Command& registry) {
  const auto arguments = std::make_shared<Arguments>();
  const Command get = registry.AddCommand("get", "Print the data of a value");
  get.AddRequired("SUBKEY", arguments->subkey, kSubkeyHelp);
  get.AddRequired("NAME", arguments->name.emplace(), "Name of the value");
  get.OnChosen([arguments] {
    return
        [target = CheckedTarget(*arguments)](Output& output) { return PrintData(target, output); };
  });
}

void AddSet(const Command& registry) {
  const auto arguments = std::make_shared<Arguments>();
  const Command set = registry.AddCommand("set", "Set a value, creating its key if there is none");
  set.AddRequired("SUBKEY", arguments->subkey, kSubkeyHelp);
  set.AddRequired("NAME", arguments->name.emplace(), "Name of the value");
  set.AddRequired("DATA", arguments->data, "Text, or a number (decimal, or hexadecimal after 0x)");
  set.AddOption("--type", "REG_SZ|REG_EXPAND_SZ|REG_DWORD", arguments->type,
                "Type of the value (default REG_SZ)");
  set.OnChosen([arguments] {
    const ValueName target = CheckedTarget(*arguments);
    RefuseLostBackslashes(target, *arguments);
    return [target, value = CheckedValue(*arguments)](Output&) {
      return Finish("set " + ValueLabel(target), SetValue(target, value));
    };
  });
}

Action CheckedDelete(const Arguments& arguments) {
  const ValueName target = CheckedTarget(arguments);
  if (arguments.name) {
    return
        [target](Output&) { return Finish("delete " + ValueLabel(target), DeleteValue(target)); };
  }
  if (target.subkey.empty()) throw UsageError("SUBKEY", "an empty one would delete everything");
  return [subkey = target.subkey](Output&) { return DeleteTree(subkey); };
}

void AddDelete(const Command& registry) {
  const auto arguments = std::make_shared<Arguments>();
  const Command remove =
      registry.AddCommand("delete", "Delete a value, or a key with everything below it");
  remove.AddRequired("SUBKEY", arguments->subkey, kSubkeyHelp);
  remove.AddOptional("NAME", arguments->name, "Name of the value; none: the whole key");
  remove.OnChosen([arguments] { return CheckedDelete(*arguments); });
}

}  // namespace

void AddRegistryCommand(const Command& top) {
  const Command registry = top.AddCommand("registry", "List, read and change the configuration");
  registry.AddDetails(
      "A SUBKEY is below the library's part of the registry, Software\\Velmor\\Larder,\n"
      "with backslashes between its levels on every system. In a shell, put it in\n"
      "single quotes: 'DataProviders\\FeedFile'. Changes take effect when a program\n"
      "next starts the library.");
  AddList(registry);
  AddGet(registry);
  AddSet(registry);
  AddDelete(registry);
}

}  // namespace larder::tool
