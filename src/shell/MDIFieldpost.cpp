#include "shell/MDIFieldpost.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QMdiArea>
#include <QMdiSubWindow>

#include "ui_MDIFieldpost.h"

namespace fieldpost {
namespace {

const QString Caption = QStringLiteral("Fieldpost");

}  // namespace

MDIFieldpost::MDIFieldpost(FieldpostProgram& program, const WindowPorts& ports)
    : ui_(std::make_unique<Ui::MDIFieldpost>()), program_(program), ports_(ports), startUp_(program) {
  ui_->setupUi(this);
  ConnectMenu();
  KeepTitle();
  resize(960, 640);
  startUp_.CheckComponents();
  ports_.display.LetEventsRun();
}

MDIFieldpost::~MDIFieldpost() = default;

bool MDIFieldpost::Load() {
  ports_.memory.RestoreGeometry(*this);
  show();
  startUp_.CreateFolderTree();
  startUp_.OpenDailyLogHeader([] {});
  startUp_.RegisterProgramFolder();
  return true;
}

void MDIFieldpost::ConnectMenu() {
  connect(ui_->mnuClose, &QAction::triggered, this, &MDIFieldpost::UnloadAllForms);
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

void MDIFieldpost::UnloadAllForms() {
  QApplication::closeAllWindows();
}

void MDIFieldpost::closeEvent(QCloseEvent* event) {
  ports_.memory.SaveGeometry(*this);
  ui_->MdiArea->closeAllSubWindows();
  event->accept();
}

}  // namespace fieldpost
