#include "language/GeneralPasteboard.h"

namespace dresk {

std::optional<std::string> InMemoryPasteboard::dataForType(StringView type) {
    const auto found = data_.find(type);
    if (found == data_.end())
        return std::nullopt;
    return found->second;
}

void InMemoryPasteboard::clear() {
    data_.clear();
    string_.reset();
}

void InMemoryPasteboard::setData(StringView type, std::string data) {
    data_.insert_or_assign(String(type), std::move(data));
}

} // namespace dresk
