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
  /// `ownFolder` is the program's own folder, which holds the help file. The references outlive the window.
  frmHelp(FileSystem& files, const std::filesystem::path& ownFolder, UserPrompt& prompt, WidgetMemory& memory,
          QWidget* parent = nullptr);
  frmHelp(const frmHelp&) = delete;
  frmHelp& operator=(const frmHelp&) = delete;
  ~frmHelp() override;

  /// Opens the help file, and shows its first page. A file that is missing or of another version is written
  /// first. On failure shows a message with the reason and returns false; the window must not be shown then.
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
  QTemporaryDir scratch_;  // the files of the engine, removed with the window
  std::unique_ptr<Ui::frmHelp> ui_;
  std::unique_ptr<QHelpEngine> engine_;
  bool isIndexed_ = false;  // the search engine has indexed the book
};

}  // namespace fieldpost
