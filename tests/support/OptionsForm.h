// A fixture of the options dialog, with a fake network and fake drives.
#pragma once

#include <gmock/gmock.h>

#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTreeWidget>
#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "options/forms/frmOptions.h"
#include "support/WindowSite.h"

namespace fieldpost::test {

class ReachableHosts final : public HostLookup {
 public:
  std::vector<std::string> asked;
  std::vector<std::uint32_t> addresses{0x0100007F};

  bool Start() override { return true; }
  std::vector<std::uint32_t> Resolve(std::string_view hostName) override {
    asked.emplace_back(hostName);
    return addresses;
  }
  void Stop() override {}
};

class ReplyingEcho final : public IcmpEcho {
 public:
  std::uint32_t status = echo_status::Success;
  std::function<void()> meanwhile;

  std::uint32_t Send(const EchoRequest& /*request*/, StatusDisplay& /*display*/) override {
    if (meanwhile) meanwhile();
    return status;
  }
};

class FakeDrives final : public NetworkDrives {
 public:
  std::vector<std::string> calls;
  std::string problem;

  std::string Connect() override { return Record("connect"); }
  std::string Disconnect() override { return Record("disconnect"); }

 private:
  std::string Record(std::string call) {
    calls.push_back(std::move(call));
    return problem;
  }
};

template <class T>
T& Part(const QWidget& form, const char* name) {
  T* const part = form.findChild<T*>(QString::fromLatin1(name));
  if (part == nullptr) throw std::runtime_error(std::string("no part ") + name);
  return *part;
}

class frmOptionsTest : public testing::Test {
 protected:
  [[nodiscard]] std::string Tree(std::string_view name) const {
    return WithSeparator(Utf8FromPath(site_.Tree(name)));
  }
  [[nodiscard]] std::string Folder(std::string_view name) const {
    return WithSeparator(Utf8FromPath(site_.folder.Folder(name)));
  }
  std::string Recipient(std::string_view key) {
    return program_.registry.QueryText(HKEY_LOCAL_MACHINE, key, "");
  }

  [[nodiscard]] OptionsContext Context() {
    return {store_, site_.files, program_.paths, site_.prompt, ping_, drives_, site_.memory};
  }

  /// Shows a new dialog, and returns while it is open.
  frmOptions& Shown() {
    form_ = std::make_unique<frmOptions>(Context());
    form_->show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(form_.get()));
    return *form_;
  }
  [[nodiscard]] QLineEdit& Box(const char* name) const { return Part<QLineEdit>(*form_, name); }
  [[nodiscard]] QTreeWidget& List() const { return Part<QTreeWidget>(*form_, "LVPath"); }
  [[nodiscard]] std::string Text(const char* name) const { return FromQt(Box(name).text()); }
  void SetText(const char* name, std::string_view text) const { Box(name).setText(ToQt(text)); }
  void Turn(OptionsPage page) const {
    Part<QTabWidget>(*form_, "SSTab1").setCurrentIndex(static_cast<int>(page));
  }
  [[nodiscard]] OptionsPage Page() const {
    return static_cast<OptionsPage>(Part<QTabWidget>(*form_, "SSTab1").currentIndex());
  }
  [[nodiscard]] std::string Focus() const {
    return form_->focusWidget() == nullptr ? "" : FromQt(form_->focusWidget()->objectName());
  }
  void Press(const char* button) const {
    QTest::mouseClick(&Part<QPushButton>(*form_, button), Qt::LeftButton);
  }
  [[nodiscard]] std::vector<std::string> Rows() const {
    std::vector<std::string> rows;
    for (int i = 0; i < List().topLevelItemCount(); ++i)
      rows.push_back(FromQt(List().topLevelItem(i)->text(0)));
    return rows;
  }
  [[nodiscard]] std::vector<int> SelectedRows() const {
    std::vector<int> rows;
    for (const QTreeWidgetItem* row : List().selectedItems()) {
      rows.push_back(List().indexOfTopLevelItem(const_cast<QTreeWidgetItem*>(row)));
    }
    std::ranges::sort(rows);
    return rows;
  }
  void SetRows(const std::vector<std::string>& folders) {
    program_.lists.LatestFolderList.clear();
    for (const std::string& folder : folders) {
      program_.lists.LatestFolderList.push_back(PathFromUtf8(folder));
    }
  }
  /// Clicks a button, chooses a folder or a file in the dialog that it opens, and answers the message boxes
  /// after it. Returns these boxes.
  std::vector<SeenBox> Choose(const char* button, const std::string& path,
                              Qt::Key key = Qt::Key_Return) const {
    MessageBoxes boxes;
    boxes.onDialog = [&](QDialog& dialog) {
      Part<QLineEdit>(dialog, "fileNameEdit").setText(ToQt(path));
      QTest::keyClick(
          key == Qt::Key_Escape ? static_cast<QWidget*>(&dialog) : &Part<QLineEdit>(dialog, "fileNameEdit"),
          key);
    };
    Press(button);
    return boxes.seen;
  }

  WindowSite site_;
  FieldpostProgram& program_ = site_.program;
  MailSettings& settings_ = program_.settings;
  OptionsStore store_{site_.files, site_.keys, settings_, program_.lists.LatestFolderList, site_.home};
  ReachableHosts hosts_;
  ReplyingEcho echo_;
  modMailServerPing ping_{hosts_, echo_, site_.display};
  FakeDrives drives_;
  std::unique_ptr<frmOptions> form_;
};

}  // namespace fieldpost::test
