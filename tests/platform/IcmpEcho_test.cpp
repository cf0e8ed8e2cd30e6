#include "platform/IcmpEcho.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/ip_icmp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/FailingCall.h"
#include "support/OwnNetwork.h"
#include "support/RecordingUi.h"

namespace fieldpost::test {
namespace {

using Packet = std::vector<unsigned char>;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

std::uint32_t Address(const char* dotted) {
  return ::inet_addr(dotted);
}

EchoRequest Request(const char* dotted, milliseconds wait = milliseconds(1000)) {
  return {Address(dotted), 32, 128, wait};
}

std::string Status(const EchoRequest& request) {
  SystemIcmpEcho echo;
  StatusDisplay display;
  return std::to_string(echo.Send(request, display));
}

constexpr OwnNetworkOptions rawSockets{};
constexpr OwnNetworkOptions echoSockets{.grantsEchoSockets = true, .grantsRawSockets = false};

/// The two kinds of sockets that the system may permit.
class IcmpEchoTest : public testing::TestWithParam<OwnNetworkOptions> {
 protected:
  void SetUp() override {
    if (!OwnNetworkRefusal().empty()) GTEST_SKIP() << OwnNetworkRefusal();
  }

  static OwnNetworkOptions Silent() {
    OwnNetworkOptions options = GetParam();
    options.answersEchoes = false;
    return options;
  }
};

INSTANTIATE_TEST_SUITE_P(Sockets, IcmpEchoTest, testing::Values(rawSockets, echoSockets),
                         [](const auto& given) { return given.param.grantsRawSockets ? "Raw" : "Echo"; });

TEST_P(IcmpEchoTest, SucceedsForTheLocalMachine) {
  EXPECT_EQ(InOwnNetwork(GetParam(), [] { return Status(Request("127.0.0.1")); }), "0");
  EXPECT_EQ(InOwnNetwork(GetParam(), [] { return Status(Request("127.9.8.7")); }), "0");
}

TEST_P(IcmpEchoTest, SendsEverySizeThatFitsIntoAPacket) {
  for (const auto& [size, status] :
       std::vector<std::pair<std::uint32_t, std::string>>{{0, "0"},
                                                          {1, "0"},
                                                          {32, "0"},
                                                          {1473, "0"},
                                                          {65507, "0"},
                                                          {65508, "11009"},
                                                          {0xFFFFFFFFU, "11009"}}) {
    const EchoRequest request{Address("127.0.0.1"), size, 128, milliseconds(1000)};
    EXPECT_EQ(InOwnNetwork(GetParam(), [&request] { return Status(request); }), status) << size;
  }
}

TEST_P(IcmpEchoTest, ReportsUnreachableWithoutARoute) {
  EXPECT_EQ(InOwnNetwork(GetParam(), [] { return Status(Request("192.0.2.1")); }), "11002");
  OwnNetworkOptions rejecting = GetParam();
  rejecting.rejectedAddress = Address("192.0.2.1");
  EXPECT_EQ(InOwnNetwork(rejecting, [] { return Status(Request("192.0.2.1")); }), "11003");
}

TEST_P(IcmpEchoTest, ReportsAGeneralFailureForForbiddenAddresses) {
  EXPECT_EQ(InOwnNetwork(GetParam(), [] { return Status(Request("127.255.255.255")); }), "11050");
}

/// Sends an echo to a silent machine. Returns its status, whether the time was "short", "right" or "long",
/// and whether events were processed often enough.
std::string SilentEcho() {
  SystemIcmpEcho echo;
  RecordingDisplay display;
  const auto start = steady_clock::now();
  const std::uint32_t status = echo.Send(Request("127.0.0.1"), display);
  const auto took = steady_clock::now() - start;
  const char* time = took < milliseconds(1000) ? "short" : took > milliseconds(1300) ? "long" : "right";
  return std::to_string(status) + " " + time + (display.eventTurns < 20 ? " few turns" : " enough turns");
}

TEST_P(IcmpEchoTest, TimesOutAndProcessesEventsMeanwhile) {
  EXPECT_EQ(InOwnNetwork(Silent(), SilentEcho), "11010 right enough turns");
}

/// Measures the longest time between two calls of ProcessEvents.
class LongestPause final : public StatusDisplay {
 public:
  milliseconds longest{0};
  void ProcessEvents() override {
    const auto now = steady_clock::now();
    longest = std::max(longest, std::chrono::duration_cast<milliseconds>(now - last_));
    last_ = now;
  }

