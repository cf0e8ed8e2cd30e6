// The IPv4 addresses of a host.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace fieldpost {

/// The network's resolver, and its initialisation on systems that need one.
class HostLookup {
 public:
  HostLookup() = default;
  HostLookup(const HostLookup&) = delete;
  HostLookup& operator=(const HostLookup&) = delete;
  virtual ~HostLookup() = default;

  /// Initialises the network library. Returns false when the system refuses; then Resolve and Stop must not
  /// be called.
  [[nodiscard]] virtual bool Start() = 0;

  /// Returns the IPv4 addresses of `hostName` (UTF-8; a name, or an address in dotted notation), each in
  /// network byte order, in the resolver's order. Empty when the name is empty, too long or unknown. Blocks
  /// until the resolver answers. Never throws.
  [[nodiscard]] virtual std::vector<std::uint32_t> Resolve(std::string_view hostName) = 0;

  /// Reverses one successful Start.
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
