#include "language/SnippetExpandedContent.h"

#include <algorithm>

#include "Foundation/KeyCode.h"
#include "language/DRScript.h"
#include "language/SnippetFieldVariable.h"

namespace dresk {

namespace {

template <class Variable>
const Variable* as(const std::shared_ptr<SnippetVariable>& variable) {
    return dynamic_cast<const Variable*>(variable.get());
}

bool isCaret(const std::shared_ptr<SnippetVariable>& variable) {
    return as<SnippetContentCaret>(variable) != nullptr;
}

bool isReturnOrTab(std::uint16_t keyCode) {
    return keyCode == KeyCode::Return || keyCode == KeyCode::Tab;
}

template <class Variable>
std::vector<std::shared_ptr<Variable>>
subarrayWhichIsKindOfClass(const SnippetExpandedContent::Variables& variables) {
    std::vector<std::shared_ptr<Variable>> result;
    for (const auto& variable : variables)
        if (auto fitting = std::dynamic_pointer_cast<Variable>(variable))
            result.push_back(std::move(fitting));
    return result;
}

} // namespace

std::vector<std::shared_ptr<SnippetFieldVariable>> SnippetExpandedContent::fields() const {
    return subarrayWhichIsKindOfClass<SnippetFieldVariable>(variables_);
}

std::vector<std::shared_ptr<SnippetAbbreviationVariable>>
SnippetExpandedContent::abbreviations() const {
    return subarrayWhichIsKindOfClass<SnippetAbbreviationVariable>(variables_);
}

std::vector<std::shared_ptr<SnippetKeyVariable>> SnippetExpandedContent::keys() const {
    return subarrayWhichIsKindOfClass<SnippetKeyVariable>(variables_);
}

std::vector<std::shared_ptr<SnippetKeyVariable>> SnippetExpandedContent::arrows() const {
    return keys();
}

bool SnippetExpandedContent::hasCaret() const {
    return std::any_of(variables_.begin(), variables_.end(), isCaret);
}

bool SnippetExpandedContent::hasCaretLocationOrKeys() const {
    return std::any_of(variables_.begin(), variables_.end(), [](const auto& variable) {
        return isCaret(variable) || as<SnippetKeyVariable>(variable) != nullptr;
    });
}

bool SnippetExpandedContent::hasCaretLocationOrArrowKeys() const {
    return std::any_of(variables_.begin(), variables_.end(), [](const auto& variable) {
        const auto* key = as<SnippetKeyVariable>(variable);
        return isCaret(variable) || (key != nullptr && key->keyCode() >= KeyCode::LeftArrow &&
                                     key->keyCode() <= KeyCode::UpArrow);
    });
}

bool SnippetExpandedContent::hasDelayedKey() const {
    return std::any_of(variables_.begin(), variables_.end(), [](const auto& variable) {
        const auto* key = as<SnippetKeyVariable>(variable);
        return key != nullptr && key->delay() > 0;
    });
}

bool SnippetExpandedContent::hasCaretOrFields() const {
    return std::any_of(variables_.begin(), variables_.end(), [](const auto& variable) {
        return isCaret(variable) || as<SnippetFieldVariable>(variable) != nullptr;
    });
}

const String& SnippetExpandedContent::string() const {
    if (const auto* rich = std::get_if<AttributedString>(&content_))
        return rich->string();
    return std::get<String>(content_);
}

String SnippetExpandedContent::copyString() const {
    const String& text = string();
    String result;
    std::uint64_t position = 0;
    for (const auto& key : keys()) {
        const std::uint64_t location = std::min<std::uint64_t>(key->location(), text.size());
        if (location > position)
            result.append(text, position, location - position);
        if (isReturnOrTab(key->keyCode()))
            result.push_back(u' ');
        position = location;
    }
    return result.append(text, position);
}

std::uint64_t SnippetExpandedContent::caretDistanceFromEnding() const {
    std::uint64_t count = 0;
    for (auto variable = variables_.rbegin(); variable != variables_.rend(); ++variable) {
        if (isCaret(*variable))
            return length() + count - std::min((*variable)->location(), length());
        const auto* key = as<SnippetKeyVariable>(*variable);
        if (key != nullptr && (isReturnOrTab(key->keyCode()) || key->keyCode() == KeyCode::Enter))
            count += key->count();
    }
    return 0;
}

std::uint64_t SnippetExpandedContent::caretDistanceFromEndingIgnoreKeys() const {
    const auto caret = std::find_if(variables_.rbegin(), variables_.rend(), isCaret);
    return caret == variables_.rend() ? 0 : length() - std::min((*caret)->location(), length());
}

std::int64_t SnippetExpandedContent::caretLocation() const {
    std::int64_t location = -1;
    std::int64_t count = 0;
    for (const auto& variable : variables_) {
        const auto* key = as<SnippetKeyVariable>(variable);
        if (key != nullptr && isReturnOrTab(key->keyCode()))
            ++count;
        if (isCaret(variable))
            location = static_cast<std::int64_t>(variable->location());
    }
    return location + count;
}

void SnippetExpandedContent::applySuffix() {
    if (!hasSuffix())
        return;
    if (auto* rich = std::get_if<AttributedString>(&content_))
        rich->appendAttributedString(AttributedString(*suffix_));
    else
        std::get<String>(content_).append(*suffix_);
}

} // namespace dresk
