#include "language/SnippetExpansion.h"

#include <algorithm>
#include <array>

#include "language/SnippetDateTimeVariable.h"
#include "language/SnippetFieldVariable.h"
#include "language/SnippetVariableUtils.h"

namespace dresk {

namespace {

constexpr std::uint64_t MaximumReferences = 20'000;
constexpr std::size_t MaximumScriptDepth = 100;
constexpr std::uint64_t MaximumNestedUnits = std::uint64_t{32} * 1024 * 1024;

constexpr StringView Arrows = u"◀▲▶▼";
constexpr std::array<std::uint16_t, 4> ArrowKeyCodes = {123, 126, 124, 125};

const String& plainText(const Snippet& snippet) {
    static const String none;
    return snippet.hasContent() ? snippet.richTextContent()->string() : none;
}

bool isText(const Snippet& snippet) {
    return snippet.contentType() == SnippetContentType::PlainText ||
           snippet.contentType() == SnippetContentType::RichText;
}

bool isRich(const Snippet& snippet) {
    return snippet.contentType() == SnippetContentType::RichText;
}

bool take(std::uint64_t& used, std::uint64_t amount, std::uint64_t maximum) {
    if (amount > maximum - used)
        return false;
    used += amount;
    return true;
}

} // namespace

std::shared_ptr<SnippetExpandedContent>
SnippetExpansion::parse(const Snippet& snippet, const AttributedString& content, bool isRichText) {
    Scan scan{snippet, isRichText, SnippetScanText(content, isRichText), {}, {}};
    if (!checkEmbeddedSnippets(scan.circularReferences, snippet)) {
        // A reference that the guard cannot resolve abandons the whole expansion, while one that
        // only the scan cannot resolve just goes away. That is meant.
        isAbandoned_ = true;
        return nullptr;
    }
    running_.push_back(&snippet);
    while (!isAbandoned_ && scan.text.findToken())
        expandToken(scan);
    running_.pop_back();
    if (isAbandoned_)
        return nullptr;
    auto expanded = std::make_shared<SnippetExpandedContent>();
    expanded->setContent(scan.text.finish());
    expanded->setVariables(std::move(scan.variables));
    return expanded;
}

// Leaves one flag for each reference, depth first, in the order in which the scan meets them. A
// scan takes a script's references out of that order, so that flags behind one are then read for
// others; that is meant.
bool SnippetExpansion::checkEmbeddedSnippets(std::vector<bool>& flags, const Snippet& snippet) {
    struct Level {
        const Snippet* snippet;
        std::size_t position = 0;
        std::size_t closing = 0;
    };
    std::vector<Level> levels{{&snippet}};
    std::unordered_set<const Snippet*> parentHierarchy{&snippet};
    flags.push_back(false);
    while (!levels.empty()) {
        Level& level = levels.back();
        const StringView text = plainText(*level.snippet);
        const std::size_t opening = text.find(TokenOpening, level.position);
        if (opening != StringView::npos && level.closing <= opening)
            level.closing = text.find(TokenClosing, opening);
        if (opening == StringView::npos || level.closing == StringView::npos) {
            parentHierarchy.erase(level.snippet);
            levels.pop_back();
            continue;
        }
        const StringView body = text.substr(opening + 1, level.closing - opening - 1);
        level.position = opening + 1;
        if (!body.starts_with(u"snippet:"))
            continue;
        level.position = level.closing + 1;
        const auto variable = std::dynamic_pointer_cast<SnippetAbbreviationVariable>(
            SnippetVariableUtils::parseVariable(body));
        const auto target = find(*variable, *level.snippet);
        if (target == nullptr)
            return false;
        const bool isCircular = parentHierarchy.contains(target.get()) || !descendAllowed(*target);
        flags.push_back(isCircular);
        if (!isCircular) {
            parentHierarchy.insert(target.get());
            levels.push_back({target.get()});
        }
    }
    return true;
}

bool SnippetExpansion::descendAllowed(const Snippet& target) {
    return take(references_, 1, MaximumReferences) &&
           take(guardedUnits_, plainText(target).size(), MaximumNestedUnits);
}

std::shared_ptr<Snippet> SnippetExpansion::find(const SnippetAbbreviationVariable& variable,
                                                const Snippet& inSnippet) {
    ReferenceKey key(inSnippet.parentGroup(), variable.uuid(),
                     variable.abbreviation().value_or(String()));
    const auto known = found_.find(key);
    if (known != found_.end())
        return known->second;
    auto target =
        SnippetParser::findSnippetBySnippetAbbreviationVariable(variable, &inSnippet, groups_);
    found_.emplace(std::move(key), target);
    return target;
}

void SnippetExpansion::expandToken(Scan& scan) {
    auto variable = SnippetVariableUtils::parseVariable(scan.text.body());
    if (variable == nullptr) {
        expandBareToken(scan);
        return;
    }
    variable->setLocation(scan.text.location());
    if (scan.isRichText)
        variable->setAttributes(scan.text.attributes());
    if (auto reference = std::dynamic_pointer_cast<SnippetAbbreviationVariable>(variable)) {
        expandReference(scan, reference);
    } else if (const auto* moment = dynamic_cast<SnippetDateTimeVariable*>(variable.get())) {
        scan.text.replaceToken(moment->value(environment_).value_or(String()));
    } else if (const auto* clipboard = dynamic_cast<SnippetClipboardVariable*>(variable.get())) {
        expandClipboard(scan, *clipboard);
    } else {
        scan.variables.push_back(std::move(variable));
        scan.text.deleteToken();
    }
}

void SnippetExpansion::expandBareToken(Scan& scan) {
    const StringView body = scan.text.body();
    const std::size_t arrow = body.size() == 1 ? Arrows.find(body) : StringView::npos;
    if (body == u"|") {
        auto caret = std::make_shared<SnippetContentCaret>();
        caret->setLocation(scan.text.location());
        scan.variables.push_back(std::move(caret));
        scan.text.deleteToken();
    } else if (arrow != StringView::npos) {
        // The location is the arrow's place among the four, wherever the token stood, and no count
        // is set, so no key is pressed. That is meant.
        auto key = std::make_shared<SnippetKeyVariable>();
        key->setKeyCode(ArrowKeyCodes[arrow]);
        key->setLocation(arrow);
        scan.variables.push_back(std::move(key));
        scan.text.deleteToken();
    } else {
        scan.text.keepToken();
    }
}

void SnippetExpansion::expandReference(
    Scan& scan, const std::shared_ptr<SnippetAbbreviationVariable>& variable) {
    const auto target = find(*variable, scan.snippet);
    if (target == nullptr) {
        scan.text.deleteToken();
        return;
    }
    ++scan.referenceCounter;
    if (scan.referenceCounter >= scan.circularReferences.size() ||
        scan.circularReferences[scan.referenceCounter]) {
        scan.text.deleteToken();
        return;
    }
    if (variable->isOptional() && target->isSimpleSnippet()) {
        auto field = std::make_shared<SnippetFieldVariable>();
        field->setLocation(variable->location());
        field->setIsOptional(variable->isOptional());
        field->setIsSelected(variable->isSelected());
        field->setValue(target->plainTextContent());
        if (scan.isRichText && isRich(*target))
            field->setRichTextValue(target->richTextContent());
        scan.variables.push_back(std::move(field));
        scan.text.deleteToken();
    } else if (!isText(*target)) {
        expandScript(scan, variable, target);
    } else {
        expandNested(scan, *target);
    }
}

void SnippetExpansion::expandScript(Scan& scan,
                                    const std::shared_ptr<SnippetAbbreviationVariable>& variable,
                                    const std::shared_ptr<Snippet>& target) {
    // The guard does not see scripts that refer to each other, since each has a scan of its own.
    const bool isRunning =
        std::find(running_.begin(), running_.end(), target.get()) != running_.end();
    if (isRunning || running_.size() >= MaximumScriptDepth ||
        !take(nestedUnits_, plainText(*target).size(), MaximumNestedUnits)) {
        scan.text.deleteToken();
        return;
    }
    const auto script =
        parse(*target, target->richTextContent().value_or(AttributedString()), false);
    if (script == nullptr)
        return;
    variable->setSnippet(target);
    variable->setScriptLength(script->length());
    variable->setIsAppleScript(target->contentType() == SnippetContentType::AppleScript);
    scan.variables.push_back(variable);
    for (const auto& inner : script->variables()) {
        inner->setLocation(inner->location() + scan.text.location());
        scan.variables.push_back(inner);
    }
    scan.text.replaceToken(script->string());
}

void SnippetExpansion::expandNested(Scan& scan, const Snippet& target) {
    if (!take(nestedUnits_, plainText(target).size(), MaximumNestedUnits))
        scan.text.deleteToken();
    else if (scan.isRichText && isRich(target) && target.hasContent())
        scan.text.replaceTokenAndScan(*target.richTextContent());
    else
        scan.text.replaceTokenAndScan(plainText(target));
}

} // namespace dresk
