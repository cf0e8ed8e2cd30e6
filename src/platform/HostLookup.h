// The IPv4 addresses of a named machine.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace fieldpost {

/// The network's resolver, with the start-up that it needs on some systems.
class HostLookup {
 public:
  HostLookup() = default;
  HostLookup(const HostLookup&) = delete;
  HostLookup& operator=(const HostLookup&) = delete;
  virtual ~HostLookup() = default;

  /// Makes the network's interface ready. False when the system refuses; then nothing else may be called.
  [[nodiscard]] virtual bool Start() = 0;

  /// The IPv4 addresses of `hostName` (UTF-8; a name, or an address in its dotted notation) in the resolver's
  /// order, each in network order: its first byte is the first in memory. Empty when there is none: an empty
  /// name, a name longer than names can be, or one that the resolver does not know. Takes as long as the
  /// resolver takes; never throws.
  [[nodiscard]] virtual std::vector<std::uint32_t> Resolve(std::string_view hostName) = 0;

  /// Takes one Start back.
  virtual void Stop() = 0;
};

/// The system's own resolver.
class SystemHostLookup final : public HostLookup {
 public:
  [[nodiscard]] bool Start() override;
  [[nodiscard]] std::vector<std::uint32_t> Resolve(std::string_view hostName) override;
  void Stop() override;
};

}  // namespace fieldpost
