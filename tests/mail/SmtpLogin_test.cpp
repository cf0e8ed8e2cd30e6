#include "support/Certificates.h"
#include "support/SmtpMailTest.h"

namespace fieldpost::test {
namespace {

using testing::HasSubstr;

TEST_F(SmtpMailTest, RightPasswordLogsIn) {
  const SmtpServer sink({"--auth", "user@partner.example:pass word"});
  LogIn("user@partner.example", "pass word");
  EXPECT_TRUE(Send(sink)) << status;
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
  EXPECT_EQ(sink.Count("AUTH PLAIN\n"), 0U);
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

TEST_F(SmtpTlsTest, AnUnknownAuthorityIsNotTrusted) {
  const SmtpServer sink(Arguments("starttls"));
  const Certificates others;
  server.tlsCaFile = others.CaFile();
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("Error: 60 the certificate of 127.0.0.1 is not trusted"));
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

TEST_F(SmtpTlsTest, AnAuthorityFileThatIsMissingIsNamed) {
  const SmtpServer sink(Arguments("starttls"));
  server.tlsCaFile = (folder.Path() / "missing.pem").native();
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("trusted certificates cannot be read"));
  EXPECT_THAT(status, HasSubstr("missing.pem"));
}

}  // namespace
}  // namespace fieldpost::test
