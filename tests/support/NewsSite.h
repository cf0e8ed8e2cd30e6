// A site with new data of both kinds.
#pragma once

#include <string>
#include <vector>

#include "support/TestSite.h"

namespace fieldpost::test {

/// A site with one new faultlogger file, of the product code "AB12", and a PPC database with one entry.
struct NewsSite : ReadySite {
  NewsSite() {
    Latest("unit.xml", FaultlogXml("AB12"));
    SetRegistry(PpcDatabaseKey, PpcFileNameValue, Utf8FromPath(folder.Path() / "db"));
    folder.Write("db/ppc.xml", "<R><PPCentry>1</PPCentry></R>");
  }

  /// The local part of each mail's recipient, with the names of its attachments.
  [[nodiscard]] std::vector<std::string> Mails() const {
    std::vector<std::string> result;
    for (const Mail& mail : transport.mails) {
      std::string text = mail.recipient.substr(0, mail.recipient.find('@')) + ":";
      for (const std::filesystem::path& file : mail.attachments) text += " " + Utf8FromPath(file.filename());
      result.push_back(text);
    }
    return result;
  }
};

}  // namespace fieldpost::test
