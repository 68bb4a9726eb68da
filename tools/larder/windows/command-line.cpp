#include "tools/larder/windows/command-line.h"

#include "platform/wide.h"

namespace larder::tool {
namespace {

// In quotation marks. Backslashes are doubled in front of a quotation mark, and only there.
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

platform::Code CommandLineOf(const WideString& program, const std::vector<std::string>& arguments,
                             WideString& line) {
  line = Quoted(program);
  for (const std::string& argument : arguments) {
    WideString wide;
    if (!platform::WideFromUtf8(argument, wide)) return platform::kNoUnicodeTranslation;
    line += L' ' + Quoted(wide);
  }
  return platform::kSuccess;
}

}  // namespace larder::tool
