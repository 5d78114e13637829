#include "engine/AutoText.h"
#include "language/SnippetUtils.h"

namespace dresk {

namespace {

constexpr double DrainInterval = 10.0;
/// A remote desktop's window, which does not take its keyboard back by itself.
constexpr StringView CitrixIdentifier = u"com.citrix.XenAppViewer";
constexpr double CitrixDelay = 0.5;

std::int32_t expandTriggerOf(const Snippet& snippet) {
    const SnippetGroup* group = snippet.parentGroup();
    return group != nullptr ? group->expandTrigger() : ExpandTrigger::Immediately;
}

bool isScript(std::int64_t contentType) {
    return contentType == SnippetContentType::AppleScript ||
           contentType == SnippetContentType::ShellScript;
}

} // namespace

/// What one expansion needs of the records, read while the data lock was held.
struct AutoText::Expansion {
    std::shared_ptr<Snippet> snippet;
    std::shared_ptr<SnippetExpandedContent> content;
    std::int64_t contentType;
    std::int32_t expandTrigger;
    std::uint64_t backspaceCount;
};

std::shared_ptr<DROutput> AutoText::createOutput() {
    auto output = std::make_shared<DROutput>();
    const std::lock_guard lock(outputPoolMutex_);
    outputPool_.push_back(output);
    return output;
}

std::size_t AutoText::outputPoolSize() const {
    const std::lock_guard lock(outputPoolMutex_);
    return outputPool_.size();
}

void AutoText::drainOutputPool() {
    {
        const std::lock_guard lock(outputPoolMutex_);
        std::erase_if(outputPool_, [](const auto& output) { return output->finished.load(); });
    }
    mainRunLoop_.callAfter(DrainInterval, {this, "drainOutputPool"}, [this] { drainOutputPool(); });
}

std::uint64_t AutoText::backspaceLengthOfSnippet(const Snippet& snippet,
                                                 const std::optional<String>& abbreviation,
                                                 std::int32_t snippetTrigger) {
    if (!abbreviation.has_value() || abbreviation->empty())
        return 0;
    const std::int32_t expandTrigger = expandTriggerOf(snippet);
    // The key that completes the abbreviation has not reached the application.
    if (expandTrigger == ExpandTrigger::Immediately)
        return abbreviation->size() - (snippetTrigger == SnippetTrigger::Typed ? 1 : 0);
    // On an ambiguous list the delimiter went through and must go as well.
    const bool delimiterStands = (snippetTrigger & SnippetTrigger::AmbiguousListFlag) != 0 &&
                                 expandTrigger != ExpandTrigger::AtHotKey;
    return abbreviation->size() + (delimiterStands ? 1 : 0);
}

// Null when there is nothing to do.
std::optional<AutoText::Expansion>
AutoText::prepareExpansion(const std::shared_ptr<Snippet>& snippet,
                           const std::optional<String>& abbreviation, std::int32_t snippetTrigger) {
    const auto groupsLock = lockGroups();
    if (snippetParser_ == nullptr)
        return std::nullopt;
    auto content = snippetParser_->parseSnippet(*snippet, groups());
    if (content == nullptr)
        return std::nullopt;
    if (abbreviation.has_value() && !abbreviation->empty() &&
        snippet->caseSensitivity() == SnippetCaseSensitivity::IgnoreAndAdapt)
        SnippetUtils::correctSnippetContentCase(*content, *abbreviation,
                                                snippetAdaptToAbbreviationCaseOption_);
    // An expansion that would retype what is there does nothing at all.
    if (snippet->contentType() == SnippetContentType::PlainText && content->fields().empty() &&
        !content->hasCaretLocationOrKeys() && abbreviation == content->string())
        return std::nullopt;
    snippet->updateLastTimeUsed();
    content->setOriginalSnippet(snippet);
    return Expansion{snippet, std::move(content), snippet->contentType(), expandTriggerOf(*snippet),
                     backspaceLengthOfSnippet(*snippet, abbreviation, snippetTrigger)};
}

bool AutoText::sendSnippet(const std::shared_ptr<Snippet>& snippet,
                           const std::optional<String>& abbreviation, std::int32_t snippetTrigger) {
    return expand(snippet, abbreviation, snippetTrigger).value_or(false);
}

std::optional<bool> AutoText::expand(const std::shared_ptr<Snippet>& snippet,
                                     const std::optional<String>& abbreviation,
                                     std::int32_t snippetTrigger) {
    clear();
    const auto expansion = prepareExpansion(snippet, abbreviation, snippetTrigger);
    if (!expansion.has_value())
        return std::nullopt;
    const auto& content = expansion->content;
    const bool hasFields = !content->fields().empty();
    const bool delimiterStays = expansion->expandTrigger == ExpandTrigger::AtDelimiter;
    const auto output = createOutput();
    output->trigger = snippetTrigger;
    output->backspaceCount = expansion->backspaceCount;
    // A delimiter that arrived behind the text would land in the wrong place when the caret is to
    // end inside it.
    output->cancelTrigger = !delimiterStays || hasFields || content->hasCaret();
    if (!hasFields)
        snippetParser_->processScripts(*content);
    if (hasFields || !content->scripts().empty()) {
        // The text follows when it is ready, and the delimiter with it.
        output->cancelTrigger = true;
        if (!send(output).has_value())
            return std::nullopt;
        if (delimiterStays && snippetTrigger == SnippetTrigger::Typed)
            content->setSuffix(macInputService_.lastKeyString());
        if (hasFields)
            mainRunLoop_.post({this, "showFieldsEditor"},
                              [this, content] { showFieldsEditor(content); });
        else
            startScripts(content);
        return true;
    }
    const auto sent = deliver(*expansion, snippetTrigger, output);
    if (!sent.has_value())
        return std::nullopt;
    if (!isScript(expansion->contentType))
        rememberUndo(*sent, output, expansion->expandTrigger, abbreviation);
    return sent->cancelTrigger;
}

bool AutoText::sendSnippetDirectly(const std::shared_ptr<Snippet>& snippet) {
    return sendSnippet(snippet, std::nullopt, SnippetTrigger::Direct);
}

void AutoText::sendSnippet(const std::shared_ptr<Snippet>& snippet,
                           const std::shared_ptr<SnippetExpandedContent>& content,
                           std::int32_t snippetTrigger, std::shared_ptr<DROutput> output) {
    const Expansion expansion = [&] {
        const auto groupsLock = lockGroups();
        return Expansion{snippet, content, snippet->contentType(), expandTriggerOf(*snippet), 0};
    }();
    deliver(expansion, snippetTrigger, std::move(output));
}

void AutoText::noteLastUsed(const std::shared_ptr<Snippet>& snippet) {
    const std::lock_guard lock(mutex_);
    lastUsedSnippet_ = snippet;
}

// Without an output, makes one where there is something to send.
std::optional<AutoText::Sent> AutoText::deliver(const Expansion& expansion,
                                                std::int32_t snippetTrigger,
                                                std::shared_ptr<DROutput> output) {
    noteLastUsed(expansion.snippet);
    const auto& content = expansion.content;
    const bool isText = expansion.contentType == SnippetContentType::PlainText ||
                        expansion.contentType == SnippetContentType::RichText;
    if (isScript(expansion.contentType))
        return deliverScript(expansion, output);
    if (!isText) {
        if (output != nullptr)
            output->finished = true;
        return std::nullopt;
    }
    if (output == nullptr) {
        output = createOutput();
        output->trigger = snippetTrigger;
    }
    output->snippetExpandedContent = content;
    const bool hasVariables = !content->variables().empty();
    auto sent = send(output);
    if (!sent.has_value())
        return std::nullopt;
    playFeedback();
    // What was just sent can serve as the start of a further abbreviation.
    if (!hasVariables)
        setLetters(sent->text);
    return sent;
}

// The abbreviation goes at once, the result follows when it is there. The delimiter that stays
// travels behind it.
std::optional<AutoText::Sent> AutoText::deliverScript(const Expansion& expansion,
                                                      const std::shared_ptr<DROutput>& output) {
    Sent sent{String(), true};
    std::optional<String> suffix = expansion.content->suffix();
    if (output != nullptr) {
        const bool delimiterStays = expansion.expandTrigger == ExpandTrigger::AtDelimiter;
        if (delimiterStays)
            output->cancelTrigger = true;
        // A digit that chose a row is no delimiter.
        if (delimiterStays && output->trigger == SnippetTrigger::Typed)
            suffix = macInputService_.lastKeyString();
        const auto erased = send(output);
        if (!erased.has_value())
            return std::nullopt;
        sent = *erased;
    }
    startScript(expansion.content->string(),
                expansion.contentType == SnippetContentType::AppleScript, std::move(suffix));
    return sent;
}

// On the tap thread the job has been prepared when this returns, a suffix and a raised
// cancelTrigger included. Elsewhere it may be under way by then and is not read again.
std::optional<AutoText::Sent> AutoText::send(const std::shared_ptr<DROutput>& output) {
    const auto content = output->snippetExpandedContent;
    const auto present = [&] {
        return Sent{content != nullptr ? content->string() : String(), output->cancelTrigger};
    };
    if (onTapThread()) {
        macInputService_.sendOutput(output);
        if (output->rejected)
            return std::nullopt;
        return present();
    }
    Sent sent = present();
    macInputService_.sendOutput(output);
    return sent;
}

void AutoText::playFeedback() {
    if (!playFeedbackSound_)
        return;
    const std::shared_ptr<FeedbackSound> sound = [&] {
        const std::lock_guard lock(mutex_);
        return feedbackSound_;
    }();
    if (sound != nullptr)
        sound->play();
}

void AutoText::rememberUndo(const Sent& sent, std::shared_ptr<const DROutput> output,
                            std::int32_t expandTrigger, const std::optional<String>& abbreviation) {
    UndoInformation info;
    info.output = std::move(output);
    // The delimiter follows the expansion into the text.
    info.backspaceCount = sent.text.size() + (sent.cancelTrigger ? 0 : 1);
    info.text = abbreviation;
    info.textWithTrigger = abbreviation;
    if (abbreviation.has_value() && !abbreviation->empty()) {
        if (expandTrigger == ExpandTrigger::Immediately)
            info.text->pop_back();
        else if (onTapThread())
            info.textWithTrigger->append(macInputService_.lastKeyString().value_or(String()));
    }
    const std::lock_guard lock(mutex_);
    undoInfo_ = std::move(info);
}

bool AutoText::undo(bool withTrigger) {
    noteTapThread();
    std::optional<UndoInformation> info;
    {
        const std::lock_guard lock(mutex_);
        info.swap(undoInfo_);
    }
    if (!info.has_value() || info->output->rejected)
        return false;
    String text = (withTrigger ? info->textWithTrigger : info->text).value_or(String());
    auto content = std::make_shared<SnippetExpandedContent>();
    content->setContent(text);
    const auto output = createOutput();
    output->trigger = SnippetTrigger::HotKey;
    output->backspaceCount = info->backspaceCount;
    output->snippetExpandedContent = std::move(content);
    macInputService_.sendOutput(output);
    if (output->rejected)
        return false;
    playFeedback();
    setLetters(std::move(text));
    return true;
}

void AutoText::performAtTarget(const std::optional<String>& bundleIdentifier,
                               std::string_view operation, std::function<void()> call) {
    if (bundleIdentifier != CitrixIdentifier) {
        call();
        return;
    }
    macInputService_.setFrontProcess(macInputService_.lastProcessReceivedKeyEvent());
    mainRunLoop_.callAfter(CitrixDelay, {this, operation}, std::move(call));
}

} // namespace dresk
