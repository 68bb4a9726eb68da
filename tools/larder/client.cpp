#include "client.h"

#include "errors.h"

namespace larder::tool {

bool StartLibrary(LarderNotifyCallback callback, LarderHandle& handle) {
  const int result = LarderInit(callback, &handle);
  if (result == LARDER_OK || result == LARDER_E_ALREADY_INITIALIZED) return true;
  PrintError("cannot start the library: " + ResultReason(result));
  PrintError(
      "the provider modules must be there and loadable: \"larder registry list\" shows their "
      "folder (Install, szLocation) and names (below DataProviders, szDLL)");
  return false;
}

bool EndLibrary() {
  const int result = LarderRelease();
  if (result == LARDER_OK) return true;
  PrintError("cannot end the library: " + ResultReason(result));
  return false;
}

}  // namespace larder::tool
