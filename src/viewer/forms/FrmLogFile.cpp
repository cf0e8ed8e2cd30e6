#include "viewer/forms/FrmLogFile.h"

#include <QShortcut>
#include <utility>

#include "common/Limits.h"
#include "common/forms/WidgetText.h"
#include "ui_FrmLogFile.h"

namespace fieldpost {

FrmLogFile::FrmLogFile(const FileSystem& files, const InstallPaths& paths, ModWriteLogFile& log,
                       StatusDisplay& display, QWidget* parent)
    : QWidget(parent), ui_(std::make_unique<Ui::FrmLogFile>()) {
  ui_->setupUi(this);
  search_ = std::make_unique<WidgetLogSearch>(*ui_->txtLogFile->document());
  Connect();
  LoadLog(files, paths, log);
  display.ProcessEvents();
}

FrmLogFile::~FrmLogFile() = default;

void FrmLogFile::Connect() {
  const auto shortcut = [this](const QKeySequence& keys, auto action) {
    connect(new QShortcut(keys, this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut),
            &QShortcut::activated, this, action);
  };
  shortcut(QKeySequence(Qt::CTRL | Qt::Key_F), [this] { OpenFindBar(); });
  shortcut(QKeySequence(Qt::Key_F3), [this] { Find(SearchDirection::Forward, false); });
  shortcut(QKeySequence(Qt::SHIFT | Qt::Key_F3), [this] { Find(SearchDirection::Backward, false); });
  connect(ui_->fraFind, &WidgetFindBar::FindRequested, this, &FrmLogFile::Find);
  connect(ui_->fraFind, &WidgetFindBar::Closed, ui_->txtLogFile,
          [this] { ui_->txtLogFile->setFocus(Qt::OtherFocusReason); });
  connect(search_.get(), &WidgetLogSearch::Ended, this, &FrmLogFile::ShowFindResult);
  connect(&loadTimer_, &QTimer::timeout, this, &FrmLogFile::ShowPiece);
}

void FrmLogFile::LoadLog(const FileSystem& files, const InstallPaths& paths, ModWriteLogFile& log) {
  if (!files.IsFolder(paths.FaultlogFolder("Log"))) return;
  // The clock is read at each step: around midnight the caption may name one day and the text be of the next.
  if (!files.Exists(log.TodaysFile())) log.WriteLog("----", LogCategory::LogFile);
  setWindowTitle(QStringLiteral("Log File    ") + PathToQt(log.TodaysFile().filename()));
  try {
    reader_ = std::make_unique<LogReader>(files, log.TodaysFile());
  } catch (const FileError& error) {
    return Append(error.what());
  }
  ShowPiece();
  ui_->txtLogFile->moveCursor(QTextCursor::Start);
  if (IsLoading()) loadTimer_.start(0);
}

void FrmLogFile::ShowPiece() {
  try {
    const std::optional<std::string> piece = reader_->Next();
    if (piece) return Append(*piece);
  } catch (const FileError& error) {
    Append(error.what());
  }
  EndLoading();
}

void FrmLogFile::EndLoading() {
  reader_.reset();
  loadTimer_.stop();
  if (waiting_) StartSearch(*std::exchange(waiting_, std::nullopt));
}

void FrmLogFile::Append(std::string_view text) {
  QString shown = ToQt(text);
  // QTextDocument uses these two noncharacters as frame markers and would break the row.
  shown.replace(QChar(0xFDD0), QStringLiteral("\\xEF\\xB7\\x90"));
  shown.replace(QChar(0xFDD1), QStringLiteral("\\xEF\\xB7\\x91"));
  QTextCursor end(ui_->txtLogFile->document());
  end.movePosition(QTextCursor::End);
  end.insertText(shown);
}

void FrmLogFile::OpenFindBar() {
  const QString selected = ui_->txtLogFile->textCursor().selectedText();
  constexpr qsizetype longestProposed = 200;
  const bool isUsable = selected.size() <= longestProposed && !selected.contains(QChar::ParagraphSeparator);
  ui_->fraFind->Open(isUsable ? selected : QString());
}

void FrmLogFile::Find(SearchDirection direction, bool mayStay) {
  if (ui_->fraFind->Text().isEmpty()) {
    if (!mayStay) OpenFindBar();
    return ui_->fraFind->ShowResult({});
  }
  ui_->fraFind->ShowResult(tr("Searching..."));
  if (IsLoading()) {
    waiting_ = Request{direction, mayStay};
  } else {
    StartSearch({direction, mayStay});
  }
}

void FrmLogFile::StartSearch(const Request& request) {
  const QTextCursor selection = ui_->txtLogFile->textCursor();
  const bool isAfter = request.direction == SearchDirection::Forward && !request.mayStay;
  search_->Start(ui_->fraFind->Text(), request.direction,
                 isAfter ? selection.selectionEnd() : selection.selectionStart());
}

void FrmLogFile::ShowFindResult(const QTextCursor& match) {
  const bool isFound = !match.isNull();
  if (isFound) ui_->txtLogFile->setTextCursor(match);
  if (!isFound) ui_->fraFind->show();
  ui_->fraFind->ShowResult(isFound ? QString() : tr("Not found"));
  Q_EMIT FindEnded(isFound);
}

}  // namespace fieldpost
