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

// A file takes the place of the root's directory.
void ToolMachine::ForbidNewKeys() {
  const std::filesystem::path root = std::getenv("LARDER_ROOT");
  const auto maker = root / "etc/larder/registry/Software/Velmor";
  std::filesystem::create_directories(maker);
  std::ofstream(maker / "Larder") << "in the way";
}

}  // namespace larder
