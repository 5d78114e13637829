#pragma once

#include <atomic>

#include "Foundation/PreferenceStore.h"
#include "Foundation/RunLoop.h"

namespace dresk {

/// The store as one file, a binary property list, with the generation before it beside it. Changes
/// are written a second after the last one, in one step: whatever happens, the file holds the old
/// values or the new ones. A damaged file is moved aside and never overwritten.
class FilePreferenceStore final : public PreferenceStore {
  public:
    /// Opens or starts the store. `runLoop` carries the delayed writing and outlives the store;
    /// without one, `synchronize` alone writes. `clock` dates what is moved aside.
    explicit FilePreferenceStore(std::filesystem::path file, RunLoop* runLoop = nullptr,
                                 const Clock& clock = systemClock());
    /// Writes what is not yet written.
    ~FilePreferenceStore() override;

    bool synchronize() override;
    PreferenceLoadReport loadReport() const override { return report_; }
    PropertyList previousObjectForKey(StringView key) const override;
    std::filesystem::path keepCopy(std::string_view bytes, const std::string& name) override;

    /// Seconds from a change to its writing, and from a failed writing to the next attempt.
    static constexpr double WriteDelay = 1.0;
    static constexpr double RetryDelay = 30.0;

  private:
    enum class Generation { Absent, Read, Unreadable };

    void valuesChanged() override;
    void load();
    Generation loadGeneration(const std::filesystem::path& file);
    void moveAside(const std::filesystem::path& file);
    void scheduleWriting(double delay);
    bool write();
    std::filesystem::path previousFile() const;

    std::filesystem::path file_;
    RunLoop* runLoop_;
    const Clock& clock_;
    PreferenceLoadReport report_;
    bool mayWrite_ = true;
    /// Held while writing, so that generations do not cross. Never taken inside the values' lock.
    std::mutex writing_;
    std::atomic<std::uint64_t> changes_{0};
    std::uint64_t written_ = 0;
    bool hasFailed_ = false;
};

} // namespace dresk
