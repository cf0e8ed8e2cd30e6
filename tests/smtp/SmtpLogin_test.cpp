#include "smtp/SmtpLogin.h"

#include <algorithm>
#include <string>
#include <vector>

#include "support/Certificates.h"
#include "support/SmtpMailTest.h"

namespace fieldpost::test {
namespace {

using testing::HasSubstr;

/// A login whose lines are played to the watch one by one.
class LoginWatchTest : public testing::Test {
 protected:
  /// Plays lines "C: ..." and "S: ...". True when all of them pass.
  static bool Passes(SmtpLogin& login, const std::vector<std::string>& lines) {
    return std::all_of(lines.begin(), lines.end(), [&](const std::string& line) {
      if (line.starts_with("S: ")) return login.SawLine(line.substr(3));
      login.SawCommand(line.substr(3) + "\r\n");
      return true;
    });
  }

  static bool NotHere() { return false; }
};

TEST_F(LoginWatchTest, WhenAPasswordMayFollow) {
  using Lines = std::vector<std::string>;
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
    bool passes;
  };
  for (const Case& given :
       {Case{TlsPlan::IfOffered, true, plain, false}, Case{TlsPlan::IfOffered, false, plain, true},
        Case{TlsPlan::Never, true, plain, true}, Case{TlsPlan::FromTheStart, true, plain, true},
        Case{TlsPlan::IfOffered, true, offered, true}, Case{TlsPlan::IfOffered, true, unoffered, false},
        Case{TlsPlan::IfOffered, true, upgraded, true}, Case{TlsPlan::Required, true, upgraded, true},
        Case{TlsPlan::IfOffered, false, refused, false}, Case{TlsPlan::Required, true, refused, false}}) {
    SmtpLogin login(given.plan, given.hasPassword, NotHere);
    EXPECT_EQ(Passes(login, given.lines), given.passes) << given.lines.back();
    EXPECT_EQ(login.Fault().has_value(), !given.passes);
  }
}

TEST_F(LoginWatchTest, OnThisMachineAPasswordMayGoUnencrypted) {
  SmtpLogin login(TlsPlan::IfOffered, true, [] { return true; });
  EXPECT_TRUE(Passes(login, {"S: 220 x", "C: EHLO a", "S: 250 AUTH PLAIN", "C: AUTH PLAIN", "S: 334 "}));
}

TEST_F(SmtpMailTest, RightPasswordLogsIn) {
  const SmtpServer sink({"--auth", "user@partner.example:pass word"});
  LogIn("user@partner.example", "pass word");
  EXPECT_TRUE(Send(sink)) << status;
  // The last gate before an unencrypted password is the server's question for it.
  EXPECT_EQ(sink.Count("C: AUTH PLAIN\n"), 1U) << "no password with the command itself";
}

TEST_F(SmtpMailTest, WrongPasswordIsRefusedAndNotTriedAgain) {
  const SmtpServer sink({"--auth", "user:right"});
  LogIn("user", "wrong-password");
  server.tryCount = 3;
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("Error: 67 535 5.7.8 wrong user name or password"));
  EXPECT_EQ(sink.Count("-- connected"), 1U);
}

TEST_F(SmtpMailTest, ALoginThatIsPutOffIsTriedAgain) {
  const SmtpServer sink({"--auth", "user:right", "--mode", "busy-login"});
  LogIn("user", "right-password");
  server.tryCount = 3;
  EXPECT_FALSE(Send(sink));
  EXPECT_EQ(sink.Count("-- connected"), 3U);
}

TEST_F(SmtpMailTest, WithoutAUserNameNobodyLogsIn) {
  const SmtpServer sink({"--auth", "user:right"});
  LogIn("", "right-password");
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("530 5.7.0 log in first"));
  EXPECT_EQ(sink.Count("C: AUTH"), 0U);
}

TEST_F(SmtpMailTest, APasswordThatTheServerRepeatsIsNotShown) {
  const SmtpServer sink({"--auth", "user:right", "--mode", "echo-login"});
  LogIn("user", "secret-word");
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("535 5.7.8 wrong: *** is user:***"));
}

TEST_F(SmtpMailTest, APasswordDoesNotLeaveTheMachineUnencrypted) {
  const SmtpServer sink({"--mode", "auth-without-ask"});
  limits.isThisMachine = [](const std::string& address) { return address != "127.0.0.1"; };
  LogIn("user", "secret-word");
  server.tryCount = 3;
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("a password is not sent unencrypted to another machine"));
  EXPECT_EQ(sink.Count("C: AUTH"), 0U);
  EXPECT_EQ(sink.Count("-- connected"), 1U);
}

TEST_F(SmtpMailTest, WithoutTlsByTheSettingsAPasswordLeavesAllTheSame) {
  const SmtpServer sink({"--mode", "auth-without-ask"});
  limits.isThisMachine = [](const std::string&) { return false; };
  LogIn("user", "secret-word");
  server.tlsMode = TlsMode::None;
  EXPECT_TRUE(Send(sink)) << status;
}

