#include "input/x11/SelectionServer.h"

#include <algorithm>

#include "Foundation/RunLoop.h"

namespace dresk {

namespace {

constexpr std::size_t MostTransfers = 256;
constexpr std::size_t MostPairs = 256;

} // namespace

const SelectionOffer* SelectionDeclaration::offer(const std::string& target) const {
    const auto found = std::find_if(offers.begin(), offers.end(), [&](const SelectionOffer& item) {
        return item.target == target;
    });
    return found != offers.end() ? &*found : nullptr;
}

std::optional<SelectionAnswer> SelectionDeclaration::provide(const SelectionOffer& offer) const {
    auto data = owner != nullptr ? owner->provideDataForType(offer.type) : std::nullopt;
    if (!data.has_value())
        return std::nullopt;
    SelectionAnswer answer = answerForOffer(offer, std::move(*data));
    const auto form = forms.find(offer.target);
    if (offer.form == SelectionOffer::Form::AsGiven && form != forms.end() &&
        answer.bytes.size() % (form->second.format / 8) == 0) {
        answer.type = form->second.type;
        answer.format = form->second.format;
    }
    return answer;
}

SelectionServer::SelectionServer(const XConnection& connection, AtomNames& names,
                                 WindowWatch& watch)
    : connection_(connection), names_(names), watch_(watch), incr_(names.atom("INCR")),
      multiple_(names.atom("MULTIPLE")), targets_(names.atom(SelectionTarget::Targets)),
      timestamp_(names.atom("TIMESTAMP")) {
    constexpr std::size_t header = 64;
    const std::size_t longest = std::size_t{xcb_get_maximum_request_length(connection.get())} * 4;
    longestPiece_ = std::min(LongestPiece, (std::max(longest, 2 * header) - header) / 4 * 4);
}

void SelectionServer::serve(xcb_atom_t selection,
                            std::shared_ptr<const SelectionDeclaration> declaration,
                            xcb_timestamp_t time) {
    if (declaration != nullptr)
        servings_[selection] = {std::move(declaration), time};
    else
        servings_.erase(selection);
}

void SelectionServer::selectionRequest(const xcb_selection_request_event_t& event) {
    const auto serving = servings_.find(event.selection);
    xcb_selection_notify_event_t notice{};
    notice.response_type = XCB_SELECTION_NOTIFY;
    notice.time = event.time;
    notice.requestor = event.requestor;
    notice.selection = event.selection;
    notice.target = event.target;
    // Old programs leave the choice of the property to the owner.
    notice.property = event.property != XCB_ATOM_NONE ? event.property : event.target;
    bool isAnswered = false;
    if (serving != servings_.end())
        isAnswered = event.target == multiple_
                         ? event.property != XCB_ATOM_NONE &&
                               answerMultiple(serving->second, event.requestor, event.property)
                         : answer(serving->second, event.requestor, notice.property, event.target);
    if (!isAnswered)
        notice.property = XCB_ATOM_NONE;
    xcb_send_event(connection_.get(), 0, event.requestor, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&notice));
}

bool SelectionServer::answer(const Serving& serving, xcb_window_t requestor, xcb_atom_t property,
                             xcb_atom_t target) {
    if (target == targets_)
        return answerTargets(*serving.declaration, requestor, property);
    if (target == timestamp_) {
        put(requestor, property, XCB_ATOM_INTEGER, 32, &serving.time, sizeof serving.time);
        return true;
    }
    const std::string name = names_.names({target}).front();
    if (serving.declaration->offer(name) != nullptr)
        return answerData(serving, requestor, property, name);
    if (!serving.declaration->concealed || name != SelectionTarget::Hint)
        return false;
    const std::string hint = SelectionTarget::SecretHint;
    put(requestor, property, target, 8, hint.data(), hint.size());
    return true;
}

// Pairs of target and property; the property of a pair that has no answer becomes None.
bool SelectionServer::answerMultiple(const Serving& serving, xcb_window_t requestor,
                                     xcb_atom_t property) {
    std::vector<xcb_atom_t> pairs = connection_.property32(requestor, property, XCB_ATOM_ANY);
    if (pairs.empty() || pairs.size() % 2 != 0 || pairs.size() / 2 > MostPairs)
        return false;
    for (std::size_t i = 0; i < pairs.size(); i += 2)
        if (pairs[i] == multiple_ || pairs[i + 1] == XCB_ATOM_NONE ||
            !answer(serving, requestor, pairs[i + 1], pairs[i]))
            pairs[i + 1] = XCB_ATOM_NONE;
    put(requestor, property, names_.atom("ATOM_PAIR"), 32, pairs.data(),
        pairs.size() * sizeof pairs.front());
    return true;
}

