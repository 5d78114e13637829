// Expansions whose text is not ready at once: forms and scripts.
#include "engine/AutoText.h"
#include "language/ContentRewriter.h"

namespace dresk {

void AutoText::showFieldsEditor(const std::shared_ptr<SnippetExpandedContent>& content) {
    fieldsEditorPresenter_->showFieldsEditor(
        content, [this, engine = std::weak_ptr<bool>(aliveness_), content] {
            if (!engine.expired())
                fieldsEditorAction(content);
        });
    if (!playFeedbackSound_ || sounds_ == nullptr)
        return;
    if (const auto sound = sounds_->soundNamed(u"Pop"))
        sound->play();
}

void AutoText::fieldsEditorAction(const std::shared_ptr<SnippetExpandedContent>& content) {
    performAtTarget(macInputService_.contextBundleIdentifier(), "fieldsEditorDidClose",
                    [this, content] { fieldsEditorDidClose(content); });
}

void AutoText::fieldsEditorDidClose(const std::shared_ptr<SnippetExpandedContent>& content) {
    snippetParser_->mergeFields(*content);
    snippetParser_->processScripts(*content);
    if (content->scripts().empty())
        sendSnippet(content->originalSnippet(), content, SnippetTrigger::Selected, nullptr);
    else
        startScripts(content);
}

void AutoText::startScripts(const std::shared_ptr<SnippetExpandedContent>& content) {
    scripts_.start([this, content](ScriptHost& host) { executeScripts(content, host); });
}

void AutoText::executeScripts(const std::shared_ptr<SnippetExpandedContent>& content,
                              ScriptHost& host) {
    for (const auto& script : content->scripts())
        script->execute(host);
    if (host.isCancelled())
        return;
    ContentRewriter rewriter(content->content());
    for (const auto& script : content->scripts()) {
        rewriter.copyTo(script->location());
        rewriter.insert(script->result().value_or(String()),
                        script->snippetVariable()->attributes());
    }
    content->setContent(rewriter.finish());
    sendSnippet(content->originalSnippet(), content, SnippetTrigger::ScriptResult, nullptr);
}

void AutoText::startScript(String source, bool isAppleScript, std::optional<String> suffix) {
    const auto script = std::make_shared<DRScript>();
    script->setScript(std::move(source));
    script->setIsAppleScript(isAppleScript);
    script->setSuffix(std::move(suffix));
    script->executed().addObserver(this, &AutoText::onScriptExecuted);
    scripts_.start([script](ScriptHost& host) { script->execute(host); });
}

// A script without a result sends nothing: the abbreviation stays erased.
void AutoText::onScriptExecuted(DRScript* script) {
    if (!script->result().has_value() || scripts_.isEnding())
        return;
    auto content = std::make_shared<SnippetExpandedContent>();
    content->setContent(*script->result());
    const auto output = createOutput();
    output->trigger = SnippetTrigger::ScriptResult;
    output->snippetExpandedContent = std::move(content);
    macInputService_.sendOutput(output);
    playFeedback();
}

} // namespace dresk
