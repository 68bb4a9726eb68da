#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/registry.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/errors.h"
#include "tools/larder/registry/registry-edit.h"
#include "tools/larder/registry/registry-tree.h"
#include "tools/larder/registry/registry-value.h"

namespace larder::tool {
namespace {

constexpr const char* kSubkeyHelp =
    "Key below the library's root, levels separated by backslashes; empty for the root itself";

// What the user gave, before it is checked.
struct Arguments {
  std::string subkey;
  std::optional<std::string> name;
  std::string data;
  std::string type = "REG_SZ";
};

// One backslash at the end is let pass. An empty level is refused, because the system ignores it
// and the key would be another one than the user sees.
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

RegistryValue CheckedValue(const Arguments& arguments) {
  if (arguments.type == "REG_DWORD") {
    const std::optional<RegistryValue> value = DwordValue(arguments.data);
    if (!value) {
      throw UsageError("DATA", "no number from 0 to 4294967295: " + arguments.data);
    }
    return *value;
  }
  const bool isExpand = arguments.type == "REG_EXPAND_SZ";
  return TextValue(isExpand ? platform::kRegExpandSz : platform::kRegSz,
                   WideArgument("DATA", arguments.data));
}

int Finish(const std::string& what, platform::Code code) {
  return Succeeded(what, code) ? kExitOk : kExitFailed;
}

int GetValue(const ValueName& target, Output& output) {
  platform::OwnedRegistryKey key;
  platform::Code code =
      platform::OpenRegistryKey(PathOfSubkey(target.subkey), platform::kKeyRead, key.Out());
  RegistryValue value;
  if (code == platform::kSuccess) code = ReadRegistryValue(key.Get(), target.name, value);
  if (code == platform::kSuccess) output.Write(DataText(value) + "\n");
  return Finish("read " + ValueLabel(target), code);
}

int DeleteTree(const WideString& subkey) {
  return Finish("delete key " + KeyLabel(subkey),
                platform::RemoveRegistryTree(PathOfSubkey(subkey)));
}

void AddList(const Command& registry) {
  registry.AddCommand("list", "Print all keys and values, one a line").OnChosen([] {
    return [](Output& output) { return PrintTree(output) ? kExitOk : kExitFailed; };
  });
}

void AddGet(const Command& registry) {
  const auto arguments = std::make_shared<Arguments>();
  const Command get = registry.AddCommand("get", "Print the data of a value");
  get.AddRequired("SUBKEY", arguments->subkey, kSubkeyHelp);
  get.AddRequired("NAME", arguments->name.emplace(), "Name of the value");
  get.OnChosen([arguments] {
    return
        [target = CheckedTarget(*arguments)](Output& output) { return GetValue(target, output); };
  });
}

void AddSet(const Command& registry) {
  const auto arguments = std::make_shared<Arguments>();
  const Command set = registry.AddCommand("set", "Set a value, making its key if there is none");
  set.AddRequired("SUBKEY", arguments->subkey, kSubkeyHelp);
  set.AddRequired("NAME", arguments->name.emplace(), "Name of the value");
  set.AddRequired("DATA", arguments->data, "Text, or a number (decimal, or hexadecimal after 0x)");
  set.AddChoice("--type", arguments->type, {"REG_SZ", "REG_EXPAND_SZ", "REG_DWORD"},
                "Type of the value (default REG_SZ)");
  set.OnChosen([arguments] {
    return [target = CheckedTarget(*arguments), value = CheckedValue(*arguments)](Output&) {
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
  remove.AddOption("NAME", arguments->name, "Name of the value; none: the whole key");
  remove.OnChosen([arguments] { return CheckedDelete(*arguments); });
}

}  // namespace

void AddRegistryCommand(const Command& top) {
  const Command registry = top.AddCommand("registry", "List, read and change the configuration");
  AddList(registry);
  AddGet(registry);
  AddSet(registry);
  AddDelete(registry);
}

}  // namespace larder::tool
