#include "store/BundleIdentifierResolver.h"

namespace dresk {

std::int64_t BundleIdentifierResolver::processSerialNumberToNumber(ProcessSerialNumber process) {
    return static_cast<std::int64_t>(std::uint64_t{process.high} << 32 | process.low);
}

ProcessSerialNumber
BundleIdentifierResolver::numberToProcessSerialNumber(std::optional<std::int64_t> number) {
    const auto bits = static_cast<std::uint64_t>(number.value_or(0));
    return {static_cast<std::uint32_t>(bits >> 32), static_cast<std::uint32_t>(bits)};
}

std::optional<String> BundleIdentifierResolver::getBundleIdentifier(ProcessSerialNumber process) {
    const std::int64_t number = processSerialNumberToNumber(process);
    {
        const std::lock_guard lock(mutex_);
        const auto found = processSerialNumbersAndIdentifiers_.find(number);
        if (found != processSerialNumbersAndIdentifiers_.end())
            return found->second;
    }
    std::optional<String> identifier = applications_.bundleIdentifier(process);
    if (!identifier.has_value())
        identifier = applications_.localizedName(process);
    if (!identifier.has_value())
        return std::nullopt;
    const std::lock_guard lock(mutex_);
    return processSerialNumbersAndIdentifiers_.emplace(number, *identifier).first->second;
}

} // namespace dresk
