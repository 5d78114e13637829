#include "input/x11/XConnection.h"

#include <cstring>

#include "input/x11/XkbHeader.h"

#include <xcb/res.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

namespace dresk {

namespace {

constexpr int MaxWindowDepth = 32;

} // namespace

std::unique_ptr<XConnection> XConnection::open(const char* displayName, std::string& error) {
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(displayName, &screenNumber);
    if (xcb_connection_has_error(connection) != 0) {
        const char* name = displayName != nullptr ? displayName : "";
        // Only read before the program starts its threads.
        if (displayName == nullptr)
            if (const char* variable = std::getenv("DISPLAY")) // NOLINT(concurrency-mt-unsafe)
                name = variable;
        error = *name == '\0' ? "No X display: DISPLAY is not set"
                              : std::string("Cannot open the X display ") + name;
        xcb_disconnect(connection);
        return nullptr;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    std::unique_ptr<XConnection> result(new XConnection(connection, screens.data));
    if (!result->initExtensions(error) || !result->findKeyboards(error))
        return nullptr;
    result->windowState_ = result->atom("WM_STATE");
    return result;
}

XConnection::~XConnection() {
    xcb_disconnect(connection_);
}

bool XConnection::initExtensions(std::string& error) {
    const auto present = [&](xcb_extension_t* id) {
        const auto* data = xcb_get_extension_data(connection_, id);
        return data != nullptr && data->present != 0 ? data : nullptr;
    };
    const auto* input = present(&xcb_input_id);
    const XPointer<xcb_input_xi_query_version_reply_t> version(
        input == nullptr
            ? nullptr
            : xcb_input_xi_query_version_reply(
                  connection_, xcb_input_xi_query_version(connection_, 2, 2), nullptr));
    if (version == nullptr || version->major_version < 2 ||
        (version->major_version == 2 && version->minor_version < 2)) {
        error = "The X server has no XInput 2.2";
        return false;
    }
    const auto* xkb = present(&xcb_xkb_id);
    const XPointer<xcb_xkb_use_extension_reply_t> use(
        xkb == nullptr ? nullptr
                       : xcb_xkb_use_extension_reply(
                             connection_, xcb_xkb_use_extension(connection_, 1, 0), nullptr));
    if (use == nullptr || use->supported == 0) {
        error = "The X server has no keyboard extension (XKB)";
        return false;
    }
    if (present(&xcb_test_id) == nullptr) {
        error = "The X server has no XTEST extension";
        return false;
    }
    hasResourceExtension_ = present(&xcb_res_id) != nullptr;
    inputOpcode_ = input->major_opcode;
    xkbFirstEvent_ = xkb->first_event;
    return true;
}

bool XConnection::findKeyboards(std::string& error) {
    const XPointer<xcb_input_xi_query_device_reply_t> reply(xcb_input_xi_query_device_reply(
        connection_, xcb_input_xi_query_device(connection_, XCB_INPUT_DEVICE_ALL), nullptr));
    if (reply == nullptr) {
        error = "The X server does not tell its input devices";
        return false;
    }
    for (auto it = xcb_input_xi_query_device_infos_iterator(reply.get()); it.rem > 0;
         xcb_input_xi_device_info_next(&it)) {
        const xcb_input_xi_device_info_t& device = *it.data;
        const std::string_view name(xcb_input_xi_device_info_name(&device), device.name_len);
        if (device.type == XCB_INPUT_DEVICE_TYPE_MASTER_KEYBOARD && masterKeyboard_ == 0)
            masterKeyboard_ = device.deviceid;
        if (device.type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD && testKeyboard_ == 0 &&
            name.find("XTEST") != std::string_view::npos)
            testKeyboard_ = device.deviceid;
    }
    if (masterKeyboard_ == 0 || testKeyboard_ == 0) {
        error = "The X server has no keyboard that can be typed on";
        return false;
    }
    return true;
}

xcb_atom_t XConnection::atom(std::string_view name) const {
    const XPointer<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection_,
        xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply != nullptr ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

std::string XConnection::property(xcb_window_t window, xcb_atom_t name, xcb_atom_t type) const {
    constexpr std::uint32_t longest = 64 * 1024;
    const XPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection_, xcb_get_property(connection_, 0, window, name, type, 0, longest / 4),
        nullptr));
    if (reply == nullptr || reply->type == XCB_ATOM_NONE)
        return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

std::vector<std::uint32_t> XConnection::property32(xcb_window_t window, xcb_atom_t name,
                                                   xcb_atom_t type) const {
    const std::string bytes = property(window, name, type);
    std::vector<std::uint32_t> items(bytes.size() / sizeof(std::uint32_t));
    if (!items.empty())
        std::memcpy(items.data(), bytes.data(), items.size() * sizeof(std::uint32_t));
    return items;
}

xcb_window_t XConnection::parent(xcb_window_t window) const {
    const XPointer<xcb_query_tree_reply_t> reply(
        xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
    return reply != nullptr ? reply->parent : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

xcb_window_t XConnection::topLevelWindow(xcb_window_t window) const {
    for (int depth = 0; depth < MaxWindowDepth; ++depth) {
        if (!property(window, windowState_, XCB_ATOM_ANY).empty())
            return window;
        const xcb_window_t outer = parent(window);
        if (outer == XCB_WINDOW_NONE || outer == root())
            return window;
        window = outer;
    }
    return window;
}

void XConnection::selectRootEvents(std::uint32_t mask, bool on) const {
    rootEvents_ = on ? rootEvents_ | mask : rootEvents_ & ~mask;
    xcb_change_window_attributes(connection_, root(), XCB_CW_EVENT_MASK, &rootEvents_);
}

std::uint32_t XConnection::clientProcess(xcb_window_t window) const {
    if (!hasResourceExtension_)
        return 0;
    const xcb_res_client_id_spec_t client{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const XPointer<xcb_res_query_client_ids_reply_t> reply(xcb_res_query_client_ids_reply(
        connection_, xcb_res_query_client_ids(connection_, 1, &client), nullptr));
    if (reply == nullptr)
        return 0;
    for (auto it = xcb_res_query_client_ids_ids_iterator(reply.get()); it.rem > 0;
         xcb_res_client_id_value_next(&it)) {
        const auto& [identity, length] = *it.data;
        if ((identity.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0 && length > 0)
            return *xcb_res_client_id_value_value(it.data);
    }
    return 0;
}

} // namespace dresk
