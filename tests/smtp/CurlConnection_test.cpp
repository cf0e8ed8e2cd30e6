#include "smtp/CurlConnection.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "support/FailingCall.h"
#include "support/FakeClock.h"
#include "support/ScriptedServer.h"
#include "support/SmtpTlsTest.h"

namespace fieldpost::test {
namespace {

using testing::HasSubstr;

class CurlConnectionTest : public SmtpTlsTest {};

TEST_F(CurlConnectionTest, UsesStartTlsWhenTheServerOffersIt) {
  std::vector<std::string> arguments = Arguments("starttls");
  arguments.insert(arguments.end(), {"--auth", "user:right"});
  const SmtpServer sink(arguments);
  limits.isThisMachine = [](const std::string&) { return false; };
  LogIn("user", "right");
  AttachBytes(3'000'000);
  ASSERT_TRUE(Send(sink)) << status;
  EXPECT_EQ(sink.Count("-- tls"), 1U);
  EXPECT_EQ(sink.Mails().size(), 1U);
}

TEST_F(CurlConnectionTest, NeverUsesStartTlsWhenTheSettingsForbidIt) {
  const SmtpServer sink(Arguments("starttls"));
  server.tlsMode = TlsMode::None;
  ASSERT_TRUE(Send(sink)) << status;
  EXPECT_EQ(sink.Count("STARTTLS"), 1U) << "offered and never requested";
}

TEST_F(CurlConnectionTest, EncryptsFromTheStartOnTheImplicitTlsPort) {
  const SmtpServer sink(Arguments("implicit"));
  limits.implicitTlsPort = sink.Port();
  server.tlsMode = TlsMode::None;
  AttachBytes(3'000'000);
  ASSERT_TRUE(Send(sink)) << status;
  EXPECT_EQ(sink.Mails().size(), 1U);
}

TEST_F(CurlConnectionTest, ReportsALostEncryptedConnectionWithoutASignal) {
  std::vector<std::string> arguments = Arguments("starttls");
  arguments.insert(arguments.end(), {"--mode", "hang-up-in-data"});
  const SmtpServer sink(arguments);
  AttachBytes(20'000'000);
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("was lost"));
}

/// A port that neither accepts nor refuses connections, because its queue is full.
class FullPort {
 public:
  FullPort() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const raw = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(::bind(listening_, raw, length), 0);
    EXPECT_EQ(::listen(listening_, 0), 0);
    EXPECT_EQ(::getsockname(listening_, raw, &length), 0);
    port_ = ntohs(address.sin_port);
    for (const int waiting : waiting_) static_cast<void>(::connect(waiting, raw, length));
  }
  FullPort(const FullPort&) = delete;
  FullPort& operator=(const FullPort&) = delete;
  ~FullPort() {
    for (const int waiting : waiting_) ::close(waiting);
    ::close(listening_);
  }

  [[nodiscard]] std::int32_t Port() const { return port_; }

 private:
  static int NewSocket(int flags = 0) { return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0); }

  int listening_ = NewSocket();
  std::array<int, 3> waiting_{NewSocket(SOCK_NONBLOCK), NewSocket(SOCK_NONBLOCK), NewSocket(SOCK_NONBLOCK)};
  std::int32_t port_ = 0;
};

TEST_F(CurlConnectionTest, GivesUpAfterTheTimeoutWhenThePortAcceptsNoConnection) {
  const FullPort full;
  server.port = full.Port();
  const FakeClock stopped;  // libcurl measures the time itself
  SmtpMail transport(files, stopped, display, limits);
  const MailOutcome outcome = transport.Send(server, mail, [] {});
  EXPECT_FALSE(outcome.accepted);
  EXPECT_THAT(outcome.statusText, HasSubstr("no reply from the server for 1 second"));
}

TEST_F(CurlConnectionTest, FailsTheMailWhenLibcurlFails) {
  const ScriptedServer scripted(
      {"220 ready\r\n", "250 hello\r\n", "250 sender\r\n", "250 recipient\r\n", "354 go on\r\n"});
  server.port = scripted.Port();
  for (const auto& [call, number] : {std::pair{"curl_multi_init", 27}, std::pair{"curl_easy_init", 27},
                                     std::pair{"curl_easy_setopt", 27}, std::pair{"curl_multi_add_handle", 2},
                                     std::pair{"curl_multi_perform", 2}, std::pair{"curl_multi_poll", 56}}) {
    const FailingCall failing(call, ENOMEM);
    EXPECT_FALSE(Send()) << call;
    EXPECT_EQ(failing.Failures(), 1) << call;
    EXPECT_THAT(status, HasSubstr("Error: " + std::to_string(number) + " ")) << call;
    EXPECT_TRUE(ContainsNoCase(status, "out of memory")) << call << status;
  }
}

}  // namespace
}  // namespace fieldpost::test
