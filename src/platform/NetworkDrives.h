// The seam to the desktop's way of connecting and disconnecting network drives.
#pragma once

#include <string>

namespace fieldpost {

/// Opens what the desktop offers for network drives: on Windows the dialogs that connect and disconnect a
/// drive, elsewhere the file manager at its network place. The program does not wait for the user's choice
/// there.
class NetworkDrives {
 public:
  NetworkDrives() = default;
  NetworkDrives(const NetworkDrives&) = delete;
  NetworkDrives& operator=(const NetworkDrives&) = delete;
  virtual ~NetworkDrives() = default;

  /// Opens it to connect a drive. Returns an empty text, or, when nothing suitable could be started, one line
  /// for the user (UTF-8).
  [[nodiscard]] virtual std::string Connect() = 0;

  /// Opens it to disconnect a drive. Returns an empty text, or, when nothing suitable could be started, one
  /// line for the user (UTF-8).
  [[nodiscard]] virtual std::string Disconnect() = 0;
};

}  // namespace fieldpost
