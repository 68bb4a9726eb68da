#include "tools/tool-machine.h"

#include "testing/test-machine.h"

namespace larder {

ToolMachine::ToolMachine()
    : system(std::make_shared<TestMachine>()),
      folder(static_cast<TestMachine*>(system.get())->Folder()),
      data(folder.parent_path() / "root/var/lib/Velmor/Larder") {}

}  // namespace larder
