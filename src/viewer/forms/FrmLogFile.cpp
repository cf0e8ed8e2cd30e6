#include "viewer/forms/FrmLogFile.h"

#include <QShortcut>
#include <new>
#include <span>

#include "common/Limits.h"
#include "common/forms/WidgetText.h"
#include "ui_FrmLogFile.h"

namespace fieldpost {

FrmLogFile::FrmLogFile(const FileSystem& files, const InstallPaths& paths, ModWriteLogFile& log,
                       StatusDisplay& display, QWidget* parent)
    : QWidget(parent), files_(files), ui_(std::make_unique<Ui::FrmLogFile>()) {
  ui_->setupUi(this);
  Connect();
  LoadLog(paths, log);
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
  connect(ui_->fraFind, &WidgetFindBar::FindWanted, this, &FrmLogFile::Find);
  connect(ui_->fraFind, &WidgetFindBar::Closed, ui_->txtLogFile,
          [this] { ui_->txtLogFile->setFocus(Qt::OtherFocusReason); });
  connect(ui_->txtLogFile, &WidgetLogText::FindEnded, this, &FrmLogFile::ShowFindResult);
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
  constexpr std::size_t pieceBytes = std::size_t{1} << 20U;
  try {
    const std::uint64_t size = files_.Stamp(file).size;
    if (size > MaxShownLogBytes) throw FileTooLarge(file, MaxShownLogBytes);
    std::string text(size + pieceBytes, '\0');  // it may grow while it is read
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
  constexpr qsizetype longestTaken = 200;
  const bool isFit = selected.size() <= longestTaken && !selected.contains(u'\n');
  ui_->fraFind->Open(isFit ? selected : QString());
}

void FrmLogFile::Find(SearchDirection direction, bool stay) {
  const QString text = ui_->fraFind->Text();
  if (text.isEmpty()) {
    if (!stay) OpenFindBar();
    return ui_->fraFind->Tell({});
  }
  ui_->fraFind->Tell(tr("Searching..."));
  ui_->txtLogFile->Find(text, direction, stay);
}

void FrmLogFile::ShowFindResult(bool found) {
  if (!found) ui_->fraFind->show();
  ui_->fraFind->Tell(found ? QString() : tr("Not found"));
}

}  // namespace fieldpost
