#include "tools/tool-machine.h"

#include "testing/test-machine.h"

namespace larder {

struct ToolMachine::Parts {
  TestMachine machine;
  std::filesystem::path data = machine.Folder().parent_path() / "root/var/lib/Velmor/Larder";
};

ToolMachine::ToolMachine() : parts(std::make_unique<Parts>()) {}
ToolMachine::~ToolMachine() = default;

const std::filesystem::path& ToolMachine::Folder() const { return parts->machine.Folder(); }
const std::filesystem::path& ToolMachine::Data() const { return parts->data; }

}  // namespace larder
