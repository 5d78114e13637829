#pragma once

#include <deque>
#include <functional>
#include <optional>

#include "input/x11/SelectionContents.h"
#include "input/x11/WindowWatch.h"

namespace dresk {

/// Reads what owners of selections have, many targets at once, in pieces (INCR) where the owner
/// wants that. Each reading has a window of its own, so that late answers never mix. An owner that
/// is slow or hangs holds up its own reading alone; nothing here waits for one. Clipboard thread,
/// save where another is named.
class SelectionReader {
  public:
    /// Of all targets of a reading together. What goes beyond is given up.
    static constexpr std::size_t LargestContents = std::size_t{256} << 20;
    /// A reading without progress for so long is given up.
    static constexpr double Patience = 3;
    static constexpr double LongestReading = 20;

    struct Request {
        xcb_atom_t selection = XCB_ATOM_NONE;
        /// Its end ends the reading; none if not known.
        xcb_window_t owner = XCB_WINDOW_NONE;
        std::vector<std::string> targets;
        std::shared_ptr<SelectionContents> contents;
        /// Runs behind the completion of `contents`, on the clipboard thread.
        std::function<void()> onEnd;
        double patience = Patience;
        /// Goes along with each request in its property; empty for none.
        std::vector<xcb_atom_t> parameter;
    };

    SelectionReader(const XConnection& connection, AtomNames& names, WindowWatch& watch)
        : connection_(connection), names_(names), watch_(watch), incr_(names.atom("INCR")) {}

    /// Sends the requests to the server, not yet flushed. Any thread; what a thread sends behind
    /// the call on this connection comes to the server behind them.
    void begin(Request request);
    /// Takes over what other threads have begun. Before the events behind it are handled.
    void takeBegun();

    void selectionNotify(const xcb_selection_notify_event_t& event);
    void propertyNotify(const xcb_property_notify_event_t& event);
    /// `sequence` is the full sequence number of the notice: one from before a request tells of an
    /// earlier window of that number.
    void windowDestroyed(xcb_window_t window, std::uint32_t sequence);
    void giveUpOverdue(double now);
    void giveUpAll();
    /// When giveUpOverdue has something to do next; null for never.
    std::optional<double> nextDeadline() const;

  private:
    struct Transfer {
        enum class State { Asked, InPieces, Ended };
        xcb_atom_t target;
        std::string name;
        State state = State::Asked;
        SelectionAnswer answer;
    };
    struct Reading {
        Request request;
        std::vector<Transfer> transfers;
        /// Number of the request that began it.
        std::uint32_t sequence = 0;
        std::size_t open = 0;
        std::size_t size = 0;
        double begun = 0;
        double lastProgress = 0;
        bool givenUp = false;

        double deadline() const;
    };
    using Readings = std::unordered_map<xcb_window_t, Reading>;

    Transfer* transfer(Readings::iterator reading, xcb_atom_t property);
    void readProperty(Readings::iterator reading, Transfer& transfer);
    void takeBytes(Readings::iterator reading, Transfer& transfer,
                   const xcb_get_property_reply_t& reply);
    void end(Readings::iterator reading, Transfer& transfer, bool hasData);
    void giveUp(Readings::iterator reading, Transfer& transfer);
    Readings::iterator giveUp(Readings::iterator reading);
    void endIfDone(Readings::iterator reading);
    Readings::iterator remove(Readings::iterator reading);

    const XConnection& connection_;
    AtomNames& names_;
    WindowWatch& watch_;
    const xcb_atom_t incr_;
    std::mutex mutex_;
    std::vector<std::pair<xcb_window_t, Reading>> begun_;
    Readings readings_;
    /// Windows of readings that were given up, and when they go: an owner that answers late after
    /// all finds its requestor until then. Some do not survive it otherwise.
    std::deque<std::pair<double, xcb_window_t>> lingering_;
};

} // namespace dresk
