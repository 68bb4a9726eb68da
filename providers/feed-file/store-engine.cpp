#include "feed-file/store-engine.h"

#include <algorithm>
#include <array>
#include <mutex>

#include "feed-file/engine-system.h"
#include "platform/lock.h"

namespace larder::feed {
namespace {

platform::Lock EngineLock;
int EngineUsers = 0;  // guarded by EngineLock

// A failure of one of this module's own statements, all of which are right for an intact store,
// counts as damage too.
bool IsDamage(int code) {
  constexpr std::array kPrimary{SQLITE_ERROR, SQLITE_CORRUPT, SQLITE_TOOBIG, SQLITE_MISMATCH,
                                SQLITE_NOTADB};
  return code == SQLITE_IOERR_SHORT_READ || code == SQLITE_CANTOPEN_ISDIR ||
         std::find(kPrimary.begin(), kPrimary.end(), code & 0xFF) != kPrimary.end();
}

// A URI takes parameters; in its path some characters are escaped.
std::string UriOf(const std::string& path) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string uri = path.starts_with('/') ? "file://" : "file:///";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\\') {
      uri += '/';
    } else if (byte <= 0x20 || byte == 0x7F || c == '%' || c == '?' || c == '#') {
      uri.append({'%', kDigits[byte / 16], kDigits[byte % 16]});
    } else {
      uri += c;
    }
  }
  return uri + "?immutable=1";
}

// The engine takes slashes on every system.
std::string NativePathOf(WideString path) {
  std::replace(path.begin(), path.end(), LarderWideChar{'\\'}, LarderWideChar{'/'});
  return platform::Utf8FromWide(path);
}

}  // namespace

Engine::Engine() {
  const std::lock_guard lock(EngineLock);
  if (EngineUsers == 0) {
    if (sqlite3_initialize() != SQLITE_OK) {
      throw std::runtime_error("the database engine can't be started");
    }
    AdaptEngine();
  }
  ++EngineUsers;
}

Engine::~Engine() {
  const std::lock_guard lock(EngineLock);
  if (--EngineUsers == 0) sqlite3_shutdown();
}

Connection::Connection(const WideString& widePath, Access access) : path(NativePathOf(widePath)) {
  int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  flags |= access == Access::kReadFrozen ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI
           : access == Access::kRead     ? SQLITE_OPEN_READONLY
                                         : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  sqlite3* opened = nullptr;
  const std::string name = access == Access::kReadFrozen ? UriOf(path) : path;
  const int code = sqlite3_open_v2(name.c_str(), &opened, flags, nullptr);
  database.reset(opened);
  if (code != SQLITE_OK) Fail(code);
  Configure();
}

void Connection::Configure() const {
  constexpr int kBusyTimeout = 100;  // ms
  sqlite3_db_config(Native(), SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(Native(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  sqlite3_db_config(Native(), SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  int persist = 1;
  sqlite3_file_control(Native(), nullptr, SQLITE_FCNTL_PERSIST_WAL, &persist);
  sqlite3_busy_timeout(Native(), kBusyTimeout);
  Run("PRAGMA cell_size_check=ON; PRAGMA cache_size=-6000");
}

void Connection::Run(const char* sql) const {
  const int code = sqlite3_exec(Native(), sql, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) Fail(code);
}

std::int64_t Connection::Number(const char* sql) {
  Statement statement(*this, sql);
  return statement.Step() ? statement.Number(0) : 0;
}

void Connection::Fail(int code) const {
  const char* const reason = Native() == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(Native());
  std::string text =
      "Can't use the store \"" + path + "\": " + reason + " (code " + std::to_string(code);
  const int system = Native() == nullptr ? 0 : sqlite3_system_errno(Native());
  const bool isSystems = (code & 0xFF) == SQLITE_IOERR || (code & 0xFF) == SQLITE_CANTOPEN;
  if (isSystems && system != 0) text += ", system error " + std::to_string(system);
  throw StoreError(text + ')', IsDamage(code), code);
}

Statement::Statement(Connection& usedConnection, const char* sql) : connection(&usedConnection) {
  sqlite3_stmt* prepared = nullptr;
  Check(sqlite3_prepare_v3(connection->Native(), sql, -1, SQLITE_PREPARE_PERSISTENT, &prepared,
                           nullptr));
  statement.reset(prepared);
}

void Statement::Check(int code) {
  if (code != SQLITE_OK) connection->Fail(code);
}

Statement& Statement::Bind(int parameter, std::int64_t number) {
  Check(sqlite3_bind_int64(statement.get(), parameter + 1, number));
  return *this;
}

Statement& Statement::Bind(int parameter, std::string_view text) {
  Check(sqlite3_bind_text64(statement.get(), parameter + 1, text.data(), text.size(), SQLITE_STATIC,
                            SQLITE_UTF8));
  return *this;
}

Statement& Statement::Bind(int parameter, std::span<const unsigned char> bytes) {
  Check(sqlite3_bind_blob64(statement.get(), parameter + 1, bytes.data(), bytes.size(),
                            SQLITE_STATIC));
  return *this;
}

bool Statement::Step() {
  const int code = sqlite3_step(statement.get());
  if (code == SQLITE_ROW) return true;
  Reset();
  if (code != SQLITE_DONE) connection->Fail(code);
  return false;
}

std::string_view Statement::Text(int column) const {
  const auto* text = sqlite3_column_text(statement.get(), column);
  const int size = sqlite3_column_bytes(statement.get(), column);
  return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)};
}

std::span<const unsigned char> Statement::Bytes(int column) const {
  const auto* bytes =
      static_cast<const unsigned char*>(sqlite3_column_blob(statement.get(), column));
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement.get(), column))};
}

}  // namespace larder::feed
