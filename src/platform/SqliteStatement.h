// One statement of SQL on an open SQLite database.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace fieldpost {

/// SQLite refused or failed. `what()` is its own description.
class SqliteError : public std::runtime_error {
 public:
  explicit SqliteError(sqlite3* database)
      : std::runtime_error(sqlite3_errmsg(database)), code_(sqlite3_extended_errcode(database) & 0xFF) {}

  /// The primary result code, e.g. SQLITE_BUSY.
  [[nodiscard]] int Code() const { return code_; }

 private:
  int code_;
};

/// Prepares, binds and steps. Every operation that fails throws SqliteError. Texts that are bound must
/// outlive the statement.
class SqliteStatement {
 public:
  SqliteStatement(sqlite3* database, std::string_view sql) : database_(database) {
    sqlite3_stmt* statement = nullptr;
    const int status =
        sqlite3_prepare_v2(database, sql.data(), static_cast<int>(sql.size()), &statement, nullptr);
    statement_.reset(statement);
    Expect(status == SQLITE_OK);
  }

  /// Binds the parameter at `place`, from 1.
  SqliteStatement& Bind(int place, std::int64_t number) {
    Expect(sqlite3_bind_int64(statement_.get(), place, number) == SQLITE_OK);
    return *this;
  }
  SqliteStatement& BindText(int place, std::string_view text) {
    Expect(sqlite3_bind_text64(statement_.get(), place, Data(text), text.size(), SQLITE_STATIC,
                               SQLITE_UTF8) == SQLITE_OK);
    return *this;
  }
  SqliteStatement& BindBytes(int place, std::string_view bytes) {
    Expect(sqlite3_bind_blob64(statement_.get(), place, Data(bytes), bytes.size(), SQLITE_STATIC) ==
           SQLITE_OK);
    return *this;
  }

  /// Goes to the next row. False when there is none.
  bool Step() {
    const int status = sqlite3_step(statement_.get());
    Expect(status == SQLITE_ROW || status == SQLITE_DONE);
    return status == SQLITE_ROW;
  }

  /// Makes the statement ready to be bound and stepped once more.
  void Reset() { sqlite3_reset(statement_.get()); }

  /// A column of the row, from 0.
  [[nodiscard]] std::int64_t Number(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
  }
  [[nodiscard]] std::string Bytes(int column) const {
    const void* bytes = sqlite3_column_blob(statement_.get(), column);
    const int size = sqlite3_column_bytes(statement_.get(), column);
    return bytes == nullptr ? std::string()
                            : std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
  }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  /// A null pointer would bind NULL instead of an empty text.
  static const char* Data(std::string_view bytes) { return bytes.data() == nullptr ? "" : bytes.data(); }

  void Expect(bool fine) const {
    if (!fine) throw SqliteError(database_);
  }

  sqlite3* database_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

}  // namespace fieldpost
