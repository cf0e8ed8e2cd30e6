#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_set>

#include "common/Utf8.h"
#include "platform/TopLevelWindows.h"

namespace fieldpost {
namespace {

struct Free {
  // The library allocates its replies with malloc.
  void operator()(void* reply) const {
    std::free(reply);  // NOLINT(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
  }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

struct Disconnect {
  void operator()(xcb_connection_t* connection) const { ::xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

/// The server's numbers of the names of properties and their values.
struct Atoms {
  xcb_atom_t state;
  xcb_atom_t clientLeader;
  xcb_atom_t motifHints;
  xcb_atom_t name;
  xcb_atom_t utf8;
  xcb_atom_t windowType;
  xcb_atom_t normalType;
};

constexpr std::array<std::string_view, 7> AtomNames{
    "WM_STATE",    "WM_CLIENT_LEADER",    "_MOTIF_WM_HINTS",           "_NET_WM_NAME",
    "UTF8_STRING", "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_NORMAL"};

Atoms LookUpAtoms(xcb_connection_t* server) {
  std::array<xcb_intern_atom_cookie_t, AtomNames.size()> cookies{};
  std::ranges::transform(AtomNames, cookies.begin(), [server](std::string_view name) {
    return ::xcb_intern_atom(server, 0, static_cast<std::uint16_t>(name.size()), name.data());
  });
  std::array<xcb_atom_t, AtomNames.size()> atoms{};
  std::ranges::transform(cookies, atoms.begin(), [server](xcb_intern_atom_cookie_t cookie) {
    const Reply<xcb_intern_atom_reply_t> reply(::xcb_intern_atom_reply(server, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  });
  return {atoms[0], atoms[1], atoms[2], atoms[3], atoms[4], atoms[5], atoms[6]};
}

/// The longest part of a property that is read, in units of four bytes. A title that is compared is shorter.
constexpr std::uint32_t PropertyLimit = 1024;

xcb_get_property_cookie_t RequestProperty(xcb_connection_t* server, xcb_window_t window,
                                          xcb_atom_t property) {
  return ::xcb_get_property(server, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, PropertyLimit);
}

Reply<xcb_get_property_reply_t> PropertyReply(xcb_connection_t* server, xcb_get_property_cookie_t cookie) {
  return Reply<xcb_get_property_reply_t>(::xcb_get_property_reply(server, cookie, nullptr));
}

bool IsThere(const xcb_get_property_reply_t* property) {
  return property != nullptr && property->type != XCB_ATOM_NONE;
}

/// Returns the numbers of a property; none when the property is missing or does not consist of 32-bit
/// numbers.
std::span<const std::uint32_t> Numbers(const xcb_get_property_reply_t* property) {
  if (!IsThere(property) || property->format != 32) return {};
  return {static_cast<const std::uint32_t*>(::xcb_get_property_value(property)), property->value_len};
}

/// Returns the text of a property up to its first zero byte; empty when it is missing or is not a text.
std::string_view Text(const xcb_get_property_reply_t* property) {
  if (!IsThere(property) || property->format != 8) return {};
  const std::string_view text(static_cast<const char*>(::xcb_get_property_value(property)),
                              property->value_len);
  return text.substr(0, text.find('\0'));
}

/// Returns a window's children, bottom to top; none when the window is gone.
std::vector<xcb_window_t> Children(const xcb_query_tree_reply_t* tree) {
  if (tree == nullptr) return {};
  const xcb_window_t* first = ::xcb_query_tree_children(tree);
  return {first, first + ::xcb_query_tree_children_length(tree)};
}

/// Reads the windows of an X server. All requests of a step are sent before the first reply is waited for, so
/// that hundreds of windows take only a few round trips to the server.
class WindowReader {
 public:
  explicit WindowReader(xcb_connection_t* server) : server_(server), atoms_(LookUpAtoms(server)) {}

  /// Returns the root of the screen that a window is on; that of the first screen when there is no such
  /// window.
  [[nodiscard]] xcb_window_t RootOf(xcb_window_t window) const {
    const auto cookie = ::xcb_query_tree(server_, window);
    const Reply<xcb_query_tree_reply_t> tree(::xcb_query_tree_reply(server_, cookie, nullptr));
    return tree ? tree->root : ::xcb_setup_roots_iterator(::xcb_get_setup(server_)).data->root;
  }

  /// Returns the programs' windows on a root, front to back.
  [[nodiscard]] std::vector<xcb_window_t> WindowsOn(xcb_window_t root) const {
    const auto cookie = ::xcb_query_tree(server_, root);
    const Reply<xcb_query_tree_reply_t> tree(::xcb_query_tree_reply(server_, cookie, nullptr));
    std::vector<Branch> branches;
    for (const xcb_window_t child : Children(tree.get())) branches.push_back({child, {child}, {}});
    std::ranges::reverse(branches);
    while (Descend(branches)) {
    }
    return Found(branches);
  }

  [[nodiscard]] std::vector<TopLevelWindow> Describe(const std::vector<xcb_window_t>& windows) const {
    std::vector<PendingReplies> pending;
    pending.reserve(windows.size());
    for (const xcb_window_t window : windows) pending.push_back(Request(window));
    std::vector<TopLevelWindow> result;
    for (const PendingReplies& replies : pending) {
      if (std::optional<TopLevelWindow> window = Describe(replies)) result.push_back(std::move(*window));
    }
    return result;
  }

 private:
  /// A child of the root, and the windows that were found in it so far.
  struct Branch {
    xcb_window_t child;
    std::vector<xcb_window_t> open;     ///< windows that are still to be examined
    std::vector<xcb_window_t> managed;  ///< windows with WM_STATE
  };

  struct Look {
    Branch* branch;
    xcb_window_t window;
    xcb_get_property_cookie_t state;
    xcb_query_tree_cookie_t tree;
  };

  struct PendingReplies {
    xcb_window_t window;
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_property_cookie_t state;
    xcb_get_property_cookie_t leader;
    xcb_get_property_cookie_t hints;
    xcb_get_property_cookie_t types;
    xcb_get_property_cookie_t name;
    xcb_get_property_cookie_t oldName;
  };

  /// Examines every open window and opens the children of those without WM_STATE. Returns whether any window
  /// is open afterwards.
  bool Descend(std::vector<Branch>& branches) const {
    std::vector<Look> looks;
    for (Branch& branch : branches) {
      for (const xcb_window_t window : branch.open) {
        looks.push_back({&branch, window, RequestProperty(server_, window, atoms_.state),
                         ::xcb_query_tree(server_, window)});
      }
      branch.open.clear();
    }
    bool any = false;
    for (const Look& look : looks) {
      Take(look);
      any = any || !look.branch->open.empty();
    }
    return any;
  }

  void Take(const Look& look) const {
    const auto state = PropertyReply(server_, look.state);
    const Reply<xcb_query_tree_reply_t> tree(::xcb_query_tree_reply(server_, look.tree, nullptr));
    if (IsThere(state.get())) {
      look.branch->managed.push_back(look.window);
      return;
    }
    for (const xcb_window_t child : Children(tree.get())) look.branch->open.push_back(child);
  }

  /// Returns each window once: a window that was moved into its frame meanwhile is found in both places.
  static std::vector<xcb_window_t> Found(const std::vector<Branch>& branches) {
    std::vector<xcb_window_t> result;
    std::unordered_set<xcb_window_t> seen;
    const auto add = [&](xcb_window_t window) {
      if (seen.insert(window).second) result.push_back(window);
    };
    for (const Branch& branch : branches) {
      if (branch.managed.empty()) add(branch.child);
      std::ranges::for_each(branch.managed, add);
    }
    return result;
  }

  [[nodiscard]] PendingReplies Request(xcb_window_t window) const {
    return {window,
            ::xcb_get_window_attributes(server_, window),
            RequestProperty(server_, window, atoms_.state),
            RequestProperty(server_, window, atoms_.clientLeader),
            RequestProperty(server_, window, atoms_.motifHints),
            RequestProperty(server_, window, atoms_.windowType),
            RequestProperty(server_, window, atoms_.name),
            RequestProperty(server_, window, XCB_ATOM_WM_NAME)};
  }

  /// Describes a window by the replies; empty when the window is gone. Every reply is read, so that none
  /// stays in the connection's queue.
  [[nodiscard]] std::optional<TopLevelWindow> Describe(const PendingReplies& pending) const {
    const Reply<xcb_get_window_attributes_reply_t> attributes(
        ::xcb_get_window_attributes_reply(server_, pending.attributes, nullptr));
    const auto state = PropertyReply(server_, pending.state);
    const auto leader = PropertyReply(server_, pending.leader);
    const auto hints = PropertyReply(server_, pending.hints);
    const auto types = PropertyReply(server_, pending.types);
    const auto name = PropertyReply(server_, pending.name);
    const auto oldName = PropertyReply(server_, pending.oldName);
    if (!attributes) return std::nullopt;
    const bool helper = attributes->map_state == XCB_MAP_STATE_UNMAPPED && !IsThere(state.get()) &&
                        std::ranges::count(Numbers(leader.get()), pending.window) > 0;
    const bool bordered = attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT &&
                          attributes->override_redirect == 0 && !helper && !RefusesDecorations(hints.get()) &&
                          IsNormal(types.get());
    return TopLevelWindow{pending.window, Title(name.get(), oldName.get()), bordered};
  }

  static bool RefusesDecorations(const xcb_get_property_reply_t* hints) {
    constexpr std::uint32_t hasDecorations = 2;
    const std::span<const std::uint32_t> numbers = Numbers(hints);
    return numbers.size() > 2 && (numbers[0] & hasDecorations) != 0 && numbers[2] == 0;
  }

  [[nodiscard]] bool IsNormal(const xcb_get_property_reply_t* types) const {
    const std::span<const std::uint32_t> numbers = Numbers(types);
    return numbers.empty() || std::ranges::count(numbers, atoms_.normalType) > 0;
  }

  [[nodiscard]] std::string Title(const xcb_get_property_reply_t* name,
                                  const xcb_get_property_reply_t* oldName) const {
    if (IsThere(name) && name->type == atoms_.utf8) return std::string(Text(name));
    const bool isUtf8 = IsThere(oldName) && oldName->type == atoms_.utf8;
    return isUtf8 ? std::string(Text(oldName)) : Utf8FromLatin1(Text(oldName));
  }

  xcb_connection_t* server_;
  Atoms atoms_;
};

}  // namespace

std::vector<TopLevelWindow> X11TopLevelWindows::OnScreenOf(std::uint64_t window) {
  const Connection server(::xcb_connect(display_.empty() ? nullptr : display_.c_str(), nullptr));
  if (::xcb_connection_has_error(server.get()) != 0) return {};
  const WindowReader reader(server.get());
  return reader.Describe(reader.WindowsOn(reader.RootOf(static_cast<xcb_window_t>(window))));
}

}  // namespace fieldpost
