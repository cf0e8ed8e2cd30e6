// The log viewer.
#pragma once

#include <QWidget>
#include <filesystem>
#include <memory>
#include <string>

#include "common/StatusDisplay.h"
#include "environment/InstallPaths.h"
#include "environment/ModWriteLogFile.h"
#include "platform/FileSystem.h"
#include "viewer/SearchDirection.h"

namespace Ui {
class FrmLogFile;
}

namespace fieldpost {

/// A child window with today's activity log as it is when the window opens; later lines are seen when it is
/// opened again. Ctrl+F searches in it.
class FrmLogFile final : public QWidget {
  Q_OBJECT

 public:
  /// Loads the log. Without a Log folder the window stays empty; a log that cannot be read gives one line
  /// that says why.
  FrmLogFile(const FileSystem& files, const InstallPaths& paths, ModWriteLogFile& log, StatusDisplay& display,
             QWidget* parent = nullptr);
  FrmLogFile(const FrmLogFile&) = delete;
  FrmLogFile& operator=(const FrmLogFile&) = delete;
  ~FrmLogFile() override;

 private:
  void Connect();
  void LoadLog(const InstallPaths& paths, ModWriteLogFile& log);
  [[nodiscard]] std::string ReadLog(const std::filesystem::path& file) const;
  void OpenFindBar();
  void Find(SearchDirection direction, bool stay);
  void ShowFindResult(bool found);

  const FileSystem& files_;
  std::unique_ptr<Ui::FrmLogFile> ui_;
};

}  // namespace fieldpost
