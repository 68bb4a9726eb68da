// One log line under construction.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/wide.h"
#include "product/product.h"

namespace larder {

// Whether anybody wants a line. Nothing is inserted into an unwanted one.
enum class LineUse { kWanted, kUnwanted };

// Holds a body made of pieces, and space in front of it for what the two sinks add: the seven
// characters of the word and, before them, the time stamp and ": ". One body so serves as the trace
// line and as the disk line without being copied.
//
// Each piece is formatted byte for byte as a narrow stream of the classic locale would format it,
// without a stream or a locale:
//   narrow text               unchanged
//   wide text                 up to its first NUL, each unit by itself in UTF-8 (WideToUtf8)
//   integers, bool            decimal; true is 1
//   8-bit values, char        that byte
//   pointers and handles      16 upper-case hexadecimal digits on every system
// A null narrow text ends the insertion: the pieces after it are dropped. A null wide text throws
// std::logic_error; otherwise only std::bad_alloc is thrown. An ordinary line needs no allocation.
//
// Neither copyable nor movable.
class LogLine {
 public:
  template <typename... Pieces>
  explicit LogLine(const Pieces&... pieces) : LogLine(LineUse::kWanted, pieces...) {}
  template <typename... Pieces>
  explicit LogLine(LineUse use, const Pieces&... pieces) : LogLine(Empty(), use) {
    (Insert(pieces), ...);  // if one throws, the destructor frees the text
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
      InsertInteger(std::int64_t{piece});
    } else if constexpr (std::is_integral_v<Type>) {
      static_assert(!std::is_same_v<Type, wchar_t> && !std::is_same_v<Type, char8_t> &&
                        !std::is_same_v<Type, char16_t> && !std::is_same_v<Type, char32_t>,
                    "a single wide character can't be logged");
      if constexpr (std::is_signed_v<Type>) {
        InsertInteger(std::int64_t{piece});
      } else {
        InsertInteger(std::uint64_t{piece});
      }
    } else if constexpr (std::is_enum_v<Type>) {
      static_assert(std::is_convertible_v<Type, int>, "a scoped enumeration can't be logged");
      InsertInteger(std::int64_t{+piece});
    } else {
      static_assert(std::is_convertible_v<Type, const void*>, "this type can't be logged");
      InsertPointer(piece);
    }
  }

  struct Empty {};
  LogLine(Empty, LineUse use) noexcept : ended(use == LineUse::kUnwanted) {}

  void InsertText(const char* bytes);
  void InsertWideText(const LarderWideChar* units);
  void InsertWide(WideView units);
  void InsertPointer(const void* pointer);
  void InsertInteger(std::int64_t value);
  void InsertInteger(std::uint64_t value);
  void Append(const char* bytes, std::size_t count);
  void Grow(std::size_t needed);

  char room[256];
  char* text = room;
  std::size_t size = kLogBodyStart;
  std::size_t capacity = sizeof room;
  bool ended;
};

}  // namespace larder
