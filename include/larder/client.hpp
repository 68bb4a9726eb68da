// Larder: the client interface as classes. Header-only, standard C++20 over larder/larder.h.
//
//   larder::Session session;
//   if (const auto file = session.QueryFile("/usr/bin/env")) {
//     std::cout << larder::Hex(file->Facts().fileSHA256) << '\n';
//   }
//
// Errors are exceptions:
//   larder::Error                      a function of the library failed
//   larder::RecordError                a data block isn't what it should be
//   std::filesystem::filesystem_error  a path can't be expressed, or its file's time can't be read
//
// Threads: as in the standard library. Const members of one object may be called by many threads at
// once; any other call, moving and destruction included, needs the object for itself. The text
// "Traps" in larder/larder.h applies to sessions, too.
#ifndef LARDER_CLIENT_HPP
#define LARDER_CLIENT_HPP

#include <larder/feed-file.h>
#include <larder/larder.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <ratio>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

#ifdef _WIN32
// As <windows.h> declares them, which a client may include before or after this header.
extern "C" {
struct _SECURITY_ATTRIBUTES;
struct _FILETIME;
__declspec(dllimport) void* __stdcall CreateFileW(const wchar_t*, unsigned long, unsigned long,
                                                  _SECURITY_ATTRIBUTES*, unsigned long,
                                                  unsigned long, void*);
__declspec(dllimport) int __stdcall GetFileTime(void*, _FILETIME*, _FILETIME*, _FILETIME*);
__declspec(dllimport) int __stdcall CloseHandle(void*);
__declspec(dllimport) unsigned long __stdcall GetLastError();
}
#endif

namespace larder {

// The English text of a result code in UTF-8; empty for a code that larder.h doesn't list.
inline std::string ErrorText(std::int32_t code) {
  std::basic_string<LarderWideChar> text(LarderErrorToString(code, 0, nullptr), 0);
  LarderErrorToString(code, static_cast<std::uint32_t>(text.size()), text.data());
  text.pop_back();  // the terminator
  const std::u8string utf8 = std::filesystem::path(text).u8string();
  return {utf8.begin(), utf8.end()};
}

// A function of the library failed. what() has its name, the code's text and the code.
class Error : public std::runtime_error {
 public:
  // function: its name. failure: what it returned.
  Error(const std::string& function, std::int32_t failure)
      : std::runtime_error(function + ": " + Describe(failure)), code(failure) {}

  // One of larder.h, or a provider's own.
  [[nodiscard]] std::int32_t Code() const noexcept { return code; }

 private:
  static std::string Describe(std::int32_t failure) {
    const std::string text = ErrorText(failure);
    const std::string number = std::to_string(failure);
    return text.empty() ? "code " + number : text + " (" + number + ")";
  }

