#include "platform/TopLevelWindows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "support/XClient.h"
#include "support/XServer.h"

namespace fieldpost::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// An X server and a program with windows on it.
struct XSite {
  explicit XSite(WindowManager manager = WindowManager::None) : server(manager) {}
  XServer server;
  XClient client{server.Display()};

  /// Returns every entry of the list for a window.
  [[nodiscard]] std::vector<TopLevelWindow> Entries(xcb_window_t window) const {
    std::vector<TopLevelWindow> result = All(window);
    std::erase_if(result, [window](const TopLevelWindow& entry) { return entry.handle != window; });
    return result;
  }

  [[nodiscard]] std::vector<TopLevelWindow> All(xcb_window_t own) const {
    return X11TopLevelWindows(server.Display()).OnScreenOf(own);
  }
};

struct TraitsCase {
  std::string name;
  XWindowTraits traits;
  std::string title;
  bool bordered;
};

std::vector<TraitsCase> TraitsCases() {
  const std::string umlauts =
      "Stra\xC3\x9F"
      "e \xE4\xB8\xAD";
  return {
      {"plain", {}, "Fieldpost", true},
      {"UTF-8 title", {.name = umlauts}, umlauts, true},
      {"empty title", {.name = ""}, "", true},
      {"no title", {.hasName = false}, "", true},
      {"title up to its zero byte", {.name = std::string("Fieldpost\0x", 11)}, "Fieldpost", true},
      {"old title", {.hasName = false, .oldName = "Fieldpost"}, "Fieldpost", true},
      {"old title in Latin-1",
       {.hasName = false,
        .oldName = "Stra\xDF"
                   "e \xE9"},
       "Stra\xC3\x9F"
       "e \xC3\xA9",
       true},
      {"old title in UTF-8",
       {.hasName = false, .oldName = umlauts, .oldNameType = "UTF8_STRING"},
       umlauts,
       true},
      {"both titles", {.name = "New", .oldName = "Old"}, "New", true},
      {"normal type", {.types = {"NORMAL"}}, "Fieldpost", true},
      {"normal among types", {.types = {"UTILITY", "NORMAL"}}, "Fieldpost", true},
      {"dock", {.types = {"DOCK"}}, "Fieldpost", false},
      {"dialog", {.types = {"DIALOG"}}, "Fieldpost", false},
      {"undecorated", {.motifHints = {2, 0, 0, 0, 0}}, "Fieldpost", false},
      {"decorated", {.motifHints = {2, 0, 1, 0, 0}}, "Fieldpost", true},
      {"hints about other things", {.motifHints = {1, 0, 0, 0, 0}}, "Fieldpost", true},
      {"hints cut short", {.motifHints = {2, 0}}, "Fieldpost", true},
      {"left alone by window managers", {.overrideRedirect = true}, "Fieldpost", false},
      {"for input only", {.inputOnly = true}, "Fieldpost", false},
      {"its program's hidden leader", {.leadsItself = true}, "Fieldpost", false},
  };
}

/// Checks that each kind of window is found once, with its title and border, before and after it is shown.
void ExpectEachKindFound(WindowManager manager) {
  XSite site(manager);
  for (const TraitsCase& given : TraitsCases()) {
    const xcb_window_t window = site.client.Make(given.traits);
    EXPECT_THAT(site.Entries(window), ElementsAre(TopLevelWindow{window, given.title, given.bordered}))
        << given.name << ", not shown";
    if (given.traits.inputOnly || given.traits.leadsItself) continue;
    if (manager == WindowManager::None || given.traits.overrideRedirect) {
      site.client.Map(window);
    } else {
      site.client.MapManaged(window);
    }
    EXPECT_THAT(site.Entries(window), ElementsAre(TopLevelWindow{window, given.title, given.bordered}))
        << given.name << ", shown";
    site.client.Destroy(window);
    EXPECT_THAT(site.Entries(window), IsEmpty()) << given.name;
  }
}

TEST(X11TopLevelWindowsTest, FindsEachKindWithoutAWindowManager) {
  ExpectEachKindFound(WindowManager::None);
}

TEST(X11TopLevelWindowsTest, FindsEachKindUnderAWindowManager) {
  ExpectEachKindFound(WindowManager::Openbox);
}

TEST(X11TopLevelWindowsTest, ListsWindowsFrontToBack) {
  XSite site;
  const xcb_window_t back = site.client.Make({.name = "back"});
  const xcb_window_t middle = site.client.Make({.name = "middle"});
  const xcb_window_t front = site.client.Make({.name = "front"});
  EXPECT_THAT(site.All(back),
              ElementsAre(TopLevelWindow{front, "front", true}, TopLevelWindow{middle, "middle", true},
                          TopLevelWindow{back, "back", true}));
}

