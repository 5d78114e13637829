#include "input/scripted/ScriptedSounds.h"

#include <algorithm>

namespace dresk {

namespace {

class NotedSound final : public FeedbackSound {
  public:
    NotedSound(ScriptedSounds& sounds, StringView name) : sounds_(sounds), name_(name) {}
    void play() override { sounds_.notePlayed(name_); }

  private:
    ScriptedSounds& sounds_;
    const String name_;
};

} // namespace

std::shared_ptr<FeedbackSound> ScriptedSounds::soundNamed(StringView name) {
    for (const StringView known : {u"Click", u"Pop"})
        if (name == known)
            return std::make_shared<NotedSound>(*this, name);
    return nullptr;
}

std::shared_ptr<FeedbackSound> ScriptedSounds::soundWithContentsOfFile(StringView path) {
    const std::lock_guard lock(mutex_);
    if (std::find(files_.begin(), files_.end(), path) == files_.end())
        return nullptr;
    return std::make_shared<NotedSound>(*this, path);
}

void ScriptedSounds::setFiles(std::vector<String> paths) {
    const std::lock_guard lock(mutex_);
    files_ = std::move(paths);
}

void ScriptedSounds::notePlayed(StringView name) {
    const std::lock_guard lock(mutex_);
    played_.emplace_back(name);
}

std::vector<String> ScriptedSounds::played() const {
    const std::lock_guard lock(mutex_);
    return played_;
}

} // namespace dresk