  std::int32_t code;
};

// A data block isn't what it should be. what() says what is wrong.
class RecordError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The certificates of a chain, in DER. Points into a record, and is valid as long as that is.
using Chain = std::vector<std::span<const std::uint8_t>>;

namespace detail {

template <typename Record>
Record ReadRecord(std::span<const std::byte> bytes, std::uint64_t offset, std::uint64_t least) {
  Record record;
  if (offset < least) throw RecordError("damaged record: its parts overlap");
  if (offset > bytes.size() || bytes.size() - offset < sizeof record) {
    throw RecordError("damaged record: a part begins outside");
  }
  std::memcpy(&record, bytes.data() + offset, sizeof record);
  return record;
}

// Calls onChain() for each chain, and onCertificate(bytes) for each of its certificates. Each part
// must begin at or after the end of the one before it and end within the record, so the walk reads
// nothing outside and ends. Offsets have 64 bits: a sum of the record's numbers can't wrap.
template <typename OnChain, typename OnCertificate>
void WalkFileRecord(std::span<const std::byte> bytes, OnChain onChain,
                    OnCertificate onCertificate) {
  std::uint64_t end = sizeof(FileDataRecord);  // of what has been visited
  for (std::uint64_t chainAt = end;;) {
    const auto chain = ReadRecord<CertChainRecord>(bytes, chainAt, end);
    onChain();
    end = chainAt + sizeof chain;
    for (std::uint64_t certAt = end;;) {
      const auto cert = ReadRecord<CertDataRecord>(bytes, certAt, end);
      end = certAt + sizeof cert + cert.certSize;
      if (end > bytes.size()) throw RecordError("damaged record: a certificate ends outside");
      onCertificate(bytes.subspan(static_cast<std::size_t>(certAt + sizeof cert), cert.certSize));
      if (cert.nextCert == 0) break;
      certAt += cert.nextCert;
    }
    if (chain.nextChain == 0) return;
    chainAt += chain.nextChain;
  }
}

using Units = std::vector<LarderWideChar>;

[[noreturn]] inline void RefusePath(const std::filesystem::path& path, std::errc code,
                                    const char* why) {
  throw std::filesystem::filesystem_error(std::string("Larder can't express this path: ") + why,
                                          path, std::make_error_code(code));
}

// False if the text isn't UTF-8. Surrogates aren't characters.
inline bool AppendUtf16(std::string_view text, Units& units) {
  for (std::size_t i = 0; i < text.size();) {
    std::uint32_t point = static_cast<unsigned char>(text[i++]);
    if (point < 0x80) {
      units.push_back(static_cast<LarderWideChar>(point));
      continue;
    }
    const std::size_t more = point < 0xE0 ? 1 : point < 0xF0 ? 2 : 3;
    if (point < 0xC0 || point > 0xF7 || text.size() - i < more) return false;
    point &= 0x3Fu >> more;
    for (const std::size_t stop = i + more; i < stop; ++i) {
      const auto byte = static_cast<unsigned char>(text[i]);
      if ((byte & 0xC0) != 0x80) return false;
      point = point << 6 | (byte & 0x3Fu);
    }
    constexpr std::uint32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
    if (point < kLeast[more] || point > 0x10FFFF || point >> 11 == 0x1B) return false;
    if (point >= 0x10000) {
      units.push_back(static_cast<LarderWideChar>(0xD7C0 + (point >> 10)));
      point = 0xDC00 | (point & 0x3FF);
    }
    units.push_back(static_cast<LarderWideChar>(point));
  }
  return true;
}

// Appends a full path whose names are bytes, with backslashes between them. Leaves out empty names
// and ".", so that the path is the same however it was written; ".." stays, because it may follow a
// link. full: what a refusal names.
inline void AppendPath(std::string_view path, const std::filesystem::path& full, Units& units) {
  constexpr std::size_t kMaxBytes = 4095;  // the system's limit
  if (path.size() > kMaxBytes) RefusePath(full, std::errc::filename_too_long, "too long");
  if (path.find('\\') != std::string_view::npos) {
    RefusePath(full, std::errc::invalid_argument, "a name has a backslash");
  }
  const std::size_t start = units.size();
  while (!path.empty()) {
    const std::string_view name = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(name.size() + 1, path.size()));
    if (name.empty() || name == ".") continue;
    units.push_back('\\');
    if (!AppendUtf16(name, units)) {
      RefusePath(full, std::errc::illegal_byte_sequence, "it isn't UTF-8");
    }
  }
  if (units.size() == start) units.push_back('\\');
}

// The same for names of UTF-16 units, which the system reads as the provider does.
inline void AppendPath(std::basic_string_view<LarderWideChar> path,
                       const std::filesystem::path& full, Units& units) {
  constexpr std::size_t kMaxUnits = 32766;  // the system's limit
  if (path.size() > kMaxUnits) RefusePath(full, std::errc::filename_too_long, "too long");
  const auto start = static_cast<std::ptrdiff_t>(units.size());
  units.insert(units.end(), path.begin(), path.end());
  std::replace(units.begin() + start, units.end(), LarderWideChar{'/'}, LarderWideChar{'\\'});
}

// Some runtimes for Windows don't know that a path with two separators in front is full.
inline bool IsFull(const std::filesystem::path& path) {
  const auto isSeparator = [](auto unit) { return unit == '/' || unit == '\\'; };
  const auto& text = path.native();
  return path.is_absolute() || (text.size() > 1 && isSeparator(text[0]) && isSeparator(text[1]));
}

#ifdef _WIN32
// The path as the system's functions take it, with the prefix that long paths need.
inline std::wstring PathOfAnyLength(const std::filesystem::path& path) {
  constexpr std::size_t kMaxPlain = 248;
  auto full = IsFull(path) ? path : std::filesystem::absolute(path);
  const std::wstring& name = full.make_preferred().native();
  if (name.size() < kMaxPlain || name.starts_with(L"\\\\?\\")) return name;
  if (name.starts_with(L"\\\\")) return L"\\\\?\\UNC" + name.substr(1);
  return L"\\\\?\\" + full.lexically_normal().native();  // behind it, ".." would be a name
}
#endif

// The library requires a callback.
inline void IgnoreNotification(std::int32_t) {}

}  // namespace detail