 private:
  steady_clock::time_point last_ = steady_clock::now();
};

TEST(IcmpEchoNoiseTest, ProcessesEventsDuringUnrelatedTraffic) {
  if (!OwnNetworkRefusal().empty()) GTEST_SKIP() << OwnNetworkRefusal();
  const std::string outcome = InOwnNetwork({.answersEchoes = false}, [] {
    std::jthread noise([](const std::stop_token& stop) {
      SystemIcmpEcho echo;
      StatusDisplay display;
      while (!stop.stop_requested())
        static_cast<void>(echo.Send(Request("127.0.0.1", milliseconds(0)), display));
    });
    SystemIcmpEcho echo;
    LongestPause display;
    const std::uint32_t status = echo.Send(Request("127.0.0.1"), display);
    return std::to_string(status) + (display.longest > milliseconds(100) ? " blocked" : " served");
  });
  EXPECT_EQ(outcome, "11010 served");
}

TEST(IcmpEchoRightsTest, ReportsAGeneralFailureWithoutASocket) {
  if (!OwnNetworkRefusal().empty()) GTEST_SKIP() << OwnNetworkRefusal();
  const OwnNetworkOptions none{.grantsEchoSockets = false, .grantsRawSockets = false};
  EXPECT_EQ(InOwnNetwork(none, [] { return Status(Request("127.0.0.1")); }), "11050");
}

TEST(IcmpEchoErrorTest, MapsEachSystemErrorToItsStatus) {
  const struct {
    int error;
    const char* status;
  } rows[] = {{ENETUNREACH, "11002"},   {ENETDOWN, "11002"},    {EHOSTUNREACH, "11003"},
              {EHOSTDOWN, "11003"},     {ENOPROTOOPT, "11004"}, {ECONNREFUSED, "11005"},
              {ENOBUFS, "11006"},       {ENOMEM, "11006"},      {EMFILE, "11006"},
              {ENFILE, "11006"},        {EMSGSIZE, "11009"},    {EIO, "11008"},
              {EADDRNOTAVAIL, "11018"}, {EPERM, "11050"}};
  for (const auto& row : rows) {
    const FailingCall neitherSocket("socket", row.error, 0, 2);
    EXPECT_EQ(Status(Request("127.0.0.1")), row.status) << row.error;
  }
}

TEST_P(IcmpEchoTest, ReportsAFailedReadUnlessThereWasNothingToRead) {
  const auto statusWhenReadFails = [](int error) {
    return InOwnNetwork(GetParam(), [error] {
      const FailingCall failing("recvfrom", error);
      return Status(Request("127.0.0.1"));
    });
  };
  EXPECT_EQ(statusWhenReadFails(ENOBUFS), "11006");
  EXPECT_EQ(statusWhenReadFails(EAGAIN), "0") << "the reply is read the next time";
  EXPECT_EQ(statusWhenReadFails(EINTR), "0");
}

template <typename Header>
Header HeaderAt(const Packet& packet, std::size_t at) {
  Header header;
  std::memcpy(&header, packet.data() + at, sizeof header);
  return header;
}

void SetChecksum(Packet& message) {
  message[2] = message[3] = 0;
  std::uint32_t sum = 0;
  for (std::size_t at = 0; at < message.size(); ++at) sum += at % 2 == 0 ? message[at] * 256U : message[at];
  while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16U);
  message[2] = static_cast<unsigned char>(~sum >> 8U);
  message[3] = static_cast<unsigned char>(~sum);
}

/// Simulates the network on the loopback interface: waits for a request and sends messages in answer.
class Answerer {
 public:
  Answerer() : socket_(::socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP)) {}
  Answerer(const Answerer&) = delete;
  Answerer& operator=(const Answerer&) = delete;
  ~Answerer() { ::close(socket_); }

  /// Waits for the next request and returns it with its IP header.
  [[nodiscard]] Packet WaitForRequest() const {
    while (true) {
      Packet packet(2048);
      const ssize_t got = ::recv(socket_, packet.data(), packet.size(), 0);
      packet.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
      if (packet.size() > sizeof(ip) && packet[sizeof(ip)] == ICMP_ECHO) return packet;
    }
  }

  /// Sends a message to 127.0.0.1 from the address `from`.
  static void Send(Packet message, const char* from = "127.0.0.1") {
    SetChecksum(message);
    const int socket = ::socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
    sockaddr_in source{};
    source.sin_family = AF_INET;
    source.sin_addr.s_addr = Address(from);
    ::bind(socket, reinterpret_cast<const sockaddr*>(&source), sizeof source);
    sockaddr_in target = source;
    target.sin_addr.s_addr = Address("127.0.0.1");
    ::sendto(socket, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&target),
             sizeof target);
    ::close(socket);
  }

 private:
  int socket_;
};

Packet ReplyTo(const Packet& request, std::uint16_t otherIdentifier = 0, std::uint16_t otherSequence = 0) {
  Packet reply(request.begin() + sizeof(ip), request.end());
  auto header = HeaderAt<icmphdr>(reply, 0);
  header.type = ICMP_ECHOREPLY;
  header.un.echo.id ^= otherIdentifier;
  header.un.echo.sequence ^= otherSequence;
  std::memcpy(reply.data(), &header, sizeof header);
  return reply;
}

/// Returns an error message that quotes the first `quoted` bytes of a packet.
Packet ErrorAbout(const Packet& packet, int type, int code, std::size_t quoted = 28) {
  Packet error(8 + quoted);
  error[0] = static_cast<unsigned char>(type);
  error[1] = static_cast<unsigned char>(code);
  std::copy_n(packet.begin(), quoted, error.begin() + 8);
  return error;
}

using Answers = std::function<void(const Packet& request)>;

