// One line of the log while it is being built.
#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/wide.h"
#include "product/product.h"

namespace larder {

// Holds a body made of pieces, with room ahead of it for what the two sinks put there: the seven
// characters of the word, and ahead of them time stamp and ": ". So one body serves as the trace
// line and as the disk line without being moved.
//
// Each piece is inserted as a narrow text stream of the classic locale would insert it, byte for
// byte, though no stream and no locale is involved:
//   narrow text               as it stands
//   wide text                 up to its first NUL, each unit by itself in UTF-8 (WideToUtf8)
//   integers, bool            decimal; true is 1
//   8-bit values, char        that byte
//   pointers and handles      16 upper-case hexadecimal digits on every system
// A null narrow text ends the insertion: nothing that follows goes in. A null wide text throws
// std::logic_error. Otherwise only std::bad_alloc. An ordinary line needs no allocation.
//
// A line stays where it was built: it is neither copied nor moved.
class LogLine {
 public:
  template <typename... Pieces>
  explicit LogLine(const Pieces&... pieces) {
    (Insert(pieces), ...);
  }
  LogLine(const LogLine&) = delete;
  LogLine& operator=(const LogLine&) = delete;
  ~LogLine() {
    if (text != room) delete[] text;
  }

  // The line for the trace session: word and body. word has kLogWordSize characters.
  const char* ForTrace(const char* word) noexcept;
  // The line for the disk: stamp, ": ", word, body and line end. stamp has kLogStampSize
  // characters. Call it once.
  const char* ForDisk(const char* stamp, const char* word);

 private:
  template <typename Piece>
  void Insert(const Piece& piece) {
    using Type = std::decay_t<Piece>;
    if constexpr (std::is_same_v<Type, char> || std::is_same_v<Type, signed char> ||
                  std::is_same_v<Type, unsigned char>) {
      const char byte = static_cast<char>(piece);
      Append(&byte, 1);
    } else if constexpr (std::is_convertible_v<Piece, const char*>) {
      InsertText(static_cast<const char*>(piece));
    } else if constexpr (std::is_convertible_v<Piece, std::string_view>) {
      const std::string_view bytes = piece;
      Append(bytes.data(), bytes.size());
    } else if constexpr (std::is_convertible_v<Piece, const LarderWideChar*>) {
      InsertWideText(static_cast<const LarderWideChar*>(piece));
    } else if constexpr (std::is_convertible_v<Piece, WideView>) {
      const WideView units = piece;
      InsertWide(units.substr(0, units.find(LarderWideChar{})));
    } else if constexpr (std::is_same_v<Type, bool>) {
      InsertInteger(piece ? 1 : 0);
    } else if constexpr (std::is_integral_v<Type>) {
      static_assert(!std::is_same_v<Type, wchar_t> && !std::is_same_v<Type, char8_t> &&
                        !std::is_same_v<Type, char16_t> && !std::is_same_v<Type, char32_t>,
                    "a single wide character is no piece");
      InsertInteger(piece);
    } else if constexpr (std::is_enum_v<Type>) {
      static_assert(std::is_convertible_v<Type, int>, "a scoped enumeration is no piece");
      InsertInteger(+piece);
    } else {
      static_assert(std::is_convertible_v<Type, const void*>, "no piece of a log line");
      InsertPointer(piece);
    }
  }

  template <typename Integer>
  void InsertInteger(Integer value) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    Append(digits, static_cast<std::size_t>(end - digits));
  }

  void InsertText(const char* bytes);
  void InsertWideText(const LarderWideChar* units);
  void InsertWide(WideView units);
  void InsertPointer(const void* pointer);
  void Append(const char* bytes, std::size_t count);
  void Grow(std::size_t needed);

  char room[256];
  char* text = room;
  std::size_t size = kLogBodyStart;
  std::size_t capacity = sizeof room;
  bool ended = false;
};

}  // namespace larder
