#include "input/x11/SelectionTargets.h"

#include <algorithm>
#include <array>

#include "language/GeneralPasteboard.h"

namespace dresk {

namespace {

constexpr std::size_t LongestName = 0xFFFF;
/// Names that are forgotten when there are more; far more than a desktop uses.
constexpr std::size_t RememberedNames = 8192;

using Form = SelectionOffer::Form;

constexpr const char* UTF8Target = "UTF8_STRING";
constexpr const char* Latin1Target = "STRING";

struct Row {
    StringView type;
    const char* target;
    Form form = Form::AsGiven;
};
/// For each type the best target first.
constexpr std::array Rows = {
    Row{PasteboardType::String, UTF8Target, Form::UTF8Text},
    Row{PasteboardType::String, "text/plain;charset=utf-8"},
    Row{PasteboardType::String, Latin1Target, Form::Latin1Text},
    Row{PasteboardType::String, "TEXT", Form::UTF8Text},
    Row{PasteboardType::HTML, "text/html"},
    Row{PasteboardType::RTF, "text/rtf"},
    Row{PasteboardType::RTF, "application/rtf"},
    Row{PasteboardType::PNG, "image/png"},
    Row{PasteboardType::PDF, "application/pdf"},
    Row{PasteboardType::TIFF, "image/tiff"},
};

void appendOffers(std::vector<SelectionOffer>& offers, StringView type) {
    const auto append = [&](SelectionOffer offer) {
        const bool isThere = std::any_of(offers.begin(), offers.end(), [&](const auto& other) {
            return other.target == offer.target;
        });
        if (!isThere && SelectionTarget::isData(offer.target))
            offers.push_back(std::move(offer));
    };
    bool isKnown = false;
    for (const Row& row : Rows)
        if (row.type == type) {
            append({row.target, String(type), row.form});
            isKnown = true;
        }
    if (!isKnown && !type.empty())
        append({toLatin1(type), String(type), Form::AsGiven});
}

} // namespace

xcb_atom_t AtomNames::atom(const std::string& name) {
    const std::lock_guard lock(mutex_);
    if (const auto found = atoms_.find(name); found != atoms_.end())
        return found->second;
    if (name.empty() || name.size() > LongestName)
        return XCB_ATOM_NONE;
    const xcb_atom_t atom = connection_.atom(name);
    if (atom == XCB_ATOM_NONE)
        return atom;
    if (atoms_.size() >= RememberedNames)
        atoms_.clear();
    return atoms_[name] = atom;
}

std::vector<std::string> AtomNames::names(const std::vector<xcb_atom_t>& atoms) {
    const std::lock_guard lock(mutex_);
    if (names_.size() + atoms.size() > RememberedNames)
        names_.clear();
    std::vector<std::pair<xcb_atom_t, xcb_get_atom_name_cookie_t>> questions;
    for (const xcb_atom_t atom : atoms)
        if (atom != XCB_ATOM_NONE && names_.try_emplace(atom).second)
            questions.emplace_back(atom, xcb_get_atom_name(connection_.get(), atom));
    for (const auto& [atom, cookie] : questions) {
        const XPointer<xcb_get_atom_name_reply_t> reply(
            xcb_get_atom_name_reply(connection_.get(), cookie, nullptr));
        if (reply != nullptr)
            names_[atom].assign(
                xcb_get_atom_name_name(reply.get()),
                static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get())));
        else
            names_.erase(atom);
    }
    std::vector<std::string> result(atoms.size());
    for (std::size_t i = 0; i < atoms.size(); ++i)
        if (const auto found = names_.find(atoms[i]); found != names_.end())
            result[i] = found->second;
    return result;
}

bool SelectionTarget::isData(const std::string& target) {
    constexpr std::array others = {Targets, "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS", "DELETE"};
    return std::find(others.begin(), others.end(), target) == others.end() &&
           !target.starts_with("INSERT_") && !target.empty();
}

const std::vector<std::string>& SelectionTarget::usual() {
    static const std::vector<std::string> targets = {
        UTF8Target,     "text/plain;charset=utf-8", Latin1Target, "text/plain", "text/html",
        "text/rtf",     "application/rtf",          "image/png",  "image/tiff", "application/pdf",
        "text/uri-list"};
    return targets;
}

// No program here takes RTFD: what it holds goes as HTML with its pictures inside, and last, for
// those that take nothing else, as plain text.
std::vector<SelectionOffer> offersForTypes(const std::vector<String>& types) {
    std::vector<SelectionOffer> offers;
    for (const String& type : types)
        appendOffers(offers, type == PasteboardType::RTFD ? PasteboardType::HTML : type);
    if (std::find(types.begin(), types.end(), PasteboardType::RTFD) != types.end())
        appendOffers(offers, PasteboardType::String);
    return offers;
}

std::vector<std::string> targetsForType(StringView type) {
    std::vector<std::string> targets;
    for (const Row& row : Rows)
        if (row.type == type)
            targets.emplace_back(row.target);
    if (targets.empty() && type != PasteboardType::RTFD)
        targets.push_back(toLatin1(type));
    return targets;
}

std::optional<std::string> dataOfAnswer(StringView type, const SelectionAnswer& answer) {
    if (type != PasteboardType::String)
        return answer.bytes;
    if (answer.format != 8 || answer.type == "COMPOUND_TEXT")
        return std::nullopt;
    return answer.type == Latin1Target ? toUTF8(fromLatin1(answer.bytes)) : answer.bytes;
}

SelectionAnswer answerForOffer(const SelectionOffer& offer, std::string bytes) {
    switch (offer.form) {
    case Form::AsGiven:
        break;
    case Form::UTF8Text:
        return {std::move(bytes), UTF8Target, 8};
    case Form::Latin1Text:
        return {toLatin1(fromUTF8(bytes)), Latin1Target, 8};
    }
    return {std::move(bytes), offer.target, 8};
}

String fromLatin1(std::string_view bytes) {
    String text;
    text.reserve(bytes.size());
    for (const char byte : bytes)
        text.push_back(static_cast<unsigned char>(byte));
    return text;
}

std::string toLatin1(StringView text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (const char16_t unit : text) {
        if (isLowSurrogate(unit))
            continue;
        bytes.push_back(unit <= 0xFF ? static_cast<char>(unit) : '?');
    }
    return bytes;
}

} // namespace dresk
