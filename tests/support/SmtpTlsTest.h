// The fixture of tests that send mail over TLS.
#pragma once

#include <string>
#include <vector>

#include "support/Certificates.h"
#include "support/SmtpMailTest.h"

namespace fieldpost::test {

/// Trusts a certification authority of its own, which has signed the certificate "server" for 127.0.0.1.
class SmtpTlsTest : public SmtpMailTest {
 protected:
  SmtpTlsTest() {
    certificates.Make("server", "IP:127.0.0.1");
    server.tlsCaFile = certificates.CaFile();
  }

  /// Returns the arguments of an SmtpServer that encrypts as `kind` ("starttls" or "implicit") with the
  /// certificate `name`.
  [[nodiscard]] std::vector<std::string> Arguments(const std::string& kind,
                                                   const std::string& name = "server") const {
    return {"--tls", kind, "--cert", certificates.Pem(name), "--key", certificates.Key(name)};
  }

  Certificates certificates;
};

}  // namespace fieldpost::test
