#include "platform/module.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "platform/linux/file-descriptor.h"
#include "platform/linux/native.h"

// The ELF header of the image that contains this code; defined by the linker.
extern "C" __attribute__((visibility("hidden"))) const ElfW(Ehdr) __ehdr_start;  // NOLINT

namespace larder::platform {
namespace {

void* NativeModule(ModuleHandle module) { return reinterpret_cast<void*>(module); }

// An open file, of which the beginning is read at once: it has all headers of an ordinary image.
class ImageFile {
 public:
  explicit ImageFile(int opened) : descriptor(opened) {
    const ssize_t size = pread(descriptor, start.data(), start.size(), 0);
    startSize = size < 0 ? 0 : static_cast<std::size_t>(size);
  }

  template <typename Record>
  bool ReadAt(std::uint64_t offset, Record& record) const {
    if (offset <= startSize && sizeof(record) <= startSize - offset) {
      std::memcpy(&record, start.data() + offset, sizeof(record));
      return true;
    }
    return pread(descriptor, &record, sizeof(record), static_cast<off_t>(offset)) ==
           static_cast<ssize_t>(sizeof(record));
  }

 private:
  int descriptor;
  std::array<char, 1024> start;
  std::size_t startSize;
};

bool IsForThisMachine(const ElfW(Ehdr) & header) {
  const std::string_view magic(ELFMAG, SELFMAG);
  const auto* ident = reinterpret_cast<const char*>(header.e_ident);
  return std::string_view(ident, SELFMAG) == magic &&
         header.e_ident[EI_CLASS] == __ehdr_start.e_ident[EI_CLASS] &&
         header.e_ident[EI_DATA] == __ehdr_start.e_ident[EI_DATA] &&
         header.e_machine == __ehdr_start.e_machine && header.e_type == ET_DYN &&
         header.e_phentsize == sizeof(ElfW(Phdr));
}

// Whether the file contains everything that the loader would map. The loader doesn't check this,
// and the first access to a missing page would end the process.
bool IsComplete(const ImageFile& file, const ElfW(Ehdr) & header, std::uint64_t size) {
  for (std::uint64_t i = 0; i < header.e_phnum; ++i) {
    ElfW(Phdr) segment{};
    if (!file.ReadAt(header.e_phoff + i * sizeof(segment), segment)) return false;
    if (segment.p_type != PT_LOAD) continue;
    if (segment.p_filesz > size || segment.p_offset > size - segment.p_filesz) return false;
  }
  return header.e_phnum > 0;
}

// Why the file at a path can't be loaded; kSuccess if it looks like a module.
Code ExamineImage(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0)
    return errno == ENOENT || errno == ENOTDIR ? kModuleNotFound : CodeFromErrno(errno);
  if (S_ISDIR(status.st_mode)) return kAccessDenied;
  if (!S_ISREG(status.st_mode)) return kBadExeFormat;
  const FileDescriptor opened(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  if (!opened.IsOpen() || fstat(opened.Get(), &status) != 0) return CodeFromErrno(errno);
  const ImageFile file(opened.Get());
  ElfW(Ehdr) header{};
  if (!file.ReadAt(0, header) || !IsForThisMachine(header)) return kBadExeFormat;
  const bool isComplete = IsComplete(file, header, static_cast<std::uint64_t>(status.st_size));
  return isComplete ? kSuccess : kBadExeFormat;
}

// Only the loader's message says which image it couldn't load and whether a symbol was missing.
// These parts of the message are the same in every language. To be called after a failed dlopen.
Code ReasonOfFailure(bool examined) {
  const char* message = dlerror();
  const std::string_view text = message == nullptr ? "" : message;
  const auto holds = [text](const char* part) { return text.find(part) != std::string_view::npos; };
  if (holds(": undefined symbol: ") || holds(": version `")) return kProcedureNotFound;
  // A bare name was searched for, so only the message has the path of what was found.
  if (!examined && !text.empty() && text.front() == '/') {
    const Code code = ExamineImage(std::string(text.substr(0, text.find(": "))));
    if (code != kSuccess) return code;
  }
  return kModuleNotFound;
}

// The path that execve got. A relative one is of no use: the current folder may have changed.
Code StartedImagePath(WideString& path) {
  const char* name =
      reinterpret_cast<const char*>(getauxval(AT_EXECFN));  // NOLINT(performance-no-int-to-ptr)
  if (name == nullptr || *name != '/') return kFileNotFound;
  const std::unique_ptr<char, decltype(&std::free)> full(realpath(name, nullptr), &std::free);
  return full != nullptr ? WidePath(full.get(), path) : CodeFromErrno(errno);
}

}  // namespace

Code OpenModule(const WideString& path, ModuleHandle& module) {
  module = nullptr;
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  if (native.empty()) return kModuleNotFound;  // dlopen would return the program itself
  const bool isPath = native.find('/') != std::string::npos;
  if (isPath) {
    if (const Code code = ExamineImage(native); code != kSuccess) return code;
  }
  module = reinterpret_cast<ModuleHandle>(dlopen(native.c_str(), RTLD_NOW | RTLD_LOCAL));
  return module != nullptr ? kSuccess : ReasonOfFailure(isPath);
}

ModuleHandle FindLoadedModule(const WideString& path) {
  std::string native;
  if (NativePath(path, native) != kSuccess || native.empty()) return nullptr;
  return reinterpret_cast<ModuleHandle>(dlopen(native.c_str(), RTLD_NOW | RTLD_NOLOAD));
}

Symbol FindSymbol(ModuleHandle module, const char* name) noexcept {
  if (module == nullptr || name == nullptr) return nullptr;
  void* symbol = dlsym(NativeModule(module), name);
  if (symbol == nullptr) return nullptr;
  // dlsym searches the module's dependencies too, whose exports aren't the module's own.
  Dl_info unused{};
  void* owner = nullptr;
  void* self = nullptr;
  if (dladdr1(symbol, &unused, &owner, RTLD_DL_LINKMAP) == 0 ||
      dlinfo(NativeModule(module), RTLD_DI_LINKMAP, &self) != 0 || owner != self)
    return nullptr;
  return reinterpret_cast<Symbol>(symbol);
}

void CloseModule(ModuleHandle module) noexcept {
  if (module != nullptr) dlclose(NativeModule(module));
}

Code HostImagePath(WideString& path) {
  std::string native(256, '\0');
  for (;;) {
    const ssize_t length = readlink("/proc/self/exe", native.data(), native.size());
    if (length < 0) return StartedImagePath(path);  // no /proc, as in some chroots
    if (static_cast<std::size_t>(length) < native.size()) {
      native.resize(static_cast<std::size_t>(length));
      return WidePath(native, path);
    }
    native.resize(native.size() * 2);
  }
}

}  // namespace larder::platform
