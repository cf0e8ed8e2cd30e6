#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstring>
#include <memory>
#include <string>

#include "platform/HostLookup.h"

namespace fieldpost {
namespace {

/// The longest text that can be a name: 255 bytes in the name service's own form.
constexpr std::size_t LongestName = 255;

struct FreeAddresses {
  void operator()(addrinfo* list) const { ::freeaddrinfo(list); }
};

/// A zero byte would end the name early, and so another name would be looked up.
bool CanBeName(std::string_view hostName) {
  return !hostName.empty() && hostName.size() <= LongestName && hostName.find('\0') == std::string_view::npos;
}

std::uint32_t AddressOf(const addrinfo& entry) {
  sockaddr_in socket{};
  std::memcpy(&socket, entry.ai_addr, sizeof socket);
  return socket.sin_addr.s_addr;
}

}  // namespace

bool SystemHostLookup::Start() {
  return true;
}

std::vector<std::uint32_t> SystemHostLookup::Resolve(std::string_view hostName) {
  if (!CanBeName(hostName)) return {};
  addrinfo wanted{};
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_STREAM;  // else each address comes once for each kind of socket
  addrinfo* first = nullptr;
  if (::getaddrinfo(std::string(hostName).c_str(), nullptr, &wanted, &first) != 0) return {};
  const std::unique_ptr<addrinfo, FreeAddresses> list(first);
  std::vector<std::uint32_t> result;
  for (const addrinfo* entry = first; entry != nullptr; entry = entry->ai_next) {
    if (entry->ai_family == AF_INET) result.push_back(AddressOf(*entry));
  }
  return result;
}

void SystemHostLookup::Stop() {}

}  // namespace fieldpost
