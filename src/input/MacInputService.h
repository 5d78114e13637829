#pragma once

#include <mutex>

#include "input/ClipboardDataProvider.h"
#include "input/ContextInputSettings.h"
#include "input/Desktop.h"
#include "input/SRKeyCodeTransformer.h"
#include "input/VMHelperWindow.h"
#include "seam/SystemInputService.h"

namespace dresk {

struct SnippetGroupList;

/// Sees every key and mouse press of the desktop before the application in front does, and types
/// into that application. One instance exists. It is made and destroyed on the main thread; what
/// names no thread below belongs to the tap thread. The sources stand by concern: capture, sending,
/// pasting, fragments, rules, virtual machines; MacInputService.cpp has the life of taps and
/// threads.
class MacInputService final : public SystemInputService {
  public:
    /// All three outlive the service. `mainRunLoop` is the loop of the thread that calls this.
    MacInputService(Desktop& desktop, BundleIdentifierResolver& bundleIdentifierResolver,
                    RunLoop& mainRunLoop);
    /// Disables events first.
    ~MacInputService() override;

    // Events; what each means stands in SystemInputService.h.
    ZPEvent& keyDownEvent() override { return keyDownEvent_; }
    ZPEvent& keyUpEvent() override { return keyUpEvent_; }
    ZPEvent& mouseDownEvent() override { return mouseDownEvent_; }
    ZPEvent& inputContextChangedEvent() override { return inputContextChangedEvent_; }
    ZPEvent& hotKeysPressed() override { return hotKeysPressed_; }
    ZPEvent& unregisteredHotKeyPressedEvent() override { return unregisteredHotKeyPressedEvent_; }
    ZPEvent& secureInputChangedEvent() override { return secureInputChangedEvent_; }
    ZPEvent& inputSourceChangedEvent() override { return inputSourceChangedEvent_; }

    // Start and stop. Main thread.

    /// Starts a tap thread with the taps; nothing while one runs.
    void enableEvents() override;
    /// Ends taps and tap thread, behind the key being handled. Jobs in flight are dropped and
    /// marked finished; their undelivered rest is never typed.
    void disableEvents() override;
    /// Whether the desktop granted the key tap; meaningful once the tap thread has made its taps.
    /// Any thread.
    bool evenTapCreated() const;
    /// Whether the desktop would grant a key tap. On `loop`, which is the loop of a tap thread.
    static bool testFunction(EventTaps& eventTaps, RunLoop& loop);

    // Settings.

    bool listenMouseDownEvents() const { return listenMouseDownEvents_; }
    /// Takes effect at once while events are enabled. Main thread.
    void setListenMouseDownEvents(bool listen);
    /// Takes effect at the next enableEvents. Main thread.
    void setListenAtAnnotatedSession(bool listen) { listenAtAnnotatedSession_ = listen; }
    /// Makes the key tap a mere listener, which can swallow nothing; keys are then reported on the
    /// main thread. Dormant: no preference leads here. While events are disabled.
    void setTailAppendEventTap(bool listenOnly) { tailAppendEventTap_ = listenOnly; }
    /// Where snippets and groups live, or null. Its lock is taken shared for a moment by each job,
    /// so callers of sendOutput do not hold it. While events are disabled.
    void setSnippetGroupList(const SnippetGroupList* list) { snippetGroupList_ = list; }

    // Preferences of sending; they hold from the next job on. Any thread.

    /// Paste instead of typing, where useClipboardIn says.
    void setUseClipboard(bool use) { useClipboard_ = use; }
    /// 0 everywhere, 2 in useClipboardApplications only, any other everywhere except there.
    void setUseClipboardIn(std::int64_t applications) { useClipboardIn_ = applications; }
    /// Identifiers of applications.
    void setUseClipboardApplications(std::vector<String> identifiers);
    /// Paste what is longer than longTextLength.
    void setUseClipboardForLongText(bool use) { useClipboardForLongText_ = use; }
    /// In 16-bit units. Meant: only 8 bits of it are kept, and from 128 to 255 nothing is long.
    void setLongTextLength(std::int64_t length) {
        longTextLength_ = static_cast<std::int8_t>(length);
    }
    /// Give the user's clipboard back after pasting.
    void setRestoreClipboard(bool restore) { restoreClipboard_ = restore; }
    /// For its restoreDelay.
    ClipboardDataProvider& clipboardDataProvider() { return clipboardDataProvider_; }

