#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "app/SingleInstance.h"
#include "core/Text.h"

namespace kr {

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Reply = std::unique_ptr<T, Free>;

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

constexpr uint32_t kMostWords = 16384; // of a property, four bytes each

xcb_atom_t atom(xcb_connection_t* x, const char* name) {
    const auto cookie = xcb_intern_atom(x, 0, static_cast<uint16_t>(std::strlen(name)), name);
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(x, cookie, nullptr));
    return reply != nullptr ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

Reply<xcb_get_property_reply_t> property(xcb_connection_t* x, xcb_window_t window,
                                         xcb_atom_t name) {
    const auto cookie =
        xcb_get_property(x, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, kMostWords);
    return Reply<xcb_get_property_reply_t>(xcb_get_property_reply(x, cookie, nullptr));
}

std::string text(xcb_connection_t* x, xcb_window_t window, xcb_atom_t name) {
    const auto reply = property(x, window, name);
    if (reply == nullptr || reply->format != 8)
        return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<size_t>(xcb_get_property_value_length(reply.get()))};
}

std::vector<xcb_window_t> clients(xcb_connection_t* x, xcb_window_t root) {
    const auto reply = property(x, root, atom(x, "_NET_CLIENT_LIST"));
    if (reply == nullptr || reply->format != 32)
        return {};
    const auto* first = static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()));
    const auto bytes = static_cast<size_t>(xcb_get_property_value_length(reply.get()));
    return {first, first + bytes / sizeof(xcb_window_t)};
}

/// Asks the window manager (Extended Window Manager Hints 1.5) in the manner of a pager, which it
/// obeys although another program has the focus; a minimised window is restored by it.
void activate(xcb_connection_t* x, xcb_window_t root, xcb_window_t window) {
    constexpr uint32_t kFromPager = 2;
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(x, "_NET_ACTIVE_WINDOW");
    event.data.data32[0] = kFromPager;
    xcb_send_event(x, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    // a round trip: the message has arrived before we go
    const Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
}

} // namespace

bool RaiseWindow(std::string_view title) {
    const char* display = std::getenv("DISPLAY");
    if (display == nullptr || *display == '\0')
        return false;
    const Connection x(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(x.get()) != 0)
        return false;
    const xcb_atom_t name = atom(x.get(), "_NET_WM_NAME");
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(x.get()));
    for (; screens.rem > 0; xcb_screen_next(&screens)) {
        const xcb_window_t root = screens.data->root;
        for (const xcb_window_t window : clients(x.get(), root)) {
            std::string found = text(x.get(), window, name);
            if (found.empty())
                found = text(x.get(), window, XCB_ATOM_WM_NAME);
            if (!EqualNoCase(found, title))
                continue;
            activate(x.get(), root, window);
            return true;
        }
    }
    return false;
}

} // namespace kr