// The bytes in lower-case hexadecimal digits.
inline std::string Hex(std::span<const std::uint8_t> bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const std::uint8_t byte : bytes) text.append({kDigits[byte >> 4], kDigits[byte & 0xF]});
  return text;
}

// The chains of a file provider's record, which may be at any address; none for a file without
// certificates. RecordError if the record is damaged: if a chain or a certificate begins before the
// end of the one before it, or ends after the record. Reads no byte outside.
inline std::vector<Chain> FileChains(std::span<const std::byte> record) {
  std::vector<Chain> chains;
  detail::WalkFileRecord(
      record, [&] { chains.emplace_back(); },
      [&](std::span<const std::byte> certificate) {
        const auto* start = reinterpret_cast<const std::uint8_t*>(certificate.data());
        chains.back().emplace_back(start, certificate.size());
      });
  const bool isPlaceholder =
      chains.size() == 1 && chains[0].size() == 1 && chains[0].front().empty();
  if (isPlaceholder) chains.clear();
  return chains;
}

// A record to be written: the facts, with dataSize and providerType set, and the chains. Each chain
// has at least one certificate; a file without certificates has no chain.
inline std::vector<std::byte> MakeFileRecord(FileDataRecord facts, std::vector<Chain> chains) {
  std::vector<std::byte> bytes(sizeof facts);
  const auto append = [&bytes](std::span<const std::byte> part) {
    bytes.insert(bytes.end(), part.begin(), part.end());
  };
  if (chains.empty()) chains.emplace_back(1);  // the placeholder: one empty certificate
  for (const Chain& chain : chains) {
    const std::size_t start = bytes.size();
    CertChainRecord header{};
    append(std::as_bytes(std::span(&header, 1)));
    for (const auto& cert : chain) {
      const auto size = static_cast<std::uint32_t>(cert.size());
      const auto length = static_cast<std::uint32_t>(sizeof(CertDataRecord) + size);
      const CertDataRecord record{&cert == &chain.back() ? 0 : length, size};
      append(std::as_bytes(std::span(&record, 1)));
      append(std::as_bytes(cert));
    }
    if (&chain == &chains.back()) break;
    header.nextChain = static_cast<std::uint32_t>(bytes.size() - start);
    std::memcpy(bytes.data() + start, &header, sizeof header);
  }
  facts.dataSize = static_cast<std::uint32_t>(bytes.size());
  facts.providerType = LARDER_FEED_FILE_TYPE;
  std::memcpy(bytes.data(), &facts, sizeof facts);
  return bytes;
}

// The file's modification time as a file provider's descriptor has it: 100 ns units since
// 1601-01-01 UTC (FILETIME). Follows links. std::filesystem::filesystem_error if it can't be read.
// On Linux, times from 1678 to 2261 only, which is the range of std::filesystem's clock with
// libstdc++: a later one is an error, for an earlier one the number is wrong.
inline std::uint64_t LastModified(const std::filesystem::path& path) {
#ifdef _WIN32
  // std::filesystem::last_write_time has whole seconds with some runtimes.
  constexpr unsigned long kReadAttributes = 0x80;
  constexpr unsigned long kShareAll = 7;
  constexpr unsigned long kOpenExisting = 3;
  constexpr unsigned long kBackupSemantics = 0x02000000;  // opens folders, too
  void* const file = CreateFileW(detail::PathOfAnyLength(path).c_str(), kReadAttributes, kShareAll,
                                 nullptr, kOpenExisting, kBackupSemantics, nullptr);
  const bool isOpen = reinterpret_cast<std::intptr_t>(file) != -1;
  std::uint32_t time[2] = {};
  const bool isRead =
      isOpen && GetFileTime(file, nullptr, nullptr, reinterpret_cast<_FILETIME*>(time)) != 0;
  const auto error = static_cast<int>(GetLastError());
  if (isOpen) CloseHandle(file);
  if (!isRead) {
    throw std::filesystem::filesystem_error("can't read the modification time", path,
                                            std::error_code(error, std::system_category()));
  }
  return std::uint64_t{time[1]} << 32 | time[0];
#else
  using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
  constexpr std::chrono::seconds kFrom1601To1970(11644473600);
  const auto time = std::chrono::file_clock::to_sys(std::filesystem::last_write_time(path));
  return static_cast<std::uint64_t>(
      (std::chrono::floor<Ticks>(time.time_since_epoch()) + kFrom1601To1970).count());
#endif
}

