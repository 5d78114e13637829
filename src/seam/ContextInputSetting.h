#pragma once

#include "Foundation/String.h"

namespace dresk {

/// The keys that make an application paste, and those that make it copy.
enum class PasteChord {
    /// The desktop's shortcuts with V and C.
    Shortcut,
    /// Control-Shift-V and Control-Shift-C, as most terminals have it.
    ControlShift,
    /// Shift-Insert and Control-Insert.
    Insert,
    /// Shift-Insert pastes what is selected; what is selected counts as copied.
    SelectionInsert,
};

/// How to deliver text to one application. A new one is all zero. A copy made with `copy` leaves
/// the identifier out.
struct ContextInputSetting {
    /// Identifier of the target at the last refresh; null when it has none.
    std::optional<String> bundleIdentifier = std::nullopt;

    /// Auto-correction leaves this application alone.
    bool disableCapitalization = false;
    /// Deliver text by pasting.
    bool useClipboard = false;
    /// Paste when the text holds a line feed.
    bool useClipboardIfHasNewLine = false;
    /// Paste when the text is longer than the preference says.
    bool useClipboardIfLong = false;
    bool doNotRestoreClipboard = false;
    /// Post the paste as separate key events with a physical modifier key.
    bool alternativePasting = false;
    /// Paste by way of a helper window, for virtual machines.
    bool useVMHelper = false;
    bool clickAtVMHelper = false;
    bool clickAtVM = false;
    /// Keep the backspaces for after the target has been activated again.
    bool deleteAfterActivateVM = false;
    /// Paste by activating this program and then the target.
    bool reactivate = false;
    /// With alternativePasting, leave the flags of the V key events unset.
    bool doNotSetModifier = false;
    /// Wait `pastingDelay` before the paste command.
    bool delayPasting = false;
    /// Post events at the session location instead of through the tap.
    bool postToSessionEventTap = false;
    /// The paste shortcut is Control-V instead of Command-V; for PasteChord::Shortcut.
    bool useControlKey = false;
    bool includeHTMLData = false;
    bool excludeParagraphTag = false;
    /// Carries out keys that are commands, such as Backspace, the arrows and that to paste, some
    /// time after it has read them, and keys that type text at once.
    bool commandsLag = false;
    /// Rich text with pictures is offered as HTML and not as RTF.
    bool htmlForPictures = false;

    PasteChord pasteChord = PasteChord::Shortcut;
    /// Seconds before the paste command, if delayPasting.
    double pastingDelay = 0;
    /// Seconds after the paste command before the job goes on.
    double afterPastingDelay = 0;
    /// 16-bit units per block when typing; 0 means 20.
    std::uint64_t blockLength = 0;

    ContextInputSetting copy() const {
        ContextInputSetting result = *this;
        result.bundleIdentifier.reset();
        return result;
    }
};

} // namespace dresk
