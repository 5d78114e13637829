#include "input/MacInputService.h"

namespace dresk {

void MacInputService::refreshContextInputSetting() {
    const ProcessSerialNumber front = desktop_.processes().frontProcess();
    auto identifier = bundleIdentifierResolver_.getBundleIdentifier(front);
    auto setting = std::make_shared<ContextInputSetting>();
    setting->bundleIdentifier = identifier;
    const std::lock_guard lock(mutex_);
    contextBundleIdentifier_ = std::move(identifier);
    contextInputSetting_ = std::move(setting);
}

std::shared_ptr<ContextInputSetting> MacInputService::contextInputSetting() const {
    const std::lock_guard lock(mutex_);
    return contextInputSetting_;
}

std::optional<String> MacInputService::contextBundleIdentifier() const {
    const std::lock_guard lock(mutex_);
    return contextBundleIdentifier_;
}

} // namespace dresk
