#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

#include "platform/message.h"
#include "product/product.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/new/templates.h"

namespace larder::tool {
namespace {

constexpr const char* kNameCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";

struct Arguments {
  std::string name;
  std::optional<std::string> type;
};

std::string Filled(std::string text, const Arguments& arguments) {
  for (const auto& [mark, value] :
       {std::pair{"{{name}}", arguments.name}, std::pair{"{{type}}", *arguments.type}}) {
    const std::size_t length = std::char_traits<char>::length(mark);
    for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += value.size()) {
      text.replace(at, length, value);
    }
  }
  return text;
}

void WriteFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path.string());
}

int MakeProvider(const Arguments& arguments, Output& output) {
  const std::filesystem::path folder = arguments.name;
  std::error_code error;
  if (!std::filesystem::create_directory(folder, error)) {
    throw std::runtime_error("cannot create the folder " + arguments.name + ": " +
                             (error ? error.message() : "it is there already"));
  }
  for (const Template& each : ProviderTemplates()) {
    const std::filesystem::path file = folder / Filled(each.file, arguments);
    WriteFile(file, Filled(each.text, arguments));
    output.Write("created\t" + file.generic_string() + "\n");
  }
  return kExitOk;
}

// The name becomes a target of CMake, a file and a key.
void Check(const Arguments& arguments) {
  const std::string& name = arguments.name;
  if (name.empty() || name.front() == '-' ||
      name.find_first_not_of(kNameCharacters) != std::string::npos) {
    throw UsageError("NAME", "not a name of letters, digits, \"-\" and \"_\": " + name);
  }
  for (const char* taken : {"all", "clean", "help", "install", "register", "test"}) {
    if (name == taken) throw UsageError("NAME", "a target of the project has this name: " + name);
  }
  if (!arguments.type) throw UsageError("--type", "is missing");
  NumberArgument("--type", *arguments.type, 0, kProviderTypeCount - 1);
}

}  // namespace

void AddNewCommand(const Command& top) {
  const auto arguments = std::make_shared<Arguments>();
  const Command provider =
      top.AddCommand("new", "Begin a project")
          .AddCommand("provider", "Make a folder with a provider that keeps all rules");
  provider.AddDetails(
      "The folder has a source file, CMake's project with a test that runs \"larder\n"
      "check\", and a script that registers the module.");
  provider.AddRequired("NAME", arguments->name, "Name of the provider, and of the new folder");
  provider.AddOption("--type", "N", arguments->type, "The provider's type, from 0 to 5 (required)");
  provider.OnChosen([arguments] {
    Check(*arguments);
    return [arguments](Output& output) { return MakeProvider(*arguments, output); };
  });
}

}  // namespace larder::tool
