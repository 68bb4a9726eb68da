#include "tools/tool-machine.h"

#include "testing/test-machine.h"

namespace larder {

struct ToolMachine::Parts {
  TestMachine machine;
};

ToolMachine::ToolMachine() : parts(std::make_unique<Parts>()) {}
ToolMachine::~ToolMachine() = default;

const std::filesystem::path& ToolMachine::Folder() const { return parts->machine.Folder(); }

}  // namespace larder
