// Certificates that a test makes for itself.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "support/TempFolder.h"

namespace fieldpost::test {

/// A certification authority and the certificates that it has signed, in a temporary folder.
class Certificates {
 public:
  Certificates() {
    Run("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj '/CN=Test CA'"
        " -keyout ca.key -out ca.pem");
  }

  /// Returns the path of the authority's own certificate.
  [[nodiscard]] std::string CaFile() const { return (folder_.Path() / "ca.pem").native(); }
  /// Returns the path of the private key of the certificate `name`.
  [[nodiscard]] std::string Key(const std::string& name) const {
    return (folder_.Path() / name).native() + ".key";
  }
  /// Returns the path of the certificate `name`.
  [[nodiscard]] std::string Pem(const std::string& name) const {
    return (folder_.Path() / name).native() + ".pem";
  }

  /// Makes the certificate `name` for `alternativeName`, for example "IP:127.0.0.1". It is valid for `days`
  /// days from now; with -1 it has expired. `extension` is a further line of its extensions.
  void Make(const std::string& name, const std::string& alternativeName, int days = 2,
            const std::string& extension = "") const {
    folder_.Write(name + ".ext", "subjectAltName=" + alternativeName + "\n" + extension + "\n");
    Run("req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=" + name + " -keyout " + name +
        ".key -out " + name + ".csr");
    Sign(name, days, "");
  }

  /// Makes the certificate `name` for `alternativeName`, valid from tomorrow on.
  void MakeForTomorrow(const std::string& name, const std::string& alternativeName) const {
    Make(name, alternativeName);
    Sign(name, 2, "faketime -f +1d ");
  }

 private:
  void Sign(const std::string& name, int days, const std::string& clock) const {
    Run("x509 -req -in " + name + ".csr -CA ca.pem -CAkey ca.key -CAcreateserial -days " +
            std::to_string(days) + " -extfile " + name + ".ext -out " + name + ".pem",
        clock);
  }

  void Run(const std::string& arguments, const std::string& clock = "") const {
    const std::string command =
        "cd '" + folder_.Path().native() + "' && " + clock + "openssl " + arguments + " 2>/dev/null";
    if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
  }

  TempFolder folder_;
};

}  // namespace fieldpost::test
