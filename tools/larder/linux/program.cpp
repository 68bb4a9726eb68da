#include "tools/larder/linux/program.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>

#include "platform/linux/file-descriptor.h"
#include "platform/linux/native.h"
#include "tools/larder/linux/spawn.h"

namespace larder::tool {
namespace {

using platform::Code;
using platform::FileDescriptor;
using platform::kSuccess;

struct CloseFile {
  void operator()(FILE* file) const noexcept { fclose(file); }
};

struct FreeText {
  void operator()(char* text) const noexcept { free(text); }
};

// Closes the pipe when it returns: a program that writes on gets an error.
void TakeLines(FileDescriptor pipe, const TakeOutputLine& takeLine) {
  const std::unique_ptr<FILE, CloseFile> file(fdopen(pipe.Get(), "r"));
  if (!file) return;
  pipe.Release();
  char* buffer = nullptr;
  std::size_t capacity = 0;
  std::string line;
  bool isWanted = true;
  for (ssize_t size = 0; isWanted && (size = getline(&buffer, &capacity, file.get())) > 0;) {
    line.assign(buffer, static_cast<std::size_t>(size));
    if (line.back() == '\n') line.pop_back();
    isWanted = takeLine(line);
  }
  free(buffer);
}

std::string ContentOf(int file) {
  std::string content;
  std::array<char, 4096> bytes;
  for (off_t offset = 0;;) {
    const ssize_t got = pread(file, bytes.data(), bytes.size(), offset);
    if (got <= 0) return content;
    content.append(bytes.data(), static_cast<std::size_t>(got));
    offset += got;
  }
}

std::string EndText(int status) {
  if (WIFSIGNALED(status)) return "signal " + std::to_string(WTERMSIG(status));
  return "exit status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

Code RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                const TakeOutputLine& takeLine, ProgramEnd& end) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return platform::CodeFromErrno(errno);
  FileDescriptor reading(ends[0]);
  FileDescriptor writing(ends[1]);
  // A file, because the program must not wait for this process to read its errors.
  const FileDescriptor errors(memfd_create("errors", MFD_CLOEXEC));
  if (!errors.IsOpen()) return platform::CodeFromErrno(errno);
  pid_t child = 0;
  const SpawnSettings settings{writing.Get(), errors.Get(), true};
  if (const Code code = Spawn(program, arguments, settings, child); code != kSuccess) return code;
  writing = FileDescriptor();
  TakeLines(std::move(reading), takeLine);
  int status = 0;
  if (const Code code = WaitForChild(child, status); code != kSuccess) return code;
  end.isSuccess = WIFEXITED(status) && WEXITSTATUS(status) == 0;
  end.end = EndText(status);
  end.errors = ContentOf(errors.Get());
  return kSuccess;
}

}  // namespace larder::tool
