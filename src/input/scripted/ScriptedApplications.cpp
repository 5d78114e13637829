#include "input/scripted/ScriptedApplications.h"

#include "Foundation/RTF.h"
#include "input/scripted/EventRecord.h"
#include "input/scripted/ScriptedElement.h"

namespace dresk {

ScriptedApplications::ScriptedApplications(ScriptedPasteboard* pasteboard)
    : pasteboard_(pasteboard) {
    launch(u"dresk", u"Dresk");
}

ScriptedApplications::Application* ScriptedApplications::find(ProcessSerialNumber process) {
    const auto found = applications_.find(process.low);
    return process.high == 0 && found != applications_.end() ? &found->second : nullptr;
}

const ScriptedApplications::Application*
ScriptedApplications::find(ProcessSerialNumber process) const {
    return const_cast<ScriptedApplications*>(this)->find(process);
}

std::optional<String> ScriptedApplications::bundleIdentifier(ProcessSerialNumber process) {
    const std::lock_guard lock(mutex_);
    const Application* application = find(process);
    return application != nullptr ? application->identifier : std::nullopt;
}

std::optional<String> ScriptedApplications::localizedName(ProcessSerialNumber process) {
    const std::lock_guard lock(mutex_);
    const Application* application = find(process);
    return application != nullptr ? std::optional(application->name) : std::nullopt;
}

ProcessSerialNumber ScriptedApplications::frontProcess() {
    const std::lock_guard lock(mutex_);
    return front_;
}

void ScriptedApplications::setFrontProcess(ProcessSerialNumber process) {
    const std::lock_guard lock(mutex_);
    if (find(process) != nullptr)
        front_ = process;
}

AXElement ScriptedApplications::applicationElement(ProcessSerialNumber process) {
    const std::lock_guard lock(mutex_);
    const Application* application = find(process);
    if (application == nullptr)
        return nullptr;
    AXElement focused = application->focusedElement;
    if (focused == nullptr) {
        const auto field = std::make_shared<ScriptedElement>();
        field->set(AXAttribute::SelectedTextRange, application->field.selection());
        field->set(AXAttribute::Value, application->field.text());
        focused = field;
    }
    const auto element = std::make_shared<ScriptedElement>();
    element->set(AXAttribute::FocusedUIElement, focused);
    return element;
}

void ScriptedApplications::setFocusedElement(ProcessSerialNumber process, AXElement element) {
    const std::lock_guard lock(mutex_);
    if (Application* application = find(process))
        application->focusedElement = std::move(element);
}

ProcessSerialNumber ScriptedApplications::launch(std::optional<String> identifier, String name) {
    const std::lock_guard lock(mutex_);
    const ProcessSerialNumber process{0, nextProcess_++};
    applications_[process.low] = {std::move(identifier), std::move(name), {}, {}, {}, true};
    return process;
}

void ScriptedApplications::terminate(ProcessSerialNumber process) {
    const std::lock_guard lock(mutex_);
    if (find(process) == nullptr)
        return;
    applications_.erase(process.low);
    if (front_ == process)
        front_ = {};
}

ScriptedTextField ScriptedApplications::textField(ProcessSerialNumber process) const {
    const std::lock_guard lock(mutex_);
    const Application* application = find(process);
    return application != nullptr ? application->field : ScriptedTextField();
}

std::vector<std::string> ScriptedApplications::received(ProcessSerialNumber process) const {
    const std::lock_guard lock(mutex_);
    const Application* application = find(process);
    return application != nullptr ? application->received : std::vector<std::string>();
}

void ScriptedApplications::setTextField(ProcessSerialNumber process,
                                        const ScriptedTextField& field) {
    const std::lock_guard lock(mutex_);
    if (Application* application = find(process))
        application->field = field;
}

void ScriptedApplications::receive(const DesktopEvent& event, StringView typed, bool pastes) {
    ProcessSerialNumber front;
    {
        const std::lock_guard lock(mutex_);
        Application* application = find(front_);
        if (application == nullptr)
            return;
        application->received.push_back(eventText(event));
        if (event.type == EventType::KeyDown && !pastes)
            application->field.pressKey(event.keyCode, event.flags, typed);
        if (!pastes || !application->pastesAtOnce)
            return;
        front = front_;
    }
    paste(front);
}

void ScriptedApplications::setPastesAtOnce(ProcessSerialNumber process, bool atOnce) {
    const std::lock_guard lock(mutex_);
    if (Application* application = find(process))
        application->pastesAtOnce = atOnce;
}

void ScriptedApplications::paste(ProcessSerialNumber process) {
    const auto text = textToPaste();
    if (!text.has_value())
        return;
    const std::lock_guard lock(mutex_);
    if (Application* application = find(process))
        application->field.insert(*text);
}

// Plain text where it is offered, else that of the richest form.
std::optional<String> ScriptedApplications::textToPaste() {
    if (pasteboard_ == nullptr)
        return std::nullopt;
    if (const auto plain = pasteboard_->paste(PasteboardType::String))
        return fromUTF8(*plain);
    if (const auto data = pasteboard_->paste(PasteboardType::RTFD))
        if (const auto rich = attributedStringWithRTFD(*data))
            return rich->string();
    if (const auto data = pasteboard_->paste(PasteboardType::RTF))
        if (const auto rich = attributedStringWithRTF(*data))
            return rich->string();
    return std::nullopt;
}

} // namespace dresk
