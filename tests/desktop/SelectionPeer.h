#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <xcb/xcb.h>

namespace dresk {

/// Another program on the display that a test leads by the hand through the exchange of selections:
/// a right one or a wrong one, and one that vanishes when it is destroyed. One thread.
class SelectionPeer {
  public:
    struct Request {
        xcb_window_t requestor;
        xcb_atom_t selection;
        std::string target;
        xcb_atom_t property;
    };
    struct Property {
        std::string type;
        std::uint8_t format;
        std::string bytes;
    };

    SelectionPeer();
    SelectionPeer(const SelectionPeer&) = delete;
    SelectionPeer& operator=(const SelectionPeer&) = delete;
    ~SelectionPeer();

    xcb_connection_t* connection() const { return connection_; }
    xcb_window_t window() const { return window_; }
    xcb_atom_t atom(const std::string& name) const;
    std::string atomName(xcb_atom_t atom) const;
    xcb_window_t owner(const std::string& selection) const;
    /// Shows the window and gives it the focus.
    void takeFocus();

    // As an owner
    void own(const std::string& selection);
    /// The next request for the targets of this peer; null when none comes.
    std::optional<Request> awaitRequest(double seconds = 5);
    /// The next request for that target. Others before it are refused.
    std::optional<Request> awaitRequestFor(const std::string& target);
    void put(xcb_window_t window, xcb_atom_t property, const std::string& type, std::uint8_t format,
             const std::string& bytes);
    void notify(const Request& request, bool isAnswered = true);
    void answer(const Request& request, const std::string& type, std::uint8_t format,
                const std::string& bytes);
    void answerTargets(const Request& request, const std::vector<std::string>& targets);
    /// Waits until the other side has deleted the property; false if it does not.
    bool awaitDeletion(const Request& request, double seconds = 5);
    void watch(xcb_window_t window);

    // As a requestor; properties are named as the target.
    void ask(const std::string& selection, const std::string& target);
    /// Whether an answer came for that target, and was none.
    std::optional<bool> awaitAnswer(const std::string& target, double seconds = 5);
    /// Reads the property and deletes it.
    std::optional<Property> take(const std::string& property);
    bool awaitNewValue(const std::string& property, double seconds = 5);
    /// All of it, pieces put together; null when there is none.
    std::optional<Property> fetch(const std::string& selection, const std::string& target);
    /// Names of the targets of the present owner.
    std::vector<std::string> targets(const std::string& selection);

  private:
    xcb_generic_event_t* nextEvent(double seconds, std::uint8_t type);
    bool awaitProperty(xcb_window_t window, xcb_atom_t property, std::uint8_t state,
                       double seconds);

    xcb_connection_t* connection_;
    xcb_window_t root_;
    xcb_window_t window_;
};

/// 32-bit items as the bytes of a property.
std::string bytesOf(const std::vector<std::uint32_t>& items);

} // namespace dresk
