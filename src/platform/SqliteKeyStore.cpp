#include "platform/SqliteKeyStore.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "common/Utf8.h"

namespace fieldpost {
namespace {

constexpr std::size_t LongestKeyName = 255;       // characters, as on the platform
constexpr std::size_t LongestValueName = 16'383;  // characters, as on the platform
constexpr std::size_t DeepestKey = 512;           // levels, as on the platform

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

/// A text ends at its first terminator.
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
  } catch (const SqliteError& error) {
    return fail(KeyStatusOf(error), ReasonFor(error));
  } catch (const FileError& error) {
    problem_ = error.what();
    return KeyRefused;
  } catch (const std::exception& error) {
    return fail(KeyInputOutput, error.what());
  }
}

/// Makes sure that `key` can be asked something. False when it is a root and nothing was ever stored.
bool SqliteKeyStore::Reach(KeyHandle key) {
  if (IsRoot(key)) return file_.OpenExisting();
  const auto found = open_.find(key);
  if (found == open_.end() || found->second.generation != file_.Generation())
    throw KeyCallFailed(KeyBadHandle);
  return true;
}

/// The row of a key that is within reach.
std::int64_t SqliteKeyStore::RowOf(KeyHandle key, std::uint32_t neededAccess) const {
  if (IsRoot(key)) return RootRow(key);
  const OpenEntry& entry = open_.at(key);
  if ((entry.access & neededAccess) != neededAccess) throw KeyCallFailed(KeyRefused);
  SqliteStatement statement(Database(), "SELECT 1 FROM keys WHERE id = ?");
  if (!statement.Bind(1, entry.row).Step()) throw KeyCallFailed(KeyDeleted);
  return entry.row;
}

std::optional<std::int64_t> SqliteKeyStore::FindKey(std::int64_t parent, std::string_view name) const {
  std::int64_t row = parent;
  SqliteStatement statement(Database(), "SELECT id FROM keys WHERE parent = ? AND name = ?");
  for (const std::string_view part : KeyNames(name)) {
    if (!statement.Bind(1, row).BindText(2, part).Step()) return std::nullopt;
    row = statement.Number(0);
    statement.Reset();
  }
  return row;
}

std::int64_t SqliteKeyStore::FindOrMakeKey(std::int64_t parent, std::string_view name) {
  std::int64_t row = parent;
  for (const std::string_view part : KeyNames(name)) {
    const std::optional<std::int64_t> below = FindKey(row, part);
    if (below) {
      row = *below;
      continue;
    }
    SqliteStatement statement(Database(), "INSERT INTO keys (parent, name) VALUES (?, ?)");
    statement.Bind(1, row).BindText(2, part).Step();
    row = sqlite3_last_insert_rowid(Database());
  }
  return row;
}

KeyHandle SqliteKeyStore::Remember(std::int64_t row, std::uint32_t access) {
  const KeyHandle handle{++lastHandle_};
  open_[handle] = {row, access, file_.Generation()};
  return handle;
}

KeyStatus SqliteKeyStore::OpenKey(KeyHandle parent, std::string_view name, std::uint32_t access,
                                  KeyHandle& opened) {
  return Guarded([&] {
    RefuseBadKeyName(name);
    if (!Reach(parent)) throw KeyCallFailed(KeyMissing);
    // One transaction for the whole way down spares locking and unlocking the file at each level.
    const SqliteTransaction reading(Database(), "BEGIN");
    const std::optional<std::int64_t> row = FindKey(RowOf(parent, 0), name);
    if (!row) throw KeyCallFailed(KeyMissing);
    opened = Remember(*row, access);
  });
}

KeyStatus SqliteKeyStore::CreateKey(KeyHandle parent, std::string_view name, std::uint32_t access,
                                    KeyHandle& opened) {
  return Guarded([&] {
    RefuseBadKeyName(name);
    if (IsRoot(parent)) file_.OpenOrMake();
    Reach(parent);
    std::optional<std::int64_t> row = FindKey(RowOf(parent, 0), name);
    if (!row) {
      file_.InTransaction([&] { row = FindOrMakeKey(RowOf(parent, KeyMayCreateSubkeys), name); });
    }
    opened = Remember(*row, access);
  });
}

KeyStatus SqliteKeyStore::QueryValue(KeyHandle key, std::string_view name, KeyData& data) {
  return Guarded([&] {
    RefuseBadName(name, LongestValueName);
    if (!Reach(key)) throw KeyCallFailed(KeyMissing);
    SqliteStatement statement(Database(), "SELECT type, data FROM key_values WHERE key = ? AND name = ?");
    statement.Bind(1, RowOf(key, KeyMayQueryValues)).BindText(2, name);
    if (!statement.Step()) throw KeyCallFailed(KeyMissing);
    data = DataRead(static_cast<std::uint32_t>(statement.Number(0)), statement.Bytes(1));
  });
}

