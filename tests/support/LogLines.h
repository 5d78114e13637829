#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "Foundation/Log.h"

namespace dresk::test {

/// Collects the log while it lives.
class LogLines {
  public:
    LogLines() {
        setLogSink([this](std::string_view line) {
            const std::lock_guard lock(mutex_);
            lines_.emplace_back(line);
        });
    }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;
    ~LogLines() { setLogSink({}); }
    std::size_t count() const {
        const std::lock_guard lock(mutex_);
        return lines_.size();
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

} // namespace dresk::test
