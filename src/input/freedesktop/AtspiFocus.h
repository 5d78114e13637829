#pragma once

#include <functional>

#include "input/freedesktop/AtspiBus.h"

namespace dresk {

/// Follows the focused element from the events of the bus. Accessibility thread.
class AtspiFocus {
  public:
    /// `focusMoved` is told of each process in which the bus sees the focus move.
    explicit AtspiFocus(std::function<void(std::uint32_t)> focusMoved);
    AtspiFocus(const AtspiFocus&) = delete;
    AtspiFocus& operator=(const AtspiFocus&) = delete;
    ~AtspiFocus();

    /// The focused element of the process, borrowed until the next event; null when it is not
    /// known. Where no event has told it yet the application is searched, which may take longer
    /// than a question waits; the result is there for the next one.
    AtspiAccessible* focusedElement(std::uint32_t process);

  private:
    static void onEvent(AtspiEvent* event, void* self);
    void handleFocus(AtspiAccessible* source, bool focused);
    void handleCaret(AtspiAccessible* source);
    void setFocus(AtspiAccessible* element, std::uint32_t process);

    const std::function<void(std::uint32_t)> focusMoved_;
    GObjectRef<AtspiEventListener> listener_;
    GObjectRef<AtspiAccessible> focused_;
    std::uint32_t process_ = 0;
};

} // namespace dresk
