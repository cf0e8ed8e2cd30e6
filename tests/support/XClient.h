// An X11 client with windows of arbitrary properties.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fieldpost::test {

/// The properties of a window.
struct XWindowTraits {
  std::string name = "Fieldpost";           ///< _NET_WM_NAME, UTF-8
  bool hasName = true;                      ///< whether _NET_WM_NAME is set
  std::optional<std::string> oldName{};     ///< WM_NAME
  std::string oldNameType = "STRING";       ///< type of WM_NAME
  std::vector<std::string> types{};         ///< _NET_WM_WINDOW_TYPE; not set when empty
  std::vector<std::uint32_t> motifHints{};  ///< _MOTIF_WM_HINTS; not set when empty
  bool overrideRedirect = false;            ///< whether window managers must ignore it
  bool inputOnly = false;                   ///< whether it cannot be drawn
  bool leadsItself = false;                 ///< whether it is its own WM_CLIENT_LEADER
};

class XClient {
 public:
  explicit XClient(const std::string& display) : server_(::xcb_connect(display.c_str(), nullptr)) {
    EXPECT_EQ(::xcb_connection_has_error(server_), 0) << display;
  }
  XClient(const XClient&) = delete;
  XClient& operator=(const XClient&) = delete;
  ~XClient() { ::xcb_disconnect(server_); }

  [[nodiscard]] xcb_window_t Root() const {
    return ::xcb_setup_roots_iterator(::xcb_get_setup(server_)).data->root;
  }

  /// Creates a hidden window, on the root unless a parent is given.
  xcb_window_t Make(const XWindowTraits& traits, xcb_window_t parent = XCB_NONE) {
    const xcb_window_t window = ::xcb_generate_id(server_);
    const std::uint32_t values[] = {traits.overrideRedirect ? 1U : 0U, XCB_EVENT_MASK_PROPERTY_CHANGE};
    ::xcb_create_window(server_, XCB_COPY_FROM_PARENT, window, parent == XCB_NONE ? Root() : parent, 10, 10,
                        200, 100, 0,
                        traits.inputOnly ? XCB_WINDOW_CLASS_INPUT_ONLY : XCB_WINDOW_CLASS_INPUT_OUTPUT,
                        XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    if (traits.hasName) SetText(window, "_NET_WM_NAME", "UTF8_STRING", traits.name);
    if (traits.oldName) SetText(window, "WM_NAME", traits.oldNameType, *traits.oldName);
    std::vector<std::uint32_t> types;
    for (const std::string& type : traits.types) types.push_back(Atom("_NET_WM_WINDOW_TYPE_" + type));
    if (!types.empty()) SetNumbers(window, "_NET_WM_WINDOW_TYPE", "ATOM", types);
    if (!traits.motifHints.empty()) {
      SetNumbers(window, "_MOTIF_WM_HINTS", "_MOTIF_WM_HINTS", traits.motifHints);
    }
    if (traits.leadsItself) SetNumbers(window, "WM_CLIENT_LEADER", "WINDOW", {window});
    Finish();
    return window;
  }

  void SetNumbers(xcb_window_t window, const std::string& property, const std::string& type,
                  const std::vector<std::uint32_t>& numbers) {
    ::xcb_change_property(server_, XCB_PROP_MODE_REPLACE, window, Atom(property), Atom(type), 32,
                          static_cast<std::uint32_t>(numbers.size()), numbers.data());
    Finish();
  }

  /// Shows a window without waiting for the window manager.
  void Map(xcb_window_t window) {
    ::xcb_map_window(server_, window);
    Finish();
  }

  /// Shows a window and waits until the window manager has set its state.
  void MapManaged(xcb_window_t window) {
    ::xcb_map_window(server_, window);
    AwaitState(window, 1);
  }

  /// Lets the window manager iconify a window, and waits for it.
  void Iconify(xcb_window_t window) {
    xcb_client_message_event_t wish{};
    wish.response_type = XCB_CLIENT_MESSAGE;
    wish.format = 32;
    wish.window = window;
    wish.type = Atom("WM_CHANGE_STATE");
    wish.data.data32[0] = 3;
    ::xcb_send_event(server_, 0, Root(),
                     XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                     reinterpret_cast<const char*>(&wish));
    AwaitState(window, 3);
  }

  void Destroy(xcb_window_t window) {
    ::xcb_destroy_window(server_, window);
    Finish();
  }

  [[nodiscard]] xcb_window_t ParentOf(xcb_window_t window) {
    const std::unique_ptr<xcb_query_tree_reply_t, decltype(&std::free)> tree(
        ::xcb_query_tree_reply(server_, ::xcb_query_tree(server_, window), nullptr), &std::free);
    return tree ? tree->parent : xcb_window_t{XCB_NONE};
  }

 private:
  xcb_atom_t Atom(std::string_view name) {
    const auto cookie = ::xcb_intern_atom(server_, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        ::xcb_intern_atom_reply(server_, cookie, nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  }

  void SetText(xcb_window_t window, const std::string& property, const std::string& type,
               std::string_view text) {
    ::xcb_change_property(server_, XCB_PROP_MODE_REPLACE, window, Atom(property), Atom(type), 8,
                          static_cast<std::uint32_t>(text.size()), text.data());
  }

  /// Waits until the server has processed all requests.
  void Finish() { static_cast<void>(ParentOf(Root())); }

  [[nodiscard]] std::uint32_t StateOf(xcb_window_t window, xcb_atom_t state) {
    const std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> reply(
        ::xcb_get_property_reply(
            server_, ::xcb_get_property(server_, 0, window, state, XCB_GET_PROPERTY_TYPE_ANY, 0, 2), nullptr),
        &std::free);
    if (!reply || reply->value_len == 0) return 0;
    return *static_cast<const std::uint32_t*>(::xcb_get_property_value(reply.get()));
  }

  /// Waits until the window has the state `wanted`. Fails when nothing changes for 10 seconds.
  void AwaitState(xcb_window_t window, std::uint32_t wanted) {
    const xcb_atom_t state = Atom("WM_STATE");
    const std::uint32_t changes[] = {XCB_EVENT_MASK_PROPERTY_CHANGE};
    ::xcb_change_window_attributes(server_, window, XCB_CW_EVENT_MASK, changes);
    ::xcb_flush(server_);
    while (StateOf(window, state) != wanted) {
      std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> event(::xcb_poll_for_event(server_),
                                                                       &std::free);
      pollfd news{::xcb_get_file_descriptor(server_), POLLIN, 0};
      if (!event && ::poll(&news, 1, 10000) != 1) {
        ADD_FAILURE() << "the window manager did not put the window into state " << wanted;
        return;
      }
    }
  }

  xcb_connection_t* server_;
};

}  // namespace fieldpost::test
