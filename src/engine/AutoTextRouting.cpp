#include "Foundation/KeyCode.h"
#include "engine/AutoText.h"

namespace dresk {

namespace {

bool isDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

/// The modifier set that a selector setting stands for, 0 for none; a value out of range stands for
/// a set that is never held.
std::int32_t selectorMask(std::uint64_t modifier) {
    if (modifier == 0)
        return 0;
    return modifier <= 4 ? 1 << (modifier - 1) : -1;
}

} // namespace

void AutoText::onSystemInputServiceKeyDown(ZPKeyEventArgs* args) {
    noteTapThread();
    if (!enabled())
        return;
    {
        const std::lock_guard lock(mutex_);
        undoInfo_.reset();
    }
    if (macInputService_.isSameProcess() && !snippetQuickSearchWindowVisible())
        return;
    routeKey(*args);
}

void AutoText::routeKey(ZPKeyEventArgs& args) {
    if (processListKey(args) || processSteeringKey(args))
        return;
    if (!args.s.has_value() || args.s->size() != 1)
        return;
    processSelectorKey(args);
    // All other typing belongs to the quick search panel while it is open.
    if (!args.cancel && !snippetQuickSearchWindowVisible())
        processNormalKeyDown(args);
}

// Keys that steer the visible list. Space is none of them: it goes on as typing.
bool AutoText::processListKey(ZPKeyEventArgs& args) {
    if (!snippetSuggestionWindowVisible())
        return false;
    switch (args.key) {
    case KeyCode::DownArrow:
        postToMain("nextSuggestion", &AutoText::nextSuggestion);
        break;
    case KeyCode::UpArrow:
        postToMain("previousSuggestion", &AutoText::previousSuggestion);
        break;
    case KeyCode::Escape:
        postToMain("hideSnippetSuggestion", &AutoText::hideSnippetSuggestion);
        break;
    case KeyCode::Return:
    case KeyCode::Enter:
        postToMain("acceptSuggestion", &AutoText::acceptSuggestion);
        break;
    default:
        return false;
    }
    args.cancel = true;
    return true;
}

bool AutoText::processSteeringKey(ZPKeyEventArgs& args) {
    switch (args.key) {
    case KeyCode::Home:
    case KeyCode::PageUp:
    case KeyCode::End:
    case KeyCode::PageDown:
    case KeyCode::LeftArrow:
    case KeyCode::RightArrow:
    case KeyCode::DownArrow:
    case KeyCode::UpArrow:
    case KeyCode::Escape:
        clear();
        return true;
    case KeyCode::ForwardDelete:
        return true;
    case KeyCode::Delete:
        deleteLastLetter();
        return true;
    case KeyCode::Return:
    case KeyCode::Enter:
    case KeyCode::Space:
        // Shift is the way to type a delimiter without expanding.
        if (macInputService_.keyModifier() != KeyModifier::Shift)
            return false;
        appendLetters(args.s);
        return true;
    default:
        return false;
    }
}

void AutoText::deleteLastLetter() {
    {
        const std::lock_guard lock(mutex_);
        if (letters_.empty())
            return;
        letters_.pop_back();
    }
    postRefresh();
}

// One refresh serves all keys that came before it.
void AutoText::postRefresh() {
    if (!snippetSuggestionWindowVisible())
        return;
    constexpr std::string_view operation = "refreshSnippetSuggestionController";
    mainRunLoop_.cancel({this, operation});
    postToMain(operation, &AutoText::refreshSnippetSuggestionController);
}

void AutoText::processSelectorKey(ZPKeyEventArgs& args) {
    const std::uint64_t modifier = snippetSelectorKeyModifier_;
    if (macInputService_.keyModifier() != selectorMask(modifier))
        return;
    char16_t digit = args.c;
    if (modifier == 1 || modifier == 3) { // Shift and Option change what a digit key types.
        const auto plain = macInputService_.stringForKeyCode(args.key, 0);
        digit = plain.has_value() && !plain->empty() ? plain->front() : u'\0';
    }
    if (isDigit(digit))
        args.cancel = processSnippetSelectorHotKey(digit);
}

bool AutoText::processSnippetSelectorHotKey(char16_t digit) {
    const std::size_t row = digit >= u'1' ? digit - u'1' : 9;
    if (snippetSuggestionWindowVisible()) {
        // A row equal to the count passes and merely closes the list. That is meant.
        if (row > suggestions_.count())
            return false;
        sendSuggestionAtIndex(row, SnippetTrigger::Selected);
        return true;
    }
    if (!snippetQuickSearchWindowVisible())
        return false;
    const auto snippet = snippetQuickSearchController_->snippetAtIndex(row);
    if (snippet == nullptr)
        return false;
    snippetQuickSearchController_->close();
    sendSnippetDirectly(snippet);
    return true;
}

// Serves the modifiers whose chords never arrive as plain keys.
void AutoText::onSystemInputServiceUnregisteredHotKeyPressed(
    ZPUnregisteredHotKeyPressedEventArgs* args) {
    noteTapThread();
    const std::int32_t mask = selectorMask(snippetSelectorKeyModifier_);
    if (mask != 0 && args->hotKey().modifiers() == mask && isDigit(args->c))
        args->cancel = processSnippetSelectorHotKey(args->c);
}

void AutoText::onSystemInputServiceMouseDown(ZPMouseEventArgs* /*args*/) {
    const auto point = macInputService_.mouseLocation();
    if (snippetSuggestionWindowVisible()) {
        if (snippetSuggestionController_->windowFrame().contains(point))
            return;
    } else if (snippetQuickSearchWindowVisible() &&
               snippetQuickSearchController_->windowFrame().contains(point)) {
        return;
    }
    clear();
}

void AutoText::onSystemInputServiceInputContextChanged(ZPObject* /*args*/) {
    clear();
}

void AutoText::processNormalKeyDown(ZPKeyEventArgs& args) {
    const String& typed = *args.s;
    SnippetMatches matches;
    {
        const auto groupsLock = lockGroups();
        const std::lock_guard lock(mutex_);
        // The key stands in the buffer from here on: it stays there without a match and with
        // several, and sending a single match empties the buffer first.
        const std::size_t length = letters_.size();
        letters_.append(typed);
        findSnippets(letters_, typed.front(), StringView(letters_).substr(0, length), matches);
    }
    if (matches.empty()) {
        correctTyping(args);
        // The user typed on past an ambiguous list.
        if (suggestions_.selectingSnippet())
            hideSnippetSuggestion();
        else
            postRefresh();
        return;
    }
    if (matches.size() > 1) {
        chooseBetween(std::move(matches));
        return;
    }
    hideSnippetSuggestion();
    const auto& snippet = matches.front().first();
    args.cancel = sendSnippet(snippet, matches.front().second(), SnippetTrigger::Typed);
    const bool delimiterStays = [&] {
        const auto groupsLock = lockGroups();
        const SnippetGroup* group = snippet->parentGroup();
        return group != nullptr && group->expandTrigger() == ExpandTrigger::AtDelimiter;
    }();
    if (delimiterStays)
        appendLetters(args.s);
}

} // namespace dresk
