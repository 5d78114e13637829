#include <algorithm>

#include "Foundation/KeyCode.h"
#include "input/MacInputService.h"

namespace dresk {

namespace {

constexpr StringView X11Identifier = u"org.macosforge.xquartz.X11";

// Seconds.
constexpr double LeastPastingDelay = 0.005;
constexpr double VMHelperDelay = 0.2;
constexpr double VMHelperPause = 0.4;

/// A key and the EventFlag modifiers that it is pressed with.
struct Chord {
    std::uint16_t keyCode;
    std::uint64_t flags;
};

std::uint64_t shortcutFlags(bool useControlKey) {
    return useControlKey ? EventFlag::Control : EventFlag::Command;
}

Chord pasteChord(const ContextInputSetting& setting, std::uint16_t keyCodeV) {
    switch (setting.pasteChord) {
    case PasteChord::ControlShift:
        return {keyCodeV, EventFlag::Control | EventFlag::Shift};
    case PasteChord::Insert:
    case PasteChord::SelectionInsert:
        return {KeyCode::Insert, EventFlag::Shift};
    case PasteChord::Shortcut:
        break;
    }
    return {keyCodeV, shortcutFlags(setting.useControlKey)};
}

std::optional<Chord> copyChord(const ContextInputSetting& setting, std::uint16_t keyCodeC) {
    switch (setting.pasteChord) {
    case PasteChord::ControlShift:
        return Chord{keyCodeC, EventFlag::Control | EventFlag::Shift};
    case PasteChord::Insert:
        return Chord{KeyCode::Insert, EventFlag::Control};
    case PasteChord::SelectionInsert:
        return std::nullopt;
    case PasteChord::Shortcut:
        break;
    }
    return Chord{keyCodeC, shortcutFlags(setting.bundleIdentifier == X11Identifier)};
}

} // namespace

double MacInputService::paste(const OutputFragment& content,
                              const std::shared_ptr<ContextInputSetting>& contextInputSetting) {
    const ContextInputSetting& setting = *contextInputSetting;
    clipboardDataProvider_.setPrimaryToo(setting.pasteChord == PasteChord::SelectionInsert);
    if (const auto* plain = std::get_if<String>(&content)) {
        clipboardDataProvider_.setString(*plain);
    } else if (const auto* rich = std::get_if<AttributedString>(&content)) {
        clipboardDataProvider_.setIncludeHTMLData(setting.includeHTMLData);
        clipboardDataProvider_.setExcludeParagraphTag(setting.excludeParagraphTag);
        clipboardDataProvider_.setHTMLForPictures(setting.htmlForPictures);
        clipboardDataProvider_.setAttributedString(*rich);
    }
    if (this->contextInputSetting()->useVMHelper || setting.reactivate) {
        callLater(VMHelperDelay, "showVMHelperDelayed",
                  [this, contextInputSetting] { showVMHelperDelayed(contextInputSetting); });
        return VMHelperPause;
    }
    if (setting.delayPasting) {
        const double delay = std::max(setting.pastingDelay, LeastPastingDelay);
        sendPasteCommandDelayed(delay);
        return delay + setting.afterPastingDelay;
    }
    sendPasteCommand();
    return setting.afterPastingDelay;
}

void MacInputService::sendPasteCommandDelayed(double seconds) {
    pasted_ = true;
    pasting_ = true;
    callLater(seconds, "sendPasteCommand", [this] { sendPasteCommand(); });
}

void MacInputService::sendPasteCommand() {
    const auto setting = contextInputSetting();
    const Chord chord = pasteChord(*setting, keyCodeV_);
    beginSending();
    pasted_ = true;
    if (desktop_.eventTaps().keyState(chord.keyCode))
        sendKeyKeyDown(chord.keyCode, false);
    if (setting->alternativePasting) {
        sendAlternativePasteCommand(*setting, chord.flags);
    } else {
        sendEvent({EventType::KeyDown, chord.keyCode, chord.flags, {}});
        DesktopEvent keyUp{EventType::KeyUp, chord.keyCode, 0, {}};
        keyUp.awaited = clipboardDataProvider_.providedData();
        keyUp.pauseBehindAwaited = setting->afterPastingDelay;
        sendEvent(keyUp);
    }
    pasting_ = false;
    endSending();
}

// For applications that look at the modifier keys themselves.
void MacInputService::sendAlternativePasteCommand(const ContextInputSetting& setting,
                                                  std::uint64_t flags) {
    if (desktop_.eventTaps().keyState(KeyCode::Shift))
        sendKeyKeyDown(KeyCode::Shift, false);
    const std::uint16_t modifierKey = setting.useControlKey ? KeyCode::Control : KeyCode::Command;
    const std::uint16_t keyCodeV = keyCodeV_;
    sendKeyKeyDown(modifierKey, true);
    sendKey(keyCodeV, setting.doNotSetModifier ? 0 : flags);
    sendKeyKeyDown(modifierKey, false);
}

void MacInputService::sendCopyCommand() {
    beginSending();
    const auto chord = copyChord(
        customApplicationSettings_.settingForIdentifier(
            bundleIdentifierResolver_.getBundleIdentifier(desktop_.processes().frontProcess())),
        keyCodeC_);
    if (chord.has_value()) {
        sendEvent({EventType::KeyDown, chord->keyCode, chord->flags, {}});
        sendEvent({EventType::KeyUp, chord->keyCode, 0, {}});
    }
    endSending();
}

} // namespace dresk
