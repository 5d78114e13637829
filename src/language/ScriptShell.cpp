#include "language/ScriptShell.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <csignal>
#include <system_error>

#include <poll.h>

#include "Foundation/Log.h"
#include "Foundation/RunLoop.h"

namespace dresk {

namespace {

/// Where the shell answers. Scripts that open descriptors of their own mostly take 3 or 9.
constexpr int AnswerNumber = 7;
/// Seconds that a script which has written something may go on writing.
constexpr double Grace = 0.3;
constexpr std::size_t MaxOutputBytes = 32 << 20;
constexpr double Forever = std::numeric_limits<double>::infinity();

// A subshell, so that the status of the script before stays what it was. The empty line in front
// takes up a backslash at the script's end.
std::string question(std::uint64_t number) {
    return "\n\n(s=$?; command echo " + std::to_string(number) + " >&" +
           std::to_string(AnswerNumber) + "; exit $s)\n";
}

/// Bytes of an unfinished character at the end, 0 to 3.
std::size_t unfinishedBytes(std::string_view text) {
    std::size_t count = 0;
    while (count < std::min<std::size_t>(3, text.size())) {
        const auto byte = static_cast<unsigned char>(text[text.size() - ++count]);
        if (byte < 0x80 || byte > 0xF4)
            return 0;
        if (byte >= 0xC0) {
            const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
            return count < length ? count : 0;
        }
    }
    return 0;
}

} // namespace

std::shared_ptr<ScriptShell> ScriptShell::start(const std::string& path) {
    auto shell = std::make_shared<ScriptShell>();
    shell->task_.launchPath = path;
    shell->task_.hasStandardErrorPipe = false;
    shell->task_.extraOutputNumber = AnswerNumber;
    if (const int failure = shell->task_.launch(); failure != 0) {
        logLine("The shell " + path +
                " cannot be started: " + std::generic_category().message(failure));
        return nullptr;
    }
    return shell;
}

ScriptShell::~ScriptShell() {
    constexpr double secondsToEnd = 0.1;
    // A shell that has nothing to do ends with its input. What hangs would stay for ever, and could
    // run the half of a script that it has been given.
    if (answered_ != asked_)
        task_.signalGroup(SIGKILL);
    task_.standardInput.reset();
    task_.waitUntilExit(secondsToEnd);
}

void ScriptShell::askForTurn() {
    isTurnWanted_ = true;
    wakeUp_.set();
}

void ScriptShell::abandon() {
    isAbandoned_ = true;
    wakeUp_.set();
}

/// One script on its way through the shell.
class ScriptShell::Run {
  public:
    Run(ScriptShell& shell, const std::string& source, double pause, const ScriptCommands& commands,
        const WakeUp& cancelled, std::string& output)
        : shell_(shell), pause_(pause), cancelled_(cancelled), output_(output),
          turnDeadline_(steadySeconds() + commands.shellPatience),
          timeLimit_(steadySeconds() + commands.timeLimit), source_(source) {}

    End run() {
        output_.append(std::exchange(shell_.leftOver_, {}));
        while (!isFinished()) {
            wait();
            if (isCancelled_)
                return End::Cancelled;
            if (steadySeconds() >= timeLimit_)
                return End::TimedOut;
        }
        if (!hasBegun_)
            return End::NotBegun;
        // What was written before the answer is in the pipe by now.
        readAvailable(shell_.task_.standardOutput, output_, MaxOutputBytes);
        if (!hasEnded() && !hasExited_) {
            // What is cut inside a character waits for its rest.
            const std::size_t whole = output_.size() - unfinishedBytes(output_);
            shell_.leftOver_ = output_.substr(whole);
            output_.resize(whole);
        }
        return End::Done;
    }

  private:
    bool earlierScriptEnded() const { return shell_.answered_ == shell_.asked_; }
    bool hasEnded() const { return hasBegun_ && shell_.answered_ >= ownQuestion_; }

    bool isFinished() {
        if (hasExited_ || hasEnded())
            return true;
        const double now = steadySeconds();
        if (!hasBegun_) {
            if (!earlierScriptEnded())
                return now >= turnDeadline_;
            begin();
            return hasExited_;
        }
        return rest_.empty() && now >= resultDeadline();
    }

    void begin() {
        hasBegun_ = true;
        ownQuestion_ = ++shell_.asked_;
        text_ = source_ + question(ownQuestion_);
        rest_ = text_;
        give();
    }

