#include "smtp/MimeMessage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ostream>
#include <random>

#include "common/Text.h"
#include "common/Utf8.h"
#include "smtp/Base64.h"
#include "support/CommandOutput.h"
#include "support/FakeClock.h"
#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class MimeMessageTest : public testing::Test {
 protected:
  MimeMessageTest() {
    mail.sender = "site@partner.example";
    mail.recipient = "faultlog@maker.example";
    mail.organization = "Partner";
    mail.subject = "1/1   Partner ID:4711  Sent:15.03.2004 14:37:09";
    mail.body = "1/1\r\n\r\nsummary";
    mail.messageId = "<1.2@partner.example>";
    mail.date = test::FakeClock().now;
  }

  /// Returns the whole message, read `piece` bytes at a time.
  [[nodiscard]] std::string Text(std::size_t piece = 100'000) const {
    MimeMessage message(files, mail);
    std::string text;
    std::string buffer(piece, '\0');
    while (const std::size_t got = message.Read(buffer)) text += buffer.substr(0, got);
    EXPECT_EQ(text.size(), message.Size());
    return text;
  }

  TempFolder folder;
  DiskFileSystem files;
  Mail mail;
};

TEST_F(MimeMessageTest, IsPlainTextWithoutAttachments) {
  EXPECT_EQ(Text(),
            "Date: Mon, 15 Mar 2004 14:37:09 +0100\r\n"
            "Message-ID: <1.2@partner.example>\r\n"
            "From: site@partner.example\r\n"
            "Reply-To: site@partner.example\r\n"
            "To: faultlog@maker.example\r\n"
            "Organization: Partner\r\n"
            "Subject: 1/1   Partner ID:4711  Sent:15.03.2004 14:37:09\r\n"
            "MIME-Version: 1.0\r\n"
            "Content-Type: text/plain; charset=utf-8\r\n"
            "Content-Transfer-Encoding: 7bit\r\n"
            "\r\n"
            "1/1\r\n\r\nsummary\r\n");
}

TEST_F(MimeMessageTest, AppendsAttachmentsToTheBody) {
  mail.attachments = {folder.Write("a.XML", "<a/>"), folder.Write("b.zip", ""), folder.Write("c", "c")};
  const std::string text = Text();
  EXPECT_THAT(text, HasSubstr("Content-Type: multipart/mixed;\r\n boundary=\"=_"));
  EXPECT_THAT(text, HasSubstr("Content-Type: application/xml;\r\n name=\"a.XML\"\r\n"
                              "Content-Transfer-Encoding: base64\r\n"
                              "Content-Disposition: attachment;\r\n filename=\"a.XML\"\r\n\r\nPGEvPg==\r\n"));
  EXPECT_THAT(text, HasSubstr("application/zip;\r\n name=\"b.zip\""));
  EXPECT_THAT(text, HasSubstr("application/octet-stream;\r\n name=\"c\""));
  EXPECT_THAT(text, EndsWith("--\r\n"));
}

TEST_F(MimeMessageTest, WritesANameThatLooksEncodedInSections) {
  mail.attachments = {folder.Write("=?UTF-8?B?YQ==?=.xml", "a"), folder.Write(" b.xml", "b")};
  const std::string text = Text();
  EXPECT_THAT(text, HasSubstr("\r\n name=\"=_UTF-8?B?YQ==_=.xml\"\r\n"));
  EXPECT_THAT(text, HasSubstr("attachment;\r\n filename*0*=UTF-8''%3D%3FUTF-8%3FB%3FYQ%3D%3D%3F%3D.xml\r\n"));
  EXPECT_THAT(text, HasSubstr("attachment;\r\n filename=\" b.xml\"\r\n")) << "a blank needs no encoding";
}

