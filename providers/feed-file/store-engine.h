// The store's database engine, a private copy of SQLite: connections and prepared statements that
// report failures as exceptions.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/wide.h"

namespace larder::feed {

class StoreError : public std::runtime_error {
 public:
  StoreError(const std::string& text, bool damage, int engineCode = SQLITE_OK)
      : std::runtime_error(text), isDamage(damage), code(engineCode) {}

  const bool isDamage;  // the cause is the contents of the store
  const int code;       // the engine's, if the failure is
};

// The engine is usable while at least one object of this class exists. May be created and destroyed
// by any thread.
class Engine {
 public:
  Engine();
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
};

// A connection to a database, for one thread at a time.
class Connection {
 public:
  enum class Access {
    kWrite,       // creates the file if it doesn't exist
    kRead,        // may write the files beside the database
    kReadFrozen,  // for a database that nobody writes to; needs no file beside it
  };

  // Throws StoreError, as all other functions do.
  Connection(const WideString& path, Access access);

  // One statement or several, without results.
  void Run(const char* sql) const;
  // The number that a statement returns.
  std::int64_t Number(const char* sql);

  [[noreturn]] void Fail(int code) const;
  sqlite3* Native() const noexcept { return database.get(); }

 private:
  struct Close {
    void operator()(sqlite3* opened) const noexcept { sqlite3_close_v2(opened); }
  };

  void Configure() const;

  const std::string path;  // UTF-8
  std::unique_ptr<sqlite3, Close> database;
};

// A prepared statement. Its connection must outlive it.
class Statement {
 public:
  Statement(Connection& usedConnection, const char* sql);

  // Parameters and columns are numbered from 0. Bytes and text must live until Reset.
  Statement& Bind(int parameter, std::int64_t number);
  Statement& Bind(int parameter, std::string_view text);
  Statement& Bind(int parameter, std::span<const unsigned char> bytes);

  // Returns true if there is a row, and false, after a reset, if there is none.
  bool Step();
  // For a statement without rows.
  void Run() { static_cast<void>(Step()); }
  void Reset() noexcept { sqlite3_reset(statement.get()); }

  // The columns of the row, valid until the next Step or Reset.
  std::int64_t Number(int column) const { return sqlite3_column_int64(statement.get(), column); }
  std::string_view Text(int column) const;
  std::span<const unsigned char> Bytes(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* prepared) const noexcept { sqlite3_finalize(prepared); }
  };

  void Check(int code);

  Connection* connection;
  std::unique_ptr<sqlite3_stmt, Finalize> statement;
};

// Resets a statement at the end of the scope. A statement that isn't reset keeps its transaction
// open.
class ResetAtEnd {
 public:
  explicit ResetAtEnd(Statement& used) : statement(used) {}
  ~ResetAtEnd() { statement.Reset(); }
  ResetAtEnd(const ResetAtEnd&) = delete;
  ResetAtEnd& operator=(const ResetAtEnd&) = delete;

 private:
  Statement& statement;
};

}  // namespace larder::feed