    // Hot keys.

    /// The owner keeps the hot key alive as long as the service; its later changes take effect at
    /// the next key. Before enableEvents.
    void registerHotKey(const GeneralHotKey* hotKey) { hotKeys_.push_back(hotKey); }
    /// The modifiers now held will not count as a hot key when they are released. Any thread.
    void ignoreNextHotKey() { dontCheckHotKeysOnKeyUp_ = true; }

    // What capture knows.

    bool isSameProcess() const override;
    std::int32_t keyModifier() const override { return keyModifier_; }
    std::optional<String> lastKeyString() const override { return lastKeyString_; }
    ProcessSerialNumber lastProcessReceivedKeyEvent() const override;
    void setFrontProcess(ProcessSerialNumber process) override;
    std::optional<String> getTextBeforeCaretWithMaxLength(std::int64_t length) override;
    /// Last known state of secure keyboard entry. Any thread.
    bool secureInput() const { return secureInput_; }
    /// Name of the application that was in front when secure entry began; null while it is off.
    /// Any thread.
    std::optional<String> lastAppEnabledSecureInput() const;
    std::optional<String> stringForKeyCode(std::int64_t keyCode, std::uint64_t flags) override;
    std::optional<String> inputSourceIdentifier() const override;
    Point mouseLocation() const override;

    // Rules for the application in front. Any thread.

    void refreshContextInputSetting() override;
    std::shared_ptr<ContextInputSetting> contextInputSetting() const override;
    std::optional<String> contextBundleIdentifier() const override;

    // Sending.

    /// A job that cannot be typed as a whole is pasted. Where nothing can be pasted it is
    /// `rejected`, as is one with rich text: nothing of it goes out and its trigger reaches the
    /// application. While events are disabled a job is dropped and marked finished.
    void sendOutput(const std::shared_ptr<DROutput>& output) override;

    /// The text in pieces for one key event each: a tab or a line end at the start of a piece is
    /// one of its own.
    static OutputFragments fragmentsForPlainText(StringView text,
                                                 const ContextInputSetting& contextInputSetting);
    /// The same list with every plain string cut into its pieces.
    static OutputFragments
    fragmentsForOutputFragments(const OutputFragments& fragments,
                                const ContextInputSetting& contextInputSetting);
    /// Brings caret and fragments of the job in line with its content.
    static void refreshFragmentsForOuput(DROutput& output,
                                         const ContextInputSetting& contextInputSetting);
    /// Events the job takes; text that is pasted as attributed counts nothing.
    static std::uint64_t eventCountForOutput(const DROutput& output);

    /// While true, the tap passes everything unseen.
    void beginSending() { sending_ = true; }
    void endSending() { sending_ = false; }
    /// Types the text in blocks. Line ends and tabs go out as text, not as keys.
    void sendPlainText(StringView text);
    /// Presses and releases the key; `modifiers` holds EventFlag bits. None of these sets
    /// `sending`.
    void sendKey(std::uint16_t keyCode) { sendKey(keyCode, 0); }
    void sendKey(std::uint16_t keyCode, std::uint64_t modifiers);
    void sendKey(std::uint16_t keyCode, std::uint64_t modifiers, std::uint64_t count);
    void sendKeyKeyDown(std::uint16_t keyCode, bool keyDown);
    /// Erases; a selection is removed first and does not count.
    void sendBackspaces(std::uint64_t count);
    void sendLeftArrowKeys(std::uint64_t count);
    void sendShiftTab();
    /// Puts text on the clipboard and has it pasted. Seconds to wait before the next step.
    double paste(const OutputFragment& content,
                 const std::shared_ptr<ContextInputSetting>& contextInputSetting);
    /// Presses what makes the application in front paste or copy.
    void sendPasteCommand();
    /// After so many seconds; until then no key is seen.
    void sendPasteCommandDelayed(double seconds);
    void sendCopyCommand();
    /// A paste command has gone out, or is about to, and no event has come in since.
    bool pasted() const { return pasted_; }
    /// Posts through the tap of the last key, or at the session where there is none or the target
    /// asks for it.
    void sendEvent(DesktopEvent event);

