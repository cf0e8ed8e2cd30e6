// The desktop's own way to connect and disconnect network drives.
#pragma once

#include <string>

namespace fieldpost {

/// Opens what the desktop offers for network drives. The program does not wait for it.
class NetworkDrives {
 public:
  NetworkDrives() = default;
  NetworkDrives(const NetworkDrives&) = delete;
  NetworkDrives& operator=(const NetworkDrives&) = delete;
  virtual ~NetworkDrives() = default;

  /// Opens it for connecting a drive. False when nothing suitable could be started; then `problem` is one
  /// line of text (UTF-8) for the user.
  [[nodiscard]] virtual bool Connect(std::string& problem) = 0;

  /// Opens it for disconnecting a drive, in the same way.
  [[nodiscard]] virtual bool Disconnect(std::string& problem) = 0;
};

/// The running desktop's. Outside Windows this is, both times, the file manager at its network place: that of
/// the desktop when it can be found, else another one, else whatever xdg-open takes.
class DesktopNetworkDrives final : public NetworkDrives {
 public:
  [[nodiscard]] bool Connect(std::string& problem) override;
  [[nodiscard]] bool Disconnect(std::string& problem) override;
};

}  // namespace fieldpost
