// The about box.
#pragma once

#include <QDialog>
#include <memory>
#include <string_view>

namespace Ui {
class frmAboutFP;
}

namespace fieldpost {

/// Shows the program's name and version. OK, Enter and Escape close it; the Components button does nothing.
class frmAboutFP final : public QDialog {
  Q_OBJECT

 public:
  /// `version` is the text to show, in UTF-8.
  explicit frmAboutFP(std::string_view version, QWidget* parent = nullptr);
  frmAboutFP(const frmAboutFP&) = delete;
  frmAboutFP& operator=(const frmAboutFP&) = delete;
  ~frmAboutFP() override;

 private:
  std::unique_ptr<Ui::frmAboutFP> ui_;
};

}  // namespace fieldpost
