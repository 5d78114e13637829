#include "input/freedesktop/CanberraSounds.h"

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <canberra.h>
#include <dlfcn.h>

namespace dresk {

namespace {

constexpr std::size_t LongestQueue = 8;

/// What to play: names in the sound theme, the first that it has, or a file.
struct Cue {
    std::vector<const char*> events;
    std::string file;
};

struct NamedSound {
    StringView name;
    const char* event;
    /// For themes without the first.
    const char* otherwise;
};

// Names of the system's sounds, and the freedesktop sound that stands for each.
constexpr NamedSound NamedSounds[] = {
    {u"Click", "button-pressed", "audio-volume-change"},
    {u"Pop", "button-toggle-on", "message"},
    {u"Basso", "dialog-error", "bell"},
    {u"Blow", "network-connectivity-lost", "dialog-information"},
    {u"Bottle", "item-selected", "dialog-information"},
    {u"Frog", "dialog-question", "window-question"},
    {u"Funk", "dialog-warning", "bell"},
    {u"Glass", "complete", "bell"},
    {u"Hero", "service-login", "complete"},
    {u"Morse", "message-new-email", "message"},
    {u"Ping", "message-new-instant", "message"},
    {u"Purr", "power-plug", "dialog-information"},
    {u"Sosumi", "window-attention", "bell"},
    {u"Submarine", "device-added", "dialog-information"},
    {u"Tink", "button-released", "audio-volume-change"},
};
const Cue Beep{{"bell-window-system", "bell"}, {}};

void ignoreSoundCards(const char* /*file*/, int /*line*/, const char* /*function*/, int /*error*/,
                      const char* /*format*/, ...) {}

/// A machine without a sound card is no error. The library of sound cards, which the sounds are
/// played with where there is nothing better, tells the error stream of it all the same.
void silenceSoundCards() {
    using Handler = decltype(&ignoreSoundCards);
    using SetHandler = int (*)(Handler);
    void* library = dlopen("libasound.so.2", RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr)
        return;
    const auto setHandler =
        reinterpret_cast<SetHandler>(dlsym(library, "snd_lib_error_set_handler"));
    if (setHandler != nullptr)
        setHandler(&ignoreSoundCards);
}

/// Plays one after the other is asked for, without waiting for its end. Any thread.
class Player : public std::enable_shared_from_this<Player> {
  public:
    Player() = default;
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;
    ~Player() {
        if (context_ != nullptr)
            ca_context_destroy(context_);
    }

    void play(const Cue& cue) {
        const std::lock_guard lock(mutex_);
        if (ended_ || waiting_.size() >= LongestQueue)
            return;
        waiting_.push_back(cue);
        if (!started_)
            start();
        condition_.notify_one();
    }
    /// Does not wait for a sound system that is stuck.
    void end() {
        const std::lock_guard lock(mutex_);
        ended_ = true;
        condition_.notify_one();
    }

  private:
    // Signals belong to the thread that waits for them, so this one takes none.
    void start() {
        started_ = true;
        sigset_t all;
        sigset_t previous;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &previous);
        std::thread([self = shared_from_this()] { self->run(); }).detach();
        pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    }
    void run() {
        std::unique_lock lock(mutex_);
        while (true) {
            condition_.wait(lock, [this] { return ended_ || !waiting_.empty(); });
            if (ended_)
                return;
            const Cue cue = std::move(waiting_.front());
            waiting_.pop_front();
            lock.unlock();
            playNow(cue);
            lock.lock();
        }
    }
    void playNow(const Cue& cue) {
        if (context_ == nullptr) {
            silenceSoundCards();
            if (ca_context_create(&context_) != CA_SUCCESS) {
                context_ = nullptr;
                return;
            }
            ca_context_change_props(context_, CA_PROP_APPLICATION_NAME, "Dresk",
                                    CA_PROP_APPLICATION_ID, "dresk", nullptr);
        }
        if (!cue.file.empty())
            ca_context_play(context_, 0, CA_PROP_MEDIA_FILENAME, cue.file.c_str(),
                            CA_PROP_MEDIA_ROLE, "event", nullptr);
        for (const char* event : cue.events)
            if (ca_context_play(context_, 0, CA_PROP_EVENT_ID, event, CA_PROP_MEDIA_ROLE, "event",
                                nullptr) == CA_SUCCESS)
                return;
    }

    std::mutex mutex_;
    std::condition_variable condition_;
    std::deque<Cue> waiting_;
    bool started_ = false;
    bool ended_ = false;
    /// The player's thread, and whoever lets go of the player last.
    ca_context* context_ = nullptr;
};

class CanberraSound final : public FeedbackSound {
  public:
    CanberraSound(std::shared_ptr<Player> player, Cue cue)
        : player_(std::move(player)), cue_(std::move(cue)) {}
    void play() override { player_->play(cue_); }

  private:
    const std::shared_ptr<Player> player_;
    const Cue cue_;
};

/// Whether the file begins as those do that the library can play: WAV and Ogg.
bool holdsSound(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    char head[12] = {};
    file.read(head, sizeof head);
    const std::string_view read(head, static_cast<std::size_t>(file.gcount()));
    return read.starts_with("OggS") ||
           (read.starts_with("RIFF") && read.size() == sizeof head && read.substr(8) == "WAVE");
}

class CanberraSounds final : public Sounds {
  public:
    CanberraSounds() = default;
    CanberraSounds(const CanberraSounds&) = delete;
    CanberraSounds& operator=(const CanberraSounds&) = delete;
    ~CanberraSounds() override { player_->end(); }

    std::shared_ptr<FeedbackSound> soundNamed(StringView name) override {
        const auto* const sound =
            std::find_if(std::begin(NamedSounds), std::end(NamedSounds),
                         [&](const NamedSound& known) { return known.name == name; });
        if (sound == std::end(NamedSounds))
            return nullptr;
        return std::make_shared<CanberraSound>(player_, Cue{{sound->event, sound->otherwise}, {}});
    }
    std::shared_ptr<FeedbackSound> soundWithContentsOfFile(StringView path) override {
        const std::string file = toUTF8(path);
        if (!holdsSound(file))
            return nullptr;
        return std::make_shared<CanberraSound>(player_, Cue{{}, file});
    }
    void beep() override { player_->play(Beep); }

  private:
    const std::shared_ptr<Player> player_ = std::make_shared<Player>();
};

} // namespace

std::unique_ptr<Sounds> makeCanberraSounds() {
    return std::make_unique<CanberraSounds>();
}

} // namespace dresk