TEST_F(MimeMessageTest, EndsNoSectionWithinACharacter) {
  for (const std::string padding : {"", "x", "xx", "xxx"}) {
    mail.attachments = {folder.Write(padding + Replaced(std::string(30, '.'), ".", "測") + ".xml", "a")};
    std::string text = Text();
    text = text.substr(text.find("filename*0*"));
    for (std::size_t at = 0; (at = text.find("*=", at)) != std::string::npos; at += 2) {
      const std::string section = text.substr(at, text.find("\r\n", at) - at);
      EXPECT_EQ((CountCharacters(section) - CountCharacters(Replaced(section, "%", ""))) % 3, 0U) << section;
    }
  }
}

TEST_F(MimeMessageTest, OmitsAnOrganizationOfBlanks) {
  mail.organization = " \r\n ";
  EXPECT_THAT(Text(), Not(HasSubstr("Organization")));
}

TEST_F(MimeMessageTest, KeepsASubjectFromAddingAHeader) {
  mail.subject = "1/1\r\nBcc: other@example\r\n\r\nbody";
  EXPECT_THAT(Text(), HasSubstr("\r\nSubject: 1/1  Bcc: other@example    body\r\n"));
}

TEST_F(MimeMessageTest, FoldsALongHeaderAtItsBlanks) {
  mail.subject = std::string(60, 'a') + "   " + std::string(60, 'b') + " c";
  EXPECT_THAT(Text(),
              HasSubstr("Subject: " + std::string(60, 'a') + "\r\n   " + std::string(60, 'b') + " c\r\n"));
}

TEST_F(MimeMessageTest, EncodesAHeaderBeyondAscii) {
  mail.organization = "Prüfstelle";
  EXPECT_THAT(Text(), HasSubstr("Organization: =?UTF-8?B?UHLDvGZzdGVsbGU=?=\r\n"));
}

struct BodyCase {
  const char* name;
  std::string body;
  const char* encoding;
  std::string written;
};
void PrintTo(const BodyCase& given, std::ostream* out) {
  *out << given.name;
}

class MimeBodyTest : public MimeMessageTest, public testing::WithParamInterface<BodyCase> {};

TEST_P(MimeBodyTest, ChoosesTheEncodingOfTheBody) {
  mail.body = GetParam().body;
  EXPECT_THAT(Text(), EndsWith(std::string("Content-Transfer-Encoding: ") + GetParam().encoding + "\r\n\r\n" +
                               GetParam().written));
}

INSTANTIATE_TEST_SUITE_P(
    Bodies, MimeBodyTest,
    testing::Values(BodyCase{"Empty", "", "7bit", ""}, BodyCase{"LineEndStays", "a\r\n", "7bit", "a\r\n"},
                    BodyCase{"MixedLineEnds", "a\nb\rc\n\rd", "7bit", "a\r\nb\r\nc\r\n\r\nd\r\n"},
                    BodyCase{"Tabs", "a\tb ", "7bit", "a\tb \r\n"},
                    BodyCase{"LongestLine", std::string(998, 'x'), "7bit", std::string(998, 'x') + "\r\n"},
                    BodyCase{"TooLongLine", std::string(999, '='), "quoted-printable",
                             Replaced(std::string(39, '#'), "#",
                                      Replaced(std::string(25, '='), "=", "=3D") + "=\r\n") +
                                 Replaced(std::string(24, '='), "=", "=3D") + "\r\n"},
                    BodyCase{"Umlaut", "ä=", "quoted-printable", "=C3=A4=3D\r\n"},
                    BodyCase{"BlankAtTheEnd", "ä \r\nb\t\r\n", "quoted-printable", "=C3=A4=20\r\nb=09\r\n"},
                    BodyCase{"MalformedUtf8", "\xE4", "quoted-printable", "=EF=BF=BD\r\n"},
                    BodyCase{"Control", std::string("a\0b", 3), "quoted-printable", "a=00b\r\n"}),
    [](const auto& given) { return given.param.name; });

TEST_F(MimeMessageTest, ChoosesABoundaryThatIsNotInTheBody) {
  mail.attachments = {folder.Write("a.xml", "a")};
  const std::string first = Text();
  const std::string boundary = first.substr(first.find("=_"), 34);
  mail.body = "--" + boundary + "--";
  const std::string second = Text();
  EXPECT_THAT(second, Not(HasSubstr("boundary=\"" + boundary)));
  EXPECT_THAT(second, HasSubstr(mail.body));
}

