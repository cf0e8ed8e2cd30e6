#include "smtp/SmtpLogin.h"

#include <string>
#include <vector>

#include "support/SmtpMailTest.h"

namespace fieldpost::test {
namespace {

using testing::HasSubstr;

using Lines = std::vector<std::string>;

/// Plays the lines of a dialogue, "C: ..." and "S: ...", to `login`. Returns whether it allows all of them.
bool Allows(SmtpLogin& login, const Lines& lines) {
  try {
    for (const std::string& line : lines) {
      if (line.starts_with("S: ")) {
        login.OnReplyLine(line.substr(3));
      } else {
        login.OnCommand(line.substr(3) + "\r\n");
      }
    }
    return true;
  } catch (const SmtpError&) {
    return false;
  }
}

class SmtpLoginTest : public SmtpMailTest {};

TEST_F(SmtpLoginTest, AllowsAPasswordOnlyWhereNobodyElseCanReadIt) {
  const Lines plain{"S: 220 x", "C: EHLO a", "S: 250-x", "S: 250 AUTH PLAIN"};
  const Lines offered{"S: 220 x", "C: EHLO a", "S: 250-x", "S: 250-starttls", "S: 250 AUTH PLAIN"};
  const Lines unoffered{"S: 220 x", "C: EHLO a", "S: 250 x", "C: AUTH PLAIN", "S: 334 "};
  const Lines upgraded{"S: 220 x",      "C: EHLO a",           "S: 250 STARTTLS", "C: STARTTLS",
                       "S: 220 go",     "C: EHLO a",           "S: 250-x",        "S: 250 AUTH LOGIN",
                       "C: AUTH LOGIN", "S: 334 VXNlcm5hbWU6", "C: STARTTLS",     "S: 334 UGFzc3dvcmQ6"};
  const Lines refused{"S: 220 x", "C: EHLO a", "S: 250 STARTTLS", "C: STARTTLS", "S: 501 no"};
  struct Case {
    TlsPlan plan;
    bool hasPassword;
    const Lines& lines;
    bool allowed;
  };
  for (const Case& given :
       {Case{TlsPlan::IfOffered, true, plain, false}, Case{TlsPlan::IfOffered, false, plain, true},
        Case{TlsPlan::Never, true, plain, true}, Case{TlsPlan::FromTheStart, true, plain, true},
        Case{TlsPlan::IfOffered, true, offered, true}, Case{TlsPlan::IfOffered, true, unoffered, false},
        Case{TlsPlan::IfOffered, true, upgraded, true}, Case{TlsPlan::Required, true, upgraded, true},
        Case{TlsPlan::IfOffered, false, refused, false}, Case{TlsPlan::Required, true, refused, false}}) {
    SmtpLogin login(given.plan, given.hasPassword, [] { return false; });
    EXPECT_EQ(Allows(login, given.lines), given.allowed) << given.lines.back();
  }
}

TEST_F(SmtpLoginTest, AllowsAnUnencryptedPasswordOnThisMachine) {
  SmtpLogin login(TlsPlan::IfOffered, true, [] { return true; });
  EXPECT_TRUE(Allows(login, {"S: 220 x", "C: EHLO a", "S: 250 AUTH PLAIN", "C: AUTH PLAIN", "S: 334 "}));
}

TEST_F(SmtpLoginTest, LogsInWithTheRightPassword) {
  const SmtpServer sink({"--auth", "user@partner.example:pass word"});
  LogIn("user@partner.example", "pass word");
  EXPECT_TRUE(Send(sink)) << status;
  // The last check before an unencrypted password follows the server's request for it.
  EXPECT_EQ(sink.Count("C: AUTH PLAIN\n"), 1U) << "the command itself has no password";
}

TEST_F(SmtpLoginTest, DoesNotRetryAWrongPassword) {
  const SmtpServer sink({"--auth", "user:right"});
  LogIn("user", "wrong-password");
  server.tryCount = 3;
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("Error: 67 535 5.7.8 wrong user name or password"));
  EXPECT_EQ(sink.Count("-- connected"), 1U);
}

TEST_F(SmtpLoginTest, RetriesALoginThatTheServerPostponed) {
  const SmtpServer sink({"--auth", "user:right", "--mode", "busy-login"});
  LogIn("user", "right-password");
  server.tryCount = 3;
  EXPECT_FALSE(Send(sink));
  EXPECT_EQ(sink.Count("-- connected"), 3U);
}

TEST_F(SmtpLoginTest, DoesNotLogInWithoutAUserName) {
  const SmtpServer sink({"--auth", "user:right"});
  LogIn("", "right-password");
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("530 5.7.0 log in first"));
  EXPECT_EQ(sink.Count("C: AUTH"), 0U);
}

TEST_F(SmtpLoginTest, HidesAPasswordThatTheServerRepeats) {
  const SmtpServer sink({"--auth", "user:right", "--mode", "echo-login"});
  LogIn("user", "secret-word");
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("535 5.7.8 wrong: *** is user:***"));
}

TEST_F(SmtpLoginTest, SendsNoUnencryptedPasswordToAnotherMachine) {
  const SmtpServer sink({"--mode", "auth-without-ask"});
  limits.isThisMachine = [](const std::string& address) { return address != "127.0.0.1"; };
  LogIn("user", "secret-word");
  server.tryCount = 3;
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("a password is not sent unencrypted to another machine"));
  EXPECT_EQ(sink.Count("C: AUTH"), 0U);
  EXPECT_EQ(sink.Count("-- connected"), 1U);
}

TEST_F(SmtpLoginTest, SendsAnUnencryptedPasswordWhenTheSettingsForbidTls) {
  const SmtpServer sink({"--mode", "auth-without-ask"});
  limits.isThisMachine = [](const std::string&) { return false; };
  LogIn("user", "secret-word");
  server.tlsMode = TlsMode::None;
  EXPECT_TRUE(Send(sink)) << status;
}

TEST_F(SmtpLoginTest, SendsUnencryptedMailWithoutAPassword) {
  const SmtpServer sink;
  limits.isThisMachine = [](const std::string&) { return false; };
  EXPECT_TRUE(Send(sink)) << status;
}

TEST_F(SmtpLoginTest, FailsWhenTheServerRefusesStartTls) {
  const SmtpServer sink({"--mode", "starttls-refused"});
  server.tryCount = 2;
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("offered encryption and then refused it: \"454 TLS not available"));
  EXPECT_EQ(sink.Count("C: STARTTLS"), 2U);
  EXPECT_EQ(sink.Count("C: MAIL"), 0U);
}

TEST_F(SmtpLoginTest, FailsWhenRequiredEncryptionIsNotOffered) {
  const SmtpServer sink;
  server.tlsMode = TlsMode::Required;
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("the server offers no encryption, but the settings require it"));
  EXPECT_EQ(sink.Count("C: MAIL"), 0U);
}

}  // namespace
}  // namespace fieldpost::test
