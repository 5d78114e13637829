#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "Foundation/CharacterSet.h"
#include "store/DRFunctionAvailability.h"

namespace dresk {

/// Decides on the two small corrections: a capital at the start of a sentence, and a second capital
/// that opens a word. Both mend the unit before the key being pressed, because only that key shows
/// that the word goes on. Any thread.
class AutoCorrection {
  public:
    struct Settings {
        bool capitalizeNewSentences = false;
        bool correctDoubleCapitals = false;
        /// Where corrections are made.
        DRFunctionAvailability availability;
        /// What ends with a point and no sentence, such as "e.g.".
        std::vector<String> capitalizationExcludedAbbreviations;
        /// The two capitals with the letter behind them, for words that are meant so; null for
        /// none.
        std::optional<std::vector<String>> doubleCapitalsCorrectionExclusion;
    };

    AutoCorrection() = default;
    /// Takes effect at the next key.
    void update(const std::function<void(Settings&)>& change);
    Settings settings() const { return *current(); }
    /// Whether anything is to be corrected at all.
    bool isActive() const { return isActive_; }

    /// Whether a key can show that the unit before it is to be corrected: a small letter or a
    /// space.
    bool isTrigger(StringView typed) const;
    /// `text` is what stands before the caret with the current key at its end. What the unit before
    /// the last becomes; null when it stays.
    std::optional<String> capitalize(StringView text) const;
    /// Whether corrections are made there. `bundleIdentifier` is asked only if the answer counts.
    bool isAvailable(const std::function<std::optional<String>()>& bundleIdentifier,
                     const std::optional<String>& inputSourceIdentifier) const;

  private:
    std::shared_ptr<const Settings> current() const;
    std::optional<String> capitalizeSentence(const Settings& settings, StringView text) const;
    std::optional<String> lowerSecondCapital(const Settings& settings, StringView text) const;

    const CharacterSet lowercaseLetterCharacterSet_ = CharacterSet::lowercaseLetterCharacterSet();
    const CharacterSet uppercaseLetterCharacterSet_ = CharacterSet::uppercaseLetterCharacterSet();
    std::atomic<bool> isActive_{false};
    mutable std::mutex mutex_;
    /// Replaced as a whole, never changed.
    std::shared_ptr<const Settings> settings_ = std::make_shared<Settings>();
};

} // namespace dresk
