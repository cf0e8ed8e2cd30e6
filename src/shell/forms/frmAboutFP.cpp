#include "shell/forms/frmAboutFP.h"

#include <QFontMetrics>

#include "common/forms/WidgetText.h"
#include "ui_frmAboutFP.h"

namespace fieldpost {

frmAboutFP::frmAboutFP(std::string_view version, QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::frmAboutFP>()) {
  ui_->setupUi(this);
  ui_->txtVersion->setText(ToQt(version));
  ui_->txtVersion->setMinimumWidth(fontMetrics().horizontalAdvance(ToQt(version) + QStringLiteral("00000")));
  ui_->cmdOK->setFocus();
  connect(ui_->cmdOK, &QPushButton::clicked, this, &frmAboutFP::accept);
}

frmAboutFP::~frmAboutFP() = default;

}  // namespace fieldpost
