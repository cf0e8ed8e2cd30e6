#include "viewer/forms/frmXMLfile.h"

#include <fmt/format.h>

#include <QClipboard>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <system_error>
#include <utility>

#include "common/forms/WidgetText.h"
#include "ui_frmXMLfile.h"

namespace fieldpost {
namespace {

// Window events are processed between two slices; a user does not notice so short a delay.
constexpr int SliceMilliseconds = 15;

}  // namespace

frmXMLfile::frmXMLfile(FileSystem& files, ModWriteLogFile& log, UserPrompt& prompt, QWidget* parent)
    : QMainWindow(parent),
      ui_(std::make_unique<Ui::frmXMLfile>()),
      files_(files),
      log_(log),
      prompt_(prompt) {
  ui_->setupUi(this);
  ui_->statusBar->hide();
  ui_->TWXML->Show(rows_);
  setFocusProxy(ui_->TWXML);
  Connect();
  ConnectFind();
}

frmXMLfile::~frmXMLfile() = default;

void frmXMLfile::Connect() {
  // The keys of a viewer must not act on another viewer that is open in the same frame.
  for (QAction* action : {ui_->mnuPrint, ui_->mnuCopy, ui_->mnuFind, ui_->mnuFindNext, ui_->mnuFindPrevious,
                          ui_->mnuExpandAll, ui_->mnuCollapseAll}) {
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(action);
  }
  connect(ui_->mnuPrint, &QAction::triggered, this, &frmXMLfile::Print);
  connect(ui_->mnuPreview, &QAction::triggered, this, &frmXMLfile::Preview);
  connect(ui_->mnuClose, &QAction::triggered, this,
          [this] { (parentWidget() ? parentWidget() : this)->close(); });
  connect(ui_->mnuCopy, &QAction::triggered, this, &frmXMLfile::CopyLabel);
  connect(ui_->mnuExpandAll, &QAction::triggered, ui_->TWXML, &WidgetXmlTree::ExpandAll);
  connect(ui_->mnuCollapseAll, &QAction::triggered, ui_->TWXML, &WidgetXmlTree::CollapseAll);
  connect(&reading_, &QTimer::timeout, this, &frmXMLfile::ReadOn);
  connect(&searching_, &QTimer::timeout, this, &frmXMLfile::SearchOn);
}

void frmXMLfile::ConnectFind() {
  connect(ui_->mnuFind, &QAction::triggered, this, [this] { ui_->fraFind->Open(); });
  connect(ui_->mnuFindNext, &QAction::triggered, this, [this] { Find(SearchDirection::Forward, false); });
  connect(ui_->mnuFindPrevious, &QAction::triggered, this,
          [this] { Find(SearchDirection::Backward, false); });
  connect(ui_->fraFind, &WidgetFindBar::FindRequested, this, &frmXMLfile::Find);
  connect(ui_->fraFind, &WidgetFindBar::Closed, this, &frmXMLfile::LeaveFindBar);
}

void frmXMLfile::Load(std::filesystem::path path) {
  StopReading();
  ClearTree();
  path_ = std::move(path);
  try {
    reader_ = std::make_unique<XmlTreeReader>(tree_, files_.OpenForReading(path_));
    fileBytes_ = files_.Stamp(path_).size;
  } catch (const FileError& error) {
    reader_.reset();
    if (!error.IsMissing()) return LogFailure(error.what());
    log_.WriteLog("File Not Found (" + Utf8FromPath(path_) + ")", LogCategory::Error);
    return;
  } catch (const std::exception& error) {
    return LogFailure(error.what());
  }
  ui_->mnuPrint->setEnabled(false);
  ui_->mnuPreview->setEnabled(false);
  reading_.start();
  ReadOn();
}

QSize frmXMLfile::sizeHint() const {
  constexpr int characters = 90;
  constexpr int lines = 36;
  return {fontMetrics().averageCharWidth() * characters, fontMetrics().height() * lines};
}

void frmXMLfile::ReadOn() {
  QElapsedTimer time;
  time.start();
  XmlTreeReader::Slice slice;
  while (slice.state == XmlTreeReader::State::Reading && time.elapsed() < SliceMilliseconds) {
    slice = reader_->ReadSlice();
  }
  if (slice.state == XmlTreeReader::State::Reading) {
    ShowRead(false);
    return ShowProgress();
  }
  StopReading();
  if (slice.state == XmlTreeReader::State::Done) return ShowRead(true);
  ClearTree();
  const bool isMalformed = slice.state == XmlTreeReader::State::Malformed;
  LogFailure(isMalformed ? fmt::format("{}[{}]", slice.problem, Utf8FromPath(path_)) : slice.problem);
}

/// The list lays out all its rows again whenever rows are added. Therefore new nodes are shown at first, and
/// then each time that their number has grown by a quarter.
void frmXMLfile::ShowRead(bool all) {
  if (rows_.rowCount() == 0 && tree_.Size() > 0) {
    setWindowTitle(Title());
    rows_.ShowNewNodes();
    ui_->TWXML->setCurrentIndex(rows_.index(0));
  } else if (all || tree_.Size() / 5 * 4 > rows_.ShownNodes()) {
    rows_.ShowNewNodes();
  }
  ui_->TWXML->MeasureNewNodes();
}

void frmXMLfile::StopReading() {
  reading_.stop();
  reader_.reset();
  ui_->mnuPrint->setEnabled(true);
  ui_->mnuPreview->setEnabled(true);
  ui_->statusBar->hide();
}

void frmXMLfile::StopSearch() {
  searching_.stop();
  search_.reset();
  ui_->fraFind->ShowResult({});
}

/// The search, the rows and the selection refer to nodes, so they end before the tree is cleared.
void frmXMLfile::ClearTree() {
  StopSearch();
  rows_.ShowNothing();
  tree_.Clear();
  ui_->TWXML->MeasureNewNodes();
  setWindowTitle(QStringLiteral("XML File"));
}

void frmXMLfile::LogFailure(std::string_view reason) {
  log_.WriteLog("File is not XML format (" + Utf8FromPath(path_) + ")", LogCategory::Error);
  log_.WriteLog(fmt::format("Reason: {}", reason), LogCategory::Error);
}

void frmXMLfile::ShowProgress() {
  const double share =
      fileBytes_ == 0 ? 0 : static_cast<double>(reader_->BytesRead()) / static_cast<double>(fileBytes_);
  ui_->statusBar->show();
  ui_->statusBar->showMessage(tr("Reading the file: %1 %").arg(qMin(static_cast<int>(share * 100), 100)));
}

QString frmXMLfile::Title() const {
  return QStringLiteral("XML File    ") + PathToQt(path_);
}

void frmXMLfile::Print() {
  CPrintTreeJob job(*ui_->TWXML, *this, files_, log_, PathToQt(path_.filename()));
  ReportPrinting(job.Print());
}

void frmXMLfile::Preview() {
  CPrintTreeJob job(*ui_->TWXML, *this, files_, log_, PathToQt(path_.filename()));
  ReportPrinting(job.Preview());
}

void frmXMLfile::ReportPrinting(CPrintTreeJob::Outcome outcome) {
  if (outcome != CPrintTreeJob::Outcome::Failed) return;
  prompt_.ShowMessage("Default printer not found", MessageIcon::Exclamation, "");
}

/// Copies the whole label, also of a node that shows only a part of it.
void frmXMLfile::CopyLabel() {
  if (const auto node = ui_->TWXML->CurrentNode())
    QGuiApplication::clipboard()->setText(ToQt(tree_.Label(*node)));
}

void frmXMLfile::LeaveFindBar() {
  StopSearch();
  ui_->TWXML->setFocus(Qt::OtherFocusReason);
}

/// With `mayStay`, as while the text is being typed, the current node itself may be the match.
void frmXMLfile::Find(SearchDirection direction, bool mayStay) {
  StopSearch();
  const QString text = ui_->fraFind->Text();
  if (text.isEmpty()) {
    if (!mayStay) ui_->fraFind->Open();
    return;
  }
  if (tree_.Size() == 0) return ui_->fraFind->ShowResult(tr("Not found"));
  const XmlTree::Node from = ui_->TWXML->CurrentNode().value_or(0);
  search_.emplace(tree_, text, from, direction);
  if (!mayStay) search_->SkipFirst();
  ui_->fraFind->ShowResult(tr("Searching..."));
  searching_.start();
  SearchOn();
}

void frmXMLfile::SearchOn() {
  const WidgetXmlTreeSearch::State state = search_->SearchFor(SliceMilliseconds);
  if (state == WidgetXmlTreeSearch::State::Searching) return;
  searching_.stop();
  if (state == WidgetXmlTreeSearch::State::Found) return ShowFound();
  ui_->fraFind->ShowResult(IsLoading() ? tr("Not found in what has been read so far") : tr("Not found"));
  ui_->fraFind->show();
}

void frmXMLfile::ShowFound() {
  rows_.ShowNewNodes();
  ui_->TWXML->GoTo(search_->Node());
  ui_->fraFind->ShowResult(search_->HasWrapped() ? tr("Continued at the other end") : QString());
}

}  // namespace fieldpost
