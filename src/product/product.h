// Names and numbers that more than one part of the product depends on: the library, the modules
// that come with it and the tool. Changing one changes what is on customers' machines.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/wide.h"

namespace larder {

// --- The registry

// The library's part, below the machine hive. The keys below are relative to it and are appended
// unchanged.
inline constexpr WideView LarderRegistryRoot = LARDER_WIDE("Software\\Velmor\\Larder\\");
// The key that it shares with the maker's other products.
inline constexpr LarderWideChar kMakerKey[] = LARDER_WIDE("Software\\Velmor\\");

inline constexpr LarderWideChar kInstallKey[] = LARDER_WIDE("Install");
inline constexpr LarderWideChar kLocationValue[] = LARDER_WIDE("szLocation");  // of the modules
inline constexpr LarderWideChar kMessageValue[] = LARDER_WIDE("szMessage");    // the installer's

// Each subkey names one provider module.
inline constexpr LarderWideChar kProvidersKey[] = LARDER_WIDE("DataProviders");
inline constexpr LarderWideChar kFeedTestKey[] = LARDER_WIDE("DataProviders\\FeedTest");
inline constexpr LarderWideChar kFeedFileKey[] = LARDER_WIDE("DataProviders\\FeedFile");
inline constexpr LarderWideChar kFeedStatsKey[] = LARDER_WIDE("DataProviders\\FeedStats");
inline constexpr LarderWideChar kModuleValue[] = LARDER_WIDE("szDLL");
inline constexpr LarderWideChar kQueryModuleValue[] = LARDER_WIDE("szFileQuery");  // of FeedFile
inline constexpr LarderWideChar kStockQueryModule[] = LARDER_WIDE("stock-file-query.dll");

// The log is on if the value is exactly kLoggingOn.
inline constexpr LarderWideChar kLoggingKey[] = LARDER_WIDE("Logging");
inline constexpr LarderWideChar kLoggingValue[] = LARDER_WIDE("szEnable");
inline constexpr LarderWideChar kLoggingOn[] = LARDER_WIDE("true");

// Raised by the installer after it has written kMessageValue.
inline constexpr LarderWideChar kInstallerEvent[] = LARDER_WIDE("InstallerEvent");

// The longest text that is read, and the room for a key's name with its terminator; characters.
inline constexpr std::size_t kMaxRegistryCharacters = 98;
inline constexpr std::uint32_t kRegistryNameRoom = 256;

// --- The disk

// Levels below the system's folders for common data and common program files.
inline constexpr LarderWideChar kMakerFolder[] = LARDER_WIDE("Velmor");
inline constexpr LarderWideChar kProductFolder[] = LARDER_WIDE("Larder");
inline constexpr LarderWideChar kLogsFolder[] = LARDER_WIDE("logs");
inline constexpr LarderWideChar kDatabasesFolder[] = LARDER_WIDE("db");
inline constexpr LarderWideChar kFeedFileFolder[] = LARDER_WIDE("feed-file");
inline constexpr LarderWideChar kStoreFolder[] = LARDER_WIDE("store");  // in kFeedFileFolder

// The library's logs are "lr_<number>.log", the file provider's is "feedf.log".
inline constexpr LarderWideChar kLogPrefix[] = LARDER_WIDE("lr_");
inline constexpr LarderWideChar kFeedFileLog[] = LARDER_WIDE("feedf.log");

// A log line: a stamp ("24/02/29 11:09:55"), ": ", a word (" WARN: "), the body, CR LF. Bytes.
inline constexpr std::size_t kLogStampSize = 17;
inline constexpr std::size_t kLogWordSize = 7;
inline constexpr std::size_t kLogWordStart = kLogStampSize + 2;
inline constexpr std::size_t kLogBodyStart = kLogWordStart + kLogWordSize;

// A log file that has reached this size is renamed to ".1" before the next line. Bytes.
inline constexpr std::uint32_t kMaxLogSize = 102400;
// Older generations of one log, ".1" to ".5".
inline constexpr std::uint32_t kMaxLogGenerations = 5;

// --- Providers

// Type numbers are below this, so a process has at most as many providers.
inline constexpr std::int32_t kProviderTypeCount = 6;

// Functions that modules export: each provider, each query module of the file provider, and the
// file provider for other parts of the product.
inline constexpr char kProviderExport[] = "GetProvider";
inline constexpr char kFileQueryExport[] = "GetFileQuery";
inline constexpr char kFileFiguresExport[] = "GetFileFigures";
inline constexpr char kStoredRecordsExport[] = "VisitStoredRecords";

}  // namespace larder