// Names a file to the file provider and to the test provider: a FileObjectDescriptor with its path.
// A value; costs one allocation.
class FileObject {
 public:
  // path: relative to the current directory unless it is full. lastModified: the version of the
  // file that is meant (see LastModified); 0 means the current one.
  //
  // std::filesystem::filesystem_error if the path can't be expressed: it is empty, has a NUL in it,
  // or is too long for the system (4095 bytes on Linux, 32766 units on Windows); on Linux also if
  // it isn't UTF-8 or has a backslash in a name.
  explicit FileObject(const std::filesystem::path& path, std::uint64_t lastModified = 0) {
    if (path.empty()) detail::RefusePath(path, std::errc::invalid_argument, "it is empty");
    if (path.native().find(std::filesystem::path::value_type{}) !=
        std::filesystem::path::string_type::npos) {
      detail::RefusePath(path, std::errc::invalid_argument, "it has a NUL");
    }
    if (detail::IsFull(path)) {
      Assign(path, lastModified);
    } else {
      Assign(std::filesystem::absolute(path), lastModified);
    }
  }

  // The FileObjectDescriptor. Valid until the object is changed, moved or destroyed.
  [[nodiscard]] std::span<const std::byte> Descriptor() const noexcept {
    return std::as_bytes(std::span(units));
  }

 private:
  void Assign(const std::filesystem::path& full, std::uint64_t lastModified) {
    units.reserve(kPathStart + full.native().size() + 1);
    units.resize(kPathStart);
    const std::uint32_t words[2] = {static_cast<std::uint32_t>(lastModified),
                                    static_cast<std::uint32_t>(lastModified >> 32)};
    std::memcpy(units.data(), words, sizeof words);
    detail::AppendPath(full.native(), full, units);
    units.push_back(0);
  }

  static constexpr std::size_t kPathStart =
      offsetof(FileObjectDescriptor, filePath) / sizeof(LarderWideChar);
  detail::Units units;  // allocated, so aligned for the descriptor's words
};

// A provider's answer. Move-only; freed by the destructor. A block keeps its session's reference,
// so that the provider isn't unloaded before its blocks are freed. A block that was moved from is
// empty. Any thread may destroy it. Blocks must not be static objects: see Traps in larder.h.
class Block {
 public:
  // All bytes, the DataBlockHeader included.
  [[nodiscard]] std::span<const std::byte> Bytes() const noexcept {
    if (data == nullptr) return {};
    return {reinterpret_cast<const std::byte*>(data.get()), data->dataSize};
  }

  // A copy of the block as a provider's record (plain data). RecordError if the block has less than
  // `least` bytes; fields after its end are zero.
  template <typename Record>
  [[nodiscard]] Record As(std::size_t least = sizeof(Record)) const {
    static_assert(std::is_trivially_copyable_v<Record>);
    const auto bytes = Bytes();
    if (bytes.size() < least) throw RecordError("the block is too short for this record");
    Record record{};
    std::memcpy(&record, bytes.data(), std::min(bytes.size(), sizeof record));
    return record;
  }

 private:
  friend class Session;

  struct Free {
    void operator()(DataBlockHeader* block) const noexcept { LarderFreeQuery(handle.get(), block); }
    std::shared_ptr<LarderHandleObject> handle;
  };

  Block(std::shared_ptr<LarderHandleObject> handle, DataBlockHeader* block)
      : data(block, Free{std::move(handle)}) {}

  std::unique_ptr<DataBlockHeader, Free> data;
};

// The file provider's answer. Move-only, and owns its block.
class FileRecord {
 public:
  // RecordError if the block isn't a file provider's record, or is damaged; see FileChains.
  explicit FileRecord(Block from) : block(std::move(from)) {
    if (Facts().providerType != LARDER_FEED_FILE_TYPE) {
      throw RecordError("the block isn't a file provider's record");
    }
    detail::WalkFileRecord(
        block.Bytes(), [] {}, [](std::span<const std::byte>) {});
  }

  // Valid until the record is destroyed; moving it changes nothing. RecordError for a record that
  // was moved from.
  [[nodiscard]] const FileDataRecord& Facts() const {
    const auto bytes = block.Bytes();
    if (bytes.size() < sizeof(FileDataRecord)) throw RecordError("too short for a file record");
    return *reinterpret_cast<const FileDataRecord*>(bytes.data());
  }

