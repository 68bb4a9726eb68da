#include "providers/scripted-file.h"

#include <algorithm>
#include <cstring>

#include "platform/event.h"

namespace larder {

ScriptedFile CurrentFile;

namespace platform {
Code OpenFileToRead(const WideString&, Handle& file, FileKind& kind) {
  file = InvalidHandle();
  if (CurrentFile.openCode != kSuccess) return CurrentFile.openCode;
  // Closed like any other handle; a leak checker sees one that isn't.
  if (const Code code = MakeEvent(file); code != kSuccess) return code;
  kind = FileKind::kRegular;
  ++CurrentFile.opened;
  return kSuccess;
}

Code QueryFileInfo(Handle, FileInfo& info) noexcept {
  if (CurrentFile.infoCode != kSuccess) return CurrentFile.infoCode;
  info = CurrentFile.infos[std::min(CurrentFile.looks++, CurrentFile.infos.size() - 1)];
  return kSuccess;
}

Code ReadAt(Handle, std::uint64_t offset, void* buffer, std::size_t size,
            std::size_t& bytesRead) noexcept {
  const std::string& bytes = CurrentFile.bytes;
  bytesRead = 0;
  while (bytesRead < size) {
    std::size_t place = static_cast<std::size_t>(offset) + bytesRead;
    if (CurrentFile.isEndless) place %= bytes.size();
    if (place >= bytes.size()) break;
    const std::size_t count = std::min(size - bytesRead, bytes.size() - place);
    std::memcpy(static_cast<char*>(buffer) + bytesRead, bytes.data() + place, count);
    bytesRead += count;
  }
  CurrentFile.bytesGiven += bytesRead;
  return bytesRead < size ? CurrentFile.readCode : kSuccess;
}

}  // namespace platform
}  // namespace larder
