// Upper-case forms, for comparing names without case.
#pragma once

#include <locale.h>
#include <wctype.h>

#include "platform/wide.h"

namespace larder::platform {

// Converts each unit by itself, so that a name keeps its length. The locale is loaded when a unit
// beyond ASCII first needs it.
class UpperCase {
 public:
  UpperCase() = default;
  ~UpperCase() {
    if (table != locale_t{}) freelocale(table);
  }
  UpperCase(const UpperCase&) = delete;
  UpperCase& operator=(const UpperCase&) = delete;

  WideString Of(WideView name) {
    WideString upper(name);
    for (LarderWideChar& unit : upper) unit = Of(unit);
    return upper;
  }

 private:
  LarderWideChar Of(LarderWideChar unit) {
    if (unit < 0x80) return static_cast<LarderWideChar>(unit - (unit >= u'a' && unit <= u'z') * 32);
    const bool isSurrogate = unit >= 0xD800 && unit < 0xE000;
    if (isSurrogate || !LoadTable()) return unit;
    const wint_t upper = towupper_l(unit, table);
    return upper > 0xFFFF ? unit : static_cast<LarderWideChar>(upper);
  }

  bool LoadTable() {
    if (!tried) table = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
    tried = true;
    return table != locale_t{};
  }

  locale_t table{};
  bool tried = false;
};

}  // namespace larder::platform
