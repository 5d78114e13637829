#pragma once

#include "input/ServiceFixture.h"

namespace dresk {

using Variables = std::vector<std::shared_ptr<SnippetVariable>>;

/// What a test says of a job.
struct Job {
    String text;
    std::uint64_t backspaceCount = 0;
    Variables variables = {};
    std::int32_t expandTrigger = ExpandTrigger::AtDelimiter;
    std::int32_t trigger = SnippetTrigger::Typed;
    bool cancelTrigger = false;
    bool rich = false;
    bool resetFormatting = false;
    std::optional<String> suffix = std::nullopt;
};

inline std::shared_ptr<SnippetVariable> key(std::uint64_t location, std::uint16_t code,
                                            std::uint64_t count, double delay = 0,
                                            std::uint64_t modifiers = 0) {
    auto result = std::make_shared<SnippetKeyVariable>();
    result->setLocation(location);
    result->setKeyCode(code);
    result->setCount(count);
    result->setDelay(delay);
    result->setModifiers(modifiers);
    return result;
}

inline std::shared_ptr<SnippetVariable> caret(std::uint64_t location) {
    auto result = std::make_shared<SnippetContentCaret>();
    result->setLocation(location);
    return result;
}

/// A service with jobs to send, and a snippet in a group that they belong to.
class Sending : public ServiceTest {
  protected:
    Sending() { enable(); }

    std::shared_ptr<DROutput> make(const Job& job) {
        group.setExpandTrigger(job.expandTrigger);
        group.setResetFormatting(job.resetFormatting);
        auto content = std::make_shared<SnippetExpandedContent>();
        if (job.rich)
            content->setContent(AttributedString(job.text));
        else
            content->setContent(job.text);
        content->setVariables(job.variables);
        content->setSuffix(job.suffix);
        content->setOriginalSnippet(snippet);
        auto output = std::make_shared<DROutput>();
        output->trigger = job.trigger;
        output->cancelTrigger = job.cancelTrigger;
        output->backspaceCount = job.backspaceCount;
        output->snippetExpandedContent = std::move(content);
        return output;
    }
    /// Sends the job out of the handler of the next key down, which answers as the job says.
    std::shared_ptr<DROutput> sendAtNextKey(const Job& job) {
        atNextKey = make(job);
        observer.keyDown = [this](const ZPKeyEventArgs&) {
            const auto output = std::exchange(atNextKey, nullptr);
            if (output == nullptr)
                return false;
            service.sendOutput(output);
            return output->cancelTrigger;
        };
        return atNextKey;
    }
    void sendNow(const std::shared_ptr<DROutput>& output) {
        desktop.performOnTapThread([&] { service.sendOutput(output); });
    }
    void fill(StringView text) {
        ScriptedTextField field;
        field.setText(text);
        desktop.processes().setTextField(desktop.editor(), field);
    }

    std::shared_ptr<DROutput> atNextKey;
    SnippetGroup group;
    std::shared_ptr<Snippet> snippet = [this] {
        auto result = std::make_shared<Snippet>();
        group.addItem(result);
        return result;
    }();
};

} // namespace dresk
