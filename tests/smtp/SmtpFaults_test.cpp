#include "smtp/SmtpFaults.h"

#include "support/ClosedPort.h"
#include "support/ScriptedServer.h"
#include "support/SmtpTlsTest.h"

namespace fieldpost::test {
namespace {

using testing::HasSubstr;

class SmtpFaultsTest : public SmtpTlsTest {};

TEST_F(SmtpFaultsTest, NamesAPortThatRefusesConnections) {
  const ClosedPort port;
  server.port = port.Number();
  EXPECT_FALSE(Send());
  EXPECT_THAT(status, HasSubstr("Error: 7 127.0.0.1, port " + std::to_string(server.port) + " refused the"));
}

TEST_F(SmtpFaultsTest, NamesAServerThatDoesNotExist) {
  // A part of a name has at most 63 characters, so this name is refused without a name server.
  server.server = std::string(64, 'x') + ".example";
  EXPECT_FALSE(Send());
  EXPECT_THAT(status, HasSubstr("Error: 6 could not find the server xxx"));
}

TEST_F(SmtpFaultsTest, NamesAnAddressWithoutARoute) {
  server.server = "255.255.255.255";
  EXPECT_FALSE(Send());
  EXPECT_THAT(status, HasSubstr("could not reach 255.255.255.255, port 25: Network is unreachable"));
}

TEST_F(SmtpFaultsTest, ReportsAServerThatOffersOnlyOtherLogins) {
  server.userName = "user";
  server.password = "secret";
  const ScriptedServer scripted({"220 ready\r\n", "250-hello\r\n250 AUTH OTHER\r\n"});
  server.port = scripted.Port();
  EXPECT_FALSE(Send());
  EXPECT_THAT(status, HasSubstr("the server offers no login with user name and password"));
}

TEST_F(SmtpFaultsTest, ReportsACertificateOfAnUnknownAuthority) {
  const SmtpServer sink(Arguments("starttls"));
  const Certificates others;
  server.tlsCaFile = others.CaFile();
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("Error: 60 the certificate of 127.0.0.1 is signed by an authority"));
}

TEST_F(SmtpFaultsTest, ReportsACertificateForAnotherName) {
  certificates.Make("other", "DNS:mail.other.example");
  const SmtpServer sink(Arguments("starttls", "other"));
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("the certificate of 127.0.0.1 is for another server name"));
}

TEST_F(SmtpFaultsTest, ReportsAnExpiredCertificate) {
  certificates.Make("old", "IP:127.0.0.1", -1);
  const SmtpServer sink(Arguments("starttls", "old"));
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("the certificate of 127.0.0.1 has expired"));
}

TEST_F(SmtpFaultsTest, ReportsACertificateThatIsNotValidYet) {
  certificates.MakeForTomorrow("early", "IP:127.0.0.1");
  const SmtpServer sink(Arguments("starttls", "early"));
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("the certificate of 127.0.0.1 is not valid yet"));
}

TEST_F(SmtpFaultsTest, ReportsASelfSignedCertificate) {
  const Certificates others;
  const SmtpServer sink({"--tls", "starttls", "--cert", others.Pem("ca"), "--key", others.Key("ca")});
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("the certificate of 127.0.0.1 is self-signed"));
}

TEST_F(SmtpFaultsTest, ReportsTheReasonOfAnyOtherCertificateError) {
  certificates.Make("client", "IP:127.0.0.1", 2, "extendedKeyUsage=clientAuth");
  const SmtpServer sink(Arguments("starttls", "client"));
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("the certificate of 127.0.0.1 is not trusted ("));
  EXPECT_THAT(status, HasSubstr("purpose"));
}

TEST_F(SmtpFaultsTest, NamesAMissingFileOfTrustedCertificates) {
  const SmtpServer sink(Arguments("starttls"));
  server.tlsCaFile = (folder.Path() / "missing.pem").native();
  EXPECT_FALSE(Send(sink));
  EXPECT_THAT(status, HasSubstr("trusted certificates cannot be read"));
  EXPECT_THAT(status, HasSubstr("missing.pem"));
}

}  // namespace
}  // namespace fieldpost::test
