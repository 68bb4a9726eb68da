#include "tools/tool-machine.h"

#include <cstdlib>
#include <fstream>

#include "testing/test-machine.h"

namespace larder {

struct ToolMachine::Parts {
  TestMachine machine;
};

ToolMachine::ToolMachine() : parts(std::make_unique<Parts>()) {}
ToolMachine::~ToolMachine() = default;

const std::filesystem::path& ToolMachine::Folder() const { return parts->machine.Folder(); }

namespace {

std::filesystem::path MakerKey() {
  const std::filesystem::path root = std::getenv("LARDER_ROOT");
  return root / "etc/larder/registry/Software/Velmor";
}

}  // namespace

// A file takes the place of the root's directory.
void ToolMachine::ForbidNewKeys() {
  std::filesystem::create_directories(MakerKey());
  std::ofstream(MakerKey() / "Larder") << "in the way";
}

// A link that leads to itself takes the key's place: that stops root, too.
void ToolMachine::ForbidKey(const std::string& name) {
  const auto key = MakerKey() / "Larder" / name;
  std::filesystem::remove_all(key);
  std::filesystem::create_symlink(key, key);
}

}  // namespace larder
