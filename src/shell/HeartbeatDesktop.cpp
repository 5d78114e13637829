#include "shell/HeartbeatDesktop.h"

namespace dresk {

namespace {

/// Pauses the heartbeat when its thread has ended.
class BeatingTapThread final : public TapThread {
  public:
    BeatingTapThread(std::unique_ptr<TapThread> thread, Heartbeat& heartbeat)
        : thread_(std::move(thread)), heartbeat_(heartbeat) {}
    BeatingTapThread(const BeatingTapThread&) = delete;
    BeatingTapThread& operator=(const BeatingTapThread&) = delete;
    ~BeatingTapThread() override {
        thread_->runLoop().cancelAll(&heartbeat_);
        thread_.reset();
        heartbeat_.pause();
    }
    RunLoop& runLoop() override { return thread_->runLoop(); }

  private:
    std::unique_ptr<TapThread> thread_;
    Heartbeat& heartbeat_;
};

} // namespace

std::unique_ptr<TapThread> HeartbeatDesktop::startTapThread(std::function<void(RunLoop&)> body) {
    desktop_.eventTaps().setProgressHandler([this] { heartbeat_.beatIfDue(); });
    auto thread = desktop_.startTapThread([this, body = std::move(body)](RunLoop& loop) {
        body(loop);
        heartbeat_.beat(loop);
    });
    if (thread == nullptr)
        return nullptr;
    return std::make_unique<BeatingTapThread>(std::move(thread), heartbeat_);
}

} // namespace dresk
