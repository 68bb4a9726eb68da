#include "providers/scripted-file.h"

#include <algorithm>
#include <cstring>

namespace larder {

ScriptedFile CurrentFile;

namespace platform {
namespace {

Handle TheHandle() { return reinterpret_cast<Handle>(&CurrentFile); }

}  // namespace

Code OpenFileToRead(const WideString&, Handle& file, FileKind& kind) {
  file = InvalidHandle();
  if (CurrentFile.openCode != kSuccess) return CurrentFile.openCode;
  file = TheHandle();
  kind = FileKind::kRegular;
  CurrentFile.position = 0;
  ++CurrentFile.opened;
  return kSuccess;
}

Code QueryFileInfo(Handle, FileInfo& info) noexcept {
  if (CurrentFile.infoCode != kSuccess) return CurrentFile.infoCode;
  info = CurrentFile.infos[std::min(CurrentFile.looks++, CurrentFile.infos.size() - 1)];
  return kSuccess;
}

Code ReadOn(Handle, void* buffer, std::size_t size, std::size_t& got) noexcept {
  if (CurrentFile.isEndless && CurrentFile.position == CurrentFile.bytes.size())
    CurrentFile.position = 0;
  got = std::min(size, CurrentFile.bytes.size() - CurrentFile.position);
  if (got == 0 && CurrentFile.readCode != kSuccess) return CurrentFile.readCode;
  std::memcpy(buffer, CurrentFile.bytes.data() + CurrentFile.position, got);
  CurrentFile.position += got;
  CurrentFile.bytesGiven += got;
  return kSuccess;
}

void CloseObject(Handle handle) noexcept {
  if (handle == TheHandle()) ++CurrentFile.closed;
}

}  // namespace platform
}  // namespace larder
