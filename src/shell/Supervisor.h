#pragma once

#include <functional>
#include <vector>

#include <sys/types.h>

namespace dresk {

/// Keeps a worker process alive that takes the user's keys: a worker that crashes or stops
/// answering is replaced, so that the keyboard never stays frozen.
///
/// The worker proves that it serves keys by a byte on a pipe (see Heartbeat). It sits in a process
/// group of its own, so that Ctrl-Z in a terminal cannot stop it, and dies with the supervisor.
/// SIGTERM, SIGINT and SIGHUP are passed on and end both.
class Supervisor {
  public:
    /// Exit status of a worker that cannot start, and of the supervisor when there is no use in
    /// trying again.
    static constexpr int CannotStart = 1;
    /// Exit status of a worker whose user wants the program started again, and of the supervisor
    /// behind it: it is for the caller to do so, with the program as it is on disk by then.
    static constexpr int Relaunch = 75;

    struct Limits {
        /// Seconds without a heartbeat after which the worker counts as hung.
        double heartbeatTimeout = 1.0;
        /// Seconds that a hung worker has to let go of the keys it holds before it is killed.
        double releaseTimeout = 0.3;
        /// So many restarts are made within `restartWindow` seconds; one more ends the program.
        std::size_t maxRestarts = 5;
        double restartWindow = 60.0;
        /// Seconds that a worker has to end after a signal was passed on.
        double endTimeout = 5.0;
    };

    /// The body of the worker process. Gets the write end of the heartbeat pipe, which does not
    /// block and is not inherited by further programs; returns the exit status.
    using Worker = std::function<int(int heartbeatDescriptor)>;

    explicit Supervisor(Worker worker) : Supervisor(std::move(worker), Limits()) {}
    Supervisor(Worker worker, Limits limits) : worker_(std::move(worker)), limits_(limits) {}

    /// Supervises until the worker ends for good; returns the exit status of the program. Only on
    /// a process that has no other thread.
    int run();
    /// In the worker: whether it takes the place of one that was lost.
    bool isReplacing() const { return !restarts_.empty(); }

  private:
    struct Ending {
        bool restart;
        int exitStatus;
    };

    bool start();
    [[noreturn]] void runWorker(int heartbeatDescriptor, pid_t supervisor);
    Ending superviseUntilEnd();
    Ending judge(int waitStatus) const;
    void passSignalsOn();
    void readHeartbeats();
    void closeHeartbeat();
    void killLateWorker();
    int pollTimeout() const;
    bool mayRestart();

    Worker worker_;
    Limits limits_;
    pid_t pid_ = -1;
    int signalDescriptor_ = -1;
    int heartbeatDescriptor_ = -1;
    /// Monotonic time at which the worker is killed; infinite while it need not answer.
    double deadline_ = 0;
    bool hung_ = false;
    bool ending_ = false;
    std::vector<double> restarts_;
};

} // namespace dresk
