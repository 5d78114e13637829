#include "desktop/SelectionPeer.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "desktop/Deadline.h"

namespace dresk {
namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Reply = std::unique_ptr<T, Free>;

} // namespace

SelectionPeer::SelectionPeer()
    : connection_(xcb_connect(nullptr, nullptr)),
      root_(xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root),
      window_(xcb_generate_id(connection_)) {
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                               XCB_EVENT_MASK_FOCUS_CHANGE;
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, root_, 0, 0, 50, 50, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &mask);
    xcb_flush(connection_);
}

SelectionPeer::~SelectionPeer() {
    xcb_disconnect(connection_);
}

xcb_atom_t SelectionPeer::atom(const std::string& name) const {
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection_,
        xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply != nullptr ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

std::string SelectionPeer::atomName(xcb_atom_t atom) const {
    const Reply<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(connection_, xcb_get_atom_name(connection_, atom), nullptr));
    if (reply == nullptr)
        return {};
    return {xcb_get_atom_name_name(reply.get()),
            static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

xcb_window_t SelectionPeer::owner(const std::string& selection) const {
    const Reply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        connection_, xcb_get_selection_owner(connection_, atom(selection)), nullptr));
    return reply != nullptr ? reply->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

void SelectionPeer::takeFocus() {
    const std::uint32_t noManager = 1;
    xcb_change_window_attributes(connection_, window_, XCB_CW_OVERRIDE_REDIRECT, &noManager);
    xcb_map_window(connection_, window_);
    xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_POINTER_ROOT, window_, XCB_CURRENT_TIME);
    xcb_flush(connection_);
    Reply<xcb_generic_event_t>(nextEvent(5, XCB_FOCUS_IN));
}

void SelectionPeer::own(const std::string& selection) {
    xcb_set_selection_owner(connection_, window_, atom(selection), XCB_CURRENT_TIME);
    owner(selection);
}

xcb_generic_event_t* SelectionPeer::nextEvent(double seconds, std::uint8_t type) {
    const Deadline deadline(seconds);
    xcb_flush(connection_);
    for (;;) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
            if ((event->response_type & 0x7F) == type)
                return event;
            std::free(event);
        }
        if (!deadline.awaitReadable(xcb_get_file_descriptor(connection_)))
            return nullptr;
    }
}

std::optional<SelectionPeer::Request> SelectionPeer::awaitRequest(double seconds) {
    const Reply<xcb_generic_event_t> event(nextEvent(seconds, XCB_SELECTION_REQUEST));
    if (event == nullptr)
        return std::nullopt;
    const auto& request = reinterpret_cast<const xcb_selection_request_event_t&>(*event);
    return Request{request.requestor, request.selection, atomName(request.target),
                   request.property};
}

std::optional<SelectionPeer::Request> SelectionPeer::awaitRequestFor(const std::string& target) {
    while (auto request = awaitRequest()) {
        if (request->target == target)
            return request;
        notify(*request, false);
    }
    return std::nullopt;
}

void SelectionPeer::put(xcb_window_t window, xcb_atom_t property, const std::string& type,
                        std::uint8_t format, const std::string& bytes) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, property, atom(type), format,
                        static_cast<std::uint32_t>(bytes.size() / (format / 8U)), bytes.data());
    xcb_flush(connection_);
}

void SelectionPeer::notify(const Request& request, bool isAnswered) {
    xcb_selection_notify_event_t notice{};
    notice.response_type = XCB_SELECTION_NOTIFY;
    notice.requestor = request.requestor;
    notice.selection = request.selection;
    notice.target = atom(request.target);
    notice.property = isAnswered ? request.property : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    xcb_send_event(connection_, 0, request.requestor, 0, reinterpret_cast<const char*>(&notice));
    xcb_flush(connection_);
}

void SelectionPeer::answer(const Request& request, const std::string& type, std::uint8_t format,
                           const std::string& bytes) {
    put(request.requestor, request.property, type, format, bytes);
    notify(request);
}

