#pragma once

#include <memory>

#include "Foundation/String.h"

namespace dresk {

/// A sound that can be played at any time.
class FeedbackSound {
  public:
    virtual ~FeedbackSound() = default;
    /// Starts playing and returns at once; without a sound system nothing happens. Any thread.
    virtual void play() = 0;
};

/// The desktop's sounds. Any thread.
class Sounds {
  public:
    virtual ~Sounds() = default;
    /// A sound of the system by its name ("Click", "Pop"); null for an unknown name.
    virtual std::shared_ptr<FeedbackSound> soundNamed(StringView name) = 0;
    /// Null when the file is missing or holds no sound that can be played.
    virtual std::shared_ptr<FeedbackSound> soundWithContentsOfFile(StringView path) = 0;
    /// The desktop's alert sound.
    virtual void beep() = 0;
};

} // namespace dresk
