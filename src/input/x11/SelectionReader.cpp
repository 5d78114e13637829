#include "input/x11/SelectionReader.h"

#include <algorithm>
#include <array>

#include "Foundation/RunLoop.h"

namespace dresk {

namespace {

constexpr double LingerSeconds = 60;
constexpr std::size_t MostLingering = 64;

/// What names a thing of the owner's in the server and means nothing without the owner.
bool isForeignResource(const std::string& type) {
    constexpr std::array types = {"PIXMAP", "BITMAP", "DRAWABLE", "WINDOW", "COLORMAP", "CURSOR"};
    return std::find(types.begin(), types.end(), type) != types.end();
}

} // namespace

double SelectionReader::Reading::deadline() const {
    return std::min(lastProgress + request.patience,
                    begun + std::max(request.patience, LongestReading));
}

// The property of an answer is named as its target. No name is ever made up: the server keeps each
// one for good.
void SelectionReader::begin(Request request) {
    xcb_connection_t* connection = connection_.get();
    const xcb_window_t window = xcb_generate_id(connection);
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    Reading reading;
    reading.sequence = xcb_create_window(connection, 0, window, connection_.root(), -1, -1, 1, 1, 0,
                                         XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                                         XCB_CW_EVENT_MASK, &mask)
                           .sequence;
    for (const std::string& name : request.targets) {
        const xcb_atom_t target = names_.atom(name);
        if (target == XCB_ATOM_NONE)
            continue;
        if (!request.parameter.empty())
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, target, XCB_ATOM_ATOM,
                                32, static_cast<std::uint32_t>(request.parameter.size()),
                                request.parameter.data());
        xcb_convert_selection(connection, window, request.selection, target, target,
                              XCB_CURRENT_TIME);
        reading.transfers.push_back({target, name, Transfer::State::Asked, {}});
    }
    reading.request = std::move(request);
    reading.open = reading.transfers.size();
    reading.begun = reading.lastProgress = steadySeconds();
    const std::lock_guard lock(mutex_);
    begun_.emplace_back(window, std::move(reading));
}

void SelectionReader::takeBegun() {
    decltype(begun_) begun;
    {
        const std::lock_guard lock(mutex_);
        begun.swap(begun_);
    }
    for (auto& [window, begunReading] : begun) {
        const auto reading = readings_.emplace(window, std::move(begunReading)).first;
        if (reading->second.request.owner != XCB_WINDOW_NONE)
            watch_.add(reading->second.request.owner);
        endIfDone(reading);
    }
}

SelectionReader::Transfer* SelectionReader::transfer(Readings::iterator reading,
                                                     xcb_atom_t property) {
    if (reading == readings_.end())
        return nullptr;
    auto& transfers = reading->second.transfers;
    const auto found = std::find_if(transfers.begin(), transfers.end(),
                                    [&](const Transfer& item) { return item.target == property; });
    return found != transfers.end() ? &*found : nullptr;
}

void SelectionReader::selectionNotify(const xcb_selection_notify_event_t& event) {
    const auto reading = readings_.find(event.requestor);
    const bool refused = event.property == XCB_ATOM_NONE;
    Transfer* found = transfer(reading, refused ? event.target : event.property);
    if (found == nullptr || found->state != Transfer::State::Asked)
        return;
    reading->second.lastProgress = steadySeconds();
    if (refused)
        end(reading, *found, false);
    else
        readProperty(reading, *found);
    endIfDone(reading);
}

void SelectionReader::propertyNotify(const xcb_property_notify_event_t& event) {
    if (event.state != XCB_PROPERTY_NEW_VALUE)
        return;
    const auto reading = readings_.find(event.window);
    Transfer* found = transfer(reading, event.atom);
    if (found == nullptr || found->state != Transfer::State::InPieces)
        return;
    readProperty(reading, *found);
    endIfDone(reading);
}

