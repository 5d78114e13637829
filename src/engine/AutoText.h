#pragma once

#include <thread>

#include "Foundation/RunLoop.h"
#include "engine/AutoCorrection.h"
#include "engine/BackgroundScripts.h"
#include "engine/HeadlessFieldsEditor.h"
#include "engine/HeadlessSuggestionController.h"
#include "engine/SnippetQuickSearchController.h"
#include "engine/UndoInformation.h"
#include "language/SnippetParser.h"
#include "seam/FeedbackSound.h"
#include "seam/SystemInputService.h"

namespace dresk {

/// The engine: follows what is typed in any application, finds the abbreviation that a key
/// completes and has the snippet's content sent in its place. It never reads an application's
/// text; it keeps the letters typed since the caret last moved for an unknown reason.
///
/// Made and destroyed on the main thread, while the service delivers nothing. Observers run on the
/// tap thread inside the key's handler; window work is posted to the main thread, and scripts run
/// on threads of their own, which are ended with the engine. Where an operation names no thread,
/// any thread may call it.
///
/// Locks, in the order in which they may be taken: the data lock of the groups (shared), then
/// `mutex_`. Neither is held while a job is sent, a window is called or another process is asked.
class AutoText {
  public:
    /// Created disabled and without groups. All three outlive the engine.
    AutoText(SystemInputService& systemInputService,
             BundleIdentifierResolver& bundleIdentifierResolver, RunLoop& mainRunLoop);
    AutoText(const AutoText&) = delete;
    AutoText& operator=(const AutoText&) = delete;
    ~AutoText();

    /// Set before the service delivers; borrowed. The suggestion list works without a window when
    /// none is given.
    void setSnippetGroups(const SnippetGroupList* snippetGroups);
    void setSnippetParser(SnippetParser* snippetParser) { snippetParser_ = snippetParser; }
    void setSnippetSuggestionController(SnippetSuggestionController& controller);
    void setSnippetQuickSearchController(SnippetQuickSearchController& controller);
    /// Without one the form of a snippet with fields counts as accepted as it would first show.
    void setFieldsEditorPresenter(FieldsEditorPresenter& presenter) {
        fieldsEditorPresenter_ = &presenter;
    }
    /// Gives the sound of the form; borrowed.
    void setSounds(Sounds& sounds) { sounds_ = &sounds; }
    void setScriptCommands(ScriptCommands commands) { scripts_.setCommands(std::move(commands)); }
    /// Has scripts run as calls of that loop, for programs in virtual time.
    void setScriptRunLoop(RunLoop& runLoop) { scripts_.setRunLoop(runLoop); }

    bool enabled() const { return enabled_; }
    /// A real change forgets what was typed.
    void setEnabled(bool enabled);
    /// Flags for the adaptation of case. Before the service delivers.
    void setSnippetAdaptToAbbreviationCaseOption(std::uint64_t flags) {
        snippetAdaptToAbbreviationCaseOption_ = flags;
    }
    void setPlayFeedbackSound(bool play) { playFeedbackSound_ = play; }
    void setFeedbackSound(std::shared_ptr<FeedbackSound> sound);

    // Auto-correction; each takes effect at the next key.
    void setCapitalizeNewSentences(bool capitalize);
    void setCorrectDoubleCapitals(bool correct);
    void setAutoCorrectAvailability(DRFunctionAvailability availability);
    /// What ends with a point and no sentence, such as "e.g.".
    void setCapitalizationExcludedAbbreviations(std::vector<String> abbreviations);
    /// Three units each, such as "IDs"; null for none.
    void setDoubleCapitalsCorrectionExclusion(std::optional<std::vector<String>> exclusion);

    /// Which modifier turns digits into row selectors: 0 none, 1 Shift, 2 Control, 3 Option, 4
    /// Command. Main thread.
    void setSnippetSelectorKeyModifier(std::uint64_t modifier);

    /// Forgets what was typed and closes the suggestion list.
    void clear();
    /// The letters typed so far.
    String letters() const;
    /// The snippet expanded last; null when there is none or it has been deleted.
    std::shared_ptr<Snippet> lastUsedSnippet() const;
    std::optional<UndoInformation> undoInfo() const;
    std::optional<String> inputSourceIdentifier() const;
    void refreshInputSourceIdentifier();

    // Observers of the service.
    void onSystemInputServiceKeyDown(ZPKeyEventArgs* args);
    void onSystemInputServiceMouseDown(ZPMouseEventArgs* args);
    void onSystemInputServiceInputContextChanged(ZPObject* args);
    void onSystemInputServiceUnregisteredHotKeyPressed(ZPUnregisteredHotKeyPressedEventArgs* args);
    void notifySelectedKeyboardInputSourceChanged(ZPObject* args);

