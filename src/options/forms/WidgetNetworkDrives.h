// Network drives through the desktop's file manager.
#pragma once

#include "platform/NetworkDrives.h"

namespace fieldpost {

/// Opens the file manager at its network place, to connect a drive as well as to disconnect one. Desktops
/// other than Windows have no dialogs of their own for it.
class WidgetNetworkDrives final : public NetworkDrives {
 public:
  [[nodiscard]] std::string Connect() override;
  [[nodiscard]] std::string Disconnect() override;
};

}  // namespace fieldpost
