#include "archive/forms/frmArchive.h"

#include <fmt/format.h>

#include <QAction>
#include <QActionGroup>
#include <QCloseEvent>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMdiSubWindow>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyledItemDelegate>
#include <algorithm>
#include <utility>

#include "archive/forms/WidgetArchiveIcons.h"
#include "common/PathText.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "common/forms/WidgetText.h"
#include "ui_frmArchive.h"

namespace fieldpost {
namespace fs = std::filesystem;
namespace {

const QString ViewKey = QStringLiteral("view");

/// Longest and shortest texts, in characters; a longer one is shown with an ellipsis in its middle.
constexpr int LongestTextBelowIcon = 20;
constexpr int LongestTextBesideIcon = 36;
constexpr int ShortestText = 8;

/// Gives each item the size of a cell, whatever the length of its name.
class CellDelegate final : public QStyledItemDelegate {
 public:
  explicit CellDelegate(QListView& view) : QStyledItemDelegate(&view), view_(view) {}

  [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override {
    return view_.gridSize();
  }

 private:
  QListView& view_;
};

}  // namespace

frmArchive::frmArchive(const FileSystem& files, const MailSettings& settings, ModWriteLogFile& log,
                       WidgetMemory& memory, QWidget* parent)
    : QWidget(parent),
      ui_(std::make_unique<Ui::frmArchive>()),
      files_(files),
      settings_(settings),
      log_(log),
      memory_(memory),
      creatures_(files, settings, log),
      list_(files),
      model_(list_, nullptr),
      order_(model_, nullptr) {
  ui_->setupUi(this);
  display_.ShowIn({.label = {}, .bar = ui_->ProBar1, .lines = {}});
  SetUpViews();
  SetUpActions();
  SetUpToolbar();
  connect(ui_->cmdRefresh, &QPushButton::clicked, this, &frmArchive::Refresh);
  connect(ui_->CmbProdcode, &QComboBox::currentIndexChanged, this, &frmArchive::Refresh);
}

/// The views are destroyed before the models that they show.
frmArchive::~frmArchive() {
  delete ui_->views;
}

void frmArchive::SetUpViews() {
  ui_->LVFileList->setModel(&order_);
  ui_->LVFileListIcons->setModel(&order_);
  ui_->LVFileListIcons->setSelectionModel(ui_->LVFileList->selectionModel());
  ui_->LVFileListIcons->setItemDelegate(new CellDelegate(*ui_->LVFileListIcons));
  connect(ui_->LVFileList, &QAbstractItemView::doubleClicked, this, &frmArchive::OpenRow);
  connect(ui_->LVFileListIcons, &QAbstractItemView::doubleClicked, this, &frmArchive::OpenRow);
  QHeaderView& columns = *ui_->LVFileList->header();
  const int character = fontMetrics().averageCharWidth();
  columns.resizeSection(ArchiveColumn::Filename, 32 * character);
  columns.resizeSection(ArchiveColumn::Size, 16 * character);
  columns.resizeSection(ArchiveColumn::Modified, 16 * character);
  memory_.RestoreColumns(*this, columns);
  // The sort order is not restored: a new list is in the order of its names.
  columns.setSortIndicator(-1, Qt::AscendingOrder);
  columns.setSortIndicatorClearable(true);
  ui_->LVFileList->setSortingEnabled(true);
}

void frmArchive::SetUpActions() {
  ui_->Open->setShortcuts({QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter)});
  ui_->Open->setShortcutContext(Qt::WidgetShortcut);
  connect(ui_->Open, &QAction::triggered, this, &frmArchive::OpenCurrent);
  connect(ui_->Delete, &QAction::triggered, this, &frmArchive::DeleteSelected);
  auto* const viewActions = new QActionGroup(this);
  for (QAction* const action : {ui_->LargeIcons, ui_->Smallcons, ui_->List, ui_->Details}) {
    viewActions->addAction(action);
  }
  connect(viewActions, &QActionGroup::triggered, this, &frmArchive::ShowView);
  auto* const line = new QAction(this);
  line->setSeparator(true);
  for (QWidget* const view : std::initializer_list<QWidget*>{ui_->LVFileList, ui_->LVFileListIcons}) {
    view->addActions({ui_->Open, ui_->Delete, line});
    view->addActions(viewActions->actions());
  }
  const QString view = memory_.Text(*this, ViewKey);
  for (QAction* const action : viewActions->actions()) {
    if (action->objectName() == view) action->trigger();
  }
}

void frmArchive::SetUpToolbar() {
  ui_->LargeIcons->setIcon(ArchiveIcon(ArchiveSign::LargeIcons));
  ui_->Smallcons->setIcon(ArchiveIcon(ArchiveSign::SmallIcons));
  ui_->List->setIcon(ArchiveIcon(ArchiveSign::List));
  ui_->Details->setIcon(ArchiveIcon(ArchiveSign::Details));
  ui_->Delete->setIcon(ArchiveIcon(ArchiveSign::Delete));
  for (QAction* const action : ui_->Toolbar1->actions()) {
    action->setData(action->objectName());
    // By default the buttons of a toolbar take no focus, and the keyboard could not reach them.
    ui_->Toolbar1->widgetForAction(action)->setFocusPolicy(action->isSeparator() ? Qt::NoFocus
                                                                                 : Qt::TabFocus);
  }
}

void frmArchive::ShowView(const QAction* action) {
  const bool hadFocus = ui_->views->currentWidget()->hasFocus();
  const bool details = action == ui_->Details;
  if (!details) ShowIcons(*action);
  ui_->views->setCurrentWidget(details ? static_cast<QWidget*>(ui_->LVFileList) : ui_->LVFileListIcons);
  if (hadFocus) ui_->views->currentWidget()->setFocus();
  memory_.SaveText(*this, ViewKey, action->objectName());
}

void frmArchive::ShowIcons(const QAction& action) {
  QListView& view = *ui_->LVFileListIcons;
  const bool large = &action == ui_->LargeIcons;
  view.setViewMode(large ? QListView::IconMode : QListView::ListMode);
  view.setMovement(QListView::Static);
  view.setWrapping(true);
  view.setResizeMode(QListView::Adjust);
  view.setFlow(&action == ui_->List ? QListView::TopToBottom : QListView::LeftToRight);
  const int side =
      style()->pixelMetric(large ? QStyle::PM_LargeIconSize : QStyle::PM_SmallIconSize, nullptr, this);
  view.setIconSize(QSize(side, side));
  FitIcons();
}

/// Gives all cells one size, so that the view need not measure fifty thousand names.
void frmArchive::FitIcons() {
  QListView& view = *ui_->LVFileListIcons;
  const bool large = view.viewMode() == QListView::IconMode;
  int longest = ShortestText;
  for (int row = 0; row < model_.rowCount({}); ++row) {
    longest = std::max(longest, static_cast<int>(CountCharacters(model_.Row(row).name)));
  }
  longest = std::min(longest, large ? LongestTextBelowIcon : LongestTextBesideIcon);
  const QFontMetrics metrics = view.fontMetrics();
  const int text = longest * metrics.averageCharWidth() + 2 * metrics.height();
  const int icon = view.iconSize().width();
  view.setGridSize(large ? QSize(text, icon + 2 * metrics.height())
                         : QSize(icon + text, std::max(icon, metrics.height()) + metrics.height() / 3));
}

void frmArchive::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (std::exchange(isLoaded_, true)) return;
  const auto load = [this] {
    bool firstTime = true;
    UpdateList(firstTime);
  };
  QMetaObject::invokeMethod(this, load, Qt::QueuedConnection);
}