    /// The snippets that the letters complete, in the order of the choice list. `letters` holds the
    /// current key, `lettersWithoutSeparator` does not; `trigger` is the first unit of that key, 0
    /// for the expansion hot key.
    SnippetMatches findSnippetsInLetters(StringView letters, char16_t trigger,
                                         StringView lettersWithoutSeparator);
    /// Expands what was typed in the groups that wait for the hot key. Tap thread.
    void expandAtHotkey();

    /// Erases `abbreviation` (null: nothing) and sends the snippet's content. Returns whether the
    /// key that caused it is to be swallowed; false also when nothing was done.
    bool sendSnippet(const std::shared_ptr<Snippet>& snippet,
                     const std::optional<String>& abbreviation, std::int32_t snippetTrigger);
    bool sendSnippetDirectly(const std::shared_ptr<Snippet>& snippet);
    /// The last step: delivers the content with `output`, which may carry the erasing already; null
    /// makes a new one.
    void sendSnippet(const std::shared_ptr<Snippet>& snippet,
                     const std::shared_ptr<SnippetExpandedContent>& content,
                     std::int32_t snippetTrigger, std::shared_ptr<DROutput> output);
    /// Takes the last expansion back and puts the abbreviation in its place, with the key that
    /// triggered it or without. False when there is nothing to undo. Tap thread.
    bool undo(bool withTrigger);

    /// A new job, kept alive by the pool until the first drain after it has finished.
    std::shared_ptr<DROutput> createOutput();
    std::size_t outputPoolSize() const;

    const SuggestionRows& suggestions() const { return suggestions_; }
    bool snippetSuggestionWindowVisible() const {
        return snippetSuggestionController_->isVisible();
    }
    bool snippetQuickSearchWindowVisible() const {
        return snippetQuickSearchController_ != nullptr &&
               snippetQuickSearchController_->isVisible();
    }
    void hideSnippetSuggestion();
    // Main thread.
    /// Shows what the letters typed so far may be the beginning of.
    void suggestAbbreviations();
    void showSnippetSuggestion();
    void refreshSnippetSuggestionController();
    void acceptSuggestion();
    void snippetSuggestionSuggestionSelected();
    /// Opens the panel near the caret unless it is open. Nothing without a panel or groups.
    void quickSearch();
    void quickSearchAtTopRightCorner();
    void snippetQuickSearchSnippetSelectedAction();
    /// The preference "FontSizeDelta" has changed.
    void notifyFontSizeDeltaChanged();

  private:
    // Routing.
    void routeKey(ZPKeyEventArgs& args);
    bool processSteeringKey(ZPKeyEventArgs& args);
    bool processListKey(ZPKeyEventArgs& args);
    void processSelectorKey(ZPKeyEventArgs& args);
    bool processSnippetSelectorHotKey(char16_t digit);
    void processNormalKeyDown(ZPKeyEventArgs& args);
    void deleteLastLetter();
    void appendLetters(const std::optional<String>& typed);
    void setLetters(String letters);
    /// Notes which thread delivers keys: what is sent there has gone when sendOutput returns.
    void noteTapThread() { tapThread_ = std::this_thread::get_id(); }
    bool onTapThread() const { return tapThread_.load() == std::this_thread::get_id(); }
    void postRefresh();
    void postToMain(std::string_view operation, void (AutoText::*call)());

    // Matching. The data lock is held shared, and mutex_.
    std::shared_lock<std::shared_mutex> lockGroups() const;
    const SnippetGroupArray& groups() const;
    void findSnippets(StringView letters, char16_t trigger, StringView lettersWithoutSeparator,
                      SnippetMatches& pairs);
    bool takesTrigger(const SnippetGroup& group, char16_t trigger) const;
    bool isAvailable(const SnippetGroup& group, std::optional<String>& bundleIdentifier);
    void checkGroupWithPrefix(const SnippetGroup& group, SuffixHashes& hashes,
                              SnippetMatches& pairs);
    void checkGroup(const SnippetGroup& group, SuffixHashes& hashes, Range prefixRange,
                    bool checkExpandAfter, SnippetMatches& pairs);
    std::optional<StringView> checkAbbreviation(StringView abbreviation, StringView letters,
                                                const SnippetGroup& group, bool caseSensitive,
                                                bool checkExpandAfter) const;
    bool checkExpandAfterOfGroup(const SnippetGroup& group, StringView letters,
                                 std::uint64_t index) const;
    bool standsBehindDigits(StringView letters, std::uint64_t index) const;
    void chooseBetween(SnippetMatches matches);

