#include "options/modMailServerPing.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <vector>

#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr std::uint32_t EchoDataSize = 32;
constexpr std::uint8_t EchoTimeToLive = 128;
constexpr std::chrono::milliseconds EchoWait{1000};

struct StatusWords {
  std::uint32_t status;
  std::string_view words;
};

constexpr std::array<StatusWords, 23> StatusTable{{
    {0, "Success"},
    {11001, "Buffer too Small"},
    {11002, "Destination Unreahable"},
    {11003, "Dest Host Not Reachable"},
    {11004, "Dest Protocol Not Reachable"},
    {11005, "Dest Port Not Reachable"},
    {11006, "No Resources Available"},
    {11007, "Bad Option"},
    {11008, "Hardware Error"},
    {11009, "Packet too Big"},
    {11010, "Reqested Timed Out"},
    {11011, "Bad Request"},
    {11012, "Bad Route"},
    {11014, "TTL Exprd Reassemb"},
    {11015, "Parameter Problem"},
    {11016, "Source Quench"},
    {11017, "Option too Big"},
    {11018, "Bad Destination"},
    {11019, "Address Deleted"},
    {11020, "Spec MTU Change"},
    {11021, "MTU Change"},
    {11022, "Unload"},
    {11050, "General Failure"},
}};

std::string WordsOf(std::uint32_t status) {
  const auto* const entry = std::ranges::find(StatusTable, status, &StatusWords::status);
  return std::string(entry == StatusTable.end() ? std::string_view() : entry->words);
}

std::string Dotted(std::uint32_t address) {
  const auto bytes = std::bit_cast<std::array<unsigned char, 4>>(address);
  return fmt::format("{}.{}.{}.{}", bytes[0], bytes[1], bytes[2], bytes[3]);
}

}  // namespace

PingResult modMailServerPing::PingMailServer(std::string_view hostName) {
  const std::string_view name = Trimmed(hostName, " ");
  if (!hosts_.Start())
    return {.status = PingResult::NetworkNotReady, .message = "WSock32.dll is Not responding!"};
  display_.ProcessEvents();
  const std::vector<std::uint32_t> addresses = hosts_.Resolve(name);
  if (addresses.empty()) {
    hosts_.Stop();
    return {.status = PingResult::HostNotFound, .message = "Unable To Resolve Host"};
  }
  // Stop is not called after this point; every completed check leaves one Start without a Stop. That does no
  // harm, because SystemHostLookup keeps no state between the two.
  const std::uint32_t address = addresses.front();
  display_.ProcessEvents();
  const std::uint32_t status = SendIcmpEcho(address, Dotted(address), EchoDataSize);
  display_.ProcessEvents();
  return {.isReached = static_cast<std::int32_t>(status) <= 0, .status = status, .message = WordsOf(status)};
}

std::uint32_t modMailServerPing::SendIcmpEcho(std::uint32_t address, std::string_view /*dotted*/,
                                              std::uint32_t dataSize) {
  return echo_.Send({address, dataSize, EchoTimeToLive, EchoWait}, display_);
}

}  // namespace fieldpost
