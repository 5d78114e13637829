#pragma once

#include "desktop/PasteboardRig.h"

namespace dresk {

/// A clipboard manager with a connection and a thread of its own: fetches everything at every
/// change, keeps what no hint forbids it to keep, and offers that when the clipboard has lost its
/// owner.
class ClipboardManager {
  public:
    ClipboardManager() : thread_([this] { run(); }) {}
    ClipboardManager(const ClipboardManager&) = delete;
    ClipboardManager& operator=(const ClipboardManager&) = delete;
    ~ClipboardManager() {
        ends_ = true;
        thread_.join();
    }

    /// How often it has fetched everything.
    int fetched() const { return fetched_; }
    /// Whether it keeps a copy with that text.
    bool keeps(const std::string& text) const {
        const std::lock_guard lock(mutex_);
        return kept_ != nullptr && kept_->contents().dataForType(PasteboardType::String) == text;
    }
    /// Whether it takes over what the owner left behind; it does not at first.
    void setTakesOver(bool takesOver) { takesOver_ = takesOver; }
    /// Takes the clipboard from whoever has it, with what that had, at the next look.
    void takeNow() { takesNow_ = true; }
    bool hasTaken() const { return !takesNow_; }

  private:
    /// What stood on the clipboard.
    class Kept final : public PasteboardOwner {
      public:
        explicit Kept(std::shared_ptr<const PasteboardContents> contents)
            : contents_(std::move(contents)) {}
        std::optional<std::string> provideDataForType(StringView type) override {
            return contents_->dataForType(type);
        }
        void dataTaken(StringView /*type*/) override {}
        const PasteboardContents& contents() const { return *contents_; }

      private:
        const std::shared_ptr<const PasteboardContents> contents_;
    };

    void run() {
        std::int64_t seen = -1;
        while (!ends_) {
            if (const std::int64_t count = pasteboard_->changeCount(); count != seen) {
                seen = count;
                fetch();
                ++fetched_;
            }
            if (takesNow_ && kept_ != nullptr) {
                offer();
                takesNow_ = false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    void fetch() {
        const auto contents = readAll(*pasteboard_);
        const auto types = contents->types();
        const bool isSecret =
            contents->dataForType(fromLatin1(SelectionTarget::Hint)) == SelectionTarget::SecretHint;
        if (types.empty() && takesOver_ && kept_ != nullptr)
            offer();
        if (types.empty() || isSecret)
            return;
        const std::lock_guard lock(mutex_);
        kept_ = std::make_shared<Kept>(contents);
    }
    void offer() { pasteboard_->declareTypes(kept_->contents().types(), kept_, {}); }

    std::unique_ptr<X11Pasteboard> pasteboard_ = openPasteboard();
    /// Changed on the thread alone.
    mutable std::mutex mutex_;
    std::shared_ptr<Kept> kept_;
    std::atomic<bool> ends_{false};
    std::atomic<bool> takesOver_{false};
    std::atomic<bool> takesNow_{false};
    std::atomic<int> fetched_{0};
    std::thread thread_;
};

} // namespace dresk
