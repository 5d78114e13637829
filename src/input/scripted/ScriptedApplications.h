#pragma once

#include <map>
#include <mutex>

#include "input/scripted/ScriptedPasteboard.h"
#include "input/scripted/ScriptedTextField.h"

namespace dresk {

/// The applications of a desktop in memory, each with one text field, and what accessibility tells
/// of the one in front. The program itself is process 1. Any thread.
class ScriptedApplications final : public Processes, public Accessibility {
  public:
    /// `pasteboard` outlives it; null for applications that paste nothing.
    explicit ScriptedApplications(ScriptedPasteboard* pasteboard = nullptr);

    // RunningApplications
    std::optional<String> bundleIdentifier(ProcessSerialNumber process) override;
    std::optional<String> localizedName(ProcessSerialNumber process) override;
    // Processes
    ProcessSerialNumber currentProcess() override { return {0, 1}; }
    ProcessSerialNumber frontProcess() override;
    /// Nothing for a process that does not run.
    void setFrontProcess(ProcessSerialNumber process) override;
    // Accessibility
    /// Null for a process that does not run. Its focused element is the text field, unless
    /// setFocusedElement gave another.
    AXElement applicationElement(ProcessSerialNumber process) override;
    void setFocusedElement(ProcessSerialNumber process, AXElement element);

    /// Starts an application, behind the others.
    ProcessSerialNumber launch(std::optional<String> identifier, String name);
    /// Ends it; when it was in front, nothing is.
    void terminate(ProcessSerialNumber process);

    /// A copy of the field of the application; an empty one when it does not run.
    ScriptedTextField textField(ProcessSerialNumber process) const;
    /// What has reached the application, an eventText each.
    std::vector<std::string> received(ProcessSerialNumber process) const;
    void setTextField(ProcessSerialNumber process, const ScriptedTextField& field);
    /// Gives the event to the application in front. `typed` is what a key press types. One that
    /// `pastes` has the application paste.
    void receive(const DesktopEvent& event, StringView typed, bool pastes);
    /// Whether the application pastes at once when told to, as all do at first, or leaves it to
    /// `paste`.
    void setPastesAtOnce(ProcessSerialNumber process, bool atOnce);
    /// The application puts what is on the pasteboard into its field, as plain text.
    void paste(ProcessSerialNumber process);

  private:
    struct Application {
        std::optional<String> identifier;
        String name;
        ScriptedTextField field;
        std::vector<std::string> received;
        AXElement focusedElement;
        bool pastesAtOnce = true;
    };
    Application* find(ProcessSerialNumber process);
    const Application* find(ProcessSerialNumber process) const;

    std::optional<String> textToPaste();

    ScriptedPasteboard* pasteboard_;
    mutable std::mutex mutex_;
    std::map<std::uint32_t, Application> applications_;
    ProcessSerialNumber front_;
    std::uint32_t nextProcess_ = 1;
};

} // namespace dresk
