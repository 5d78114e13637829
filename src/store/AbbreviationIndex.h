#pragma once

#include <memory>
#include <vector>

#include "Foundation/String.h"

namespace dresk {

class Snippet;

/// Hashes of the endings of one text, lower-cased as hashOfLowercaseString does, and worked out
/// only as far as they are asked for. Keeps its memory from one text to the next. One thread at a
/// time.
class SuffixHashes {
  public:
    /// `letters` must stay as it is until the next reset.
    void reset(StringView letters);
    StringView letters() const { return letters_; }
    /// Hash of the last `length` units; `length` is 1 to the length of the letters.
    std::uint64_t hashOfLength(std::size_t length) {
        return length <= hashes_.size() ? hashes_[length - 1] : extend(length);
    }

  private:
    std::uint64_t extend(std::size_t length);
    std::uint64_t hashOfWholeSuffix(std::size_t length);

    StringView letters_;
    /// Element n is the hash of the last n+1 units; reaches to the first unit, from the right, that
    /// has no lower-case form of its own.
    std::vector<std::uint64_t> hashes_;
    bool onlySimpleUnits_ = true;
    /// Lengths beyond that unit, with their hashes.
    std::vector<std::pair<std::size_t, std::uint64_t>> others_;
};

/// Finds the abbreviations and aliases of a list of snippets that may end a text, by length and
/// hash, without looking at the others. Reading needs no lock against reading.
class AbbreviationIndex {
  public:
    struct Hit {
        /// Index into the list of snippets.
        std::uint32_t item;
        /// 0 is the abbreviation, n the alias at n-1.
        std::uint32_t text;
        friend auto operator<=>(const Hit&, const Hit&) = default;
    };

    void build(const std::vector<std::shared_ptr<Snippet>>& items);
    /// Replaces `hits` by what has the length and hash of some ending of the letters, in the order
    /// of the list, the abbreviation before the aliases. The texts themselves are not compared.
    void find(SuffixHashes& hashes, std::vector<Hit>& hits) const;

  private:
    struct Entry {
        std::uint64_t hash;
        std::uint32_t length;
        Hit hit;
    };

    static std::uint64_t keyOf(std::uint64_t hash, std::size_t length) {
        return (hash + length) * 0x9E3779B97F4A7C15;
    }
    static std::vector<Entry> entriesOf(const std::vector<std::shared_ptr<Snippet>>& items);
    void sortIntoBuckets(const std::vector<Entry>& entries);

    /// Distinct lengths, ascending.
    std::vector<std::uint32_t> lengths_;
    /// One bit for the topmost bits of each key; small enough to stay in the cache, so that nearly
    /// every miss ends here.
    std::vector<std::uint64_t> filter_;
    unsigned filterShift_ = 0;
    /// Entries of bucket n stand from bucketStarts_[n] to bucketStarts_[n+1].
    std::vector<std::uint32_t> bucketStarts_;
    unsigned bucketShift_ = 0;
    std::vector<Entry> entries_;
};

} // namespace dresk
