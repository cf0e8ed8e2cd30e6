#include "environment/SettingValues.h"

#include <gtest/gtest.h>

namespace fieldpost {
namespace {

TEST(ServerOf, TakesEachSettingOrItsDefault) {
  MailSettings settings;
  EXPECT_EQ(ServerOf(settings).port, 25);
  EXPECT_EQ(ServerOf(settings).tryCount, 2);
  EXPECT_EQ(ServerOf(settings).timeoutSeconds, 10);
  EXPECT_EQ(ServerOf(settings).tlsMode, TlsMode::Auto);
  settings.SMTPServer = "mail.example";
  settings.SMTPPort = " 65535 ";
  settings.TryCount = "100";
  settings.Timeout = "3600";
  settings.TlsMode = "Required";
  EXPECT_EQ(ServerOf(settings).server, "mail.example");
  EXPECT_EQ(ServerOf(settings).port, 65535);
  EXPECT_EQ(ServerOf(settings).tryCount, 100);
  EXPECT_EQ(ServerOf(settings).timeoutSeconds, 3600);
  EXPECT_EQ(ServerOf(settings).tlsMode, TlsMode::Required);
  settings.SMTPPort = "65536";
  settings.TryCount = "101";
  settings.Timeout = "3601";
  EXPECT_EQ(ServerOf(settings).port, 25);
  EXPECT_EQ(ServerOf(settings).tryCount, 2);
  EXPECT_EQ(ServerOf(settings).timeoutSeconds, 10);
}

TEST(AttachmentsPerMail, IsOneMoreThanTheChosenIndexOrAll) {
  struct Row {
    const char* setting;
    std::int32_t choice;
    std::size_t perMail;
  };
  for (const Row& row : {Row{"0", 0, 1}, Row{"4", 4, 5}, Row{"8", 8, 9}, Row{"9", 9, AllAttachments},
                         Row{"10", 0, 1}, Row{"-1", 0, 1}, Row{"", 0, 1}, Row{"x", 0, 1}}) {
    MailSettings settings;
    settings.NumAttachments = row.setting;
    EXPECT_EQ(AttachmentsChoice(settings), row.choice) << row.setting;
    EXPECT_EQ(AttachmentsPerMail(settings), row.perMail) << row.setting;
  }
}

TEST(IsChecked, KnowsTheTextTrueInAnyCase) {
  for (const char* text : {"True", "true", "TRUE"}) EXPECT_TRUE(IsChecked(text)) << text;
  for (const char* text : {"", "False", "1", "yes", "True ", "t"}) EXPECT_FALSE(IsChecked(text)) << text;
  MailSettings settings;
  settings.UseZip = settings.SendFault = "True";
  EXPECT_TRUE(UsesZip(settings));
  EXPECT_TRUE(SendsFaultlogs(settings));
  EXPECT_FALSE(SendsPpc(settings));
  settings.SendPPC = "true";
  EXPECT_TRUE(SendsPpc(settings));
}

}  // namespace
}  // namespace fieldpost
