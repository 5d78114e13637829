#include "support/ScriptedInputService.h"

#include <algorithm>

namespace dresk {

bool ScriptedInputService::press(const ScriptedKey& key) {
    ZPKeyEventArgs args;
    args.key = key.key;
    args.s = key.s;
    args.c = key.s.has_value() && !key.s->empty() ? key.s->front() : u'\0';
    keyModifier_ = key.modifiers;
    lastKeyString_ = key.s;
    tapLoop.perform([&] { keyDownEvent_.raise(&args); });
    if (!args.cancel)
        passed.append(key.s.value_or(String()));
    return args.cancel;
}

void ScriptedInputService::type(StringView text) {
    for (const char16_t unit : text) {
        const std::uint16_t key = unit == u'\r'       ? 36
                                  : unit == u'\u0003' ? 76
                                  : unit == u' '      ? 49
                                                      : 0;
        press({String(1, unit), key});
    }
}

bool ScriptedInputService::pressChord(std::int32_t modifiers, std::uint16_t key, char16_t c) {
    ZPUnregisteredHotKeyPressedEventArgs args(GeneralHotKey(modifiers, key));
    args.key = key;
    args.c = c;
    keyModifier_ = modifiers;
    tapLoop.perform([&] {
        unregisteredHotKeyPressedEvent_.raise(&args);
        if (!args.cancel)
            inputContextChangedEvent_.raise(nullptr);
    });
    return args.cancel;
}

void ScriptedInputService::clickAt(double x, double y) {
    mouse_ = {x, y};
    lastKeyString_.reset();
    tapLoop.perform([&] { mouseDownEvent_.raise(nullptr); });
}

void ScriptedInputService::switchTo(std::uint32_t process) {
    process_ = {0, process};
    tapLoop.perform([&] { inputContextChangedEvent_.raise(nullptr); });
}

void ScriptedInputService::sendOutput(const std::shared_ptr<DROutput>& output) {
    if (tapLoop.isCurrent())
        carryOut(*output);
    else
        tapLoop.post({this, "sendOutput"}, [this, output] { carryOut(*output); });
    jobs.push_back(output);
}

void ScriptedInputService::carryOut(DROutput& output) {
    const auto& content = output.snippetExpandedContent;
    if (rejectJobs) {
        output.cancelTrigger = false;
        output.rejected = true;
        output.finished = true;
        return;
    }
    if (!output.cancelTrigger && content != nullptr && content->length() > longestDirectText) {
        output.cancelTrigger = true;
        if (output.trigger == SnippetTrigger::Typed)
            content->setSuffix(lastKeyString_);
    }
    if (output.cancelTrigger && content != nullptr && content->hasCaret() &&
        output.trigger == SnippetTrigger::Typed)
        content->setSuffix(lastKeyString_);
    if (content != nullptr)
        content->applySuffix();
    output.finished = finishJobs;
}

std::vector<std::string> ScriptedInputService::takeJobs() {
    std::vector<std::string> lines;
    for (const auto& job : jobs) {
        std::string line = "erase " + std::to_string(job->backspaceCount);
        if (job->snippetExpandedContent != nullptr)
            line += ", put \"" + toUTF8(job->snippetExpandedContent->string()) + "\"";
        lines.push_back(line + (job->cancelTrigger ? ", swallow" : ", pass"));
    }
    jobs.clear();
    return lines;
}

std::optional<String> ScriptedInputService::getTextBeforeCaretWithMaxLength(std::int64_t length) {
    if (!textBeforeCaret.has_value())
        return std::nullopt;
    const std::size_t count = std::min(static_cast<std::size_t>(length), textBeforeCaret->size());
    return textBeforeCaret->substr(textBeforeCaret->size() - count);
}

std::optional<String> ScriptedInputService::stringForKeyCode(std::int64_t keyCode,
                                                             std::uint64_t /*flags*/) {
    const auto found = plainKeys.find(keyCode);
    return found != plainKeys.end() ? std::optional(found->second) : std::nullopt;
}

} // namespace dresk
