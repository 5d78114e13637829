#pragma once

#include <mutex>
#include <unordered_map>

#include "Foundation/String.h"

namespace dresk {

/// Names a process. On desktops without such numbers the low word is the process id and the high
/// word is 0.
struct ProcessSerialNumber {
    std::uint32_t high = 0;
    std::uint32_t low = 0;
    friend bool operator==(const ProcessSerialNumber&, const ProcessSerialNumber&) = default;
};

/// What the platform knows of running processes. Any thread.
class RunningApplications {
  public:
    virtual ~RunningApplications() = default;
    /// The stable identifier of the application, as rules and lists store it; null when the
    /// process is gone or has none.
    virtual std::optional<String> bundleIdentifier(ProcessSerialNumber process) = 0;
    /// The name shown to the user; null when the process is gone.
    virtual std::optional<String> localizedName(ProcessSerialNumber process) = 0;
};

/// Tells which application a process belongs to, cheaply enough for the tap thread. Answers are
/// kept for the life of the object; a failed look-up is tried again. Any thread.
class BundleIdentifierResolver {
  public:
    /// `applications` outlives the resolver.
    explicit BundleIdentifierResolver(RunningApplications& applications)
        : applications_(applications) {}

    static std::int64_t processSerialNumberToNumber(ProcessSerialNumber process);
    /// Null gives the zero process serial number.
    static ProcessSerialNumber numberToProcessSerialNumber(std::optional<std::int64_t> number);

    std::optional<String> getBundleIdentifier(ProcessSerialNumber process);

  private:
    RunningApplications& applications_;
    std::mutex mutex_;
    std::unordered_map<std::int64_t, String> processSerialNumbersAndIdentifiers_;
};

} // namespace dresk