/// While the list is being filled, UpdateList is on the stack; it closes the form when it has ended.
void frmArchive::closeEvent(QCloseEvent* event) {
  memory_.SaveColumns(*this, *ui_->LVFileList->header());
  if (!isFilling_) return QWidget::closeEvent(event);
  isClosing_ = true;
  display_.RequestStop(true);
  event->ignore();
}

void frmArchive::Refresh() {
  bool firstTime = false;
  UpdateList(firstTime);
}

void frmArchive::UpdateList(bool& firstTime) {
  isRequested_ = true;
  if (std::exchange(firstTime, false)) isFirstRequested_ = true;
  if (isFilling_) return display_.RequestStop(true);
  isFilling_ = true;
  KeepSelection();
  while (isRequested_ && !isClosing_) {
    isRequested_ = false;
    display_.RequestStop(false);
    UpdateOnce(std::exchange(isFirstRequested_, false));
  }
  RestoreSelection();
  isFilling_ = false;
  if (!std::exchange(isClosing_, false)) return;
  auto* const frame = qobject_cast<QMdiSubWindow*>(parentWidget());
  QMetaObject::invokeMethod(frame == nullptr ? this : static_cast<QWidget*>(frame), &QWidget::close,
                            Qt::QueuedConnection);
}

void frmArchive::UpdateOnce(bool firstTime) {
  const int before = ui_->CmbProdcode->currentIndex();
  PathList none;
  if (!creatures_.ScanArchiveFolders(ArchiveScan::ProductCodes, productCodes_, none)) return;
  ShowProductCodes();
  SelectProductCode(firstTime ? 0 : before);
  model_.HideRows();
  list_.Clear();
  ui_->ProBar1->show();
  try {
    FillList();
  } catch (const FileError& error) {
    LogFailure(error.Number(), error.what());
  } catch (const std::exception& error) {
    LogFailure(0, error.what());
  }
  ui_->ProBar1->hide();
  model_.ShowRows();
  FitIcons();
}

