#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>

#include "Foundation/PollRunLoop.h"
#include "input/x11/SelectionReader.h"
#include "input/x11/SelectionServer.h"

#include <xcb/xfixes.h>

namespace dresk {

/// The selections CLIPBOARD and PRIMARY, on a connection and a thread of their own. Callers send
/// their requests themselves, so that they stand in order in the server when a call returns; what
/// comes back is the clipboard thread's. No call waits for another program longer than its bound.
class X11Pasteboard final : public Pasteboard {
  public:
    /// dataForType, types and offersType wait so long for the owner, in seconds, and ask one that
    /// did not answer again only after a second.
    static constexpr double AnswerSeconds = 0.1;
    /// How long a declaration waits for an owner that has not told its targets yet while its
    /// content is being read. Behind that the usual targets are asked for unseen.
    static constexpr double ChaseSeconds = 0.05;
    static constexpr double HandOverSeconds = 1;

    /// Null when the server cannot be reached or has no XFIXES; `error` then says why.
    static std::unique_ptr<X11Pasteboard> open(const char* displayName, std::string& error);
    ~X11Pasteboard() override;

    std::int64_t changeCount() override { return changeCount_; }
    std::shared_ptr<const PasteboardContents> contents() override;
    std::int64_t declareTypes(const std::vector<String>& types,
                              std::shared_ptr<PasteboardOwner> owner,
                              PasteboardOptions options) override;
    std::vector<String> types() override;
    bool offersType(StringView type) override;
    std::optional<std::string> dataForType(StringView type) override;
    void handOver() override;

  private:
    using Lock = std::unique_lock<std::mutex>;
    using Declaration = std::shared_ptr<const SelectionDeclaration>;

    /// A selection as far as it is ours. Any program can name any window as the owner: without a
    /// declaration it is not.
    struct Selection {
        xcb_atom_t atom = XCB_ATOM_NONE;
        bool isOwn = false;
        /// How often it was taken without the notice having been read.
        int unseen = 0;
        Declaration latest;
        /// Declarations whose notice has not come to the clipboard thread yet, in order.
        std::deque<Declaration> announced;
    };
    /// Who has the clipboard, and what it says it has.
    struct Source {
        enum class State { Nobody, Own, Asked, Told, Silent };
        State state = State::Nobody;
        xcb_window_t owner = XCB_WINDOW_NONE;
        std::uint64_t chase = 0;
        /// For Silent the usual ones.
        std::vector<std::string> targets;
        /// Silent because it has no such list, not because it was slow.
        bool hasNoList = false;
    };
    /// Contents that wait for the owner's targets.
    struct Waiting {
        std::uint64_t chase;
        xcb_atom_t selection;
        xcb_window_t owner;
        std::shared_ptr<SelectionContents> contents;
    };

    X11Pasteboard(std::unique_ptr<XConnection> connection, std::uint8_t selectionNotice);

    // Any thread, with the lock.
    void roundTrip();
    void ingest();
    void noteOwner(const xcb_xfixes_selection_notify_event_t& event);
    void noteClipboardOwner(xcb_window_t owner);
    void askTargets();
    std::uint64_t chase(xcb_atom_t selection, xcb_window_t owner);
    void read(const Waiting& waiting, const std::vector<std::string>& targets, bool areToldByOwner);
    bool awaitTargets(Lock& lock, double deadline);
    void awaitChases(Lock& lock);
    void take(Selection& selection, Declaration declaration);
    void savePrimary();
    void giveBackPrimary();
    std::vector<std::string> availableTargets() const;
    std::shared_ptr<SelectionContents> ask(const std::string& target);
    void provideAll(Declaration declaration, std::vector<std::string> targets,
                    std::shared_ptr<SelectionContents> contents);
    bool await(Lock& lock, double deadline, const std::function<bool()>& condition);
    void flushAndWake();

    // Clipboard thread, without the lock.
    void serve();
    XPointer<xcb_generic_event_t> nextEvent();
    void handle(const xcb_generic_event_t& event);
    void announce(const xcb_xfixes_selection_notify_event_t& event);
    void targetsCame(std::uint64_t chase, const SelectionContents& answer);
    void contentsCame(const SelectionContents& contents);
    void armDeadline();
    void wakeWaiters();

    Selection& selection(xcb_atom_t atom) { return atom == primary_.atom ? primary_ : clipboard_; }
    bool isSelectionNotice(const xcb_generic_event_t& event) const {
        return event.response_type == selectionNotice_;
    }

    const std::unique_ptr<XConnection> connection_;
    const std::uint8_t selectionNotice_;
    AtomNames names_;
    WindowWatch watch_;
    SelectionReader reader_;
    SelectionServer server_;
    const xcb_window_t window_;
    const int descriptor_;

    std::atomic<std::int64_t> changeCount_{0};
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<XPointer<xcb_generic_event_t>> events_;
    Selection clipboard_;
    Selection primary_;
    Source source_;
    std::uint64_t lastChase_ = 0;
    std::vector<Waiting> waiting_;
    /// The change count behind the latest declaration.
    std::int64_t declaredCount_ = 0;
    std::weak_ptr<SelectionContents> contents_;
    std::int64_t contentsCount_ = -1;
    double contentsBegun_ = 0;
    /// What single targets gave at the present change count.
    std::map<std::string, std::shared_ptr<SelectionContents>> asked_;
    double silentUntil_ = 0;
    std::map<std::string, SelectionAnswer> forms_;
    /// What was on PRIMARY before it was taken; null when nothing was.
    std::shared_ptr<SelectionContents> savedPrimary_;
    bool isPrimaryBorrowed_ = false;

    PollRunLoop loop_;
    std::thread thread_;
};

} // namespace dresk
