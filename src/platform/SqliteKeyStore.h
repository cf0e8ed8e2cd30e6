// The key store in an SQLite file, for systems without a registry.
#pragma once

#include <filesystem>
#include <map>
#include <optional>

#include "platform/FileSystem.h"
#include "platform/KeyStore.h"
#include "platform/SqliteKeyFile.h"

namespace fieldpost {

/// A missing file is an empty store; reading does not create it. The first write creates the file, and the
/// missing folders above it, accessible to its owner only. Several processes may use one file at once; a call
/// waits up to two seconds for another's lock. A file that is damaged, of a later version or not a key store
/// is neither read nor written.
class SqliteKeyStore final : public KeyStore {
 public:
  /// `file` is an absolute path. It is opened by the first call.
  SqliteKeyStore(FileSystem& files, std::filesystem::path file);

  [[nodiscard]] KeyStatus OpenKey(KeyHandle parent, std::string_view name, std::uint32_t access,
                                  KeyHandle& opened) override;
  [[nodiscard]] KeyStatus CreateKey(KeyHandle parent, std::string_view name, std::uint32_t access,
                                    KeyHandle& opened) override;
  [[nodiscard]] KeyStatus QueryValue(KeyHandle key, std::string_view name, KeyData& data) override;
  [[nodiscard]] KeyStatus SetValue(KeyHandle key, std::string_view name, std::uint32_t type,
                                   std::string_view bytes) override;
  [[nodiscard]] KeyStatus DeleteKey(KeyHandle parent, std::string_view name) override;
  [[nodiscard]] KeyStatus DeleteTree(KeyHandle parent, std::string_view name) override;
  [[nodiscard]] KeyStatus DeleteValue(KeyHandle key, std::string_view name) override;
  [[nodiscard]] KeyStatus ListSubkeys(KeyHandle key, std::vector<std::string>& names) override;
  [[nodiscard]] KeyStatus ListValues(KeyHandle key, std::vector<NamedKeyData>& values) override;
  KeyStatus CloseKey(KeyHandle key) override;
  [[nodiscard]] KeyStatus Check() override;
  [[nodiscard]] std::string Problem() const override { return problem_; }
  [[nodiscard]] std::vector<std::filesystem::path> Files() const override;

 private:
  /// An open key.
  struct OpenEntry {
    std::int64_t row = 0;
    std::uint32_t access = 0;
    int generation = 0;  ///< of the connection on which it was opened
  };

  enum class Subkeys { Refused, Deleted };

  template <typename Work>
  KeyStatus Guarded(Work work);

  [[nodiscard]] SQLite::Database& Database() const { return file_.Database(); }
  [[nodiscard]] std::int64_t RowOf(KeyHandle key, std::uint32_t neededAccess) const;
  [[nodiscard]] std::optional<std::int64_t> FindKey(std::int64_t parent, std::string_view name) const;
  std::int64_t FindOrCreateKey(std::int64_t parent, std::string_view name);
  bool Connect(KeyHandle key);
  KeyHandle AddOpenKey(std::int64_t row, std::uint32_t access);
  void Delete(KeyHandle parent, std::string_view name, Subkeys subkeys);
  [[nodiscard]] bool HasSubkeys(std::int64_t row) const;
  [[nodiscard]] bool HasValue(std::int64_t row, std::string_view name, std::uint32_t type,
                              const std::string& data) const;

  std::filesystem::path path_;
  SqliteKeyFile file_;
  std::map<KeyHandle, OpenEntry> open_;
  std::uintptr_t lastHandle_ = 0;
  std::string problem_;
};

}  // namespace fieldpost
