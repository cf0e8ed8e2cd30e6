// Connecting and disconnecting network drives by the desktop's own program.
#pragma once

#include <string>

namespace fieldpost {

/// Opens the desktop's program for network drives, without waiting for it.
class NetworkDrives {
 public:
  NetworkDrives() = default;
  NetworkDrives(const NetworkDrives&) = delete;
  NetworkDrives& operator=(const NetworkDrives&) = delete;
  virtual ~NetworkDrives() = default;

  /// Opens the program for connecting a drive. Returns false when none could be started; `problem` is then
  /// one line (UTF-8) for the user.
  [[nodiscard]] virtual bool Connect(std::string& problem) = 0;

  /// Opens the program for disconnecting a drive. Returns false when none could be started; `problem` is then
  /// one line (UTF-8) for the user.
  [[nodiscard]] virtual bool Disconnect(std::string& problem) = 0;
};

/// Opens, for both purposes, a file manager at its network location: that of the running desktop, otherwise
/// another one that is installed, otherwise the one that xdg-open chooses.
class DesktopNetworkDrives final : public NetworkDrives {
 public:
  [[nodiscard]] bool Connect(std::string& problem) override;
  [[nodiscard]] bool Disconnect(std::string& problem) override;
};

}  // namespace fieldpost