void frmArchive::ShowProductCodes() {
  QStringList codes;
  for (const std::string& code : productCodes_) codes.append(ToQt(EscapeControls(code)));
  QComboBox& combo = *ui_->CmbProdcode;
  bool same = combo.count() == codes.size();
  for (int i = 0; same && i < combo.count(); ++i) same = combo.itemText(i) == codes[i];
  if (same) return;
  const QSignalBlocker blocker(combo);
  combo.clear();
  combo.addItems(codes);
}

/// Selects the last product code when `place` is beyond it.
void frmArchive::SelectProductCode(int place) {
  const QSignalBlocker blocker(ui_->CmbProdcode);
  const int last = ui_->CmbProdcode->count() - 1;
  ui_->CmbProdcode->setCurrentIndex(std::min(std::max(place, 0), last));
}

void frmArchive::FillList() {
  const int place = ui_->CmbProdcode->currentIndex();
  shownCode_ = place < 0 ? std::string() : productCodes_[static_cast<std::size_t>(place)];
  if (place >= 0) list_.Fill(ArchiveFolder(), shownCode_, display_);
}

void frmArchive::LogFailure(int number, std::string_view description) {
  log_.WriteLog(
      fmt::format("Archivelist update(Error number: {} Error description: {})", number, description),
      LogCategory::Error);
}

void frmArchive::KeepSelection() {
  kept_ = {.productCode = shownCode_, .names = {}, .current = {}};
  const QItemSelectionModel& selection = *ui_->LVFileList->selectionModel();
  for (const QModelIndex& index : selection.selectedRows()) {
    kept_.names.insert(model_.Row(order_.mapToSource(index).row()).name);
  }
  const QModelIndex current = order_.mapToSource(selection.currentIndex());
  if (current.isValid()) kept_.current = model_.Row(current.row()).name;
}

void frmArchive::RestoreSelection() {
  if (kept_.productCode != shownCode_ || (kept_.names.empty() && kept_.current.empty())) return;
  QItemSelection selection;
  QModelIndex current;
  for (int row = 0; row < order_.rowCount(); ++row) {
    const QModelIndex first = order_.index(row, 0);
    const std::string& name = model_.Row(order_.mapToSource(first).row()).name;
    if (name == kept_.current) current = first;
    if (!kept_.names.contains(name)) continue;
    const bool goesOn = !selection.isEmpty() && selection.last().bottom() == row - 1;
    const QModelIndex from = goesOn ? QModelIndex(selection.takeLast().topLeft()) : first;
    selection.append(QItemSelectionRange(from, order_.index(row, ArchiveColumn::Count - 1)));
  }
  QItemSelectionModel& model = *ui_->LVFileList->selectionModel();
  if (current.isValid()) View().setCurrentIndex(current);
  model.select(selection, QItemSelectionModel::ClearAndSelect);
}

QAbstractItemView& frmArchive::View() const {
  if (ui_->views->currentWidget() == ui_->LVFileList) return *ui_->LVFileList;
  return *ui_->LVFileListIcons;
}

fs::path frmArchive::ArchiveFolder() const {
  return PathFromUtf8(WithSeparator(settings_.ArchiveFolder));
}

fs::path frmArchive::PathOf(const QModelIndex& index) const {
  const ArchiveRow& row = model_.Row(order_.mapToSource(index).row());
  return ArchiveFolder() / PathFromUtf8(shownCode_) / PathFromUtf8(row.name);
}

void frmArchive::OpenCurrent() {
  OpenRow(View().currentIndex());
}

void frmArchive::OpenRow(const QModelIndex& index) {
  if (index.isValid()) Q_EMIT OpenFileRequested(PathOf(index));
}

void frmArchive::DeleteSelected() {
  QModelIndexList rows = ui_->LVFileList->selectionModel()->selectedRows();
  std::sort(rows.begin(), rows.end());
  PathList paths;
  for (const QModelIndex& row : rows) {
    fs::path path = PathOf(row);
    if (files_.IsFile(path)) paths.push_back(std::move(path));
  }
  if (!paths.empty()) Q_EMIT DeleteRequested(paths, std::string(shownCode_));
}

}  // namespace fieldpost
