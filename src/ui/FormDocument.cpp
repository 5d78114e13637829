#include "ui/FormDocument.h"

#include <algorithm>

namespace dresk {

namespace {

bool isDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

/// Takes digits off the front; false if there are none.
bool skipDigits(StringView& text) {
    const auto end = std::find_if_not(text.begin(), text.end(), isDigit);
    const auto count = static_cast<std::size_t>(end - text.begin());
    text.remove_prefix(count);
    return count > 0;
}

/// A floating-point number as HTML writes it.
bool isNumber(StringView text) {
    if (text.starts_with(u'-'))
        text.remove_prefix(1);
    const bool hasWhole = skipDigits(text);
    if (text.starts_with(u'.')) {
        text.remove_prefix(1);
        if (!skipDigits(text))
            return false;
    } else if (!hasWhole) {
        return false;
    }
    if (text.empty())
        return true;
    if (text.front() != u'e' && text.front() != u'E')
        return false;
    text.remove_prefix(1);
    if (text.starts_with(u'-') || text.starts_with(u'+'))
        text.remove_prefix(1);
    return skipDigits(text) && text.empty();
}

String takenBy(const FormElement& element, StringView value) {
    String result(value);
    switch (element.kind) {
    case FormElement::Kind::Text:
        std::erase_if(result, [](char16_t unit) { return unit == u'\n' || unit == u'\r'; });
        break;
    case FormElement::Kind::Number:
        if (!isNumber(value))
            result.clear();
        break;
    case FormElement::Kind::Select: {
        const auto& options = element.options;
        if (std::find(options.begin(), options.end(), value) == options.end())
            result.clear();
        break;
    }
    default:
        break;
    }
    return result;
}

} // namespace

const FormElement* FormDocument::elementById(StringView id) const {
    if (id.empty())
        return nullptr;
    const auto found =
        std::find_if(state_.elements.begin(), state_.elements.end(),
                     [id](const FormElement& element) { return StringView(element.id) == id; });
    return found == state_.elements.end() ? nullptr : &*found;
}

FormElement* FormDocument::find(StringView id) {
    return const_cast<FormElement*>(elementById(id));
}

void FormDocument::update(FormState state) {
    state_ = std::move(state);
    const std::size_t sent = unconfirmed_.size() - unsent_;
    const std::uint64_t seen = std::max(state_.appliedChanges, confirmed_) - confirmed_;
    const auto gone = static_cast<std::ptrdiff_t>(std::min<std::uint64_t>(seen, sent));
    unconfirmed_.erase(unconfirmed_.begin(), unconfirmed_.begin() + gone);
    confirmed_ += static_cast<std::uint64_t>(gone);
    for (const FormChange& change : unconfirmed_)
        carryOut(change);
}

void FormDocument::setValue(StringView id, StringView value) {
    add({FormChange::Kind::SetValue, String(id), String(value), state_.number});
}

void FormDocument::setTextContent(StringView id, StringView text) {
    add({FormChange::Kind::SetTextContent, String(id), String(text), state_.number});
}

void FormDocument::click(StringView id) {
    add({FormChange::Kind::Click, String(id), {}, state_.number});
}

void FormDocument::add(FormChange change) {
    if (!carryOut(change))
        return;
    unconfirmed_.push_back(std::move(change));
    ++unsent_;
}

bool FormDocument::carryOut(const FormChange& change) {
    FormElement* element = find(change.id);
    if (element == nullptr || element->editedIn > change.basis)
        return false;
    if (change.kind == FormChange::Kind::Click) {
        if (element->kind == FormElement::Kind::CheckBox)
            element->isChecked = !element->isChecked;
        return true;
    }
    String taken =
        change.kind == FormChange::Kind::SetValue ? takenBy(*element, change.text) : change.text;
    if (taken == element->value)
        return false;
    element->value = std::move(taken);
    return true;
}

std::vector<FormChange> FormDocument::takeChanges() {
    const auto unsent = static_cast<std::ptrdiff_t>(std::exchange(unsent_, 0));
    return {unconfirmed_.end() - unsent, unconfirmed_.end()};
}

} // namespace dresk
