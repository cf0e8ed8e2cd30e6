#include "options/forms/WidgetNetworkDrives.h"

#include <QDesktopServices>
#include <QString>
#include <QUrl>

namespace fieldpost {
namespace {

/// The address under which the file manager of the running desktop shows network drives.
QUrl NetworkPlace() {
  const bool isKde = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains(QStringLiteral("KDE"));
  return QUrl(isKde ? QStringLiteral("remote:/") : QStringLiteral("network:///"));
}

std::string ShowNetworkPlace() {
  if (QDesktopServices::openUrl(NetworkPlace())) return {};
  return "No file manager that shows network drives was found. Connect the drive by other means, then choose "
         "its "
         "folder with Browse.";
}

}  // namespace

std::string WidgetNetworkDrives::Connect() {
  return ShowNetworkPlace();
}

std::string WidgetNetworkDrives::Disconnect() {
  return ShowNetworkPlace();
}

}  // namespace fieldpost