TEST_F(MimeMessageTest, WritesEqualMailsAsEqualBytes) {
  mail.attachments = {folder.Write("a.xml", "a")};
  const std::string text = Text();
  EXPECT_EQ(Text(), text);
  mail.messageId = "<1.3@partner.example>";
  EXPECT_NE(Text().substr(text.find("boundary")), text.substr(text.find("boundary")));
}

TEST_F(MimeMessageTest, ReturnsTheSameBytesForBuffersOfAnySize) {
  std::string bytes(300'001, '\0');
  std::mt19937 random(4711);
  std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
  mail.attachments = {folder.Write("a.xml", bytes), folder.Write("b.xml", bytes.substr(0, 57)),
                      folder.Write("c.xml", bytes.substr(0, 4096 * 57))};
  const std::string text = Text();
  for (const std::size_t piece : {1U, 7U, 77U, 78U, 79U, 4096U, 1'000'000U})
    EXPECT_EQ(Text(piece), text) << piece;
}

TEST_F(MimeMessageTest, ReportsAMissingAttachmentOnConstruction) {
  mail.attachments = {folder.Path() / "missing.xml"};
  EXPECT_THROW(MimeMessage(files, mail), FileError);
}

TEST_F(MimeMessageTest, RefusesAnAttachmentThatIsNotAFile) {
  mail.attachments = {folder.Folder("folder.xml")};
  EXPECT_THROW(MimeMessage(files, mail), FileError);
}

struct Change {
  const char* name;
  std::string content;
};
void PrintTo(const Change& given, std::ostream* out) {
  *out << given.name;
}

class MimeMessageChangeTest : public MimeMessageTest, public testing::WithParamInterface<Change> {};

TEST_P(MimeMessageChangeTest, FailsWhenAnAttachmentHasChanged) {
  mail.attachments = {folder.Write("a.xml", std::string(1'000'000, 'a'))};
  MimeMessage message(files, mail);
  std::string buffer(1000, '\0');
  message.Read(buffer);
  message.Read(buffer);
  folder.Write("a.xml", GetParam().content);
  // The file system may record times too coarsely to show a change that follows so soon.
  std::filesystem::last_write_time(mail.attachments[0],
                                   std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
  const auto readOn = [&] {
    while (message.Read(buffer) > 0) {
    }
  };
  EXPECT_THROW(readOn(), FileError);
}

INSTANTIATE_TEST_SUITE_P(Changes, MimeMessageChangeTest,
                         testing::Values(Change{"Longer", std::string(1'000'001, 'a')},
                                         Change{"MuchLonger", std::string(5'000'000, 'a')},
                                         Change{"Shorter", std::string(999'999, 'a')}, Change{"Empty", ""},
                                         Change{"AsLong", std::string(1'000'000, 'b')}),
                         [](const auto& given) { return given.param.name; });

/// A piece of text, and what a mail program must read from a header that contains it.
struct Piece {
  std::string given;
  std::string read;
};

const std::vector<Piece>& HostilePieces() {
  static const std::vector<Piece> pieces{{"a", "a"},
                                         {" ", " "},
                                         {"   ", "   "},
                                         {"\r\n", "  "},
                                         {std::string(1, '\0'), " "},
                                         {"\x7F", " "},
                                         {"\t", " "},
                                         {"Bcc: x@y", "Bcc: x@y"},
                                         {"=?UTF-8?Q?x?=", "=?UTF-8?Q?x?="},
                                         {"=?", "=?"},
                                         {"\"\\;,()<>", "\"\\;,()<>"},
                                         {"Prüfstelle Übermaß", "Prüfstelle Übermaß"},
                                         {"中文字符", "中文字符"},
                                         {"\xF0\x9F\x93\xA8", "\xF0\x9F\x93\xA8"},
                                         {"\xC3(", "\xEF\xBF\xBD("},
                                         {"\xED\xA0\x80.", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD."},
                                         {"\xC0\xAF.", "\xEF\xBF\xBD\xEF\xBF\xBD."},
                                         {std::string(90, 'w'), std::string(90, 'w')},
                                         {std::string(40, 'v'), std::string(40, 'v')},
                                         {" 4711 15.03.2004", " 4711 15.03.2004"}};
  return pieces;
}

class HostileMailTest : public MimeMessageTest {
 protected:
  Piece Text(std::size_t mostPieces) {
    Piece text;
    for (std::size_t left = random_() % (mostPieces + 1); left > 0; --left) {
      const Piece& piece = HostilePieces()[random_() % HostilePieces().size()];
      text.given += piece.given;
      text.read += piece.read;
    }
    return text;
  }

  std::string FileName(std::size_t number) {
    static const std::vector<std::string> names{"plain.xml",
                                                "two words.zip",
                                                "quote\"back\\slash.xml",
                                                "Prüfung.xml",
                                                "中文字符 and a long name " + std::string(120, 'x') + ".zip",
                                                "semi;colon='*%25.xml",
                                                std::string(100, 'l') + ".txt",
                                                "-",
                                                "a,b=c@d [e](f).XML",
                                                "\xF0\x9F\x93\xA8"};
    return std::to_string(number) + names[random_() % names.size()];
  }

  void AttachSome(const TempFolder& expected, const std::string& name) {
    for (std::size_t count = random_() % 3, number = 0; number < count; ++number) {
      const std::string fileName = FileName(number);
      std::string bytes(random_() % 500, '\0');
      std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random_()); });
      mail.attachments.push_back(folder.Write(name + "/" + fileName, bytes));
      const std::string index = "-" + std::to_string(number);
      expected.Write(name + "/name" + index, fileName);
      expected.Write(name + "/file" + index, bytes);
      expected.Write(name + "/type" + index, TypeOf(fileName));
    }
  }

  static std::string TypeOf(const std::string& name) {
    if (name.ends_with(".xml") || name.ends_with(".XML")) return "application/xml";
    return name.ends_with(".zip") ? "application/zip" : "application/octet-stream";
  }

  static std::string WithoutEndBlanks(const std::string& text) { return std::string(Trimmed(text)); }

  std::mt19937 random_{20040315};
};

TEST_F(HostileMailTest, IsReadCorrectlyByAnIndependentParser) {
  const TempFolder expected;
  const std::vector<Piece> bodies{{"", ""},
                                  {"plain\r\n..\r\n.dot", "plain\r\n..\r\n.dot"},
                                  {"bare\nends\rhere\r\n", "bare\r\nends\r\nhere\r\n"},
                                  {"Grüße \t\r\n= 100 %\r\n", "Grüße \t\r\n= 100 %\r\n"},
                                  {std::string(3000, 'z') + "\r\n\r\n", std::string(3000, 'z') + "\r\n\r\n"},
                                  {"\xFF-\x01", "\xEF\xBF\xBD-\x01"}};
  for (int number = 0; number < 300; ++number) {
    const std::string name = "mail-" + std::to_string(number);
    const Piece subject = Text(9);
    const Piece organization = Text(3);
    const Piece& body = bodies[random_() % bodies.size()];
    mail.subject = subject.given;
    mail.organization = organization.given;
    mail.body = body.given;
    mail.attachments.clear();
    AttachSome(expected, name);
    const bool endAdded = mail.attachments.empty() && !body.read.empty() && !body.read.ends_with("\r\n");
    expected.Write(name + "/subject", WithoutEndBlanks(subject.read));
    if (const std::string text = WithoutEndBlanks(organization.read); !text.empty()) {
      expected.Write(name + "/organization", text);
    }
    expected.Write(name + "/body", body.read + (endAdded ? "\r\n" : ""));
    expected.Write(name + "/message.eml", MimeMessageTest::Text());
  }
  const CommandResult result = RunCommand("/usr/bin/python3 " FIELDPOST_TESTS "/tools/check_mails.py '" +
                                          expected.Path().native() + "'");
  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_EQ(result.output, "300 mails are right\n");
}

}  // namespace
}  // namespace fieldpost::test