// Reading deletes the property, which asks for the next piece, unless it is longer than what may
// still come.
void SelectionReader::readProperty(Readings::iterator reading, Transfer& transfer) {
    const auto room = static_cast<std::uint32_t>(LargestContents - reading->second.size);
    const XPointer<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection_.get(),
                               xcb_get_property(connection_.get(), 1, reading->first,
                                                transfer.target, XCB_ATOM_ANY, 0, room / 4 + 1),
                               nullptr));
    const bool inPieces = transfer.state == Transfer::State::InPieces;
    if (reply == nullptr || reply->type == XCB_ATOM_NONE) {
        // A second notice of a piece that was read with the first one, or an answer without any.
        if (!inPieces)
            end(reading, transfer, false);
        return;
    }
    reading->second.lastProgress = steadySeconds();
    if (reply->bytes_after != 0) {
        xcb_delete_property(connection_.get(), reading->first, transfer.target);
        giveUp(reading, transfer);
    } else if (!inPieces && reply->type == incr_) {
        transfer.state = Transfer::State::InPieces;
    } else {
        takeBytes(reading, transfer, *reply);
    }
}

void SelectionReader::takeBytes(Readings::iterator reading, Transfer& transfer,
                                const xcb_get_property_reply_t& reply) {
    const auto size = static_cast<std::size_t>(xcb_get_property_value_length(&reply));
    const bool inPieces = transfer.state == Transfer::State::InPieces;
    if (transfer.answer.type.empty()) {
        transfer.answer.type = names_.names({reply.type}).front();
        transfer.answer.format = reply.format;
    }
    if (size > LargestContents - reading->second.size) {
        giveUp(reading, transfer);
        return;
    }
    reading->second.size += size;
    transfer.answer.bytes.append(static_cast<const char*>(xcb_get_property_value(&reply)), size);
    if (!inPieces || size == 0)
        end(reading, transfer, !isForeignResource(transfer.answer.type));
}

void SelectionReader::end(Readings::iterator reading, Transfer& transfer, bool hasData) {
    transfer.state = Transfer::State::Ended;
    --reading->second.open;
    if (hasData)
        reading->second.request.contents->add(transfer.name, std::move(transfer.answer));
    transfer.answer = {};
}

void SelectionReader::giveUp(Readings::iterator reading, Transfer& transfer) {
    reading->second.givenUp = true;
    reading->second.size -= transfer.answer.bytes.size();
    end(reading, transfer, false);
}

void SelectionReader::endIfDone(Readings::iterator reading) {
    if (reading->second.open == 0)
        remove(reading);
}

SelectionReader::Readings::iterator SelectionReader::giveUp(Readings::iterator reading) {
    for (Transfer& transfer : reading->second.transfers)
        if (transfer.state != Transfer::State::Ended)
            giveUp(reading, transfer);
    return remove(reading);
}

SelectionReader::Readings::iterator SelectionReader::remove(Readings::iterator reading) {
    const auto [window, ended] = std::pair(reading->first, std::move(reading->second));
    const auto next = readings_.erase(reading);
    if (ended.request.owner != XCB_WINDOW_NONE)
        watch_.remove(ended.request.owner);
    if (ended.givenUp)
        lingering_.emplace_back(steadySeconds() + LingerSeconds, window);
    else
        xcb_destroy_window(connection_.get(), window);
    ended.request.contents->complete(ended.givenUp);
    if (ended.request.onEnd)
        ended.request.onEnd();
    return next;
}

void SelectionReader::windowDestroyed(xcb_window_t window, std::uint32_t sequence) {
    for (auto reading = readings_.begin(); reading != readings_.end();) {
        // Numbers wrap around.
        const bool isOlder = static_cast<std::int32_t>(sequence - reading->second.sequence) < 0;
        reading = reading->second.request.owner == window && !isOlder ? giveUp(reading)
                                                                      : std::next(reading);
    }
}

void SelectionReader::giveUpOverdue(double now) {
    for (auto reading = readings_.begin(); reading != readings_.end();)
        reading = reading->second.deadline() <= now ? giveUp(reading) : std::next(reading);
    while (!lingering_.empty() &&
           (lingering_.front().first <= now || lingering_.size() > MostLingering)) {
        xcb_destroy_window(connection_.get(), lingering_.front().second);
        lingering_.pop_front();
    }
}

void SelectionReader::giveUpAll() {
    takeBegun();
    while (!readings_.empty()) {
        giveUp(readings_.begin());
        takeBegun();
    }
}

std::optional<double> SelectionReader::nextDeadline() const {
    std::optional<double> next;
    if (!lingering_.empty())
        next = lingering_.front().first;
    for (const auto& [window, reading] : readings_)
        next = std::min(next.value_or(reading.deadline()), reading.deadline());
    return next;
}

} // namespace dresk