TEST(X11TopLevelWindowsTest, IgnoresWindowsInsideOthers) {
  XSite site;
  const xcb_window_t outer = site.client.Make({.name = "outer"});
  const xcb_window_t inner = site.client.Make({}, outer);
  site.client.Make({}, inner);
  EXPECT_THAT(site.All(inner), ElementsAre(TopLevelWindow{outer, "outer", true}));
}

TEST(X11TopLevelWindowsTest, ListsFramedWindowsOnceWithoutTheirFrames) {
  XSite site(WindowManager::Openbox);
  const xcb_window_t shown = site.client.Make({});
  site.client.MapManaged(shown);
  const xcb_window_t frame = site.client.ParentOf(shown);
  ASSERT_NE(frame, site.client.Root());
  EXPECT_THAT(site.Entries(frame), IsEmpty());
  EXPECT_EQ(site.Entries(shown).size(), 1U);
}

TEST(X11TopLevelWindowsTest, ListsEachWindowOfAFrame) {
  XSite site;
  const xcb_window_t frame = site.client.Make({.name = "frame", .overrideRedirect = true});
  const xcb_window_t holder = site.client.Make({.hasName = false}, frame);
  const xcb_window_t first = site.client.Make({.name = "first"}, holder);
  const xcb_window_t second = site.client.Make({.name = "second"}, frame);
  site.client.SetNumbers(first, "WM_STATE", "WM_STATE", {1, 0});
  site.client.SetNumbers(second, "WM_STATE", "WM_STATE", {3, 0});
  EXPECT_THAT(site.All(frame), testing::UnorderedElementsAre(TopLevelWindow{first, "first", true},
                                                             TopLevelWindow{second, "second", true}));
}

TEST(X11TopLevelWindowsTest, FindsAnIconifiedWindow) {
  XSite site(WindowManager::Openbox);
  const xcb_window_t window = site.client.Make({});
  site.client.MapManaged(window);
  site.client.Iconify(window);
  EXPECT_THAT(site.Entries(window), ElementsAre(TopLevelWindow{window, "Fieldpost", true}));
}

TEST(X11TopLevelWindowsTest, UsesTheFirstScreenForAMissingWindow) {
  XSite site;
  const xcb_window_t window = site.client.Make({});
  const xcb_window_t gone = site.client.Make({});
  site.client.Destroy(gone);
  EXPECT_THAT(site.All(gone), ElementsAre(TopLevelWindow{window, "Fieldpost", true}));
  EXPECT_THAT(site.All(XCB_NONE), ElementsAre(TopLevelWindow{window, "Fieldpost", true}));
}

TEST(X11TopLevelWindowsTest, ReturnsNothingWhenTheServerIsGone) {
  XServer server;
  const std::string display = server.Display();
  server.End();
  EXPECT_THAT(X11TopLevelWindows(display).OnScreenOf(1), IsEmpty());
}

TEST(X11TopLevelWindowsTest, ListsHundredsOfWindowsInMilliseconds) {
  XSite site(WindowManager::Openbox);
  std::vector<xcb_window_t> windows;
  for (int count = 0; count < 250; ++count) {
    windows.push_back(site.client.Make({.name = "Other"}));
    site.client.MapManaged(windows.back());
    windows.push_back(site.client.Make({.name = "Unshown"}));
  }
  const auto start = std::chrono::steady_clock::now();
  const std::vector<TopLevelWindow> found = site.All(windows.front());
  const auto took = std::chrono::steady_clock::now() - start;
  for (const xcb_window_t window : windows) {
    EXPECT_EQ(std::ranges::count(found, std::uint64_t{window}, &TopLevelWindow::handle), 1);
  }
  RecordProperty("microseconds",
                 static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(took).count()));
  EXPECT_LT(took, std::chrono::milliseconds(500));
}

TEST(X11TopLevelWindowsTest, AllowsWindowsToCloseMeanwhile) {
  XSite site;
  const xcb_window_t own = site.client.Make({});
  XClient other(site.server.Display());
  std::jthread restless([&other](const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      const xcb_window_t window = other.Make({.name = "restless"});
      other.Map(window);
      other.Destroy(window);
    }
  });
  for (int round = 0; round < 200; ++round) ASSERT_EQ(site.Entries(own).size(), 1U);
}

}  // namespace
}  // namespace fieldpost::test
