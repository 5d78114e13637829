#include "input/scripted/ScriptedPasteboard.h"

#include <algorithm>

namespace dresk {

namespace {

class ReadContents final : public PasteboardContents {
  public:
    ReadContents(ScriptedPasteboard& pasteboard, std::shared_ptr<const std::atomic<bool>> heldUp)
        : types_(pasteboard.types()), heldUp_(std::move(heldUp)) {
        for (const String& type : types_)
            if (auto data = pasteboard.dataForType(type))
                data_.emplace(type, std::move(*data));
    }
    bool isComplete() const override { return !*heldUp_; }
    std::vector<String> types() const override {
        return isComplete() ? types_ : std::vector<String>();
    }
    std::optional<std::string> dataForType(StringView type) const override {
        if (!isComplete())
            return std::nullopt;
        const auto found = data_.find(type);
        return found != data_.end() ? std::optional(found->second) : std::nullopt;
    }

  private:
    std::vector<String> types_;
    std::map<String, std::string, std::less<>> data_;
    const std::shared_ptr<const std::atomic<bool>> heldUp_;
};

} // namespace

bool ScriptedPasteboard::State::offers(StringView type) const {
    return std::find(types.begin(), types.end(), type) != types.end();
}

// A copy: an owner is asked without the lock.
ScriptedPasteboard::State ScriptedPasteboard::state() const {
    const std::lock_guard lock(mutex_);
    return state_;
}

std::int64_t ScriptedPasteboard::changeCount() {
    const std::lock_guard lock(mutex_);
    return changeCount_;
}

std::shared_ptr<const PasteboardContents> ScriptedPasteboard::contents() {
    return std::make_shared<ReadContents>(*this, heldUp_);
}

std::int64_t ScriptedPasteboard::declareTypes(const std::vector<String>& types,
                                              std::shared_ptr<PasteboardOwner> owner,
                                              PasteboardOptions options) {
    const std::lock_guard lock(mutex_);
    state_ = {types, {}, std::move(owner)};
    options_ = options;
    return ++changeCount_;
}

std::vector<String> ScriptedPasteboard::types() {
    return state().types;
}

bool ScriptedPasteboard::offersType(StringView type) {
    return state().offers(type);
}

std::optional<std::string> ScriptedPasteboard::dataForType(StringView type) {
    const State state = this->state();
    if (!state.offers(type))
        return std::nullopt;
    if (state.owner != nullptr)
        return state.owner->provideDataForType(type);
    const auto found = state.data.find(type);
    return found != state.data.end() ? std::optional(found->second) : std::nullopt;
}

void ScriptedPasteboard::copy(Items items) {
    State copied;
    for (auto& item : items) {
        copied.types.push_back(item.first);
        copied.data.insert(std::move(item));
    }
    const std::lock_guard lock(mutex_);
    state_ = std::move(copied);
    options_ = {};
    ++changeCount_;
}

std::optional<std::string> ScriptedPasteboard::paste(StringView type) {
    const auto owner = state().owner;
    auto data = dataForType(type);
    if (owner != nullptr && data.has_value())
        owner->dataTaken(type);
    return data;
}

PasteboardOptions ScriptedPasteboard::options() const {
    const std::lock_guard lock(mutex_);
    return options_;
}

} // namespace dresk