  // As FileChains; the chains are valid as long as Facts are.
  [[nodiscard]] std::vector<Chain> Chains() const { return FileChains(block.Bytes()); }

  // The whole record, to be stored or sent.
  [[nodiscard]] std::span<const std::byte> Bytes() const noexcept { return block.Bytes(); }

 private:
  Block block;
};

// A reference to the process's handle, which LarderInit takes. Move-only. The reference is released
// when the session and all blocks that it returned are destroyed. A process may have any number of
// sessions; they share one handle, and the last release unloads the providers. Creating the handle
// is slow and queries are fast, so a program keeps a session for as long as it queries.
//
// Each query counts its block in the session. Threads that query all the time run fastest with a
// session each.
class Session {
 public:
  // callback: as in LarderInit; called only if this session creates the handle. Its code must stay
  // loaded until the handle is released. Error if LarderInit fails.
  explicit Session(LarderNotifyCallback callback = &detail::IgnoreNotification) {
    LarderHandle created = nullptr;
    const std::int32_t result = LarderInit(callback, &created);
    if (result != LARDER_OK && result != LARDER_E_ALREADY_INITIALIZED) {
      throw Error("LarderInit", result);
    }
    isFirst = result == LARDER_OK;
    handle.reset(created, [](LarderHandle) { LarderRelease(); });
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  Session(Session&&) noexcept = default;
  Session& operator=(Session&&) noexcept = default;
  ~Session() = default;

  // Whether this session created the handle, so that its callback is the one that is called.
  [[nodiscard]] bool IsFirst() const noexcept { return isFirst; }

  // Queries a provider. descriptor: as the provider defines it. Empty if the provider has no data
  // for the object. Error on every other failure; LARDER_E_INVALID_HANDLE for a session that was
  // moved from, and in the child of a fork.
  [[nodiscard]] std::optional<Block> Query(std::int32_t providerType,
                                           std::span<const std::byte> descriptor,
                                           std::uint32_t queryOption = 0) const {
    DataBlockHeader* data = nullptr;
    const std::int32_t result = LarderQuery(handle.get(), descriptor.data(), providerType,
                                            queryOption, &data, LARDER_QUERY_VERSION);
    if (result == LARDER_OK && data != nullptr) return Block(handle, data);
    if (result == LARDER_OK || result == LARDER_E_NO_DATA) return std::nullopt;
    throw Error("LarderQuery", result);
  }

  // Queries the file provider. queryOption: one of feed-file.h. Empty if there is no such file, or
  // for LARDER_FEED_FILE_STORED no stored record. RecordError if the record is damaged.
  [[nodiscard]] std::optional<FileRecord> QueryFile(
      const FileObject& file, std::uint32_t queryOption = LARDER_FEED_FILE_NOW) const {
    auto block = Query(LARDER_FEED_FILE_TYPE, file.Descriptor(), queryOption);
    if (!block) return std::nullopt;
    return FileRecord(*std::move(block));
  }
  // The same for the current version of the file with this path; see FileObject for paths.
  [[nodiscard]] std::optional<FileRecord> QueryFile(
      const std::filesystem::path& file, std::uint32_t queryOption = LARDER_FEED_FILE_NOW) const {
    return QueryFile(FileObject(file), queryOption);
  }

  // Passes a copy of a block to a provider, to be stored. block: begins with a DataBlockHeader,
  // whose dataSize is at most the span's; aligned as DataBlockHeader is. RecordError if it isn't.
  void Write(std::int32_t providerType, std::span<const std::byte> descriptor,
             std::span<const std::byte> block) const {
    const auto address = reinterpret_cast<std::uintptr_t>(block.data());
    if (block.size() < sizeof(DataBlockHeader) || address % alignof(DataBlockHeader) != 0) {
      throw RecordError("the block has no header, or isn't aligned");
    }
    const auto* header = reinterpret_cast<const DataBlockHeader*>(block.data());
    if (header->dataSize > block.size()) throw RecordError("the block is shorter than it says");
    const std::int32_t result = LarderWrite(handle.get(), descriptor.data(), providerType, header);
    if (result != LARDER_OK) throw Error("LarderWrite", result);
  }

  // Stores a record of a file; see feed-file.h. record: see MakeFileRecord.
  void WriteFile(const FileObject& file, std::span<const std::byte> record) const {
    Write(LARDER_FEED_FILE_TYPE, file.Descriptor(), record);
  }

 private:
  std::shared_ptr<LarderHandleObject> handle;
  bool isFirst = false;
};

}  // namespace larder

#endif
