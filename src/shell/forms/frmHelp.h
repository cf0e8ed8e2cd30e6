// The help window.
#pragma once

#include <QTemporaryDir>
#include <QWidget>
#include <filesystem>
#include <memory>
#include <string>

#include "common/UserPrompt.h"
#include "common/forms/WidgetMemory.h"
#include "platform/FileSystem.h"

class QHelpEngine;
class QHelpLink;
class QUrl;

namespace Ui {
class frmHelp;
}

namespace fieldpost {

/// The program's help: contents, index and search on the left, the page on the right.
class frmHelp final : public QWidget {
  Q_OBJECT

 public:
  frmHelp(FileSystem& files, const std::filesystem::path& ownFolder, UserPrompt& prompt, WidgetMemory& memory,
          QWidget* parent = nullptr);
  frmHelp(const frmHelp&) = delete;
  frmHelp& operator=(const frmHelp&) = delete;
  ~frmHelp() override;

  /// Opens the help file, which is written first where it is missing or of another version, and shows its
  /// first page. On failure a message says why, and the window is not fit to be shown.
  [[nodiscard]] bool OpenBook();

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  [[nodiscard]] std::string RegisterBook();
  void ConnectEngine();
  void ConnectButtons();
  void AddEnginesWidgets();
  void ShowKeyword();
  void Search();
  void ShowFound();
  void ShowSearchPage();

  FileSystem& files_;
  std::filesystem::path ownFolder_;
  UserPrompt& prompt_;
  WidgetMemory& memory_;
  QTemporaryDir scratch_;  // the engine's own files: nothing in them outlives the window
  std::unique_ptr<Ui::frmHelp> ui_;
  std::unique_ptr<QHelpEngine> engine_;
  bool isIndexed_ = false;  // the search engine has read the book through
};

}  // namespace fieldpost
