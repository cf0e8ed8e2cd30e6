#include "shell/forms/MDIFieldpost.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QMdiArea>
#include <QMdiSubWindow>

#include "archive/forms/frmArchive.h"
#include "archive/forms/frmArchiveDelete.h"
#include "common/ProgramVersion.h"
#include "common/forms/WidgetText.h"
#include "shell/forms/WidgetSend.h"
#include "shell/forms/frmAboutFP.h"
#include "shell/forms/frmHelp.h"
#include "ui_MDIFieldpost.h"
#include "viewer/forms/FrmLogFile.h"
#include "viewer/forms/frmXMLfile.h"

namespace fieldpost {
namespace {

const QString Caption = QStringLiteral("Fieldpost");

}  // namespace

MDIFieldpost::MDIFieldpost(FieldpostProgram& program, const WindowPorts& ports)
    : ui_(std::make_unique<Ui::MDIFieldpost>()),
      program_(program),
      ports_(ports),
      startUp_(program),
      guard_(ports.desktop),
      ping_(ports.hosts, ports.echo, ports.display) {
  ui_->setupUi(this);
  ConnectMenu();
  KeepTitle();
  QApplication::instance()->installEventFilter(this);
  ports_.prompt.SetOptionsDialog([this](OptionsPage page) { ShowOptions(page); });
  resize(960, 640);
  startUp_.CheckComponents();
  ports_.display.ProcessEvents();
}

MDIFieldpost::~MDIFieldpost() {
  delete help_;  // a top-level window without a parent, unless it belongs to a dialog
  ports_.prompt.SetOptionsDialog({});
}

bool MDIFieldpost::Load() {
  if (guard_.IsAlreadyOpen(winId(), FromQt(windowTitle()))) {
    close();
    return false;
  }
  ports_.memory.RestoreGeometry(*this);
  show();
  ShowArchive();
  ports_.display.ProcessEvents();
  StartState before;
  RefreshArchiveAfter([&] { before = startUp_.CreateFolderTree(); });
  startUp_.OpenDailyLogHeader(before, [this] { Options(); });
  startUp_.RegisterProgramFolder();
  // The user may have closed the window meanwhile; no event loop runs yet that would end the program.
  return isVisible();
}

void MDIFieldpost::ConnectMenu() {
  connect(ui_->mnuClose, &QAction::triggered, this, &MDIFieldpost::UnloadAllForms);
  connect(ui_->mnuSendData, &QAction::triggered, this, &MDIFieldpost::SendData);
  connect(ui_->mnuOptions, &QAction::triggered, this, [this] { ShowOptions(OptionsPage::Folders); });
  connect(ui_->mnuArchive, &QAction::triggered, this, &MDIFieldpost::ShowArchive);
  connect(ui_->mnuLogfile, &QAction::triggered, this, &MDIFieldpost::ShowLogFile);
  connect(ui_->mnuFPHelp, &QAction::triggered, this, &MDIFieldpost::ShowHelp);
  connect(ui_->mnuAboutFP, &QAction::triggered, this, &MDIFieldpost::ShowAbout);
}

/// A maximised child window would append its own title to the frame's.
void MDIFieldpost::KeepTitle() {
  connect(this, &QWidget::windowTitleChanged, this, [this](const QString& title) {
    if (title != Caption) setWindowTitle(Caption);
  });
}

void MDIFieldpost::ShowChild(std::unique_ptr<QWidget> form) {
  form->setAttribute(Qt::WA_DeleteOnClose);
  QMdiSubWindow* const child = ui_->MdiArea->addSubWindow(form.release());
  child->resize(ui_->MdiArea->size() * 4 / 5);
  child->show();
  ports_.memory.RestoreChild(*child);
}

template <class Form>
QMdiSubWindow* MDIFieldpost::Find() const {
  for (QMdiSubWindow* const child : ui_->MdiArea->subWindowList()) {
    if (qobject_cast<Form*>(child->widget()) != nullptr) return child;
  }
  return nullptr;
}

template <class Form>
void MDIFieldpost::CloseChild() {
  if (QMdiSubWindow* const child = Find<Form>()) child->close();
}

void MDIFieldpost::SendData() {
  if (program_.check.CheckMailOptions().requiredMissing) return;
  ports_.prompt.SetBusyPointer(true);
  ShowSendDialog(program_, ports_.display, ports_.memory, this);
  ports_.prompt.SetBusyPointer(false);
  RefreshArchive(false);
}

/// The dialog loads the options when it is created, shown or not.
frmOptions& MDIFieldpost::Options() {
  if (!options_) {
    const OptionsContext context{
        program_.optionsStore, program_.ports.files, program_.paths, ports_.prompt, ping_,
        ports_.drives,         ports_.memory};
    options_ = std::make_unique<frmOptions>(context, this);
  }
  return *options_;
}

void MDIFieldpost::ShowOptions(OptionsPage page) {
  RefreshArchiveAfter([&] { Options().ShowPage(page); });
}

void MDIFieldpost::RefreshArchiveAfter(const std::function<void()>& change) {
  const std::string before = program_.settings.ArchiveFolder;
  change();
  if (program_.settings.ArchiveFolder != before) RefreshArchive(true);
}

void MDIFieldpost::ShowArchive() {
  if (QMdiSubWindow* const child = Find<frmArchive>()) {
    if (child->isMinimized() || child->isShaded()) child->showNormal();
    ui_->MdiArea->setActiveSubWindow(child);
    return;
  }
  auto archive =
      std::make_unique<frmArchive>(program_.ports.files, program_.settings, program_.log, ports_.memory);
  connect(archive.get(), &frmArchive::OpenFileRequested, this, &MDIFieldpost::OpenFile);
  connect(archive.get(), &frmArchive::DeleteRequested, this, &MDIFieldpost::ShowDeletion);
  ShowChild(std::move(archive));
}

void MDIFieldpost::RefreshArchive(bool firstTime) {
  QMdiSubWindow* const child = Find<frmArchive>();
  if (child != nullptr) qobject_cast<frmArchive*>(child->widget())->UpdateList(firstTime);
}

/// There is one viewer at a time: the next file replaces the shown one.
void MDIFieldpost::OpenFile(const std::filesystem::path& file) {
  CloseChild<frmXMLfile>();
  if (!program_.ports.files.IsFile(file)) return;
  auto viewer = std::make_unique<frmXMLfile>(program_.ports.files, program_.log, ports_.prompt);
  frmXMLfile& shown = *viewer;
  ShowChild(std::move(viewer));
  shown.Load(file);
}

void MDIFieldpost::ShowDeletion(const PathList& files, const std::string& productCode) {
  frmArchiveDelete dialog(program_.run, ports_.prompt, productCode, this);
  dialog.DeleteItems(files);
  dialog.exec();
  ports_.display.ProcessEvents();
  RefreshArchive(true);
}

/// The viewer shows the log as it was when it was opened; a new viewer with later lines replaces it.
void MDIFieldpost::ShowLogFile() {
  CloseChild<FrmLogFile>();
  ShowChild(std::make_unique<FrmLogFile>(program_.ports.files, program_.paths, program_.log, ports_.display));
}

/// Over a modal dialog, the help becomes a child of the dialog, so that it can be used beside it.
void MDIFieldpost::ShowHelp() {
  QWidget* const owner = QApplication::activeModalWidget();
  if (help_ && (help_->parentWidget() != owner || !help_->isVisible())) {
    delete help_;
    help_.clear();
  }
  if (!help_) {
    auto help = std::make_unique<frmHelp>(program_.ports.files, program_.paths.OwnFolder(), ports_.prompt,
                                          ports_.memory, owner);
    if (!help->OpenBook()) return;
    help->setWindowFlag(Qt::Window);
    help->setAttribute(Qt::WA_DeleteOnClose);
    help_ = help.release();
  }
  help_->show();
  help_->raise();
  help_->activateWindow();
}

/// Stores the place of a child window that closes. Handles F1 in a modal dialog, which blocks the shortcut of
/// the menu.
bool MDIFieldpost::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Close) {
    if (const auto* const child = qobject_cast<QMdiSubWindow*>(watched)) ports_.memory.SaveChild(*child);
  }
  if (event->type() != QEvent::KeyPress || static_cast<const QKeyEvent*>(event)->key() != Qt::Key_F1 ||
      QApplication::activeModalWidget() == nullptr) {
    return QMainWindow::eventFilter(watched, event);
  }
  ShowHelp();
  return true;
}

void MDIFieldpost::ShowAbout() {
  frmAboutFP(ProgramVersionText(), this).exec();
}

void MDIFieldpost::UnloadAllForms() {
  QApplication::closeAllWindows();
}

void MDIFieldpost::closeEvent(QCloseEvent* event) {
  if (guard_.AlreadyOpen()) {
    ports_.prompt.ShowMessage("Fieldpost is already open", MessageIcon::None, "");
  } else {
    ports_.memory.SaveGeometry(*this);
  }
  ui_->MdiArea->closeAllSubWindows();
  UnloadAllForms();
  event->accept();
}

}  // namespace fieldpost