    void give() {
        if (writeAvailable(shell_.task_.standardInput, rest_) == PipeState::Ended) {
            // A shell that is gone before it took anything has not run the script.
            if (rest_.size() == text_.size()) {
                hasBegun_ = false;
                hasExited_ = true;
            }
            rest_ = {};
        }
        if (rest_.empty())
            pauseEnd_ = steadySeconds() + pause_;
    }

    /// When a script that still runs is left to itself.
    double resultDeadline() const {
        return output_.empty() ? Forever : std::max(pauseEnd_, firstOutputAt_) + Grace;
    }

    double nextDeadline() const {
        const double own = !hasBegun_ ? turnDeadline_ : rest_.empty() ? resultDeadline() : Forever;
        return std::min(own, timeLimit_);
    }

    void wait() {
        enum { Output, Answers, Exit, Cancel, Wake, Input, Count };
        std::array<pollfd, Count> waiting{};
        constexpr int none = -1;
        const Task& task = shell_.task_;
        waiting[Output] = {hasOutputEnded_ ? none : task.standardOutput.get(), POLLIN, 0};
        waiting[Answers] = {haveAnswersEnded_ ? none : task.extraOutput.get(), POLLIN, 0};
        waiting[Exit] = {task.processDescriptor().get(), POLLIN, 0};
        waiting[Cancel] = {cancelled_.descriptor().get(), POLLIN, 0};
        waiting[Wake] = {shell_.wakeUp_.descriptor().get(), POLLIN, 0};
        waiting[Input] = {rest_.empty() ? none : task.standardInput.get(), POLLOUT, 0};
        const double seconds = std::max(0.0, nextDeadline() - steadySeconds());
        constexpr double longestWait = 60;
        poll(waiting.data(), Count,
             static_cast<int>(std::ceil(std::min(seconds, longestWait) * 1000)));

        isCancelled_ = waiting[Cancel].revents != 0;
        if (waiting[Answers].revents != 0)
            readAnswers();
        if (waiting[Output].revents != 0)
            readOutput();
        if (waiting[Input].revents != 0)
            give();
        if (waiting[Wake].revents != 0)
            shell_.wakeUp_.clear();
        if (hasBegun_ && rest_.empty())
            obeyOthers();
        hasExited_ = hasExited_ || waiting[Exit].revents != 0;
    }

    void readOutput() {
        hasOutputEnded_ =
            readAvailable(shell_.task_.standardOutput, output_, MaxOutputBytes) == PipeState::Ended;
        if (!output_.empty() && firstOutputAt_ == 0)
            firstOutputAt_ = steadySeconds();
    }

    void readAnswers() {
        std::string& bytes = shell_.answerBytes_;
        constexpr std::size_t maxBytes = 65536;
        haveAnswersEnded_ =
            readAvailable(shell_.task_.extraOutput, bytes, maxBytes) == PipeState::Ended;
        for (std::size_t end = 0; (end = bytes.find('\n')) != std::string::npos;) {
            std::uint64_t number = 0;
            std::from_chars(bytes.data(), bytes.data() + end, number);
            // A script that writes here itself is not believed.
            if (number <= shell_.asked_)
                shell_.answered_ = std::max(shell_.answered_, number);
            bytes.erase(0, end + 1);
        }
    }

    // Not before the whole source has been given: half of a script must never run.
    void obeyOthers() {
        if (shell_.isAbandoned_) {
            shell_.task_.standardInput.reset();
        } else if (shell_.isTurnWanted_ && !isAsked_) {
            isAsked_ = true;
            // Asked once more: something in the script may have read the first question.
            const std::string again = question(++shell_.asked_);
            std::string_view text = again;
            writeAvailable(shell_.task_.standardInput, text);
        }
    }

    ScriptShell& shell_;
    double pause_;
    const WakeUp& cancelled_;
    std::string& output_;
    double turnDeadline_;
    double timeLimit_;
    const std::string& source_;
    std::string text_;
    /// What the shell has not taken yet.
    std::string_view rest_;
    std::uint64_t ownQuestion_ = 0;
    double pauseEnd_ = 0;
    double firstOutputAt_ = 0;
    bool hasBegun_ = false;
    bool hasExited_ = false;
    bool hasOutputEnded_ = false;
    bool haveAnswersEnded_ = false;
    bool isCancelled_ = false;
    bool isAsked_ = false;
};

ScriptShell::End ScriptShell::run(const std::string& source, double pause,
                                  const ScriptCommands& commands, const WakeUp& cancelled,
                                  std::string& output) {
    const End end = Run(*this, source, pause, commands, cancelled, output).run();
    if (end == End::TimedOut)
        task_.signalGroup(SIGKILL);
    return end;
}

} // namespace dresk