    // The route of a paste into a virtual machine. Once begun it goes to its end.

    /// The window that the route shows; null for none. It outlives the service or is taken back by
    /// null. Main thread.
    void setVMHelperWindow(VMHelperWindow* window) { vmHelperWindow_ = window; }
    /// Begins the route: the clipboard is set, and the paste command follows 0.7 seconds later,
    /// 0.9 behind backspaces that were kept back.
    void showVMHelperDelayed(const std::shared_ptr<ContextInputSetting>& setting);
    /// Backspaces kept back until the target has the focus again.
    std::uint64_t backspaceCount() const { return backspaceCount_; }
    void setBackspaceCount(std::uint64_t count) { backspaceCount_ = count; }
    /// Sends the backspaces kept back.
    void sendBackspaces();
    /// Each hands the command to the tap thread and returns at once. Any thread.
    void sendBackspacesDelayed();
    void sendPasteCommandDelayed();
    void sendCopyCommandDelayed();
    /// Clicks where the pointer is. Any thread.
    void sendMouseClick();
    /// Clicks into the lower left of the helper window, wherever the pointer is. Main thread.
    void sendMouseClickToVMHelperWindow();
    /// From a place measured from below to one measured from the top of the screen that holds it;
    /// the zero point for a place on no screen. Any thread.
    static Point carbonScreenPointFromCocoaScreenPoint(Screens& screens, Point point);

    /// Names of keys; follows the keyboard layout. Any thread.
    const SRKeyCodeTransformer& keyCodeTransformer() const { return keyCodeTransformer_; }

  private:
    // Taps and threads.
    void enableEventsInternal(RunLoop& loop);
    std::unique_ptr<EventTap> createKeyTap(RunLoop& loop);
    void enableMouseEventTap(RunLoop& loop);
    void disableMouseEventTap();
    void startCheckingSecureInputTimer();
    void checkSecureInput();
    void setSecureInputState(bool enabled);

    // Capture.
    /// False only when another thread is known to be the tap thread; for assertions.
    bool mayBeTapThread() const;
    bool cgEventCallback(EventTapProxy proxy, const DesktopEvent& event);
    bool cgEventCallbackWithProxy(EventTapProxy proxy, const DesktopEvent& event);
    void enableKeyTapAgain();
    bool handleKey(const DesktopEvent& event);
    void noticeFrontProcess();
    ZPKeyEventArgs keyEventArgs(const DesktopEvent& event);
    bool handleKeyUp(ZPKeyEventArgs& args);
    bool handleKeyDown(ZPKeyEventArgs& args);
    bool raiseUnregisteredHotKey(const ZPKeyEventArgs& args);
    bool raiseKeyDown(ZPKeyEventArgs& args);
    bool handleFlagsChanged(std::int32_t modifiers);
    bool checkHotKeys(std::uint16_t keyCode);

    // Virtual machines.
    void showVMHelper(const std::shared_ptr<ContextInputSetting>& setting);
    void activateAndPasteToVM(const std::shared_ptr<ContextInputSetting>& setting);
    void handToTapThread(std::string_view operation, void (MacInputService::*step)());

    // Sending.
    /// `content` may be null.
    void prepareSending(const SnippetExpandedContent* content);
    void applyAccessibilityRules(ContextInputSetting& setting);
    void applySheetRule(ContextInputSetting& setting);
    bool prefersClipboard(const ContextInputSetting& setting) const;
    bool needsClipboard(const ContextInputSetting& setting, StringView text) const;
    void setContextInputSetting(std::shared_ptr<ContextInputSetting> setting);
    void sendOutputInternal(const std::shared_ptr<DROutput>& output);
    bool settleDelivery(DROutput& output);
    void settleTriggerAndFragments(DROutput& output);
    bool restoresClipboard(const ContextInputSetting& setting) const;
    void finishOutput(DROutput& output);
    void sendOutputInBatches(const std::shared_ptr<DROutput>& output);
    void callLater(double seconds, const std::shared_ptr<DROutput>& output,
                   void (MacInputService::*step)(const std::shared_ptr<DROutput>&));
    /// Runs the call on the tap thread; never when events are disabled by then.
    void callLater(double seconds, std::string_view operation, RunLoop::Call call);
    std::optional<double> sendFragments(DROutput& output, std::uint64_t& budget);
    double sendText(const OutputFragment& text,
                    const std::shared_ptr<ContextInputSetting>& setting);
    void sendAlternativePasteCommand(const ContextInputSetting& setting, std::uint64_t flags);