TEST_F(SmtpMailTest, WithoutAPasswordMailGoesUnencrypted) {
  const SmtpServer sink;
  limits.isThisMachine = [](const std::string&) { return false; };
  EXPECT_TRUE(Send(sink)) << status;
}

TEST_F(SmtpMailTest, ARefusedStartTlsEndsTheMail) {
  const SmtpServer sink({"--mode", "starttls-refused"});
  server.tryCount = 2;
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("offered encryption and then refused it: 454 TLS not available"));
  EXPECT_EQ(sink.Count("C: STARTTLS"), 2U);
  EXPECT_EQ(sink.Count("C: MAIL"), 0U);
}

TEST_F(SmtpMailTest, RequiredEncryptionThatIsNotOfferedEndsTheMail) {
  const SmtpServer sink;
  server.tlsMode = TlsMode::Required;
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("the server offers no encryption, and the settings demand it"));
  EXPECT_EQ(sink.Count("C: MAIL"), 0U);
}

class SmtpTlsTest : public SmtpMailTest {
 protected:
  SmtpTlsTest() {
    certificates.Make("server", "IP:127.0.0.1");
    server.tlsCaFile = certificates.CaFile();
  }

  [[nodiscard]] std::vector<std::string> Arguments(const std::string& kind,
                                                   const std::string& name = "server") const {
    return {"--tls", kind, "--cert", certificates.Pem(name), "--key", certificates.Key(name)};
  }

  Certificates certificates;
};

TEST_F(SmtpTlsTest, StartTlsIsUsedWhenItIsOffered) {
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

TEST_F(SmtpTlsTest, NoneNeverStartsTls) {
  const SmtpServer sink(Arguments("starttls"));
  server.tlsMode = TlsMode::None;
  ASSERT_TRUE(Send(sink)) << status;
  EXPECT_EQ(sink.Count("STARTTLS"), 1U) << "offered, never asked for";
}

TEST_F(SmtpTlsTest, ThePortOfImplicitTlsIsEncryptedFromTheStart) {
  const SmtpServer sink(Arguments("implicit"));
  limits.implicitTlsPort = sink.Port();
  server.tlsMode = TlsMode::None;
  AttachBytes(3'000'000);
  ASSERT_TRUE(Send(sink)) << status;
  EXPECT_EQ(sink.Mails().size(), 1U);
}

TEST_F(SmtpTlsTest, AnEncryptedConnectionThatBreaksOffIsAFailureAndNoSignal) {
  std::vector<std::string> arguments = Arguments("starttls");
  arguments.insert(arguments.end(), {"--mode", "hang-up-in-data"});
  const SmtpServer sink(arguments);
  AttachBytes(20'000'000);
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("broke off"));
}

TEST_F(SmtpTlsTest, AnUnknownAuthorityIsNotTrusted) {
  const SmtpServer sink(Arguments("starttls"));
  const Certificates others;
  server.tlsCaFile = others.CaFile();
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("Error: 60 the certificate of 127.0.0.1 is signed by an authority"));
}

TEST_F(SmtpTlsTest, ACertificateForAnotherNameIsRefused) {
  certificates.Make("other", "DNS:mail.other.example");
  const SmtpServer sink(Arguments("starttls", "other"));
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("the certificate of 127.0.0.1 is for another name"));
}

TEST_F(SmtpTlsTest, AnExpiredCertificateIsRefused) {
  certificates.Make("old", "IP:127.0.0.1", -1);
  const SmtpServer sink(Arguments("starttls", "old"));
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("the certificate of 127.0.0.1 has expired"));
}

TEST_F(SmtpTlsTest, ACertificateOfTomorrowIsRefused) {
  certificates.MakeForTomorrow("early", "IP:127.0.0.1");
  const SmtpServer sink(Arguments("starttls", "early"));
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("the certificate of 127.0.0.1 is not valid yet"));
}

TEST_F(SmtpTlsTest, ACertificateThatVouchesForItselfIsRefused) {
  const Certificates others;
  const SmtpServer sink({"--tls", "starttls", "--cert", others.Pem("ca"), "--key", others.Key("ca")});
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("the certificate of 127.0.0.1 is signed by itself alone"));
}

TEST_F(SmtpTlsTest, ACertificateThatIsForNoServerIsRefusedWithTheReason) {
  certificates.Make("client", "IP:127.0.0.1", 2, "extendedKeyUsage=clientAuth");
  const SmtpServer sink(Arguments("starttls", "client"));
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("the certificate of 127.0.0.1 is not trusted ("));
  EXPECT_THAT(status, HasSubstr("purpose"));
}

TEST_F(SmtpTlsTest, AnAuthorityFileThatIsMissingIsNamed) {
  const SmtpServer sink(Arguments("starttls"));
  server.tlsCaFile = (folder.Path() / "missing.pem").native();
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("trusted certificates cannot be read"));
  EXPECT_THAT(status, HasSubstr("missing.pem"));
}

}  // namespace
}  // namespace fieldpost::test
