#include "archive/FrmLogFile.h"

#include <QKeyEvent>
#include <QShortcut>
#include <new>
#include <span>

#include "common/PathText.h"
#include "common/WidgetText.h"
#include "ui_FrmLogFile.h"

namespace fieldpost {

FrmLogFile::FrmLogFile(const FileSystem& files, const InstallPaths& paths, ModWriteLogFile& log,
                       StatusDisplay& display, QWidget* parent)
    : QWidget(parent), files_(files), ui_(std::make_unique<Ui::FrmLogFile>()) {
  ui_->setupUi(this);
  ui_->fraFind->hide();
  Connect();
  LoadLog(paths, log);
  display.LetEventsRun();
}

FrmLogFile::~FrmLogFile() = default;

void FrmLogFile::Connect() {
  const auto shortcut = [this](const QKeySequence& keys, auto action) {
    connect(new QShortcut(keys, this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut),
            &QShortcut::activated, this, action);
  };
  shortcut(QKeySequence(Qt::CTRL | Qt::Key_F), [this] { OpenFindBar(); });
  shortcut(QKeySequence(Qt::Key_F3), [this] { Find(SearchDirection::Forward); });
  shortcut(QKeySequence(Qt::SHIFT | Qt::Key_F3), [this] { Find(SearchDirection::Backward); });
  connect(ui_->cmdFindNext, &QPushButton::clicked, this, [this] { Find(SearchDirection::Forward); });
  connect(ui_->cmdFindPrevious, &QPushButton::clicked, this, [this] { Find(SearchDirection::Backward); });
  connect(ui_->cmdFindClose, &QPushButton::clicked, this, &FrmLogFile::CloseFindBar);
  connect(ui_->txtFind, &QLineEdit::textEdited, this, [this] { Find(SearchDirection::Forward, true); });
  connect(ui_->txtLogFile, &WidgetLogText::FindEnded, this, &FrmLogFile::ShowFindResult);
  ui_->fraFind->installEventFilter(this);
  ui_->txtFind->installEventFilter(this);
}

void FrmLogFile::LoadLog(const InstallPaths& paths, ModWriteLogFile& log) {
  if (!files_.IsFolder(paths.FaultlogFolder("Log"))) return;
  // The clock is read at each step: around midnight the caption may name one day and the text be of the next.
  if (!files_.Exists(log.TodaysFile())) log.WriteLog("----", LogCategory::LogFile);
  setWindowTitle(QStringLiteral("Log File    ") + PathToQt(log.TodaysFile().filename()));
  ui_->txtLogFile->SetText(ReadLog(log.TodaysFile()));
}

/// The whole file, or one line that says why it cannot be shown.
std::string FrmLogFile::ReadLog(const std::filesystem::path& file) const {
  constexpr std::size_t PieceBytes = std::size_t{1} << 20U;
  try {
    const std::uint64_t size = files_.Stamp(file).size;
    if (size > LogText::MaxBytes) throw FileTooLarge(file, LogText::MaxBytes);
    std::string text(size + PieceBytes, '\0');  // it may grow while it is read
    const std::unique_ptr<FileReader> reader = files_.OpenForReading(file);
    std::size_t end = 0;
    while (end < text.size()) {
      const std::size_t got = reader->Read(std::span(text).subspan(end));
      if (got == 0) break;
      end += got;
    }
    text.resize(end);
    return text;
  } catch (const FileError& error) {
    return error.what();
  } catch (const std::bad_alloc&) {
    return FileError("cannot show", file, "not enough memory").what();
  }
}

void FrmLogFile::OpenFindBar() {
  const QString selected = ui_->txtLogFile->SelectedText();
  constexpr qsizetype LongestTaken = 200;
  if (!selected.isEmpty() && selected.size() <= LongestTaken && !selected.contains(u'\n')) {
    ui_->txtFind->setText(selected);
  }
  ui_->fraFind->show();
  ui_->txtFind->setFocus(Qt::ShortcutFocusReason);
  ui_->txtFind->selectAll();
}

void FrmLogFile::CloseFindBar() {
  ui_->fraFind->hide();
  ui_->txtLogFile->setFocus(Qt::OtherFocusReason);
}

void FrmLogFile::Find(SearchDirection direction, bool stay) {
  if (ui_->txtFind->text().isEmpty()) {
    if (!stay) OpenFindBar();
    return ui_->lblFound->clear();
  }
  ui_->lblFound->setText(tr("Searching..."));
  ui_->txtLogFile->Find(ui_->txtFind->text(), direction, stay);
}

void FrmLogFile::ShowFindResult(bool found) {
  if (!found) ui_->fraFind->show();
  ui_->lblFound->setText(found ? QString() : tr("Not found"));
}

bool FrmLogFile::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress) return QWidget::eventFilter(watched, event);
  const auto& key = static_cast<const QKeyEvent&>(*event);
  if (key.key() == Qt::Key_Escape) {
    CloseFindBar();
    return true;
  }
  const bool enter = key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
  if (!enter || watched != ui_->txtFind) return QWidget::eventFilter(watched, event);
  Find(key.modifiers() & Qt::ShiftModifier ? SearchDirection::Backward : SearchDirection::Forward);
  return true;
}

}  // namespace fieldpost
