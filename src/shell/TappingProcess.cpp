#include "shell/TappingProcess.h"

#include <filesystem>

namespace dresk {

namespace {

constexpr std::size_t MaximumTaps = 10;
constexpr StringView OwnIdentifier = u"com.zopal.Dresk";
constexpr StringView SystemPrefix = u"com.apple.";
constexpr StringView Null = u"(null)";

String executableOf(ProcessSerialNumber process) {
    std::error_code error;
    const auto path =
        std::filesystem::read_symlink("/proc/" + std::to_string(process.low) + "/exe", error);
    return error ? String(Null) : u"file://" + fromUTF8(path.string());
}

} // namespace

std::optional<std::vector<TappingProcess>> findTappingProcesses(EventTaps& eventTaps,
                                                                Processes& processes) {
    auto taps = eventTaps.eventTapList();
    if (!taps.has_value())
        return std::nullopt;
    if (taps->size() > MaximumTaps)
        taps->resize(MaximumTaps);
    std::vector<TappingProcess> result;
    for (const EventTapInformation& tap : *taps) {
        if (tap.options != 0 || tap.process == processes.currentProcess())
            continue;
        const auto name = processes.localizedName(tap.process);
        const auto identifier = processes.bundleIdentifier(tap.process);
        const bool isRunning = name.has_value() || identifier.has_value();
        if (!isRunning || identifier == OwnIdentifier ||
            (identifier.has_value() && identifier->starts_with(SystemPrefix)))
            continue;
        result.push_back({tap.process.low, name.value_or(String(Null)),
                          identifier.value_or(String(Null)), executableOf(tap.process)});
    }
    return result;
}

} // namespace dresk
