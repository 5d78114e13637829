#pragma once

namespace dresk {

/// A sound that can be played at any time.
class FeedbackSound {
  public:
    virtual ~FeedbackSound() = default;
    /// Starts playing and returns at once. Any thread.
    virtual void play() = 0;
};

} // namespace dresk