    // Expansion.
    struct Expansion;
    std::optional<Expansion> prepareExpansion(const std::shared_ptr<Snippet>& snippet,
                                              const std::optional<String>& abbreviation,
                                              std::int32_t snippetTrigger);
    /// What sendSnippet returns; null when nothing was done.
    std::optional<bool> expand(const std::shared_ptr<Snippet>& snippet,
                               const std::optional<String>& abbreviation,
                               std::int32_t snippetTrigger);
    /// What became of a job as far as its giver can know.
    struct Sent {
        /// The content's text.
        String text;
        bool cancelTrigger;
    };
    /// Null when nothing was sent.
    std::optional<Sent> deliver(const Expansion& expansion, std::int32_t snippetTrigger,
                                std::shared_ptr<DROutput> output);
    std::optional<Sent> deliverScript(const Expansion& expansion,
                                      const std::shared_ptr<DROutput>& output);
    void noteLastUsed(const std::shared_ptr<Snippet>& snippet);
    std::optional<Sent> send(const std::shared_ptr<DROutput>& output);
    static std::uint64_t backspaceLengthOfSnippet(const Snippet& snippet,
                                                  const std::optional<String>& abbreviation,
                                                  std::int32_t snippetTrigger);
    void rememberUndo(const Sent& sent, std::shared_ptr<const DROutput> output,
                      std::int32_t expandTrigger, const std::optional<String>& abbreviation);
    void playFeedback();
    void drainOutputPool();
    /// Makes the call at once, or half a second after the application has been brought to the
    /// front, for the one that has to be.
    void performAtTarget(const std::optional<String>& bundleIdentifier, std::string_view operation,
                         std::function<void()> call);

    // Fields and scripts.
    void showFieldsEditor(const std::shared_ptr<SnippetExpandedContent>& content);
    void fieldsEditorAction(const std::shared_ptr<SnippetExpandedContent>& content);
    void fieldsEditorDidClose(const std::shared_ptr<SnippetExpandedContent>& content);
    void startScripts(const std::shared_ptr<SnippetExpandedContent>& content);
    void executeScripts(const std::shared_ptr<SnippetExpandedContent>& content, ScriptHost& host);
    void startScript(String source, bool isAppleScript, std::optional<String> suffix);
    void onScriptExecuted(DRScript* script);

    // Auto-correction.
    void correctTyping(ZPKeyEventArgs& args);
    std::optional<String> replacementAt(StringView typed, String& old);
    bool isCorrectionAvailable();

    // Suggestions.
    bool refreshSuggestions();
    SnippetGroupArray filteredGroupsByApplication(const std::optional<String>& identifier) const;
    bool initSnippetQuickSearchController();
    void sendSuggestionAtIndex(std::size_t index, std::int32_t snippetTrigger);
    void nextSuggestion() { snippetSuggestionController_->nextSuggestion(); }
    void previousSuggestion() { snippetSuggestionController_->previousSuggestion(); }

    SystemInputService& macInputService_;
    BundleIdentifierResolver& bundleIdentifierResolver_;
    RunLoop& mainRunLoop_;
    const CharacterSet defaultDelimiters_{DefaultDelimiters};
    std::uint64_t snippetAdaptToAbbreviationCaseOption_ = 0;
    const CharacterSet whitespaceAndNewlines_ = CharacterSet::whitespaceAndNewlineCharacterSet();
    const CharacterSet decimalDigits_ = CharacterSet::decimalDigitCharacterSet();
    const SnippetGroupList* snippetGroups_ = nullptr;
    SnippetParser* snippetParser_ = nullptr;

    AutoCorrection autoCorrection_;
    /// Stands behind corrections; not among the groups, so that it never matches.
    const std::shared_ptr<SnippetGroup> autocorrectGroup_ = std::make_shared<SnippetGroup>();
    /// The last correction. A new one for each, because others may be reading the last.
    std::shared_ptr<Snippet> autocorrectSnippet_;

    std::atomic<bool> enabled_{false};
    std::atomic<bool> playFeedbackSound_{false};
    std::atomic<std::uint64_t> snippetSelectorKeyModifier_{0};
    std::atomic<std::thread::id> tapThread_{};

    /// Guards what follows, down to the blank line.
    mutable std::mutex mutex_;
    String letters_;
    std::optional<UndoInformation> undoInfo_;
    std::weak_ptr<Snippet> lastUsedSnippet_;
    std::optional<String> inputSourceIdentifier_;
    std::shared_ptr<FeedbackSound> feedbackSound_;
    /// Kept from key to key for their memory.
    SuffixHashes hashesWithKey_;
    SuffixHashes hashesWithoutKey_;
    std::vector<AbbreviationIndex::Hit> hits_;

    mutable std::mutex outputPoolMutex_;
    std::vector<std::shared_ptr<DROutput>> outputPool_;

    SuggestionRows suggestions_;
    HeadlessSuggestionController headlessSuggestionController_;
    SnippetSuggestionController* snippetSuggestionController_ = &headlessSuggestionController_;
    SnippetQuickSearchController* snippetQuickSearchController_ = nullptr;
    bool isQuickSearchInitialized_ = false;

    HeadlessFieldsEditor headlessFieldsEditor_;
    FieldsEditorPresenter* fieldsEditorPresenter_ = &headlessFieldsEditor_;
    Sounds* sounds_ = nullptr;
    /// Forms may outlive the engine; their answers count while this lives.
    const std::shared_ptr<bool> aliveness_ = std::make_shared<bool>(true);
    BackgroundScripts scripts_;
};

} // namespace dresk
