#pragma once

#include <atomic>
#include <mutex>
#include <vector>

#include "Foundation/ZPPair.h"
#include "store/Snippet.h"

namespace dresk {

/// A snippet and the typed text that it would replace.
using SnippetMatch = ZPPair<std::shared_ptr<Snippet>, String>;
using SnippetMatches = std::vector<SnippetMatch>;

/// The rows of the suggestion list: filled and emptied by the engine, shown by the list's window.
/// Any thread; rows can go between two calls.
class SuggestionRows {
  public:
    /// A row on its way to the sender.
    struct Choice {
        SnippetMatch row;
        bool selectingSnippet = false;
    };

    /// `selectingSnippet` says that the rows come from an ambiguous match.
    void assign(SnippetMatches rows, bool selectingSnippet);
    /// Replaces the rows and leaves it at what they come from, unless the list has changed since
    /// it had that revision; false then.
    bool refresh(SnippetMatches rows, std::uint64_t revision);
    void clear();
    /// Takes the row and empties the list, so that of two keys that choose at once only one sends;
    /// null when there is no such row.
    std::optional<Choice> take(std::size_t index);

    std::size_t count() const { return count_; }
    bool empty() const { return count() == 0; }
    bool selectingSnippet() const { return selectingSnippet_; }
    /// Another number after each change.
    std::uint64_t revision() const { return revision_; }
    /// A copy of all rows, for a window to show.
    SnippetMatches rows() const;

  private:
    void replace(SnippetMatches rows, bool selectingSnippet);

    mutable std::mutex mutex_;
    SnippetMatches rows_;
    /// Copies for the tap thread, which asks at each key.
    std::atomic<std::size_t> count_{0};
    std::atomic<bool> selectingSnippet_{false};
    std::atomic<std::uint64_t> revision_{0};
};

} // namespace dresk
