#include "shell/forms/frmAboutFP.h"

#include <gtest/gtest.h>

#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include "common/forms/WidgetText.h"

namespace fieldpost {
namespace {

struct AboutBox {
  frmAboutFP form{"Fieldpost 01.06.001"};

  AboutBox() { form.show(); }

  template <class T>
  [[nodiscard]] T& Find(const char* name) const {
    return *form.findChild<T*>(QLatin1String(name));
  }
};

TEST(frmAboutFP, ShowsTheVersionReadOnly) {
  const AboutBox about;
  EXPECT_EQ(FromQt(about.form.windowTitle()), "About Fieldpost");
  EXPECT_EQ(FromQt(about.Find<QGroupBox>("freRelease").title()), "Release version information");
  const QLineEdit& version = about.Find<QLineEdit>("txtVersion");
  EXPECT_EQ(FromQt(version.text()), "Fieldpost 01.06.001");
  EXPECT_EQ(FromQt(version.accessibleName()), "Version");
  EXPECT_TRUE(version.isReadOnly());
  EXPECT_TRUE(about.Find<QGroupBox>("freRelease").isAncestorOf(&version));
  EXPECT_EQ(FromQt(about.Find<QPushButton>("cmdComponents").text()), "&Components...");
  EXPECT_EQ(FromQt(about.Find<QPushButton>("cmdOK").text()), "OK");
}

TEST(frmAboutFP, ClosesByKeysButNotByTheComponentsButton) {
  struct Row {
    const char* focus;
    Qt::Key key;
    bool closes;
  };
  for (const Row& row : {Row{"cmdOK", Qt::Key_Return, true}, Row{"cmdOK", Qt::Key_Space, true},
                         Row{"txtVersion", Qt::Key_Return, true}, Row{"txtVersion", Qt::Key_Escape, true},
                         Row{"cmdComponents", Qt::Key_Space, false}}) {
    const AboutBox about;
    auto& widget = about.Find<QWidget>(row.focus);
    ASSERT_TRUE(widget.isEnabled());
    widget.setFocus();
    QTest::keyClick(&widget, row.key);
    EXPECT_EQ(about.form.isVisible(), !row.closes) << row.focus << ' ' << row.key;
  }
}

TEST(frmAboutFP, ButtonsWorkByMouse) {
  const AboutBox about;
  QTest::mouseClick(&about.Find<QPushButton>("cmdComponents"), Qt::LeftButton);
  EXPECT_TRUE(about.form.isVisible());
  QTest::mouseClick(&about.Find<QPushButton>("cmdOK"), Qt::LeftButton);
  EXPECT_FALSE(about.form.isVisible());
}

}  // namespace
}  // namespace fieldpost
