#include "platform/windows/command-line.h"

#include "platform/utf.h"

namespace larder::platform {
namespace {

// In quotation marks; backslashes count double where a quotation mark follows, and only there.
WideString Quoted(const WideString& argument) {
  WideString result = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t unit : argument) {
    if (unit == L'"') result.append(backslashes + 1, L'\\');
    backslashes = unit == L'\\' ? backslashes + 1 : 0;
    result += unit;
  }
  return result.append(backslashes, L'\\') + L'"';
}

}  // namespace

Code CommandLineOf(const WideString& program, const std::vector<std::string>& arguments,
                   WideString& line) {
  line = Quoted(program);
  for (const std::string& argument : arguments) {
    WideString wide;
    if (!WideFromUtf8(argument, wide)) return kNoUnicodeTranslation;
    line += L' ' + Quoted(wide);
  }
  return kSuccess;
}

}  // namespace larder::platform
