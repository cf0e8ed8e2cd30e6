#include "shell/StartUp.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <vector>

#include "environment/RegistryKeys.h"
#include "shell/ComponentCheck.h"
#include "support/TestSite.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Components that record when they are created and released.
struct Lives {
  std::vector<std::string> events;

  Component Good(std::string_view name) {
    return {name, [this, name] {
              events.push_back("+" + std::string(name));
              return std::shared_ptr<void>(
                  this, [this, name](void*) { events.push_back("-" + std::string(name)); });
            }};
  }
};

TEST(CheckComponents, KeepsEachComponentUntilTheEnd) {
  Lives lives;
  const std::vector<Component> components{lives.Good("a"), lives.Good("b")};
  EXPECT_EQ(CheckComponents(components), "");
  ASSERT_EQ(lives.events.size(), 4U);
  EXPECT_EQ(lives.events[0], "+a");
  EXPECT_EQ(lives.events[1], "+b");
}

TEST(CheckComponents, StopsAtTheFirstComponentThatFails) {
  struct Row {
    const char* name;
    std::function<std::shared_ptr<void>()> create;
  };
  for (const Row& row :
       {Row{"nothing", [] { return std::shared_ptr<void>(); }},
        Row{"exception", []() -> std::shared_ptr<void> { throw std::runtime_error("no"); }}}) {
    Lives lives;
    const std::vector<Component> components{lives.Good("a"), {"Scrrun.DLL", row.create}, lives.Good("c")};
    EXPECT_EQ(CheckComponents(components), "\"Scrrun.DLL\" not respond") << row.name;
    EXPECT_THAT(lives.events, ElementsAre("+a", "-a")) << row.name;
  }
}

/// The steps of a start, in their order.
struct Started : test::TestSite {
  StartUp startUp{program};
  int optionsLoaded = 0;

  void Start() {
    startUp.CheckComponents();
    const StartState before = startUp.CreateFolderTree();
    startUp.OpenDailyLogHeader(before, [this] { ++optionsLoaded; });
    startUp.RegisterProgramFolder();
  }
};

TEST(StartUp, FirstStartCreatesTheTreeAndBeginsTheLog) {
  Started site;
  site.Start();
  const std::string made =
      "[Create missing directory]:" + Utf8FromPath(site.home / "Faultlog") + PathSeparator;
  EXPECT_THAT(site.Log(), ElementsAre(made + "[Latest]", made + "[Archive]", made + "[Process]",
                                      made + "[Log]", made + "[Error]", made + "[PPCTemp]", "[Log File]"));
  EXPECT_EQ(site.optionsLoaded, 1);
  EXPECT_THAT(site.prompt.messages, IsEmpty());
}

TEST(StartUp, LaterStartOfTheDayAddsNothing) {
  Started site;
  site.Start();
  const std::vector<std::string> before = site.Log();
  StartUp again(site.program);
  again.OpenDailyLogHeader(again.CreateFolderTree(), [&] { ++site.optionsLoaded; });
  EXPECT_EQ(site.Log(), before);
  EXPECT_EQ(site.optionsLoaded, 1);
}

TEST(StartUp, FirstStartOfADayBeginsItsLogWithTheHeader) {
  Started site;
  site.Start();
  ++site.clock.now.day;
  StartUp next(site.program);
  next.OpenDailyLogHeader(next.CreateFolderTree(), [&] { ++site.optionsLoaded; });
  EXPECT_THAT(site.Log(), ElementsAre("[Log File]"));
}

TEST(StartUp, RegistersTheProgramFolder) {
  Started site;
  site.Start();
  EXPECT_EQ(site.program.registry.QueryText(HKEY_LOCAL_MACHINE, ProgramFolderKey, DefaultValue),
            Utf8FromPath(site.home));
}

TEST(StartUp, CheckComponentsShowsAndLogsNothing) {
  Started site;
  site.startUp.CheckComponents();
  EXPECT_FALSE(std::filesystem::exists(site.home / "Faultlog"));
  EXPECT_THAT(site.prompt.messages, IsEmpty());
}

}  // namespace
}  // namespace fieldpost
