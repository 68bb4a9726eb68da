#include "tools/memory-logs.h"

#include <algorithm>
#include <cstring>

#include "platform/file.h"

namespace larder {
namespace {

MemoryLogs* CurrentLogs = nullptr;

MemoryLogs::Reading* ReadingOf(platform::Handle file) {
  return reinterpret_cast<MemoryLogs::Reading*>(file);
}

}  // namespace

MemoryLogs::MemoryLogs() { CurrentLogs = this; }
MemoryLogs::~MemoryLogs() { CurrentLogs = nullptr; }

MemoryLogs& MemoryLogs::Current() { return *CurrentLogs; }

void MemoryLogs::Append(const WideString& path, const std::string& bytes) {
  auto& file = files[path];
  if (!file) file = std::make_shared<File>(File{++lastIndex, {}});
  file->bytes += bytes;
}

void MemoryLogs::Rename(const WideString& from, const WideString& to) {
  if (!files.contains(from) || files.contains(to)) return;
  files[to] = files[from];
  files.erase(from);
}

void MemoryLogs::Remove(const WideString& path) { files.erase(path); }

MemoryLogs::Reading* MemoryLogs::Open(const WideString& path) {
  const auto found = files.find(path);
  if (found == files.end()) return nullptr;
  return readings.emplace_back(std::make_unique<Reading>(Reading{found->second})).get();
}

platform::Code platform::OpenFileToRead(const WideString& path, Handle& file, FileKind& kind) {
  MemoryLogs& logs = MemoryLogs::Current();
  logs.beforeEachOperation();
  kind = FileKind::kRegular;
  MemoryLogs::Reading* const reading = logs.Open(path);
  file = reading == nullptr ? InvalidHandle() : reinterpret_cast<Handle>(reading);
  return reading == nullptr ? kFileNotFound : kSuccess;
}

platform::Code platform::QueryFileInfo(Handle file, FileInfo& info) noexcept {
  const MemoryLogs::Reading& reading = *ReadingOf(file);
  info = {};
  info.size = reading.file->bytes.size();
  info.index = reading.file->index;
  return kSuccess;
}

platform::Code platform::ReadOn(Handle file, void* buffer, std::size_t size,
                                std::size_t& got) noexcept {
  MemoryLogs::Current().beforeEachOperation();
  MemoryLogs::Reading& reading = *ReadingOf(file);
  got = std::min(size, reading.file->bytes.size() - reading.position);
  std::memcpy(buffer, reading.file->bytes.data() + reading.position, got);
  reading.position += got;
  return kSuccess;
}

}  // namespace larder
