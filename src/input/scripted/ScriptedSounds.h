#pragma once

#include <mutex>
#include <vector>

#include "seam/FeedbackSound.h"

namespace dresk {

/// Sounds that are only noted: by their name or path, or "beep". Any thread.
class ScriptedSounds final : public Sounds {
  public:
    std::shared_ptr<FeedbackSound> soundNamed(StringView name) override;
    /// Null for a path that is not among the files.
    std::shared_ptr<FeedbackSound> soundWithContentsOfFile(StringView path) override;
    void beep() override { notePlayed(u"beep"); }

    void setFiles(std::vector<String> paths);
    void notePlayed(StringView name);
    std::vector<String> played() const;

  private:
    mutable std::mutex mutex_;
    std::vector<String> files_;
    std::vector<String> played_;
};

} // namespace dresk
