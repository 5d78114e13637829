#pragma once

#include <list>
#include <optional>

#include "input/Pasteboard.h"
#include "input/x11/SelectionTargets.h"
#include "input/x11/WindowWatch.h"

namespace dresk {

/// What was put on a selection at one moment. Immutable, shared by the threads.
struct SelectionDeclaration {
    std::vector<SelectionOffer> offers;
    /// How owners before answered for targets, where that is not bytes of the target's own type.
    std::map<std::string, SelectionAnswer> forms;
    std::shared_ptr<PasteboardOwner> owner;
    bool concealed = false;

    /// Null for a target that is not offered.
    const SelectionOffer* offer(const std::string& target) const;
    /// Asks the owner; null when it gives none. Clipboard thread.
    std::optional<SelectionAnswer> provide(const SelectionOffer& offer) const;
};

/// Answers the programs that ask for what stands on our selections, long data in pieces (INCR).
/// A requestor that hangs or vanishes holds up nothing but its own transfer. Clipboard thread.
class SelectionServer {
  public:
    /// Longer data goes in pieces of this size.
    static constexpr std::size_t LongestPiece = std::size_t{256} << 10;
    /// Of all transfers under way together. Who asks beyond it gets nothing.
    static constexpr std::size_t LargestTransfers = std::size_t{512} << 20;
    /// A transfer whose requestor takes no piece for so long is given up.
    static constexpr double Patience = 10;
    /// Data that lies in the requestor's property for so long counts as taken, though the requestor
    /// does not delete it, as it should: nothing that is declared later changes what it has.
    static constexpr double TakenWithoutDeleting = 0.5;

    SelectionServer(const XConnection& connection, AtomNames& names, WindowWatch& watch);

    /// What requests are answered with from now on; null for nothing.
    void serve(xcb_atom_t selection, std::shared_ptr<const SelectionDeclaration> declaration,
               xcb_timestamp_t time);

    void selectionRequest(const xcb_selection_request_event_t& event);
    void propertyNotify(const xcb_property_notify_event_t& event);
    void windowDestroyed(xcb_window_t window);
    void endOverdue(double now);
    /// When endOverdue has something to do next; null for never.
    std::optional<double> nextDeadline() const;

  private:
    struct Serving {
        std::shared_ptr<const SelectionDeclaration> declaration;
        xcb_timestamp_t time = XCB_CURRENT_TIME;
    };
    struct Transfer {
        enum class State { InPieces, LastPiece };
        xcb_window_t requestor = XCB_WINDOW_NONE;
        xcb_atom_t property = XCB_ATOM_NONE;
        std::shared_ptr<const SelectionDeclaration> declaration;
        String type;
        SelectionAnswer answer;
        std::size_t sent = 0;
        State state = State::LastPiece;
        double deadline = 0;
        /// The requestor had the focus when it asked.
        bool fromFocus = false;
    };
    using Transfers = std::list<Transfer>;

    bool answer(const Serving& serving, xcb_window_t requestor, xcb_atom_t property,
                xcb_atom_t target);
    bool answerMultiple(const Serving& serving, xcb_window_t requestor, xcb_atom_t property);
    bool answerTargets(const SelectionDeclaration& declaration, xcb_window_t requestor,
                       xcb_atom_t property);
    bool answerData(const Serving& serving, xcb_window_t requestor, xcb_atom_t property,
                    const std::string& target);
    void put(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type, std::uint8_t format,
             const void* data, std::size_t size) const;
    void sendPiece(Transfer& transfer);
    Transfers::iterator end(Transfers::iterator transfer, bool isTaken);
    bool hasRoomFor(std::size_t size) const;
    bool hasFocus(xcb_window_t requestor) const;

    const XConnection& connection_;
    AtomNames& names_;
    WindowWatch& watch_;
    const xcb_atom_t incr_;
    const xcb_atom_t multiple_;
    const xcb_atom_t targets_;
    const xcb_atom_t timestamp_;
    std::size_t longestPiece_;
    std::map<xcb_atom_t, Serving> servings_;
    Transfers transfers_;
};

} // namespace dresk