/// Returns the status of an echo in a network where `answers` simulates the other side, for which raw sockets
/// are permitted. The echo uses an echo socket where it is permitted.
std::string StatusWith(OwnNetworkOptions network, const Answers& answers) {
  network.answersEchoes = false;
  network.grantsRawSockets = true;
  return InOwnNetwork(network, [&] {
    const Answerer answerer;
    const std::jthread other([&] { answers(answerer.WaitForRequest()); });
    return Status(Request("127.0.0.1", milliseconds(300)));
  });
}

TEST_P(IcmpEchoTest, SendsTheRequestAsGiven) {
  OwnNetworkOptions network = GetParam();
  network.grantsRawSockets = true;
  const std::string sent = InOwnNetwork(network, [] {
    Packet packet;
    const Answerer answerer;
    std::jthread other([&] { packet = answerer.WaitForRequest(); });
    static_cast<void>(Status({Address("127.3.2.1"), 40, 99, milliseconds(1000)}));
    other.join();
    const auto header = HeaderAt<ip>(packet, 0);
    const bool zero = std::all_of(packet.begin() + 28, packet.end(), [](unsigned char c) { return c == 0; });
    return std::string(::inet_ntoa(header.ip_dst)) + " ttl " + std::to_string(header.ip_ttl) + ", " +
           std::to_string(packet.size() - 28) + (zero ? " zero bytes" : " other bytes");
  });
  EXPECT_EQ(sent, "127.3.2.1 ttl 99, 40 zero bytes");
}

// Linux does not report an expired reassembly to an echo socket.
TEST_P(IcmpEchoTest, MapsEachErrorMessageToItsStatus) {
  struct ErrorCase {
    int type;
    int code;
    const char* status;
    const char* statusOfEchoSocket = status;
  };
  for (const ErrorCase& given : std::vector<ErrorCase>{{3, 0, "11002"},
                                                       {3, 1, "11003"},
                                                       {3, 2, "11004"},
                                                       {3, 3, "11005"},
                                                       {3, 4, "11009"},
                                                       {3, 5, "11012"},
                                                       {3, 6, "11002"},
                                                       {3, 7, "11003"},
                                                       {3, 9, "11002"},
                                                       {3, 10, "11003"},
                                                       {3, 13, "11003"},
                                                       {4, 0, "11016"},
                                                       {11, 0, "11013"},
                                                       {11, 1, "11014", "11010"},
                                                       {12, 0, "11015"}}) {
    const std::string status = StatusWith(GetParam(), [&given](const Packet& request) {
      Answerer::Send(ErrorAbout(request, given.type, given.code));
    });
    EXPECT_EQ(status, GetParam().grantsRawSockets ? given.status : given.statusOfEchoSocket)
        << "type " << given.type << ", code " << given.code;
  }
}

TEST_P(IcmpEchoTest, AcceptsErrorsFromARouter) {
  const auto answers = [](const Packet& request) { Answerer::Send(ErrorAbout(request, 3, 1), "127.0.0.77"); };
  EXPECT_EQ(StatusWith(GetParam(), answers), "11003");
}

TEST_P(IcmpEchoTest, FindsItsReplyAmongOtherMessages) {
  const std::string status = StatusWith(GetParam(), [](const Packet& request) {
    Answerer::Send(ReplyTo(request, 0x5500));
    Answerer::Send(ReplyTo(request, 0, 0x5500));
    Answerer::Send(ReplyTo(request), "127.0.0.2");
    Answerer::Send({ICMP_ECHOREPLY, 0, 0, 0});
    Answerer::Send(ReplyTo(request));
  });
  EXPECT_EQ(status, "0");
}

TEST_P(IcmpEchoTest, IgnoresRepliesToOthers) {
  const std::vector<Answers> foreign{
      [](const Packet& request) { Answerer::Send(ReplyTo(request, 0x5500)); },
      [](const Packet& request) { Answerer::Send(ReplyTo(request, 0, 0x5500)); },
      [](const Packet& request) { Answerer::Send(ReplyTo(request), "127.0.0.2"); },
      [](const Packet&) {
        Answerer::Send({ICMP_ECHOREPLY, 0, 0, 0});
      },
  };
  for (std::size_t kind = 0; kind < foreign.size(); ++kind) {
    EXPECT_EQ(StatusWith(GetParam(), foreign[kind]), "11010") << "kind " << kind;
  }
}

TEST_P(IcmpEchoTest, IgnoresErrorsAboutOthers) {
  const std::string status = StatusWith(GetParam(), [](const Packet& request) {
    for (const std::size_t changed : {9U, 16U, 20U, 24U, 26U}) {
      // The protocol, target, type, identifier and sequence number of the quoted packet.
      Packet other = request;
      other[changed] ^= 0x44U;
      Answerer::Send(ErrorAbout(other, 3, 1));
    }
    Answerer::Send(ErrorAbout(request, 3, 1, 24));
    Answerer::Send(ErrorAbout(request, 3, 1, 10));
    Answerer::Send(ErrorAbout(request, 5, 1));
  });
  EXPECT_EQ(status, "11010");
}

}  // namespace
}  // namespace fieldpost::test
