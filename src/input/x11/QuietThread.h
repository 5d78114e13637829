#pragma once

#include <csignal>
#include <thread>
#include <utility>

namespace dresk {

/// Starts a thread that takes no signals: they belong to the thread that waits for them.
template <class Body>
std::thread startQuietThread(Body body) {
    sigset_t all;
    sigset_t previous;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &previous);
    std::thread thread(std::move(body));
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    return thread;
}

} // namespace dresk
