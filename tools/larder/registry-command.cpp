#include "registry-command.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "arguments.h"
#include "errors.h"
#include "platform/registry.h"
#include "registry-edit.h"
#include "registry-tree.h"
#include "registry-value.h"

namespace larder::tool {
namespace {

constexpr const char* kSubkeyHelp =
    "Key below the library's root, levels separated by backslashes; empty for the root itself";

// What the user gave, before it is checked.
struct Arguments {
  std::string subkey;
  std::string name;
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
  if (hasEmptyLevel) throw CLI::ValidationError("SUBKEY", "empty level in " + argument);
  return subkey;
}

ValueName CheckedTarget(const Arguments& arguments) {
  return {CheckedSubkey(arguments.subkey), WideArgument("NAME", arguments.name)};
}

RegistryValue CheckedValue(const Arguments& arguments) {
  if (arguments.type == "REG_DWORD") {
    const std::optional<RegistryValue> value = DwordValue(Unshield(arguments.data));
    if (!value) {
      throw CLI::ValidationError("DATA", "no number from 0 to 4294967295: " + arguments.data);
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
  platform::RegistryKey opened = nullptr;
  platform::Code code =
      platform::OpenRegistryKey(PathOfSubkey(target.subkey), platform::kKeyRead, opened);
  const OwnedKey key(opened);
  RegistryValue value;
  if (code == platform::kSuccess) code = ReadRegistryValue(opened, target.name, value);
  if (code == platform::kSuccess) output.Write(DataText(value) + "\n");
  return Finish("read " + ValueLabel(target), code);
}

int DeleteTree(const WideString& subkey) {
  return Finish("delete key " + KeyLabel(subkey),
                platform::RemoveRegistryTree(PathOfSubkey(subkey)));
}

void AddList(CLI::App& registry, Action& action) {
  CLI::App* list = registry.add_subcommand("list", "Print all keys and values, one a line");
  list->callback([&action] {
    action = [](Output& output) { return PrintTree(output) ? kExitOk : kExitFailed; };
  });
}

void AddGet(CLI::App& registry, Action& action) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* get = registry.add_subcommand("get", "Print the data of a value");
  get->add_option("SUBKEY", arguments->subkey, kSubkeyHelp)->required();
  get->add_option("NAME", arguments->name, "Name of the value")->required();
  get->callback([arguments, &action] {
    action = [target = CheckedTarget(*arguments)](Output& output) {
      return GetValue(target, output);
    };
  });
}

void AddSet(CLI::App& registry, Action& action) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* set = registry.add_subcommand("set", "Set a value, making its key if there is none");
  set->add_option("SUBKEY", arguments->subkey, kSubkeyHelp)->required();
  set->add_option("NAME", arguments->name, "Name of the value")->required();
  set->add_option("DATA", arguments->data, "Text, or a number (decimal, or hexadecimal after 0x)")
      ->required();
  set->add_option("--type", arguments->type, "Type of the value (default REG_SZ)")
      ->check(CLI::IsMember({"REG_SZ", "REG_EXPAND_SZ", "REG_DWORD"}));
  set->callback([arguments, &action] {
    action = [target = CheckedTarget(*arguments), value = CheckedValue(*arguments)](Output&) {
      return Finish("set " + ValueLabel(target), SetValue(target, value));
    };
  });
}

void AddDelete(CLI::App& registry, Action& action) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* remove =
      registry.add_subcommand("delete", "Delete a value, or a key with everything below it");
  remove->add_option("SUBKEY", arguments->subkey, kSubkeyHelp)->required();
  const CLI::Option* name =
      remove->add_option("NAME", arguments->name, "Name of the value; none: the whole key");
  remove->callback([arguments, name, &action] {
    const ValueName target = CheckedTarget(*arguments);
    if (name->count() != 0) {
      action = [target](Output&) {
        return Finish("delete " + ValueLabel(target), DeleteValue(target));
      };
      return;
    }
    if (target.subkey.empty()) {
      throw CLI::ValidationError("SUBKEY", "an empty one would delete everything");
    }
    action = [subkey = target.subkey](Output&) { return DeleteTree(subkey); };
  });
}

}  // namespace

void AddRegistryCommand(CLI::App& app, Action& action) {
  CLI::App* registry = app.add_subcommand("registry", "List, read and change the configuration");
  registry->require_subcommand(0, 1);
  AddList(*registry, action);
  AddGet(*registry, action);
  AddSet(*registry, action);
  AddDelete(*registry, action);
}

}  // namespace larder::tool
