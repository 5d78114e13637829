#include "input/freedesktop/AtspiBus.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include <dbus/dbus.h>

namespace dresk {

namespace {

constexpr int MillisecondsToFindTheBus = 5000;
/// For one message to an application; a question takes several.
constexpr int MillisecondsToAnswer = 40;

// The environment is read before the program starts its threads or not changed behind that.
bool hasSessionBus() {
    const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); // NOLINT(concurrency-mt-unsafe)
    if (address != nullptr && *address != '\0')
        return true;
    // Without an address the library looks here; failing that it would start a bus of its own.
    const char* folder = std::getenv("XDG_RUNTIME_DIR"); // NOLINT(concurrency-mt-unsafe)
    std::error_code error;
    return folder != nullptr && std::filesystem::exists(std::string(folder) + "/bus", error);
}

// The accessibility library complains aloud when there is no such bus, so this is asked first.
bool sessionHasAccessibilityBus() {
    DBusConnection* session = dbus_bus_get(DBUS_BUS_SESSION, nullptr);
    if (session == nullptr)
        return false;
    // The end of the session's bus is no reason for this program to end.
    dbus_connection_set_exit_on_disconnect(session, FALSE);
    DBusMessage* question =
        dbus_message_new_method_call("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress");
    DBusMessage* answer = question != nullptr
                              ? dbus_connection_send_with_reply_and_block(
                                    session, question, MillisecondsToFindTheBus, nullptr)
                              : nullptr;
    const bool found = answer != nullptr;
    if (answer != nullptr)
        dbus_message_unref(answer);
    if (question != nullptr)
        dbus_message_unref(question);
    dbus_connection_unref(session);
    return found;
}

bool connect(GMainContext* context) {
    if (!hasSessionBus() || !sessionHasAccessibilityBus() || atspi_init() > 1)
        return false;
    atspi_set_main_context(context);
    atspi_set_timeout(MillisecondsToAnswer, 0);
    return true;
}

} // namespace

bool connectToAccessibilityBus(GMainContext* context) {
    static const bool connected = connect(context);
    return connected;
}

std::uint32_t processOfAccessible(AtspiAccessible* accessible) {
    GError* error = nullptr;
    const guint process = atspi_accessible_get_process_id(accessible, &error);
    const bool failed = error != nullptr || process == static_cast<guint>(-1);
    g_clear_error(&error);
    return failed ? 0 : process;
}

bool hasState(AtspiAccessible* accessible, AtspiStateType state) {
    const GObjectRef<AtspiStateSet> states(atspi_accessible_get_state_set(accessible));
    return states != nullptr && atspi_state_set_contains(states.get(), state) != FALSE;
}

} // namespace dresk
