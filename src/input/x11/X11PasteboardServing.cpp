// The clipboard thread of the pasteboard: what other programs send, in the server's order.

#include <cstring>
#include <exception>
#include <set>

#include "Foundation/Log.h"
#include "input/x11/X11Pasteboard.h"

namespace dresk {

namespace {

constexpr std::size_t MostTargets = 256;
constexpr std::size_t MostForms = 1024;

/// Nothing that goes wrong, such as a lack of memory for what others offer, ends the thread.
template <class Call>
void guard(const Call& call) {
    try {
        call();
    } catch (const std::exception& error) {
        logLine(std::string("The clipboard failed: ") + error.what());
    }
}

} // namespace

void X11Pasteboard::serve() {
    guard([this] {
        while (const auto event = nextEvent())
            handle(*event);
        reader_.giveUpOverdue(steadySeconds());
        server_.endOverdue(steadySeconds());
    });
    connection_->flush();
    armDeadline();
}

// What was begun is known before the answers to it are handled.
XPointer<xcb_generic_event_t> X11Pasteboard::nextEvent() {
    XPointer<xcb_generic_event_t> event;
    {
        const Lock lock(mutex_);
        ingest();
        if (!events_.empty()) {
            event = std::move(events_.front());
            events_.pop_front();
        }
    }
    reader_.takeBegun();
    return event;
}

void X11Pasteboard::handle(const xcb_generic_event_t& event) {
    if (isSelectionNotice(event)) {
        announce(reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event));
        return;
    }
    // Only notices of answers come from programs; anything else that one sends is made up.
    constexpr std::uint8_t sent = 0x80;
    switch (event.response_type) {
    case XCB_SELECTION_NOTIFY | sent:
    case XCB_SELECTION_NOTIFY:
        reader_.selectionNotify(reinterpret_cast<const xcb_selection_notify_event_t&>(event));
        break;
    case XCB_SELECTION_REQUEST:
        server_.selectionRequest(reinterpret_cast<const xcb_selection_request_event_t&>(event));
        break;
    case XCB_PROPERTY_NOTIFY: {
        const auto& notice = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        reader_.propertyNotify(notice);
        server_.propertyNotify(notice);
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto& notice = reinterpret_cast<const xcb_destroy_notify_event_t&>(event);
        reader_.windowDestroyed(notice.window, event.full_sequence);
        server_.windowDestroyed(notice.window);
        break;
    }
    default:
        // Errors included: windows of other programs go at any time.
        break;
    }
}

// Requests that came before a declaration get what stood there when they were made.
void X11Pasteboard::announce(const xcb_xfixes_selection_notify_event_t& event) {
    Declaration declaration;
    if (event.owner == window_ && event.subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER) {
        const Lock lock(mutex_);
        auto& announced = selection(event.selection).announced;
        if (!announced.empty()) {
            declaration = std::move(announced.front());
            announced.pop_front();
        }
    }
    server_.serve(event.selection, std::move(declaration), event.selection_timestamp);
}

void X11Pasteboard::targetsCame(std::uint64_t chase, const SelectionContents& answer) {
    const auto told = answer.answer(SelectionTarget::Targets);
    const bool areTold = told != nullptr && told->format == 32;
    std::vector<std::string> targets = SelectionTarget::usual();
    if (areTold) {
        std::vector<xcb_atom_t> atoms(
            std::min(told->bytes.size() / sizeof(xcb_atom_t), MostTargets));
        if (!atoms.empty())
            std::memcpy(atoms.data(), told->bytes.data(), atoms.size() * sizeof(xcb_atom_t));
        targets = names_.names(atoms);
        std::set<std::string> seen;
        std::erase_if(targets, [&](const std::string& target) {
            return !SelectionTarget::isData(target) || !seen.insert(target).second;
        });
    }
    const Lock lock(mutex_);
    if (source_.state == Source::State::Asked && source_.chase == chase) {
        source_.state = areTold ? Source::State::Told : Source::State::Silent;
        source_.hasNoList = !answer.hasGivenUp();
        source_.targets = targets;
    }
    std::erase_if(waiting_, [&](const Waiting& waiting) {
        if (waiting.chase != chase)
            return false;
        read(waiting, targets, areTold);
        return true;
    });
    changed_.notify_all();
}

void X11Pasteboard::contentsCame(const SelectionContents& contents) {
    auto forms = contents.forms();
    const Lock lock(mutex_);
    if (forms_.size() + forms.size() > MostForms)
        forms_.clear();
    for (auto& [target, form] : forms)
        forms_[target] = std::move(form);
    changed_.notify_all();
}

void X11Pasteboard::armDeadline() {
    std::optional<double> next = reader_.nextDeadline();
    if (const auto other = server_.nextDeadline())
        next = std::min(next.value_or(*other), *other);
    const CallName name{this, "deadline"};
    if (next.has_value())
        loop_.cancelAndCallAfter(*next - steadySeconds(), name, [this] { serve(); });
    else
        loop_.cancel(name);
    if (!connection_->isAlive()) {
        loop_.removeDescriptor(descriptor_);
        reader_.giveUpAll();
    }
}

void X11Pasteboard::wakeWaiters() {
    const Lock lock(mutex_);
    changed_.notify_all();
}

} // namespace dresk
