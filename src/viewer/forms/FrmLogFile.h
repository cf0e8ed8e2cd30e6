// The log viewer.
#pragma once

#include <QTextCursor>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <optional>
#include <string_view>

#include "common/StatusDisplay.h"
#include "environment/InstallPaths.h"
#include "environment/ModWriteLogFile.h"
#include "platform/FileSystem.h"
#include "viewer/LogReader.h"
#include "viewer/SearchDirection.h"
#include "viewer/forms/WidgetLogSearch.h"

namespace Ui {
class FrmLogFile;
}

namespace fieldpost {

/// A child window that shows today's activity log, as it was when the window was opened. Ctrl+F searches in
/// it.
class FrmLogFile final : public QWidget {
  Q_OBJECT

 public:
  /// Shows the first piece of the log; the rest follows between window events. Writes the day's first line
  /// when there is no log yet. Without a Log folder the window stays empty. A log that cannot be read ends in
  /// one line that says why. Processes events once through `display`.
  FrmLogFile(const FileSystem& files, const InstallPaths& paths, ModWriteLogFile& log, StatusDisplay& display,
             QWidget* parent = nullptr);
  FrmLogFile(const FrmLogFile&) = delete;
  FrmLogFile& operator=(const FrmLogFile&) = delete;
  ~FrmLogFile() override;

  /// Whether a part of the log is still to be read and shown.
  [[nodiscard]] bool IsLoading() const { return reader_ != nullptr; }

 Q_SIGNALS:
  /// The search that the user asked for has ended, and its result is shown.
  void FindEnded(bool isFound);

 private:
  /// A search that the user asked for.
  struct Request {
    SearchDirection direction;
    bool mayStay;  // the selection itself may be the match
  };

  void Connect();
  void LoadLog(const FileSystem& files, const InstallPaths& paths, ModWriteLogFile& log);
  void ShowPiece();
  void EndLoading();
  void Append(std::string_view text);
  void OpenFindBar();
  void Find(SearchDirection direction, bool mayStay);
  void StartSearch(const Request& request);
  void ShowFindResult(const QTextCursor& match);

  std::unique_ptr<Ui::FrmLogFile> ui_;
  std::unique_ptr<LogReader> reader_;  // none once everything is shown
  QTimer loadTimer_;
  std::unique_ptr<WidgetLogSearch> search_;
  std::optional<Request> waiting_;  // until the whole log is shown
};

}  // namespace fieldpost
