#include "log/log-line.h"

#include <algorithm>
#include <charconv>

#include "log/log-pieces.h"

namespace larder {

const char* LogLine::ForTrace(const char* word) noexcept {
  std::memcpy(text + kLogWordStart, word, kLogWordSize);
  text[size] = '\0';
  return text + kLogWordStart;
}

const char* LogLine::ForDisk(const char* stamp, const char* word) {
  std::memcpy(text, stamp, kLogStampSize);
  std::memcpy(text + kLogStampSize, ": ", 2);
  std::memcpy(text + kLogWordStart, word, kLogWordSize);
  Append("\r\n", 2);
  text[size] = '\0';
  return text;
}

void LogLine::InsertText(const char* bytes) {
  if (bytes == nullptr) ended = true;
  if (ended) return;
  Append(bytes, std::strlen(bytes));
}

void LogLine::InsertWideText(const LarderWideChar* units) {
  if (units == nullptr) throw std::logic_error("null wide text");
  InsertWide(units);
}

void LogLine::InsertWide(WideView units) {
  if (ended) return;
  const std::string bytes = WideToUtf8(units);
  Append(bytes.data(), bytes.size());
}

void LogLine::InsertPointer(const void* pointer) {
  char digits[kPointerDigits];
  WritePointerDigits(pointer, digits);
  Append(digits, sizeof digits);
}

void LogLine::InsertInteger(std::int64_t value) {
  if (value < 0) Append("-", 1);
  const auto magnitude = static_cast<std::uint64_t>(value);
  InsertInteger(value < 0 ? 0 - magnitude : magnitude);
}

void LogLine::InsertInteger(std::uint64_t value) {
  if (ended) return;
  char digits[20];
  const auto* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  Append(digits, static_cast<std::size_t>(end - digits));
}

void LogLine::Append(const char* bytes, std::size_t count) {
  if (ended) return;
  if (count >= capacity - size) Grow(size + count + 1);  // leaves space for the final NUL
  std::memcpy(text + size, bytes, count);
  size += count;
}

void LogLine::Grow(std::size_t needed) {
  const std::size_t newCapacity = std::max(needed, capacity * 2);
  char* const larger = new char[newCapacity];
  std::memcpy(larger, text, size);
  if (text != room) delete[] text;
  text = larger;
  capacity = newCapacity;
}

}  // namespace larder
