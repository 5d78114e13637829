#include "engine/BackgroundScripts.h"

#include <system_error>

#include "Foundation/Log.h"

namespace dresk {

void BackgroundScripts::start(Work work) {
    if (runLoop_ != nullptr) {
        runLoop_->post({this, "perform"}, [this, work = std::move(work)] { perform(work); });
        return;
    }
    const std::lock_guard lock(mutex_);
    if (host_.isCancelled())
        return;
    joinEnded();
    Worker& worker = workers_.emplace_back();
    try {
        worker.thread = std::thread([this, &worker, work = std::move(work)] {
            perform(work);
            worker.hasEnded = true;
        });
    } catch (const std::system_error& failure) {
        workers_.pop_back();
        logLine(std::string("The script was not run: ") + failure.what());
    }
}

void BackgroundScripts::perform(const Work& work) {
    try {
        if (!host_.isCancelled())
            work(host_);
    } catch (const std::exception& failure) {
        logLine(std::string("A script was given up: ") + failure.what());
    }
}

void BackgroundScripts::joinEnded() {
    workers_.remove_if([](Worker& worker) {
        if (!worker.hasEnded)
            return false;
        worker.thread.join();
        return true;
    });
}

void BackgroundScripts::end() {
    host_.cancel();
    if (runLoop_ != nullptr)
        runLoop_->cancelAll(this);
    std::list<Worker> workers;
    {
        const std::lock_guard lock(mutex_);
        workers.swap(workers_);
    }
    for (Worker& worker : workers)
        worker.thread.join();
}

} // namespace dresk
