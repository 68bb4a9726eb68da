// A machine that the file provider can be used on.
#pragma once

#include "testing/test-machine.h"

namespace larder {

// It has common folders of its own, where the file provider's store lies. Its folder is where the
// registry says that modules are, and holds the file provider's query module. (The folder of the
// built ones may have a path that is longer than the registry's texts.)
class ProviderMachine : public TestMachine {
 public:
  ProviderMachine();

  // Copies a module that lies beside the program, or below it, into the machine's folder; gives its
  // path there.
  WideString AddModule(WideView relativePath) const;
  // Below the library's part of the registry.
  void SetText(const WideString& subkey, const WideString& name, const WideString& text) const;
  void SetNumber(const WideString& subkey, const WideString& name, std::uint32_t number) const;
};

}  // namespace larder
