#include "platform/SqliteKeyStore.h"

#include <SQLiteCpp/VariadicBind.h>

#include <algorithm>
#include <exception>
#include <utility>

#include "common/Utf8.h"

namespace fieldpost {
namespace {

constexpr std::size_t LongestKeyName = 255;       // characters, as in the Windows registry
constexpr std::size_t LongestValueName = 16'383;  // characters, as in the Windows registry
constexpr std::size_t DeepestKey = 512;           // levels, as in the Windows registry
constexpr std::size_t LargestValue = 16U << 20U;  // bytes, so that a few values leave the file readable

bool IsRoot(KeyHandle key) {
  switch (key) {
    case KeyHandle::ClassesRoot:
    case KeyHandle::CurrentUser:
    case KeyHandle::LocalMachine:
    case KeyHandle::Users:
    case KeyHandle::CurrentConfig:
      return true;
    case KeyHandle::None:
      break;
  }
  return false;
}

std::int64_t RootRow(KeyHandle root) {
  return static_cast<std::int64_t>(root) - static_cast<std::int64_t>(KeyHandle::ClassesRoot) + 1;
}

bool IsRootRow(std::int64_t row) {
  return row <= RootRow(KeyHandle::CurrentConfig);
}

void RefuseBadName(std::string_view name, std::size_t longest) {
  if (name.find('\0') != std::string_view::npos || CountCharacters(name) > longest) {
    throw KeyCallFailed(KeyBadArgument);
  }
}

std::vector<std::string_view> KeyNames(std::string_view name) {
  std::vector<std::string_view> names;
  while (!name.empty()) {
    const std::size_t end = std::min(name.find('\\'), name.size());
    if (end > 0) {
      RefuseBadName(name.substr(0, end), LongestKeyName);
      names.push_back(name.substr(0, end));
    }
    name.remove_prefix(std::min(end + 1, name.size()));
  }
  if (names.size() > DeepestKey) throw KeyCallFailed(KeyBadArgument);
  return names;
}

void RefuseBadKeyName(std::string_view name) {
  static_cast<void>(KeyNames(name));
}

bool IsText(std::uint32_t type) {
  return type == KeyTypeText || type == KeyTypeExpandableText;
}

std::string Terminated(std::uint32_t type, std::string_view bytes) {
  std::string result(bytes);
  if (IsText(type) && !result.empty() && result.back() != '\0') result += '\0';
  return result;
}

void BindValue(SQLite::Statement& statement, std::int64_t key, std::string_view name, std::uint32_t type,
               const std::string& data) {
  SQLite::bind(statement, key, std::string(name), type);
  statement.bindNoCopy(4, static_cast<const void*>(data.data()), static_cast<int>(data.size()));
}

/// Returns a value as it is read: a text ends in its first terminator.
KeyData DataRead(std::uint32_t type, std::string bytes) {
  const std::size_t end = IsText(type) ? bytes.find('\0') : std::string::npos;
  if (end != std::string::npos) bytes.resize(end);
  if (IsText(type) && (!bytes.empty() || end == 0)) bytes += '\0';
  return {type, std::move(bytes)};
}

}  // namespace

SqliteKeyStore::SqliteKeyStore(FileSystem& files, std::filesystem::path file)
    : path_(std::move(file)), file_(files, path_) {}

template <typename Work>
KeyStatus SqliteKeyStore::Guarded(Work work) {
  const auto fail = [this](KeyStatus status, const std::string& reason) {
    problem_ = FileError("cannot use the registry", path_, reason).what();
    return status;
  };
  try {
    work();
    return KeyOk;
  } catch (const KeyCallFailed& failure) {
    const std::string reason = failure.what();
    return reason.empty() ? failure.Status() : fail(failure.Status(), reason);
  } catch (const SQLite::Exception& error) {
    return fail(KeyStatusOf(error), ReasonFor(error));
  } catch (const FileError& error) {
    problem_ = error.what();
    return KeyRefused;
  } catch (const std::exception& error) {
    return fail(KeyInputOutput, error.what());
  }
}

/// Connects to the file that `key` is in. Returns false when `key` is a root and the store is missing or
/// empty.
bool SqliteKeyStore::Connect(KeyHandle key) {
  if (IsRoot(key)) return file_.OpenExisting();
  const auto found = open_.find(key);
  if (found == open_.end() || found->second.generation != file_.Generation())
    throw KeyCallFailed(KeyBadHandle);
  return true;
}

/// Returns the row of a key to whose file Connect connected.
std::int64_t SqliteKeyStore::RowOf(KeyHandle key, std::uint32_t neededAccess) const {
  if (IsRoot(key)) return RootRow(key);
  const OpenEntry& entry = open_.at(key);
  if ((entry.access & neededAccess) != neededAccess) throw KeyCallFailed(KeyRefused);
  SQLite::Statement statement(Database(), "SELECT 1 FROM keys WHERE id = ?");
  statement.bind(1, entry.row);
  if (!statement.executeStep()) throw KeyCallFailed(KeyDeleted);
  return entry.row;
}

std::optional<std::int64_t> SqliteKeyStore::FindKey(std::int64_t parent, std::string_view name) const {
  std::int64_t row = parent;
  SQLite::Statement statement(Database(), "SELECT id FROM keys WHERE parent = ? AND name = ?");
  for (const std::string_view part : KeyNames(name)) {
    SQLite::bind(statement, row, std::string(part));
    if (!statement.executeStep()) return std::nullopt;
    row = statement.getColumn(0);
    statement.reset();
  }
  return row;
}

std::int64_t SqliteKeyStore::FindOrCreateKey(std::int64_t parent, std::string_view name) {
  std::int64_t row = parent;
  for (const std::string_view part : KeyNames(name)) {
    const std::optional<std::int64_t> below = FindKey(row, part);
    if (below) {
      row = *below;
      continue;
    }
    SQLite::Statement statement(Database(), "INSERT INTO keys (parent, name) VALUES (?, ?)");
    SQLite::bind(statement, row, std::string(part));
    statement.exec();
    row = Database().getLastInsertRowid();
  }
  return row;
}

KeyHandle SqliteKeyStore::AddOpenKey(std::int64_t row, std::uint32_t access) {
  const KeyHandle handle{++lastHandle_};
  open_[handle] = {row, access, file_.Generation()};
  return handle;
}

KeyStatus SqliteKeyStore::OpenKey(KeyHandle parent, std::string_view name, std::uint32_t access,
                                  KeyHandle& opened) {
  return Guarded([&] {
    RefuseBadKeyName(name);
    if (!Connect(parent)) throw KeyCallFailed(KeyMissing);
    // One transaction for all levels avoids locking and unlocking the file at each of them.
    const SQLite::Transaction reading(Database());
    const std::optional<std::int64_t> row = FindKey(RowOf(parent, 0), name);
    if (!row) throw KeyCallFailed(KeyMissing);
    opened = AddOpenKey(*row, access);
  });
}

KeyStatus SqliteKeyStore::CreateKey(KeyHandle parent, std::string_view name, std::uint32_t access,
                                    KeyHandle& opened) {
  return Guarded([&] {
    RefuseBadKeyName(name);
    if (IsRoot(parent)) file_.OpenOrCreate();
    Connect(parent);
    std::optional<std::int64_t> row = FindKey(RowOf(parent, 0), name);
    if (!row) {
      file_.InTransaction([&] { row = FindOrCreateKey(RowOf(parent, KeyMayCreateSubkeys), name); });
    }
    opened = AddOpenKey(*row, access);
  });
}

KeyStatus SqliteKeyStore::QueryValue(KeyHandle key, std::string_view name, KeyData& data) {
  return Guarded([&] {
    RefuseBadName(name, LongestValueName);
    if (!Connect(key)) throw KeyCallFailed(KeyMissing);
    SQLite::Statement statement(Database(), "SELECT type, data FROM key_values WHERE key = ? AND name = ?");
    SQLite::bind(statement, RowOf(key, KeyMayQueryValues), std::string(name));
    if (!statement.executeStep()) throw KeyCallFailed(KeyMissing);
    data = DataRead(statement.getColumn(0), statement.getColumn(1));
  });
}

KeyStatus SqliteKeyStore::SetValue(KeyHandle key, std::string_view name, std::uint32_t type,
                                   std::string_view bytes) {
  return Guarded([&] {
    RefuseBadName(name, LongestValueName);
    if (bytes.size() > LargestValue) throw KeyCallFailed(KeyBadArgument);
    if (IsRoot(key)) file_.OpenOrCreate();
    Connect(key);
    const std::string data = Terminated(type, bytes);
    if (HasValue(RowOf(key, KeyMaySetValues), name, type, data)) return;
    file_.InTransaction([&] {
      SQLite::Statement statement(Database(),
                                  "INSERT INTO key_values (key, name, type, data) VALUES (?, ?, ?, ?)"
                                  " ON CONFLICT DO UPDATE SET type = excluded.type, data = excluded.data");
      BindValue(statement, RowOf(key, KeyMaySetValues), name, type, data);
      statement.exec();
    });
  });
}

bool SqliteKeyStore::HasValue(std::int64_t row, std::string_view name, std::uint32_t type,
                              const std::string& data) const {
  SQLite::Statement statement(
      Database(), "SELECT 1 FROM key_values WHERE key = ? AND name = ? AND type = ? AND data = ?");
  BindValue(statement, row, name, type, data);
  return statement.executeStep();
}

KeyStatus SqliteKeyStore::DeleteKey(KeyHandle parent, std::string_view name) {
  return Guarded([&] { Delete(parent, name, Subkeys::Refused); });
}

KeyStatus SqliteKeyStore::DeleteTree(KeyHandle parent, std::string_view name) {
  return Guarded([&] { Delete(parent, name, Subkeys::Deleted); });
}

void SqliteKeyStore::Delete(KeyHandle parent, std::string_view name, Subkeys subkeys) {
  constexpr std::string_view tree =
      "WITH RECURSIVE tree (id) AS"
      " (VALUES (?) UNION SELECT keys.id FROM keys JOIN tree ON keys.parent = tree.id) ";
  RefuseBadKeyName(name);
  if (!Connect(parent)) throw KeyCallFailed(KeyMissing);
  file_.InTransaction([&] {
    const std::optional<std::int64_t> row = FindKey(RowOf(parent, 0), name);
    if (!row) throw KeyCallFailed(KeyMissing);
    if (IsRootRow(*row)) throw KeyCallFailed(KeyRefused);
    if (subkeys == Subkeys::Refused && HasSubkeys(*row)) throw KeyCallFailed(KeyRefused);
    for (const std::string_view table : {"key_values WHERE key", "keys WHERE id"}) {
      const std::string sql =
          std::string(tree).append("DELETE FROM ").append(table).append(" IN (SELECT id FROM tree)");
      SQLite::Statement statement(Database(), sql);
      statement.bind(1, *row);
      statement.exec();
    }
  });
}

bool SqliteKeyStore::HasSubkeys(std::int64_t row) const {
  SQLite::Statement statement(Database(), "SELECT 1 FROM keys WHERE parent = ?");
  statement.bind(1, row);
  return statement.executeStep();
}

KeyStatus SqliteKeyStore::DeleteValue(KeyHandle key, std::string_view name) {
  return Guarded([&] {
    RefuseBadName(name, LongestValueName);
    if (!Connect(key)) throw KeyCallFailed(KeyMissing);
    file_.InTransaction([&] {
      SQLite::Statement statement(Database(), "DELETE FROM key_values WHERE key = ? AND name = ?");
      SQLite::bind(statement, RowOf(key, KeyMaySetValues), std::string(name));
      if (statement.exec() == 0) throw KeyCallFailed(KeyMissing);
    });
  });
}

KeyStatus SqliteKeyStore::ListSubkeys(KeyHandle key, std::vector<std::string>& names) {
  return Guarded([&] {
    std::vector<std::string> found;
    if (Connect(key)) {
      SQLite::Statement statement(Database(), "SELECT name FROM keys WHERE parent = ? ORDER BY name");
      statement.bind(1, RowOf(key, KeyMayListSubkeys));
      while (statement.executeStep()) found.push_back(statement.getColumn(0));
    }
    names = std::move(found);
  });
}

KeyStatus SqliteKeyStore::ListValues(KeyHandle key, std::vector<NamedKeyData>& values) {
  return Guarded([&] {
    std::vector<NamedKeyData> found;
    if (Connect(key)) {
      SQLite::Statement statement(Database(),
                                  "SELECT name, type, data FROM key_values WHERE key = ? ORDER BY name");
      statement.bind(1, RowOf(key, KeyMayQueryValues));
      while (statement.executeStep()) {
        found.push_back({statement.getColumn(0), DataRead(statement.getColumn(1), statement.getColumn(2))});
      }
    }
    values = std::move(found);
  });
}

KeyStatus SqliteKeyStore::CloseKey(KeyHandle key) {
  return IsRoot(key) || open_.erase(key) == 1 ? KeyOk : KeyBadHandle;
}

/// The second file is SQLite's rollback journal, which exists during a write and after an interrupted one.
std::vector<std::filesystem::path> SqliteKeyStore::Files() const {
  return {path_, std::filesystem::path(path_).concat("-journal")};
}

KeyStatus SqliteKeyStore::Check() {
  return Guarded([this] { file_.OpenExisting(); });
}

}  // namespace fieldpost