bool SelectionServer::answerTargets(const SelectionDeclaration& declaration, xcb_window_t requestor,
                                    xcb_atom_t property) {
    std::vector<xcb_atom_t> targets = {targets_, timestamp_, multiple_};
    for (const SelectionOffer& offer : declaration.offers)
        targets.push_back(names_.atom(offer.target));
    if (declaration.concealed && declaration.offer(SelectionTarget::Hint) == nullptr)
        targets.push_back(names_.atom(SelectionTarget::Hint));
    put(requestor, property, XCB_ATOM_ATOM, 32, targets.data(),
        targets.size() * sizeof targets.front());
    return true;
}

bool SelectionServer::answerData(const Serving& serving, xcb_window_t requestor,
                                 xcb_atom_t property, const std::string& target) {
    for (auto it = transfers_.begin(); it != transfers_.end();)
        it =
            it->requestor == requestor && it->property == property ? end(it, false) : std::next(it);
    const SelectionOffer& offer = *serving.declaration->offer(target);
    auto data = serving.declaration->provide(offer);
    if (!data.has_value() || !hasRoomFor(data->bytes.size()))
        return false;
    watch_.add(requestor);
    Transfer& transfer = transfers_.emplace_back();
    transfer.requestor = requestor;
    transfer.property = property;
    transfer.declaration = serving.declaration;
    transfer.type = offer.type;
    transfer.answer = std::move(*data);
    transfer.fromFocus = hasFocus(requestor);
    if (transfer.answer.bytes.size() <= longestPiece_) {
        sendPiece(transfer);
        transfer.state = Transfer::State::LastPiece;
        transfer.deadline = steadySeconds() + TakenWithoutDeleting;
        return true;
    }
    const auto size =
        static_cast<std::uint32_t>(std::min<std::size_t>(transfer.answer.bytes.size(), 0x7FFFFFFF));
    transfer.state = Transfer::State::InPieces;
    transfer.deadline = steadySeconds() + Patience;
    put(requestor, property, incr_, 32, &size, sizeof size);
    return true;
}

void SelectionServer::put(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type,
                          std::uint8_t format, const void* data, std::size_t size) const {
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, requestor, property, type, format,
                        static_cast<std::uint32_t>(size / (format / 8)), data);
}

// An empty piece ends data that went in pieces.
void SelectionServer::sendPiece(Transfer& transfer) {
    const SelectionAnswer& answer = transfer.answer;
    const std::size_t size = std::min(answer.bytes.size() - transfer.sent, longestPiece_);
    put(transfer.requestor, transfer.property, names_.atom(answer.type), answer.format,
        answer.bytes.data() + transfer.sent, size);
    transfer.sent += size;
    const bool isLast = size == 0;
    transfer.state = isLast ? Transfer::State::LastPiece : Transfer::State::InPieces;
    transfer.deadline = steadySeconds() + (isLast ? TakenWithoutDeleting : Patience);
}

void SelectionServer::propertyNotify(const xcb_property_notify_event_t& event) {
    if (event.state != XCB_PROPERTY_DELETE)
        return;
    const auto found =
        std::find_if(transfers_.begin(), transfers_.end(), [&](const Transfer& transfer) {
            return transfer.requestor == event.window && transfer.property == event.atom;
        });
    if (found == transfers_.end())
        return;
    if (found->state == Transfer::State::InPieces)
        sendPiece(*found);
    else
        end(found, true);
}

SelectionServer::Transfers::iterator SelectionServer::end(Transfers::iterator transfer,
                                                          bool isTaken) {
    if (isTaken && (transfer->fromFocus || hasFocus(transfer->requestor)))
        transfer->declaration->owner->dataTaken(transfer->type);
    watch_.remove(transfer->requestor);
    return transfers_.erase(transfer);
}

void SelectionServer::windowDestroyed(xcb_window_t window) {
    for (auto it = transfers_.begin(); it != transfers_.end();)
        it = it->requestor == window ? end(it, false) : std::next(it);
}

void SelectionServer::endOverdue(double now) {
    for (auto it = transfers_.begin(); it != transfers_.end();)
        it = it->deadline <= now ? end(it, it->state == Transfer::State::LastPiece) : std::next(it);
}

std::optional<double> SelectionServer::nextDeadline() const {
    std::optional<double> next;
    for (const Transfer& transfer : transfers_)
        next = std::min(next.value_or(transfer.deadline), transfer.deadline);
    return next;
}

bool SelectionServer::hasRoomFor(std::size_t size) const {
    for (const Transfer& transfer : transfers_)
        size += transfer.answer.bytes.size();
    return transfers_.size() < MostTransfers && size <= LargestTransfers;
}

// Some toolkits ask for data on a second connection, which has the process in common.
bool SelectionServer::hasFocus(xcb_window_t requestor) const {
    const XPointer<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(
        connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
    if (reply == nullptr || reply->focus <= XCB_INPUT_FOCUS_POINTER_ROOT)
        return false;
    const std::uint32_t client = ~xcb_get_setup(connection_.get())->resource_id_mask;
    if ((requestor & client) == (reply->focus & client))
        return true;
    const std::uint32_t process = connection_.clientProcess(requestor);
    return process != 0 && process == connection_.clientProcess(reply->focus);
}

} // namespace dresk
