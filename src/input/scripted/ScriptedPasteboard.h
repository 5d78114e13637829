#pragma once

#include <atomic>
#include <map>
#include <mutex>

#include "input/Pasteboard.h"

namespace dresk {

/// A pasteboard in memory. Its user copies into it and pastes from it; what is read in the
/// background is there at once, unless it is held up. Any thread.
class ScriptedPasteboard final : public Pasteboard {
  public:
    using Items = std::vector<std::pair<String, std::string>>;

    // Pasteboard
    bool isAvailable() const override { return available_; }
    std::int64_t changeCount() override;
    std::shared_ptr<const PasteboardContents> contents() override;
    std::int64_t declareTypes(const std::vector<String>& types,
                              std::shared_ptr<PasteboardOwner> owner,
                              PasteboardOptions options) override;
    std::vector<String> types() override;
    bool offersType(StringView type) override;
    std::optional<std::string> dataForType(StringView type) override;
    void handOver() override {}

    /// The user copies.
    void copy(Items items);
    /// The application in front takes the data of the type; null when there is none.
    std::optional<std::string> paste(StringView type);
    PasteboardOptions options() const;
    /// Whether there is a pasteboard at all.
    void setAvailable(bool available) { available_ = available; }
    /// While true, what is read in the background does not come to its end.
    void holdUpReading(bool heldUp) { *heldUp_ = heldUp; }

  private:
    struct State {
        bool offers(StringView type) const;

        std::vector<String> types;
        std::map<String, std::string, std::less<>> data;
        std::shared_ptr<PasteboardOwner> owner;
    };
    State state() const;

    mutable std::mutex mutex_;
    State state_;
    PasteboardOptions options_;
    std::atomic<bool> available_{true};
    std::shared_ptr<std::atomic<bool>> heldUp_ = std::make_shared<std::atomic<bool>>(false);
    std::int64_t changeCount_ = 0;
};

} // namespace dresk
