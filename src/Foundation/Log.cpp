#include "Foundation/Log.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>

#include <unistd.h>

namespace dresk {

namespace {

struct LogState {
    std::mutex mutex;
    std::function<void(std::string_view)> sink;
};

LogState& state() {
    static LogState instance;
    return instance;
}

std::string stamped(std::string_view line) {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000;
    std::tm local{};
    localtime_r(&seconds, &local);
    char date[32] = "";
    (void)std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &local);
    char head[96];
    (void)std::snprintf(head, sizeof head, "%s.%03d %s[%d] ", date, static_cast<int>(milliseconds),
                        program_invocation_short_name, static_cast<int>(getpid()));
    std::string result(head);
    result.append(line);
    result.push_back('\n');
    return result;
}

} // namespace

void logLine(std::string_view line) {
    LogState& log = state();
    std::function<void(std::string_view)> sink;
    {
        const std::lock_guard lock(log.mutex);
        sink = log.sink;
    }
    if (sink) {
        sink(line);
        return;
    }
    const std::string text = stamped(line);
    (void)std::fwrite(text.data(), 1, text.size(), stderr);
}

void setLogSink(std::function<void(std::string_view)> sink) {
    LogState& log = state();
    const std::lock_guard lock(log.mutex);
    log.sink = std::move(sink);
}

} // namespace dresk
