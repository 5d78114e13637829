#include "input/freedesktop/AtspiFocus.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "Foundation/RunLoop.h"

namespace dresk {

namespace {

constexpr const char* FocusEvent = "object:state-changed:focused";
constexpr const char* CaretEvent = "object:text-caret-moved";

constexpr int DeepestFocus = 16;
constexpr double LongestSearch = 0.5;
constexpr int MostElementsSearched = 400;
constexpr int MostChildrenSearched = 100;

/// Whether the one is the other or lies in it.
bool isInside(AtspiAccessible* inner, AtspiAccessible* outer) {
    if (inner->parent.app != outer->parent.app)
        return false;
    GObjectRef<AtspiAccessible> element = sharedRef(inner);
    for (int depth = 0; depth < DeepestFocus && element != nullptr; ++depth) {
        if (element.get() == outer)
            return true;
        element.reset(atspi_accessible_get_parent(element.get(), nullptr));
    }
    return false;
}

/// A walk through the windows of one application, bounded in elements and time.
class FocusSearch {
  public:
    GObjectRef<AtspiAccessible> findIn(AtspiAccessible* application) {
        for (int i = 0, count = childCount(application); i < count && mayGoOn(); ++i)
            if (GObjectRef<AtspiAccessible> window = child(application, i);
                window != nullptr && hasState(window.get(), ATSPI_STATE_ACTIVE))
                if (auto found = findBelow(std::move(window)))
                    return found;
        return nullptr;
    }
    GObjectRef<AtspiAccessible> application(std::uint32_t process) {
        const GObjectRef<AtspiAccessible> desktop(atspi_get_desktop(0));
        if (desktop == nullptr)
            return nullptr;
        for (int i = 0, count = childCount(desktop.get()); i < count && mayGoOn(); ++i)
            if (GObjectRef<AtspiAccessible> found = child(desktop.get(), i);
                found != nullptr && processOfAccessible(found.get()) == process)
                return found;
        return nullptr;
    }

  private:
    bool mayGoOn() { return ++searched_ < MostElementsSearched && steadySeconds() < end_; }
    static int childCount(AtspiAccessible* element) {
        const int count = atspi_accessible_get_child_count(element, nullptr);
        return std::min(count, MostChildrenSearched);
    }
    static GObjectRef<AtspiAccessible> child(AtspiAccessible* element, int index) {
        return GObjectRef<AtspiAccessible>(
            atspi_accessible_get_child_at_index(element, index, nullptr));
    }
    GObjectRef<AtspiAccessible> findBelow(GObjectRef<AtspiAccessible> window) {
        std::vector<GObjectRef<AtspiAccessible>> waiting;
        waiting.push_back(std::move(window));
        while (!waiting.empty() && mayGoOn()) {
            const GObjectRef<AtspiAccessible> element = std::move(waiting.back());
            waiting.pop_back();
            const GObjectRef<AtspiStateSet> states(atspi_accessible_get_state_set(element.get()));
            const auto is = [&](AtspiStateType state) {
                return states != nullptr && atspi_state_set_contains(states.get(), state) != FALSE;
            };
            if (is(ATSPI_STATE_FOCUSED))
                return sharedRef(element.get());
            if (!is(ATSPI_STATE_SHOWING) || is(ATSPI_STATE_MANAGES_DESCENDANTS))
                continue;
            for (int i = childCount(element.get()); i > 0; --i)
                if (auto next = child(element.get(), i - 1))
                    waiting.push_back(std::move(next));
        }
        return nullptr;
    }

    int searched_ = 0;
    const double end_ = steadySeconds() + LongestSearch;
};

} // namespace

AtspiFocus::AtspiFocus(std::function<void(std::uint32_t)> focusMoved)
    : focusMoved_(std::move(focusMoved)),
      listener_(atspi_event_listener_new(&onEvent, this, nullptr)) {
    for (const char* event : {FocusEvent, CaretEvent})
        atspi_event_listener_register(listener_.get(), event, nullptr);
}

AtspiFocus::~AtspiFocus() {
    for (const char* event : {FocusEvent, CaretEvent})
        atspi_event_listener_deregister(listener_.get(), event, nullptr);
}

void AtspiFocus::onEvent(AtspiEvent* event, void* self) {
    auto& focus = *static_cast<AtspiFocus*>(self);
    if (event->source != nullptr) {
        if (std::string_view(event->type) == FocusEvent)
            focus.handleFocus(event->source, event->detail1 != 0);
        else
            focus.handleCaret(event->source);
    }
    g_boxed_free(atspi_event_get_type(), event);
}

void AtspiFocus::handleFocus(AtspiAccessible* source, bool focused) {
    if (focused)
        setFocus(source, processOfAccessible(source));
    else if (focused_ != nullptr && isInside(focused_.get(), source))
        setFocus(nullptr, 0);
}

// Pages have the focus as a whole, while the caret is in a paragraph of them.
void AtspiFocus::handleCaret(AtspiAccessible* source) {
    if (source == focused_.get())
        return;
    if (hasState(source, ATSPI_STATE_FOCUSED) ||
        (focused_ != nullptr && isInside(source, focused_.get())))
        setFocus(source, processOfAccessible(source));
}

void AtspiFocus::setFocus(AtspiAccessible* element, std::uint32_t process) {
    focused_ = sharedRef(element);
    process_ = process;
    if (element != nullptr)
        focusMoved_(process);
}

AtspiAccessible* AtspiFocus::focusedElement(std::uint32_t process) {
    if (focused_ != nullptr && process_ == process)
        return focused_.get();
    FocusSearch search;
    const GObjectRef<AtspiAccessible> application = search.application(process);
    const GObjectRef<AtspiAccessible> found =
        application != nullptr ? search.findIn(application.get()) : nullptr;
    if (found == nullptr)
        return nullptr;
    setFocus(found.get(), process);
    return focused_.get();
}

} // namespace dresk
