#include "engine/AutoText.h"

namespace dresk {

AutoText::AutoText(SystemInputService& systemInputService,
                   BundleIdentifierResolver& bundleIdentifierResolver, RunLoop& mainRunLoop)
    : macInputService_(systemInputService), bundleIdentifierResolver_(bundleIdentifierResolver),
      mainRunLoop_(mainRunLoop), headlessFieldsEditor_(mainRunLoop) {
    autocorrectGroup_->setExpandTrigger(ExpandTrigger::AtDelimiter);
    macInputService_.keyDownEvent().addObserver(this, &AutoText::onSystemInputServiceKeyDown);
    macInputService_.inputContextChangedEvent().addObserver(
        this, &AutoText::onSystemInputServiceInputContextChanged);
    macInputService_.mouseDownEvent().addObserver(this, &AutoText::onSystemInputServiceMouseDown);
    macInputService_.unregisteredHotKeyPressedEvent().addObserver(
        this, &AutoText::onSystemInputServiceUnregisteredHotKeyPressed);
    drainOutputPool();
    refreshInputSourceIdentifier();
    macInputService_.inputSourceChangedEvent().addObserver(
        this, &AutoText::notifySelectedKeyboardInputSourceChanged);
    setSnippetSuggestionController(headlessSuggestionController_);
}

AutoText::~AutoText() {
    scripts_.end();
    macInputService_.inputSourceChangedEvent().removeObserver(
        this, &AutoText::notifySelectedKeyboardInputSourceChanged);
    macInputService_.unregisteredHotKeyPressedEvent().removeObserver(
        this, &AutoText::onSystemInputServiceUnregisteredHotKeyPressed);
    macInputService_.mouseDownEvent().removeObserver(this,
                                                     &AutoText::onSystemInputServiceMouseDown);
    macInputService_.inputContextChangedEvent().removeObserver(
        this, &AutoText::onSystemInputServiceInputContextChanged);
    macInputService_.keyDownEvent().removeObserver(this, &AutoText::onSystemInputServiceKeyDown);
    mainRunLoop_.cancelAll(this);
}

void AutoText::setSnippetGroups(const SnippetGroupList* snippetGroups) {
    snippetGroups_ = snippetGroups;
    // The first key is not to wait for the indexes.
    const auto groupsLock = lockGroups();
    for (const auto& group : groups())
        group->abbreviationIndex();
}

void AutoText::setSnippetSuggestionController(SnippetSuggestionController& controller) {
    snippetSuggestionController_ = &controller;
    controller.setSuggestions(suggestions_, [this] { snippetSuggestionSuggestionSelected(); });
    controller.setSnippetSelectorKeyModifier(snippetSelectorKeyModifier_);
}

void AutoText::setSnippetQuickSearchController(SnippetQuickSearchController& controller) {
    snippetQuickSearchController_ = &controller;
    isQuickSearchInitialized_ = false;
    controller.setSnippetSelectorKeyModifier(snippetSelectorKeyModifier_);
}

void AutoText::setEnabled(bool enabled) {
    if (enabled_.exchange(enabled) != enabled)
        clear();
}

void AutoText::setFeedbackSound(std::shared_ptr<FeedbackSound> sound) {
    const std::lock_guard lock(mutex_);
    feedbackSound_ = std::move(sound);
}

void AutoText::setSnippetSelectorKeyModifier(std::uint64_t modifier) {
    snippetSelectorKeyModifier_ = modifier;
    snippetSuggestionController_->setSnippetSelectorKeyModifier(modifier);
    if (snippetQuickSearchController_ != nullptr)
        snippetQuickSearchController_->setSnippetSelectorKeyModifier(modifier);
}

void AutoText::clear() {
    setLetters({});
    if (snippetSuggestionWindowVisible())
        hideSnippetSuggestion();
}

String AutoText::letters() const {
    const std::lock_guard lock(mutex_);
    return letters_;
}

// A buffer that has grown large is given back; an ordinary one keeps its memory for the next keys.
void AutoText::setLetters(String letters) {
    constexpr std::size_t ordinaryCapacity = 4096;
    const std::lock_guard lock(mutex_);
    if (letters.empty() && letters_.capacity() <= ordinaryCapacity)
        letters_.clear();
    else
        letters_ = std::move(letters);
}

void AutoText::appendLetters(const std::optional<String>& typed) {
    if (!typed.has_value())
        return;
    const std::lock_guard lock(mutex_);
    letters_.append(*typed);
}

std::shared_ptr<Snippet> AutoText::lastUsedSnippet() const {
    const std::lock_guard lock(mutex_);
    return lastUsedSnippet_.lock();
}

std::optional<UndoInformation> AutoText::undoInfo() const {
    const std::lock_guard lock(mutex_);
    return undoInfo_;
}

std::optional<String> AutoText::inputSourceIdentifier() const {
    const std::lock_guard lock(mutex_);
    return inputSourceIdentifier_;
}

void AutoText::refreshInputSourceIdentifier() {
    std::optional<String> identifier = macInputService_.inputSourceIdentifier();
    const std::lock_guard lock(mutex_);
    inputSourceIdentifier_ = std::move(identifier);
}

void AutoText::notifySelectedKeyboardInputSourceChanged(ZPObject* /*args*/) {
    refreshInputSourceIdentifier();
}

void AutoText::postToMain(std::string_view operation, void (AutoText::*call)()) {
    mainRunLoop_.post({this, operation}, [this, call] { (this->*call)(); });
}

} // namespace dresk
