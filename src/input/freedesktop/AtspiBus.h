#pragma once

#include <memory>

#include <atspi/atspi.h>

namespace dresk {

struct GObjectUnref {
    void operator()(void* object) const { g_object_unref(object); }
};
/// A reference to an object of the accessibility library. On the accessibility thread only.
template <class T>
using GObjectRef = std::unique_ptr<T, GObjectUnref>;

template <class T>
GObjectRef<T> sharedRef(T* object) {
    return GObjectRef<T>(object != nullptr ? static_cast<T*>(g_object_ref(object)) : nullptr);
}

struct GFree {
    void operator()(void* memory) const { g_free(memory); }
};
using GString8 = std::unique_ptr<char, GFree>;

/// Connects this process to the accessibility bus, whose events are then served by `context`; once
/// in the life of the process, later calls only tell what came of it. False when there is no bus.
bool connectToAccessibilityBus(GMainContext* context);

/// Process id of the application that an element belongs to; 0 when it is not known. Asks the bus,
/// not the application.
std::uint32_t processOfAccessible(AtspiAccessible* accessible);
bool hasState(AtspiAccessible* accessible, AtspiStateType state);

} // namespace dresk