KeyStatus SqliteKeyStore::SetValue(KeyHandle key, std::string_view name, std::uint32_t type,
                                   std::string_view bytes) {
  return Guarded([&] {
    RefuseBadName(name, LongestValueName);
    if (IsRoot(key)) file_.OpenOrMake();
    Reach(key);
    const std::string data = Terminated(type, bytes);
    if (StandsAlready(RowOf(key, KeyMaySetValues), name, type, data)) return;
    file_.InTransaction([&] {
      SqliteStatement statement(Database(),
                                "INSERT INTO key_values (key, name, type, data) VALUES (?, ?, ?, ?)"
                                " ON CONFLICT DO UPDATE SET type = excluded.type, data = excluded.data");
      statement.Bind(1, RowOf(key, KeyMaySetValues)).BindText(2, name).Bind(3, type).BindBytes(4, data);
      statement.Step();
    });
  });
}

bool SqliteKeyStore::StandsAlready(std::int64_t row, std::string_view name, std::uint32_t type,
                                   std::string_view data) const {
  SqliteStatement statement(Database(),
                            "SELECT 1 FROM key_values WHERE key = ? AND name = ? AND type = ? AND data = ?");
  return statement.Bind(1, row).BindText(2, name).Bind(3, type).BindBytes(4, data).Step();
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
  if (!Reach(parent)) throw KeyCallFailed(KeyMissing);
  file_.InTransaction([&] {
    const std::optional<std::int64_t> row = FindKey(RowOf(parent, 0), name);
    if (!row) throw KeyCallFailed(KeyMissing);
    if (IsRootRow(*row)) throw KeyCallFailed(KeyRefused);
    if (subkeys == Subkeys::Refused && HasSubkeys(*row)) throw KeyCallFailed(KeyRefused);
    for (const std::string_view table : {"key_values WHERE key", "keys WHERE id"}) {
      const std::string sql =
          std::string(tree).append("DELETE FROM ").append(table).append(" IN (SELECT id FROM tree)");
      SqliteStatement(Database(), sql).Bind(1, *row).Step();
    }
  });
}

bool SqliteKeyStore::HasSubkeys(std::int64_t row) const {
  return SqliteStatement(Database(), "SELECT 1 FROM keys WHERE parent = ?").Bind(1, row).Step();
}

KeyStatus SqliteKeyStore::DeleteValue(KeyHandle key, std::string_view name) {
  return Guarded([&] {
    RefuseBadName(name, LongestValueName);
    if (!Reach(key)) throw KeyCallFailed(KeyMissing);
    file_.InTransaction([&] {
      SqliteStatement statement(Database(), "DELETE FROM key_values WHERE key = ? AND name = ?");
      statement.Bind(1, RowOf(key, KeyMaySetValues)).BindText(2, name).Step();
      if (sqlite3_changes(Database()) == 0) throw KeyCallFailed(KeyMissing);
    });
  });
}

KeyStatus SqliteKeyStore::ListSubkeys(KeyHandle key, std::vector<std::string>& names) {
  return Guarded([&] {
    std::vector<std::string> found;
    if (Reach(key)) {
      SqliteStatement statement(Database(), "SELECT name FROM keys WHERE parent = ? ORDER BY name");
      statement.Bind(1, RowOf(key, KeyMayListSubkeys));
      while (statement.Step()) found.push_back(statement.Bytes(0));
    }
    names = std::move(found);
  });
}

KeyStatus SqliteKeyStore::ListValues(KeyHandle key, std::vector<NamedKeyData>& values) {
  return Guarded([&] {
    std::vector<NamedKeyData> found;
    if (Reach(key)) {
      SqliteStatement statement(Database(),
                                "SELECT name, type, data FROM key_values WHERE key = ? ORDER BY name");
      statement.Bind(1, RowOf(key, KeyMayQueryValues));
      while (statement.Step()) {
        const auto type = static_cast<std::uint32_t>(statement.Number(1));
        found.push_back({statement.Bytes(0), DataRead(type, statement.Bytes(2))});
      }
    }
    values = std::move(found);
  });
}

KeyStatus SqliteKeyStore::CloseKey(KeyHandle key) {
  return IsRoot(key) || open_.erase(key) == 1 ? KeyOk : KeyBadHandle;
}

/// SQLite's own file beside a store that a write is under way in, or was when the program ended.
std::vector<std::filesystem::path> SqliteKeyStore::Files() const {
  return {path_, std::filesystem::path(path_).concat("-journal")};
}

KeyStatus SqliteKeyStore::Check() {
  return Guarded([this] { file_.OpenExisting(); });
}

}  // namespace fieldpost
