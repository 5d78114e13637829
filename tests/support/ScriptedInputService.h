#pragma once

#include <map>

#include "Foundation/VirtualRunLoop.h"
#include "seam/SystemInputService.h"

namespace dresk {

/// Processes that a test names.
class ScriptedApplications final : public RunningApplications {
  public:
    std::optional<String> bundleIdentifier(ProcessSerialNumber process) override {
        ++lookups;
        const auto found = identifiers.find(process.low);
        return found != identifiers.end() ? std::optional(found->second) : std::nullopt;
    }
    std::optional<String> localizedName(ProcessSerialNumber /*process*/) override {
        return std::nullopt;
    }

    std::map<std::uint32_t, String> identifiers;
    int lookups = 0;
};

/// A key to press. `key` 0 stands for any key that only types.
struct ScriptedKey {
    std::optional<String> s;
    std::uint16_t key = 0;
    std::int32_t modifiers = 0;
};

/// Takes the platform's place: a test presses keys, and reads the jobs that the engine sent. Two
/// run loops in one virtual time stand for the main and the tap thread.
class ScriptedInputService : public SystemInputService {
  public:
    explicit ScriptedInputService(VirtualTime& time) : mainLoop(time), tapLoop(time) {}

    /// Presses a key on the tap thread; returns whether it was swallowed. What the application
    /// gets is noted in `passed`.
    bool press(const ScriptedKey& key);
    /// Presses the key of each unit. Return and Enter have their key codes.
    void type(StringView text);
    /// A chord with Control or Command; forgets what was typed unless it was claimed.
    bool pressChord(std::int32_t modifiers, std::uint16_t key, char16_t c);
    void clickAt(double x, double y);
    /// Another application comes to the front.
    void switchTo(std::uint32_t process);
    /// One line for each job: what is erased and put in its place, and whether the key was
    /// swallowed; then forgets them.
    std::vector<std::string> takeJobs();

    ZPEvent& keyDownEvent() override { return keyDownEvent_; }
    ZPEvent& keyUpEvent() override { return keyUpEvent_; }
    ZPEvent& mouseDownEvent() override { return mouseDownEvent_; }
    ZPEvent& inputContextChangedEvent() override { return inputContextChangedEvent_; }
    ZPEvent& hotKeysPressed() override { return hotKeysPressed_; }
    void enableEvents() override {}
    void disableEvents() override {}
    ZPEvent& unregisteredHotKeyPressedEvent() override { return unregisteredHotKeyPressedEvent_; }
    ZPEvent& secureInputChangedEvent() override { return secureInputChangedEvent_; }
    bool isSameProcess() const override { return sameProcess; }
    std::int32_t keyModifier() const override { return keyModifier_; }
    std::optional<String> lastKeyString() const override { return lastKeyString_; }
    ProcessSerialNumber lastProcessReceivedKeyEvent() const override { return process_; }
    void setFrontProcess(ProcessSerialNumber process) override {
        frontProcesses.push_back(process);
    }
    std::optional<String> getTextBeforeCaretWithMaxLength(std::int64_t length) override;
    void refreshContextInputSetting() override {}
    std::shared_ptr<ContextInputSetting> contextInputSetting() const override {
        return contextInputSetting_;
    }
    std::optional<String> contextBundleIdentifier() const override { return bundleIdentifier; }
    void sendOutput(const std::shared_ptr<DROutput>& output) override;
    std::optional<String> stringForKeyCode(std::int64_t keyCode, std::uint64_t flags) override;
    std::optional<String> inputSourceIdentifier() const override { return inputSource; }
    ZPEvent& inputSourceChangedEvent() override { return inputSourceChangedEvent_; }
    Point mouseLocation() const override { return mouse_; }

    VirtualRunLoop mainLoop;
    VirtualRunLoop tapLoop;
    /// The text that reached the application as plain keys.
    String passed;
    bool sameProcess = false;
    /// What accessibility tells of the text before the caret; null when nothing.
    std::optional<String> textBeforeCaret;
    std::vector<ProcessSerialNumber> frontProcesses;
    std::optional<String> bundleIdentifier;
    std::optional<String> inputSource;
    /// What keys type without modifiers.
    std::map<std::int64_t, String> plainKeys;
    /// A job whose content is longer cannot go out before the key that caused it: that key is
    /// swallowed, and a typed delimiter travels as the content's suffix.
    std::size_t longestDirectText = 400;
    /// Whether jobs are rejected, as when the layout lacks a character of theirs.
    bool rejectJobs = false;
    /// Whether jobs finish as they are sent.
    bool finishJobs = true;
    std::vector<std::shared_ptr<DROutput>> jobs;

  private:
    void carryOut(DROutput& output);

    ZPEvent keyDownEvent_{&mainLoop};
    ZPEvent keyUpEvent_{&mainLoop};
    ZPEvent mouseDownEvent_{&mainLoop};
    ZPEvent inputContextChangedEvent_{&mainLoop};
    ZPEvent hotKeysPressed_{&mainLoop};
    ZPEvent unregisteredHotKeyPressedEvent_{&mainLoop};
    ZPEvent secureInputChangedEvent_{&mainLoop};
    ZPEvent inputSourceChangedEvent_{&mainLoop};
    std::shared_ptr<ContextInputSetting> contextInputSetting_ =
        std::make_shared<ContextInputSetting>();
    std::int32_t keyModifier_ = 0;
    std::optional<String> lastKeyString_;
    ProcessSerialNumber process_{0, 1};
    Point mouse_;
};

} // namespace dresk