void SelectionPeer::answerTargets(const Request& request, const std::vector<std::string>& targets) {
    std::vector<std::uint32_t> atoms;
    atoms.reserve(targets.size());
    for (const std::string& target : targets)
        atoms.push_back(atom(target));
    answer(request, "ATOM", 32, bytesOf(atoms));
}

void SelectionPeer::watch(xcb_window_t window) {
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection_);
}

bool SelectionPeer::awaitProperty(xcb_window_t window, xcb_atom_t property, std::uint8_t state,
                                  double seconds) {
    const Deadline deadline(seconds);
    for (;;) {
        const Reply<xcb_generic_event_t> event(
            nextEvent(deadline.remaining(), XCB_PROPERTY_NOTIFY));
        if (event == nullptr)
            return false;
        const auto& notice = reinterpret_cast<const xcb_property_notify_event_t&>(*event);
        if (notice.window == window && notice.atom == property && notice.state == state)
            return true;
    }
}

bool SelectionPeer::awaitDeletion(const Request& request, double seconds) {
    return awaitProperty(request.requestor, request.property, XCB_PROPERTY_DELETE, seconds);
}

void SelectionPeer::ask(const std::string& selection, const std::string& target) {
    xcb_convert_selection(connection_, window_, atom(selection), atom(target), atom(target),
                          XCB_CURRENT_TIME);
    xcb_flush(connection_);
}

std::optional<bool> SelectionPeer::awaitAnswer(const std::string& target, double seconds) {
    const xcb_atom_t wanted = atom(target);
    const Deadline deadline(seconds);
    for (;;) {
        const Reply<xcb_generic_event_t> event(
            nextEvent(deadline.remaining(), XCB_SELECTION_NOTIFY));
        if (event == nullptr)
            return std::nullopt;
        const auto& notice = reinterpret_cast<const xcb_selection_notify_event_t&>(*event);
        if (notice.target == wanted)
            return notice.property != XCB_ATOM_NONE;
    }
}

std::optional<SelectionPeer::Property> SelectionPeer::take(const std::string& property) {
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 1, window_, atom(property), XCB_ATOM_ANY, 0, 1U << 24),
        nullptr));
    if (reply == nullptr || reply->type == XCB_ATOM_NONE)
        return std::nullopt;
    return Property{atomName(reply->type),
                    reply->format,
                    {static_cast<const char*>(xcb_get_property_value(reply.get())),
                     static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))}};
}

bool SelectionPeer::awaitNewValue(const std::string& property, double seconds) {
    return awaitProperty(window_, atom(property), XCB_PROPERTY_NEW_VALUE, seconds);
}

std::optional<SelectionPeer::Property> SelectionPeer::fetch(const std::string& selection,
                                                            const std::string& target) {
    ask(selection, target);
    if (!awaitAnswer(target).value_or(false))
        return std::nullopt;
    auto whole = take(target);
    if (!whole.has_value() || whole->type != "INCR")
        return whole;
    whole.reset();
    while (awaitNewValue(target)) {
        auto piece = take(target);
        if (!piece.has_value())
            continue;
        if (piece->bytes.empty())
            return whole;
        if (whole.has_value())
            whole->bytes += piece->bytes;
        else
            whole = std::move(piece);
    }
    return std::nullopt;
}

std::vector<std::string> SelectionPeer::targets(const std::string& selection) {
    std::vector<std::string> names;
    const auto answer = fetch(selection, "TARGETS");
    if (answer.has_value() && answer->format == 32)
        for (std::size_t i = 0; i + 4 <= answer->bytes.size(); i += 4) {
            xcb_atom_t atom = 0;
            std::memcpy(&atom, answer->bytes.data() + i, sizeof atom);
            names.push_back(atomName(atom));
        }
    return names;
}

std::string bytesOf(const std::vector<std::uint32_t>& items) {
    std::string bytes(items.size() * sizeof(std::uint32_t), '\0');
    if (!items.empty())
        std::memcpy(bytes.data(), items.data(), bytes.size());
    return bytes;
}

} // namespace dresk
