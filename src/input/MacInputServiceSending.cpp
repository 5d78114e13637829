#include <algorithm>
#include <shared_mutex>
#include <utility>

#include "Foundation/KeyCode.h"
#include "Foundation/Log.h"
#include "input/AXUtils.h"
#include "input/MacInputService.h"
#include "store/SnippetGroup.h"

namespace dresk {

namespace {

constexpr std::uint64_t EventsPerBatch = 20;
/// Seconds between batches.
constexpr double BatchPause = 0.04;

bool isKey(const OutputFragment& fragment) {
    return std::holds_alternative<std::shared_ptr<SnippetKeyVariable>>(fragment);
}

bool isPasted(const OutputFragment& fragment, const ContextInputSetting& setting) {
    return std::holds_alternative<AttributedString>(fragment) ||
           (std::holds_alternative<String>(fragment) && setting.useClipboard);
}

bool applySuffix(SnippetExpandedContent* content) {
    if (content == nullptr || !content->hasSuffix())
        return false;
    content->applySuffix();
    return true;
}

struct DelimiterRule {
    /// The delimiter that was typed is to stay in the text. Only a job with content does.
    bool keepsDelimiter = false;
    bool resetFormatting = false;
};

DelimiterRule delimiterRule(const DROutput& output, const SnippetGroupList* list) {
    if (output.snippetExpandedContent == nullptr)
        return {};
    const auto& snippet = output.snippetExpandedContent->originalSnippet();
    if (snippet == nullptr)
        return {};
    std::shared_lock<std::shared_mutex> lock;
    if (list != nullptr)
        lock = std::shared_lock(list->lock);
    const SnippetGroup* group = snippet->parentGroup();
    if (group == nullptr)
        return {};
    return {group->expandTrigger() == ExpandTrigger::AtDelimiter &&
                output.trigger == SnippetTrigger::Typed,
            group->resetFormatting()};
}

} // namespace

void MacInputService::sendOutput(const std::shared_ptr<DROutput>& output) {
    bool isTapThread = false;
    {
        const std::lock_guard lock(mutex_);
        isTapThread = tapRunLoop_ != nullptr && tapRunLoop_->isCurrent();
    }
    if (isTapThread)
        sendOutputInternal(output);
    else
        callLater(0, output, &MacInputService::sendOutputInternal);
}

// Of a waiting job the service keeps a reference until its step runs or events are disabled.
void MacInputService::callLater(double seconds, const std::shared_ptr<DROutput>& output,
                                void (MacInputService::*step)(const std::shared_ptr<DROutput>&)) {
    const std::lock_guard lock(mutex_);
    if (tapRunLoop_ == nullptr) {
        output->finished = true;
        return;
    }
    waitingOutputs_.push_back(output);
    tapRunLoop_->callAfter(seconds, {this, "sendOutput"}, [this, output, step] {
        {
            const std::lock_guard waitingLock(mutex_);
            std::erase(waitingOutputs_, output);
        }
        (this->*step)(output);
    });
}

void MacInputService::callLater(double seconds, std::string_view operation, RunLoop::Call call) {
    const std::lock_guard lock(mutex_);
    if (tapRunLoop_ != nullptr)
        tapRunLoop_->callAfter(seconds, {this, operation}, std::move(call));
}

void MacInputService::sendOutputInternal(const std::shared_ptr<DROutput>& output) {
    prepareSending(output->snippetExpandedContent.get());
    output->contextInputSetting = contextInputSetting();
    if (!settleDelivery(*output)) {
        logLine("An expansion cannot be typed here, and nothing can be pasted; nothing was sent");
        output->cancelTrigger = false;
        output->rejected = true;
        output->finished = true;
        return;
    }
    const ContextInputSetting& setting = *output->contextInputSetting;
    clipboardDataProvider_.cancelRestore();
    if (restoresClipboard(setting))
        clipboardDataProvider_.backup();
    settleTriggerAndFragments(*output);
    if (setting.deleteAfterActivateVM)
        backspaceCount_ = std::exchange(output->backspaceCount, 0);
    sendOutputInBatches(output);
}

// Text that cannot be typed is pasted. False when it cannot be pasted, either.
bool MacInputService::settleDelivery(DROutput& output) {
    const SnippetExpandedContent* content = output.snippetExpandedContent.get();
    const bool canPaste = desktop_.pasteboard().isAvailable();
    if (content == nullptr || (canPaste && output.contextInputSetting->useClipboard))
        return true;
    String text = content->string();
    if (content->hasSuffix())
        text += *content->suffix();
    else if (delimiterRule(output, snippetGroupList_).keepsDelimiter)
        text += lastKeyString_.value_or(String());
    const bool canType =
        !content->isRichText() && (text.empty() || desktop_.eventTaps().prepareToType(text));
    if (output.contextInputSetting->useClipboard == canType) {
        // A record of the job's own: the next job may be another matter.
        auto setting = std::make_shared<ContextInputSetting>(*output.contextInputSetting);
        setting->useClipboard = !canType;
        output.contextInputSetting = std::move(setting);
    }
    return canType || canPaste;
}

bool MacInputService::restoresClipboard(const ContextInputSetting& setting) const {
    return restoreClipboard_ && !setting.doNotRestoreClipboard;
}

// Decides whether the key that caused the job is swallowed, and fixes what is sent.
void MacInputService::settleTriggerAndFragments(DROutput& output) {
    const ContextInputSetting& setting = *output.contextInputSetting;
    SnippetExpandedContent* content = output.snippetExpandedContent.get();
    if (!output.cancelTrigger) {
        const bool waitsForPaste =
            setting.useClipboard && (setting.delayPasting || setting.afterPastingDelay > 0);
        output.cancelTrigger = waitsForPaste || (content != nullptr && content->hasDelayedKey());
    }
    const DelimiterRule rule = delimiterRule(output, snippetGroupList_);
    if (tailAppendEventTap_) {
        if (rule.keepsDelimiter && !content->hasSuffix())
            content->setSuffix(lastKeyString_);
        applySuffix(content);
        refreshFragmentsForOuput(output, setting);
        return;
    }
    // A line end or a tab passes as a real key instead of becoming part of the rich text.
    const bool canBeText = lastKeyCode_ != KeyCode::Return && lastKeyCode_ != KeyCode::Tab &&
                           lastKeyCode_ != KeyCode::Enter &&
                           lastKeyCode_ != static_cast<std::int64_t>(NotFound);
    if (rule.keepsDelimiter && rule.resetFormatting && !content->hasSuffix() &&
        content->isRichText() && canBeText) {
        content->setSuffix(lastKeyString_);
        output.cancelTrigger = true;
    }
    bool suffixApplied = false;
    if (!output.cancelTrigger) {
        suffixApplied = applySuffix(content);
        refreshFragmentsForOuput(output, setting);
        output.cancelTrigger = eventCountForOutput(output) > EventsPerBatch;
        if (!output.cancelTrigger)
            return;
    }
    if (rule.keepsDelimiter && !content->hasSuffix())
        content->setSuffix(lastKeyString_);
    if (!suffixApplied)
        applySuffix(content);
    refreshFragmentsForOuput(output, setting);
}

void MacInputService::sendOutputInBatches(const std::shared_ptr<DROutput>& output) {
    const auto again = [&](double seconds) {
        callLater(seconds, output, &MacInputService::sendOutputInBatches);
    };
    std::uint64_t budget = EventsPerBatch;
    if (output->backspaceCount != 0) {
        const std::uint64_t count = std::min(output->backspaceCount, budget);
        output->backspaceCount -= count;
        sendBackspaces(count);
        if (output->backspaceCount != 0) {
            again(BatchPause);
            return;
        }
        budget -= count;
        if (budget == 0) {
            // Meant: when the backspaces end on a full batch, nothing follows them.
            finishOutput(*output);
            return;
        }
    }
    if (const auto pause = sendFragments(*output, budget)) {
        again(*pause);
        return;
    }
    if (output->leftArrowCount != 0) {
        const std::uint64_t count = std::min(output->leftArrowCount, budget);
        output->leftArrowCount -= count;
        sendLeftArrowKeys(count);
        if (output->leftArrowCount != 0) {
            again(BatchPause);
            return;
        }
    }
    finishOutput(*output);
}

// The restore that an earlier job is owed was called off when this job began.
void MacInputService::finishOutput(DROutput& output) {
    const ContextInputSetting& setting = *output.contextInputSetting;
    if (restoresClipboard(setting) &&
        (setting.useClipboard || clipboardDataProvider_.isRestoreOwed()))
        clipboardDataProvider_.restoreAfterDelay();
    output.finished = true;
}

// Sends from the front as far as the budget goes. Seconds to the next batch, or nothing when all
// fragments have gone out within this one.
std::optional<double> MacInputService::sendFragments(DROutput& output, std::uint64_t& budget) {
    OutputFragments& fragments = output.fragments;
    const std::shared_ptr<ContextInputSetting> setting = output.contextInputSetting;
    std::size_t sent = 0;
    std::optional<double> pause;
    while (!pause.has_value() && sent < fragments.size()) {
        std::uint64_t used = 1;
        double wait = 0;
        if (!isKey(fragments[sent])) {
            wait = sendText(fragments[sent], setting);
            ++sent;
        } else {
            SnippetKeyVariable& key =
                *std::get<std::shared_ptr<SnippetKeyVariable>>(fragments[sent]);
            const bool beforePaste =
                sent + 1 < fragments.size() && isPasted(fragments[sent + 1], *setting);
            used = std::min(key.count(), budget);
            key.setCount(key.count() - used);
            if (key.isKeyCodeValid())
                sendKey(key.keyCode(), key.modifiers(), used);
            wait = key.delay() == 0 && beforePaste ? BatchPause : key.delay();
            if (key.count() == 0)
                ++sent;
        }
        if (wait > 0)
            pause = wait;
        else if ((budget -= used) == 0)
            pause = BatchPause;
    }
    fragments.erase(fragments.begin(), fragments.begin() + static_cast<std::ptrdiff_t>(sent));
    return pause;
}

// Delivers one text. Seconds that the job must wait behind it.
double MacInputService::sendText(const OutputFragment& text,
                                 const std::shared_ptr<ContextInputSetting>& setting) {
    if (isPasted(text, *setting))
        return paste(text, setting);
    sendPlainText(std::get<String>(text));
    return 0;
}

void MacInputService::sendPlainText(StringView text) {
    beginSending();
    for (OutputFragment& piece : fragmentsForPlainText(text, *contextInputSetting())) {
        // Without flags: a modifier that is still held must not turn the text into a command.
        DesktopEvent event;
        event.unicodeString = std::move(std::get<String>(piece));
        sendEvent(event);
        event.type = EventType::KeyUp;
        sendEvent(event);
    }
    endSending();
}

void MacInputService::sendKey(std::uint16_t keyCode, std::uint64_t modifiers) {
    sendEvent({EventType::KeyDown, keyCode, modifiers, {}});
    sendEvent({EventType::KeyUp, keyCode, modifiers, {}});
}

void MacInputService::sendKey(std::uint16_t keyCode, std::uint64_t modifiers, std::uint64_t count) {
    for (; count != 0; --count)
        sendKey(keyCode, modifiers);
}

void MacInputService::sendKeyKeyDown(std::uint16_t keyCode, bool keyDown) {
    sendEvent({keyDown ? EventType::KeyDown : EventType::KeyUp, keyCode, 0, {}});
}

void MacInputService::sendBackspaces(std::uint64_t count) {
    if (count == 0)
        return;
    beginSending();
    if (AXUtils(desktop_).getSelectedTextLength() != 0)
        sendKey(KeyCode::ForwardDelete);
    sendKey(KeyCode::Delete, 0, count);
    endSending();
}

void MacInputService::sendLeftArrowKeys(std::uint64_t count) {
    beginSending();
    sendKey(KeyCode::LeftArrow, 0, count);
    endSending();
}

void MacInputService::sendShiftTab() {
    beginSending();
    sendKey(KeyCode::Tab, EventFlag::Shift);
    endSending();
}

void MacInputService::sendEvent(DesktopEvent event) {
    const auto setting = contextInputSetting();
    event.commandsLag = setting->commandsLag;
    if (currentProxy_ != nullptr && !setting->postToSessionEventTap)
        desktop_.eventTaps().postEvent(currentProxy_, event);
    else
        desktop_.eventTaps().postEvent(EventTaps::Location::Session, event);
}

} // namespace dresk
