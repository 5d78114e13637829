#include "input/x11/SelectionContents.h"

namespace dresk {

bool SelectionContents::isComplete() const {
    const std::lock_guard lock(mutex_);
    return complete_;
}

std::vector<String> SelectionContents::types() const {
    const std::lock_guard lock(mutex_);
    std::vector<String> types;
    for (const std::string& target : targets_.has_value() ? *targets_ : answered_)
        types.push_back(fromLatin1(target));
    return types;
}

std::optional<std::string> SelectionContents::dataForType(StringView type) const {
    for (const std::string& target : targetsForType(type))
        if (const auto found = answer(target))
            if (auto data = dataOfAnswer(type, *found))
                return data;
    return std::nullopt;
}

std::shared_ptr<const SelectionAnswer> SelectionContents::answer(const std::string& target) const {
    const std::lock_guard lock(mutex_);
    const auto found = answers_.find(target);
    return found != answers_.end() ? found->second : nullptr;
}

std::map<std::string, SelectionAnswer> SelectionContents::forms() const {
    const std::lock_guard lock(mutex_);
    std::map<std::string, SelectionAnswer> forms;
    for (const auto& [target, answer] : answers_)
        forms[target] = {{}, answer->type, answer->format};
    return forms;
}

bool SelectionContents::hasGivenUp() const {
    const std::lock_guard lock(mutex_);
    return givenUp_;
}

void SelectionContents::setTargets(std::vector<std::string> targets) {
    const std::lock_guard lock(mutex_);
    targets_ = std::move(targets);
}

void SelectionContents::add(const std::string& target, SelectionAnswer answer) {
    auto shared = std::make_shared<const SelectionAnswer>(std::move(answer));
    const std::lock_guard lock(mutex_);
    if (answers_.emplace(target, std::move(shared)).second)
        answered_.push_back(target);
}

void SelectionContents::complete(bool givenUp) {
    const std::lock_guard lock(mutex_);
    complete_ = true;
    givenUp_ = givenUp;
}

} // namespace dresk
