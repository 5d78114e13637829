#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "seam/ContextInputSetting.h"

namespace dresk {

/// How to deliver to each application that needs something of its own: a built-in table by exact
/// identifier, and a few records by pattern. Any thread.
class ContextInputSettings {
  public:
    ContextInputSettings();

    /// The record for that application with its identifier filled in; all zero for one without a
    /// record. An exact match wins over every pattern.
    ContextInputSetting settingForIdentifier(const std::optional<String>& identifier) const;
    /// Keeps in the record of a pattern what a job has turned on: it holds from then on for every
    /// application with that record. Records found by exact match stay as they are.
    void keep(const ContextInputSetting& setting);

  private:
    using Record = std::shared_ptr<ContextInputSetting>;

    Record recordByPattern(StringView identifier) const;

    mutable std::mutex mutex_;
    std::map<String, Record, std::less<>> customApplicationSettings_;
    Record useClipboardIfHasNewLineInputSetting_;
    Record fusionAppInputSetting_;
    Record parallelsAppInputSetting_;
    Record crossOverAppInputSetting_;
    Record wineskinAppInputSetting_;
    Record adobeAppInputSetting_;
};

} // namespace dresk
