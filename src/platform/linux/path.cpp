#include "platform/path.h"

#include <stdlib.h>

#include <algorithm>
#include <utility>

#include "platform/linux/native.h"
#include "platform/wide.h"

namespace larder::platform {
namespace {

bool NeedsEscape(unsigned char byte, bool isFirst, Dots escaped) {
  if (byte < 0x20 || byte == 0x7F || byte == '/' || byte == '%') return true;
  return byte == '.' && (isFirst || escaped == Dots::kAll);
}

int HexDigit(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

}  // namespace

WideView FoldCase(WideView path, WideString&) { return path; }

Code NativePath(WideView path, std::string& native) {
  native = Utf8FromWide(path);
  if (native.find('\0') != std::string::npos) return kInvalidName;
  // Without a condition on the store, the compiler makes vector instructions of it.
  for (char& byte : native) byte = byte == '\\' ? '/' : byte;
  return kSuccess;
}

Code WidePath(const std::string& native, WideString& path) {
  if (native.find('\\') != std::string::npos) return kInvalidName;
  if (!WideFromUtf8(native, path)) return kNoUnicodeTranslation;
  std::replace(path.begin(), path.end(), u'/', u'\\');
  return kSuccess;
}

std::string FileNameOf(WideView name, Dots escaped) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const std::string plain = Utf8FromWide(name);
  std::string fileName;
  fileName.reserve(plain.size());
  for (const char character : plain) {
    const auto byte = static_cast<unsigned char>(character);
    if (NeedsEscape(byte, fileName.empty(), escaped))
      fileName.append({'%', kDigits[byte >> 4], kDigits[byte & 0xF]});
    else
      fileName += character;
  }
  return fileName;
}

bool NameOfFile(std::string_view fileName, Dots escaped, WideString& name) {
  std::string plain;
  for (std::size_t i = 0; i < fileName.size(); ++i) {
    if (fileName[i] != '%') {
      plain += fileName[i];
      continue;
    }
    if (fileName.size() - i < 3) return false;
    const int high = HexDigit(fileName[++i]);
    const int low = HexDigit(fileName[++i]);
    if (high < 0 || low < 0) return false;
    plain += static_cast<char>(high * 16 + low);
  }
  WideString found;
  if (!WideFromUtf8(plain, found) || FileNameOf(found, escaped) != fileName) return false;
  name = std::move(found);
  return true;
}

std::string MachineRoot() {
  const char* value = secure_getenv("LARDER_ROOT");
  std::string root = value == nullptr ? "" : value;
  while (!root.empty() && root.back() == '/') root.pop_back();
  return root;
}

}  // namespace larder::platform