    Desktop& desktop_;
    BundleIdentifierResolver& bundleIdentifierResolver_;
    RunLoop& mainRunLoop_;
    const ProcessSerialNumber dreskProcess_;
    SRKeyCodeTransformer keyCodeTransformer_;
    /// Keys of the commands to paste and to copy, under the layout in which the service was made.
    const std::uint16_t keyCodeV_;
    const std::uint16_t keyCodeC_;

    ZPEvent keyDownEvent_;
    ZPEvent keyUpEvent_;
    ZPEvent mouseDownEvent_;
    ZPEvent inputContextChangedEvent_;
    ZPEvent hotKeysPressed_;
    ZPEvent unregisteredHotKeyPressedEvent_;
    ZPEvent secureInputChangedEvent_;
    ZPEvent inputSourceChangedEvent_;

    // Any thread.
    std::atomic<bool> eventsEnabled_{false};
    std::atomic<bool> listenMouseDownEvents_{true};
    std::atomic<bool> listenAtAnnotatedSession_{false};
    std::atomic<bool> dontCheckHotKeysOnKeyUp_{false};
    std::atomic<bool> secureInput_{false};
    std::atomic<bool> useClipboard_{false};
    std::atomic<std::int64_t> useClipboardIn_{0};
    std::atomic<bool> useClipboardForLongText_{true};
    std::atomic<std::int8_t> longTextLength_{100};
    std::atomic<bool> restoreClipboard_{true};
    ContextInputSettings customApplicationSettings_;
    /// As processSerialNumberToNumber has it.
    std::atomic<std::int64_t> lastProcessReceivedKeyEvent_{0};

    // Fixed while events are enabled.
    bool tailAppendEventTap_ = false;
    const SnippetGroupList* snippetGroupList_ = nullptr;
    std::vector<const GeneralHotKey*> hotKeys_;

    /// Guards what follows up to the empty line; held for moments only, never around a callback.
    mutable std::mutex mutex_;
    /// Between enableEvents and disableEvents.
    bool wanted_ = false;
    RunLoop* tapRunLoop_ = nullptr;
    /// Shared so that the tap thread can enable it again without holding the lock.
    std::shared_ptr<EventTap> eventTap_;
    std::unique_ptr<EventTap> mouseEventTap_;
    /// Jobs with a call on the tap thread's loop.
    std::vector<std::shared_ptr<DROutput>> waitingOutputs_;
    std::shared_ptr<ContextInputSetting> contextInputSetting_;
    std::optional<String> contextBundleIdentifier_;
    std::optional<String> lastAppEnabledSecureInput_;
    std::vector<String> useClipboardApplications_;

    // Tap thread.
    bool sending_ = false;
    /// A delayed paste command has not gone out yet.
    bool pasting_ = false;
    bool pasted_ = false;
    bool isLastProcessReceivedKeyEventNull_ = true;
    EventTapProxy currentProxy_ = nullptr;
    std::int64_t lastKeyCode_;
    std::optional<String> lastKeyString_;
    std::int32_t keyModifier_ = 0;
    std::int64_t canceledKeyCode_ = NoKeyCode;
    ClipboardDataProvider clipboardDataProvider_;
    /// Backspaces kept until a virtual machine has been activated again.
    std::uint64_t backspaceCount_ = 0;

    // Main thread.
    std::unique_ptr<TapThread> tapThread_;
    VMHelperWindow* vmHelperWindow_ = nullptr;
};

} // namespace dresk
