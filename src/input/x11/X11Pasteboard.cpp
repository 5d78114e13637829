#include "input/x11/X11Pasteboard.h"

#include <algorithm>

#include "input/PasteboardData.h"
#include "input/x11/QuietThread.h"

namespace dresk {

namespace {

/// Contents that an owner did not give are asked for again only behind this, in seconds.
constexpr double SecondsToAskAgain = 10;
/// The same for single types.
constexpr double SecondsOfSilence = 1;

constexpr const char* SaveTarget = "SAVE_TARGETS";

constexpr std::uint32_t AllSelectionEvents =
    XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
    XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
    XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;

xcb_window_t ownerOf(const XConnection& connection, xcb_atom_t selection) {
    const XPointer<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        connection.get(), xcb_get_selection_owner(connection.get(), selection), nullptr));
    return reply != nullptr ? reply->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

xcb_window_t makeWindow(const XConnection& connection) {
    const xcb_window_t window = xcb_generate_id(connection.get());
    xcb_create_window(connection.get(), 0, window, connection.root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    return window;
}

std::shared_ptr<SelectionDeclaration> declarationOf(const std::vector<String>& types,
                                                    std::shared_ptr<PasteboardOwner> owner) {
    auto declaration = std::make_shared<SelectionDeclaration>();
    declaration->offers = offersForTypes(types);
    declaration->owner = std::move(owner);
    return declaration;
}

std::vector<std::string> targetsOf(const SelectionDeclaration& declaration) {
    std::vector<std::string> targets;
    for (const SelectionOffer& offer : declaration.offers)
        targets.push_back(offer.target);
    return targets;
}

} // namespace

std::unique_ptr<X11Pasteboard> X11Pasteboard::open(const char* displayName, std::string& error) {
    auto connection = XConnection::open(displayName, error);
    if (connection == nullptr)
        return nullptr;
    const auto* fixes = xcb_get_extension_data(connection->get(), &xcb_xfixes_id);
    const bool isPresent = fixes != nullptr && fixes->present != 0;
    const XPointer<xcb_xfixes_query_version_reply_t> version(
        isPresent
            ? xcb_xfixes_query_version_reply(
                  connection->get(), xcb_xfixes_query_version(connection->get(), 1, 0), nullptr)
            : nullptr);
    if (version == nullptr || version->major_version < 1) {
        error = "The X server has no XFIXES extension";
        return nullptr;
    }
    const auto notice = static_cast<std::uint8_t>(fixes->first_event + XCB_XFIXES_SELECTION_NOTIFY);
    return std::unique_ptr<X11Pasteboard>(new X11Pasteboard(std::move(connection), notice));
}

X11Pasteboard::X11Pasteboard(std::unique_ptr<XConnection> connection, std::uint8_t selectionNotice)
    : connection_(std::move(connection)), selectionNotice_(selectionNotice), names_(*connection_),
      watch_(*connection_), reader_(*connection_, names_, watch_),
      server_(*connection_, names_, watch_), window_(makeWindow(*connection_)),
      descriptor_(xcb_get_file_descriptor(connection_->get())) {
    clipboard_.atom = names_.atom("CLIPBOARD");
    primary_.atom = XCB_ATOM_PRIMARY;
    xcb_xfixes_select_selection_input(connection_->get(), window_, clipboard_.atom,
                                      AllSelectionEvents);
    noteClipboardOwner(ownerOf(*connection_, clipboard_.atom));
    connection_->flush();
    loop_.addDescriptor(
        descriptor_, [this] { serve(); },
        [this] {
            const Lock lock(mutex_);
            ingest();
            return !events_.empty();
        });
    thread_ = startQuietThread([this] {
        serve();
        loop_.run();
    });
}

X11Pasteboard::~X11Pasteboard() {
    loop_.stop();
    thread_.join();
    reader_.giveUpAll();
}

std::shared_ptr<const PasteboardContents> X11Pasteboard::contents() {
    const Lock lock(mutex_);
    roundTrip();
    const double now = steadySeconds();
    auto contents = contents_.lock();
    if (contents != nullptr && contentsCount_ == changeCount_ &&
        (!contents->hasGivenUp() || now < contentsBegun_ + SecondsToAskAgain))
        return contents;
    contents = std::make_shared<SelectionContents>();
    contents_ = contents;
    contentsCount_ = changeCount_;
    contentsBegun_ = now;
    if (source_.state == Source::State::Silent && !source_.hasNoList)
        askTargets();
    switch (source_.state) {
    case Source::State::Nobody:
        contents->setTargets({});
        contents->complete(false);
        break;
    case Source::State::Own:
        contents->setTargets(targetsOf(*clipboard_.latest));
        provideAll(clipboard_.latest, targetsOf(*clipboard_.latest), contents);
        break;
    case Source::State::Asked:
        waiting_.push_back({source_.chase, clipboard_.atom, source_.owner, contents});
        break;
    case Source::State::Told:
    case Source::State::Silent:
        read({source_.chase, clipboard_.atom, source_.owner, contents}, source_.targets,
             source_.state == Source::State::Told);
        break;
    }
    flushAndWake();
    return contents;
}

std::int64_t X11Pasteboard::declareTypes(const std::vector<String>& types,
                                         std::shared_ptr<PasteboardOwner> owner,
                                         PasteboardOptions options) {
    auto declaration = declarationOf(types, std::move(owner));
    declaration->concealed = options.concealed;
    // Names that are new to the server are made before somebody asks, and without the lock.
    for (const SelectionOffer& offer : declaration->offers)
        names_.atom(offer.target);

    Lock lock(mutex_);
    roundTrip();
    for (const SelectionOffer& offer : declaration->offers)
        if (const auto form = forms_.find(offer.target);
            form != forms_.end() && offer.type == fromLatin1(offer.target))
            declaration->forms.insert(*form);
    const bool isEmpty = declaration->offers.empty();
    const Declaration announced = isEmpty ? nullptr : std::move(declaration);
    if (options.primaryToo && !isPrimaryBorrowed_)
        savePrimary();
    awaitChases(lock);
    if (options.primaryToo)
        take(primary_, announced);
    else if (isPrimaryBorrowed_)
        giveBackPrimary();
    isPrimaryBorrowed_ = options.primaryToo;
    take(clipboard_, announced);
    roundTrip();
    flushAndWake();
    return isEmpty ? changeCount_.load() : declaredCount_;
}

std::vector<String> X11Pasteboard::types() {
    Lock lock(mutex_);
    roundTrip();
    if (!awaitTargets(lock, steadySeconds() + AnswerSeconds))
        return {};
    std::vector<String> types;
    if (source_.state != Source::State::Silent)
        for (const std::string& target : availableTargets())
            types.push_back(fromLatin1(target));
    return types;
}

bool X11Pasteboard::offersType(StringView type) {
    const std::vector<String> offered = types();
    const std::vector<std::string> targets = targetsForType(type);
    return std::any_of(targets.begin(), targets.end(), [&](const std::string& target) {
        return std::find(offered.begin(), offered.end(), fromLatin1(target)) != offered.end();
    });
}

std::optional<std::string> X11Pasteboard::dataForType(StringView type) {
    const double deadline = steadySeconds() + AnswerSeconds;
    Lock lock(mutex_);
    roundTrip();
    if (!awaitTargets(lock, deadline))
        return std::nullopt;
    const auto available = availableTargets();
    for (const std::string& target : targetsForType(type)) {
        if (std::find(available.begin(), available.end(), target) == available.end())
            continue;
        const auto contents = ask(target);
        flushAndWake();
        if (!contents->isComplete() && steadySeconds() < silentUntil_)
            return std::nullopt;
        if (!await(lock, deadline, [&] { return contents->isComplete(); })) {
            silentUntil_ = steadySeconds() + SecondsOfSilence;
            return std::nullopt;
        }
        if (auto data = contents->dataForType(type))
            return data;
    }
    return std::nullopt;
}

void X11Pasteboard::handOver() {
    Lock lock(mutex_);
    roundTrip();
    const xcb_atom_t manager = names_.atom("CLIPBOARD_MANAGER");
    const xcb_window_t owner = ownerOf(*connection_, manager);
    if (source_.state != Source::State::Own || owner == XCB_WINDOW_NONE)
        return;
    std::vector<xcb_atom_t> targets;
    for (const std::string& target : availableTargets())
        targets.push_back(names_.atom(target));
    const auto answer = std::make_shared<SelectionContents>();
    reader_.begin({manager,
                   owner,
                   {SaveTarget},
                   answer,
                   [this] { wakeWaiters(); },
                   HandOverSeconds,
                   std::move(targets)});
    flushAndWake();
    await(lock, steadySeconds() + HandOverSeconds, [&] { return answer->isComplete(); });
}

// Behind it every change so far is known. What it read ahead no descriptor would wake anybody for.
void X11Pasteboard::roundTrip() {
    ownerOf(*connection_, clipboard_.atom);
    ingest();
    if (!events_.empty())
        flushAndWake();
}

// Changes of owners count at once, whoever reads them off the connection; all events, these
// included, are then handled by the clipboard thread in the server's order.
void X11Pasteboard::ingest() {
    while (XPointer<xcb_generic_event_t> event{xcb_poll_for_event(connection_->get())}) {
        if (isSelectionNotice(*event))
            noteOwner(reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(*event));
        events_.push_back(std::move(event));
    }
    if (!connection_->isAlive())
        source_ = {};
}

void X11Pasteboard::noteOwner(const xcb_xfixes_selection_notify_event_t& event) {
    const bool isSet = event.subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER;
    const xcb_window_t owner = isSet ? event.owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
    Selection& changed = selection(event.selection);
    changed.isOwn = owner == window_ && changed.latest != nullptr;
    if (changed.isOwn && changed.unseen > 0)
        --changed.unseen;
    const bool isLost = !changed.isOwn && changed.unseen == 0;
    if (isLost)
        changed.latest = nullptr;
    if (&changed == &clipboard_) {
        noteClipboardOwner(owner);
    } else if (isLost) {
        xcb_xfixes_select_selection_input(connection_->get(), window_, primary_.atom, 0);
        isPrimaryBorrowed_ = false;
        savedPrimary_ = nullptr;
    }
}

void X11Pasteboard::noteClipboardOwner(xcb_window_t owner) {
    ++changeCount_;
    asked_.clear();
    silentUntil_ = 0;
    source_ = {};
    source_.owner = owner;
    if (owner == window_) {
        source_.state = clipboard_.isOwn ? Source::State::Own : Source::State::Nobody;
        declaredCount_ = changeCount_;
    } else if (owner != XCB_WINDOW_NONE) {
        askTargets();
    }
    // Who waits for what the owner before had gets what there is now.
    std::erase_if(waiting_, [&](Waiting& waiting) {
        if (waiting.selection != clipboard_.atom)
            return false;
        waiting.chase = source_.chase;
        waiting.owner = owner;
        if (source_.state == Source::State::Asked)
            return false;
        waiting.contents->complete(true);
        return true;
    });
    changed_.notify_all();
}

void X11Pasteboard::askTargets() {
    source_.state = Source::State::Asked;
    source_.chase = chase(clipboard_.atom, source_.owner);
}

std::uint64_t X11Pasteboard::chase(xcb_atom_t selection, xcb_window_t owner) {
    const std::uint64_t chase = ++lastChase_;
    const auto answer = std::make_shared<SelectionContents>();
    reader_.begin({selection,
                   owner,
                   {SelectionTarget::Targets},
                   answer,
                   [this, chase, answer] { targetsCame(chase, *answer); },
                   SelectionReader::Patience,
                   {}});
    return chase;
}

void X11Pasteboard::read(const Waiting& waiting, const std::vector<std::string>& targets,
                         bool areToldByOwner) {
    const auto contents = waiting.contents;
    if (areToldByOwner)
        contents->setTargets(targets);
    reader_.begin({waiting.selection,
                   waiting.owner,
                   targets,
                   contents,
                   [this, contents] { contentsCame(*contents); },
                   SelectionReader::Patience,
                   {}});
}

bool X11Pasteboard::awaitTargets(Lock& lock, double deadline) {
    const auto isKnown = [this] { return source_.state != Source::State::Asked; };
    if (!isKnown() && steadySeconds() < silentUntil_)
        return false;
    if (await(lock, deadline, isKnown))
        return true;
    silentUntil_ = steadySeconds() + SecondsOfSilence;
    return false;
}

// What was asked of the owner before it learns that it has lost the selection is answered. So the
// contents that wait for its targets are asked for now, known or not.
void X11Pasteboard::awaitChases(Lock& lock) {
    if (waiting_.empty())
        return;
    await(lock, steadySeconds() + ChaseSeconds, [this] { return waiting_.empty(); });
    for (const Waiting& waiting : std::exchange(waiting_, {}))
        read(waiting, SelectionTarget::usual(), false);
}

void X11Pasteboard::take(Selection& selection, Declaration declaration) {
    const xcb_window_t owner =
        declaration != nullptr ? window_ : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
    if (&selection == &primary_)
        xcb_xfixes_select_selection_input(connection_->get(), window_, primary_.atom,
                                          AllSelectionEvents);
    if (declaration != nullptr) {
        ++selection.unseen;
        selection.announced.push_back(declaration);
        selection.latest = std::move(declaration);
    }
    xcb_set_selection_owner(connection_->get(), owner, selection.atom, XCB_CURRENT_TIME);
}

void X11Pasteboard::savePrimary() {
    // Then it has what was given back, and that is kept already.
    if (primary_.isOwn)
        return;
    savedPrimary_ = nullptr;
    const xcb_window_t owner = ownerOf(*connection_, primary_.atom);
    if (owner == XCB_WINDOW_NONE)
        return;
    savedPrimary_ = std::make_shared<SelectionContents>();
    waiting_.push_back({chase(primary_.atom, owner), primary_.atom, owner, savedPrimary_});
}

void X11Pasteboard::giveBackPrimary() {
    Declaration declaration;
    if (savedPrimary_ != nullptr && !savedPrimary_->types().empty()) {
        auto given = declarationOf(savedPrimary_->types(),
                                   std::make_shared<PasteboardContentsOwner>(savedPrimary_));
        given->forms = savedPrimary_->forms();
        declaration = std::move(given);
    }
    take(primary_, std::move(declaration));
}

std::vector<std::string> X11Pasteboard::availableTargets() const {
    return source_.state == Source::State::Own ? targetsOf(*clipboard_.latest) : source_.targets;
}

std::shared_ptr<SelectionContents> X11Pasteboard::ask(const std::string& target) {
    auto& contents = asked_[target];
    const bool isOwn = source_.state == Source::State::Own;
    // What is our own may be different each time; what was given up may come now.
    const bool isStale = contents != nullptr && contents->isComplete() &&
                         (isOwn || (contents->hasGivenUp() && steadySeconds() >= silentUntil_));
    if (contents != nullptr && !isStale)
        return contents;
    contents = std::make_shared<SelectionContents>();
    if (isOwn)
        provideAll(clipboard_.latest, {target}, contents);
    else
        reader_.begin({clipboard_.atom,
                       source_.owner,
                       {target},
                       contents,
                       [this] { wakeWaiters(); },
                       SelectionReader::Patience,
                       {}});
    return contents;
}

void X11Pasteboard::provideAll(Declaration declaration, std::vector<std::string> targets,
                               std::shared_ptr<SelectionContents> contents) {
    loop_.post({this, "provideAll"},
               [this, declaration = std::move(declaration), targets = std::move(targets),
                contents = std::move(contents)] {
                   for (const std::string& target : targets)
                       if (const SelectionOffer* offer = declaration->offer(target))
                           if (auto answer = declaration->provide(*offer))
                               contents->add(target, std::move(*answer));
                   contents->complete(false);
                   wakeWaiters();
               });
}

bool X11Pasteboard::await(Lock& lock, double deadline, const std::function<bool()>& condition) {
    flushAndWake();
    while (!condition()) {
        const double seconds = deadline - steadySeconds();
        if (seconds <= 0 || loop_.isCurrent())
            return false;
        changed_.wait_for(lock, std::chrono::duration<double>(seconds));
    }
    return true;
}

void X11Pasteboard::flushAndWake() {
    connection_->flush();
    loop_.cancelAndCallAfter(0, {this, "serve"}, [this] { serve(); });
}

} // namespace dresk
