#include "input/scripted/ScriptedApplications.h"

#include "input/scripted/EventRecord.h"

namespace dresk {

ScriptedApplications::ScriptedApplications() {
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

std::uint64_t ScriptedApplications::getSelectedTextLength() {
    const std::lock_guard lock(mutex_);
    const Application* application = find(front_);
    return application != nullptr ? application->field.selection().length : 0;
}

ProcessSerialNumber ScriptedApplications::launch(std::optional<String> identifier, String name) {
    const std::lock_guard lock(mutex_);
    const ProcessSerialNumber process{0, nextProcess_++};
    applications_[process.low] = {std::move(identifier), std::move(name), {}, {}};
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

void ScriptedApplications::receive(const DesktopEvent& event, StringView typed) {
    const std::lock_guard lock(mutex_);
    Application* application = find(front_);
    if (application == nullptr)
        return;
    application->received.push_back(eventText(event));
    if (event.type == EventType::KeyDown)
        application->field.pressKey(event.keyCode, event.flags, typed);
}

} // namespace dresk
