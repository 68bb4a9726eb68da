#include "tools/larder/status/module-file.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "platform/file.h"
#include "platform/folder.h"
#include "platform/message.h"
#include "platform/module.h"
#include "support/scoped-handles.h"

namespace larder::tool {
namespace {

using Bytes = std::span<const unsigned char>;

constexpr std::size_t kHeadSize = 4096;

enum class Format { kUnknown, kElf, kPe };

// From the first bytes of a file. Fields of ELF: System V ABI, "ELF header"; of PE: PE format,
// "COFF file header".
struct Form {
  Format format = Format::kUnknown;
  bool is32Bit = false;
  std::uint16_t machine = 0;
};

template <typename Number>
Number NumberAt(Bytes head, std::size_t offset) {
  Number number = 0;
  if (offset <= head.size() && head.size() - offset >= sizeof number) {
    std::memcpy(&number, head.data() + offset, sizeof number);
  }
  return number;
}

bool BeginsWith(Bytes head, std::size_t offset, std::string_view text) {
  return offset <= head.size() && head.size() - offset >= text.size() &&
         std::memcmp(head.data() + offset, text.data(), text.size()) == 0;
}

Form FormOf(Bytes head) {
  constexpr std::uint16_t kOptionalHeaderOf32Bit = 0x10B;
  if (BeginsWith(head, 0,
                 "\x7F"
                 "ELF")) {
    return {Format::kElf, NumberAt<std::uint8_t>(head, 4) == 1, NumberAt<std::uint16_t>(head, 18)};
  }
  const std::size_t pe = NumberAt<std::uint32_t>(head, 0x3C);
  if (!BeginsWith(head, 0, "MZ") || !BeginsWith(head, pe, std::string_view("PE\0\0", 4))) return {};
  return {Format::kPe, NumberAt<std::uint16_t>(head, pe + 24) == kOptionalHeaderOf32Bit,
          NumberAt<std::uint16_t>(head, pe + 4)};
}

// Returns false if the file can't be read. size is smaller than the buffer for a small file.
bool ReadHead(const WideString& path, std::array<unsigned char, kHeadSize>& buffer,
              std::size_t& size) {
  AutoHandle file;
  platform::FileKind kind{};
  size = 0;
  if (platform::OpenFileToRead(path, file.Out(), kind) != platform::kSuccess) return false;
  if (kind != platform::FileKind::kRegular) return false;
  return platform::ReadNext(file.Get(), buffer.data(), buffer.size(), size) == platform::kSuccess;
}

const char* NameOf(Format format) { return format == Format::kElf ? "Linux" : "Windows"; }

bool LooksLikeText(Bytes head) {
  return std::all_of(head.begin(), head.end(), [](unsigned char byte) {
    return byte >= 0x20 || byte == '\t' || byte == '\r' || byte == '\n';
  });
}

std::string Describe(Bytes head, const Form& own) {
  const Form form = FormOf(head);
  if (head.empty()) return "it is empty";
  if (form.format == Format::kUnknown) {
    return LooksLikeText(head) ? "it is a text file, not a module"
                               : "it isn't a module of any system";
  }
  if (form.format != own.format) {
    return std::string("it is a module for ") + NameOf(form.format) + ", not for " +
           NameOf(own.format);
  }
  if (form.is32Bit != own.is32Bit) {
    return form.is32Bit ? "it is a 32-bit module, and this is a 64-bit system"
                        : "it is a 64-bit module, and this is a 32-bit program";
  }
  return form.machine != own.machine ? "it is a module for another kind of processor" : "";
}

std::string Quoted(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "\"" : ", \"") + name + "\"";
  return text;
}

}  // namespace

bool IsThere(const WideString& path) {
  std::uint32_t attributes = 0;
  return platform::PathAttributes(path, attributes) == platform::kSuccess;
}

std::string DescribeForeignModule(const WideString& path) {
  std::array<unsigned char, kHeadSize> buffer{};
  std::size_t size = 0;
  WideString program;
  if (platform::HostImagePath(program) != platform::kSuccess) return {};
  if (!ReadHead(program, buffer, size)) return {};
  const Form own = FormOf({buffer.data(), size});
  if (!ReadHead(path, buffer, size)) return {};
  return Describe({buffer.data(), size}, own);
}

// The system's code is the same for a missing module and for one whose dependency is missing.
std::string DescribeLoadFault(const WideString& path, platform::Code code,
                              std::vector<std::string>& missing) {
  const std::string reason = platform::SystemReason(code);
  if (!IsThere(path)) return "the file isn't there: " + reason;
  const std::string form = DescribeForeignModule(path);
  if (!form.empty()) return "it can't be loaded: " + form + ": " + reason;
  if (FindMissingDependencies(path, missing) != platform::kSuccess || missing.empty()) {
    return "the file is there but can't be loaded: " + reason;
  }
  return "the file is there, but what it needs isn't: " + Quoted(missing) +
         (missing.size() == 1 ? " isn't found" : " aren't found");
}

}  // namespace larder::tool
