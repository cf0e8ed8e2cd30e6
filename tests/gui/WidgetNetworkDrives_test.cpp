#include "options/forms/WidgetNetworkDrives.h"

#include <gtest/gtest.h>

#include <QDesktopServices>
#include <QSignalSpy>
#include <QTextBrowser>

#include "common/forms/WidgetText.h"
#include "support/Variables.h"

namespace fieldpost {
namespace {

/// Takes the place of the desktop for the addresses of network places. Opening one calls a method of a
/// QTextBrowser by its name: a signal, which is recorded, or no method of it, and opening fails.
class Desktop {
 public:
  explicit Desktop(const char* method) {
    for (const QString& scheme : schemes_) QDesktopServices::setUrlHandler(scheme, &browser_, method);
  }
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;
  ~Desktop() {
    for (const QString& scheme : schemes_) QDesktopServices::unsetUrlHandler(scheme);
  }

  /// The address that was opened last; empties the record.
  std::string TakeOpened() {
    return opened_.isEmpty() ? "" : FromQt(opened_.takeLast().first().toUrl().toString());
  }

 private:
  const QStringList schemes_{QStringLiteral("network"), QStringLiteral("remote")};
  QTextBrowser browser_;
  QSignalSpy opened_{&browser_, &QTextBrowser::sourceChanged};
};

TEST(WidgetNetworkDrives, OpensTheNetworkPlaceOfTheDesktop) {
  Desktop desktop("sourceChanged");
  WidgetNetworkDrives drives;
  for (const auto& [name, expected] :
       std::vector<std::pair<std::string, std::string>>{{"GNOME", "network:///"},
                                                        {"ubuntu:GNOME", "network:///"},
                                                        {"KDE", "remote:/"},
                                                        {"neon:KDE", "remote:/"},
                                                        {"XFCE", "network:///"},
                                                        {"", "network:///"}}) {
    const test::Variables session({{"XDG_CURRENT_DESKTOP", name}});
    EXPECT_EQ(drives.Connect(), "") << name;
    EXPECT_EQ(desktop.TakeOpened(), expected) << name;
    EXPECT_EQ(drives.Disconnect(), "") << name;
    EXPECT_EQ(desktop.TakeOpened(), expected) << name;
  }
}

TEST(WidgetNetworkDrives, SaysWhatToDoWhenNothingCouldBeOpened) {
  Desktop desktop("noSuchMethod");
  WidgetNetworkDrives drives;
  const std::string line =
      "No file manager that shows network drives was found. Connect the drive by other means, then choose "
      "its "
      "folder with Browse.";
  EXPECT_EQ(drives.Connect(), line);
  EXPECT_EQ(drives.Disconnect(), line);
  EXPECT_EQ(desktop.TakeOpened(), "");
}

}  // namespace
}  // namespace fieldpost
