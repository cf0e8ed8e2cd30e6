#include "shell/MDIFieldpost.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QMdiArea>
#include <QMdiSubWindow>

#include "archive/FrmLogFile.h"
#include "archive/frmAboutFP.h"
#include "common/ProgramVersion.h"
#include "common/WidgetText.h"
#include "shell/frmHelp.h"
#include "ui_MDIFieldpost.h"

namespace fieldpost {
namespace {

const QString Caption = QStringLiteral("Fieldpost");

}  // namespace

MDIFieldpost::MDIFieldpost(FieldpostProgram& program, const WindowPorts& ports)
    : ui_(std::make_unique<Ui::MDIFieldpost>()),
      program_(program),
      ports_(ports),
      startUp_(program),
      guard_(ports.desktop) {
  ui_->setupUi(this);
  ConnectMenu();
  KeepTitle();
  QApplication::instance()->installEventFilter(this);
  resize(960, 640);
  startUp_.CheckComponents();
  ports_.display.LetEventsRun();
}

MDIFieldpost::~MDIFieldpost() = default;

bool MDIFieldpost::Load() {
  if (guard_.IsAlreadyOpen(winId(), FromQt(windowTitle()))) {
    close();
    return false;
  }
  ports_.memory.RestoreGeometry(*this);
  show();
  startUp_.CreateFolderTree();
  startUp_.OpenDailyLogHeader([] {});
  startUp_.RegisterProgramFolder();
  return true;
}

void MDIFieldpost::ConnectMenu() {
  connect(ui_->mnuClose, &QAction::triggered, this, &MDIFieldpost::UnloadAllForms);
  connect(ui_->mnuLogfile, &QAction::triggered, this, &MDIFieldpost::ShowLogFile);
  connect(ui_->mnuFPHelp, &QAction::triggered, this, &MDIFieldpost::ShowHelp);
  connect(ui_->mnuAboutFP, &QAction::triggered, this, &MDIFieldpost::ShowAbout);
}

/// A maximised child window would put its own title behind the frame's.
void MDIFieldpost::KeepTitle() {
  connect(this, &QWidget::windowTitleChanged, this, [this](const QString& title) {
    if (title != Caption) setWindowTitle(Caption);
  });
}

void MDIFieldpost::ShowChild(std::unique_ptr<QWidget> form) {
  form->setAttribute(Qt::WA_DeleteOnClose);
  QMdiSubWindow* const child = ui_->MdiArea->addSubWindow(form.release());
  child->show();
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

/// The viewer shows the log as it was when it opened, so that a further one takes the place of the first.
void MDIFieldpost::ShowLogFile() {
  CloseChild<FrmLogFile>();
  ShowChild(std::make_unique<FrmLogFile>(program_.ports.files, program_.paths, program_.log, ports_.display));
}

/// The help can be read beside everything, a modal dialog too: it then belongs to the dialog.
void MDIFieldpost::ShowHelp() {
  QWidget* const owner = QApplication::activeModalWidget();
  if (help_ && (help_->parentWidget() != owner || !help_->isVisible())) delete help_;
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

/// F1 in a modal dialog, where the menu's own key is out of reach.
bool MDIFieldpost::eventFilter(QObject* watched, QEvent* event) {
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
  event->accept();
}

}  // namespace fieldpost
