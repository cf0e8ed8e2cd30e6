#include "smtp/SmtpConnection.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "support/FailingCall.h"
#include "support/FakeClock.h"
#include "support/ScriptedServer.h"
#include "support/SmtpMailTest.h"

namespace fieldpost::test {
namespace {

using testing::HasSubstr;

/// What a server says up to the mail's data.
std::vector<std::string> Session(const std::string& answerToData) {
  return {"220 ready\r\n", "250 hello\r\n", "250 sender\r\n", "250 recipient\r\n", answerToData};
}

TEST_F(SmtpMailTest, WhatTheServerSaysBeforeTheDatasEndIsNoAcceptance) {
  const struct {
    const char* name;
    const char* answer;
    const char* said;
  } rows[] = {
      {"a refusal", "354 go on\r\n554 no room\r\n", "554 no room"},
      {"an acceptance", "354 go on\r\n250 taken\r\n", "the server answered out of turn: 250 taken"},
      {"half a line", "354 go on\r\n250 ta", "the connection to 127.0.0.1 broke off"},
      {"half an answer", "354 go on\r\n250-taken\r\n", "the connection to 127.0.0.1 broke off"},
  };
  for (const auto& row : rows) {
    const ScriptedServer scripted(Session(row.answer));
    server.port = scripted.Port();
    EXPECT_FALSE(Send()) << row.name;
    EXPECT_THAT(status, HasSubstr(row.said)) << row.name;
  }
}

TEST_F(SmtpMailTest, AServerThatOffersOnlyOtherWaysOfLoggingInIsNamed) {
  server.userName = "user";
  server.password = "secret";
  const ScriptedServer scripted({"220 ready\r\n", "250-hello\r\n250 AUTH OTHER\r\n"});
  server.port = scripted.Port();
  EXPECT_FALSE(Send());
  EXPECT_THAT(status, HasSubstr("no way of logging in with user name and password"));
}

TEST_F(SmtpMailTest, AnAddressThatNoRouteLeadsToIsNamed) {
  server.server = "255.255.255.255";
  EXPECT_FALSE(Send());
  EXPECT_THAT(status, HasSubstr("could not reach 255.255.255.255, port 25: Network is unreachable"));
}

/// A port that takes no connection and refuses none: its queue is full.
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

TEST_F(SmtpMailTest, AServerThatTakesNoConnectionIsGivenUpAfterTheTimeOut) {
  const FullPort full;
  server.port = full.Port();
  const FakeClock standing;  // the library has a clock of its own
  SmtpMail transport(files, standing, display, limits);
  const MailOutcome outcome = transport.Send(server, mail, [] {});
  EXPECT_FALSE(outcome.accepted);
  EXPECT_THAT(outcome.statusText, HasSubstr("no answer from the server for 1 second"));
}

TEST_F(SmtpMailTest, ALibraryThatFailsIsAFailureOfTheMail) {
  const ScriptedServer scripted(Session("354 go on\r\n"));
  server.port = scripted.Port();
  for (const auto& [call, number] : {std::pair{"curl_multi_init", 27}, std::pair{"curl_easy_init", 27},
                                     std::pair{"curl_easy_setopt", 27}, std::pair{"curl_multi_perform", 2}}) {
    const FailingCall failing(call, ENOMEM);
    EXPECT_FALSE(Send()) << call;
    EXPECT_EQ(failing.Failures(), 1) << call;
    EXPECT_THAT(status, HasSubstr("Error: " + std::to_string(number) + " ")) << call;
    EXPECT_TRUE(ContainsNoCase(status, "out of memory")) << call << status;
  }
}

TEST_F(SmtpMailTest, WhatTheMailsOwnerThrowsOnceItIsTakenIsToldAsAFailure) {
  const SmtpServer accepting;
  server.port = accepting.Port();
  SmtpMail transport(files, clock, display, limits);
  const MailOutcome outcome =
      transport.Send(server, mail, [] { throw std::runtime_error("nobody could note it"); });
  EXPECT_FALSE(outcome.accepted);
  EXPECT_THAT(outcome.statusText, HasSubstr("nobody could note it"));
}

}  // namespace
}  // namespace fieldpost::test
