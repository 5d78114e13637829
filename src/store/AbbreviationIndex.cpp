#include "store/AbbreviationIndex.h"

#include <algorithm>
#include <bit>

#include "Foundation/Unicode.h"
#include "store/Snippet.h"

namespace dresk {

void SuffixHashes::reset(StringView letters) {
    letters_ = letters;
    hashes_.clear();
    onlySimpleUnits_ = true;
    others_.clear();
}

std::uint64_t SuffixHashes::extend(std::size_t length) {
    while (onlySimpleUnits_ && hashes_.size() < length) {
        const auto unit = simpleLowercaseUnit(letters_[letters_.size() - 1 - hashes_.size()]);
        onlySimpleUnits_ = unit.has_value();
        if (onlySimpleUnits_)
            hashes_.push_back(
                lowercaseHashStep(hashes_.empty() ? LowercaseHashSeed : hashes_.back(), *unit));
    }
    return onlySimpleUnits_ ? hashes_[length - 1] : hashOfWholeSuffix(length);
}

std::uint64_t SuffixHashes::hashOfWholeSuffix(std::size_t length) {
    for (const auto& [knownLength, hash] : others_)
        if (knownLength == length)
            return hash;
    const std::uint64_t hash = hashOfLowercaseString(letters_.substr(letters_.size() - length));
    others_.emplace_back(length, hash);
    return hash;
}

std::vector<AbbreviationIndex::Entry>
AbbreviationIndex::entriesOf(const std::vector<std::shared_ptr<Snippet>>& items) {
    std::vector<Entry> entries;
    entries.reserve(items.size());
    const auto add = [&](const String& text, std::uint64_t hash, Hit hit) {
        if (!text.empty())
            entries.push_back({hash, static_cast<std::uint32_t>(text.size()), hit});
    };
    for (std::uint32_t i = 0; i < items.size(); ++i) {
        const Snippet& snippet = *items[i];
        if (snippet.abbreviation().has_value())
            add(*snippet.abbreviation(), snippet.abbreviationHash(), {i, 0});
        if (!snippet.aliases().has_value())
            continue;
        const auto& aliases = *snippet.aliases();
        for (std::uint32_t n = 0; n < aliases.size(); ++n)
            add(aliases[n], (*snippet.aliasHashes())[n], {i, n + 1});
    }
    return entries;
}

void AbbreviationIndex::build(const std::vector<std::shared_ptr<Snippet>>& items) {
    const std::vector<Entry> entries = entriesOf(items);

    lengths_.clear();
    for (const Entry& entry : entries)
        lengths_.push_back(entry.length);
    std::sort(lengths_.begin(), lengths_.end());
    lengths_.erase(std::unique(lengths_.begin(), lengths_.end()), lengths_.end());
    lengths_.shrink_to_fit();

    constexpr std::size_t filterBitsPerEntry = 16;
    const std::size_t filterBits =
        std::bit_ceil(std::max<std::size_t>(64, entries.size() * filterBitsPerEntry));
    filterShift_ = 64 - static_cast<unsigned>(std::countr_zero(filterBits));
    filter_.assign(filterBits / 64, 0);
    for (const Entry& entry : entries) {
        const std::uint64_t bit = keyOf(entry.hash, entry.length) >> filterShift_;
        filter_[bit >> 6] |= std::uint64_t{1} << (bit & 63);
    }
    sortIntoBuckets(entries);
}

void AbbreviationIndex::sortIntoBuckets(const std::vector<Entry>& entries) {
    const std::size_t buckets = std::bit_ceil(std::max<std::size_t>(2, entries.size()));
    bucketShift_ = 64 - static_cast<unsigned>(std::countr_zero(buckets));
    bucketStarts_.assign(buckets + 1, 0);
    const auto bucketOf = [&](const Entry& entry) {
        return keyOf(entry.hash, entry.length) >> bucketShift_;
    };
    for (const Entry& entry : entries)
        ++bucketStarts_[bucketOf(entry) + 1];
    for (std::size_t i = 1; i < bucketStarts_.size(); ++i)
        bucketStarts_[i] += bucketStarts_[i - 1];
    std::vector<std::uint32_t> next(bucketStarts_.begin(), bucketStarts_.end() - 1);
    entries_.resize(entries.size());
    for (const Entry& entry : entries)
        entries_[next[bucketOf(entry)]++] = entry;
}

void AbbreviationIndex::find(SuffixHashes& hashes, std::vector<Hit>& hits) const {
    hits.clear();
    const std::size_t available = hashes.letters().size();
    for (const std::uint32_t length : lengths_) {
        if (length > available)
            break;
        const std::uint64_t hash = hashes.hashOfLength(length);
        const std::uint64_t key = keyOf(hash, length);
        const std::uint64_t bit = key >> filterShift_;
        if ((filter_[bit >> 6] >> (bit & 63) & 1) == 0)
            continue;
        const std::uint64_t bucket = key >> bucketShift_;
        for (std::uint32_t i = bucketStarts_[bucket]; i < bucketStarts_[bucket + 1]; ++i)
            if (entries_[i].hash == hash && entries_[i].length == length)
                hits.push_back(entries_[i].hit);
    }
    if (hits.size() > 1)
        std::sort(hits.begin(), hits.end());
}

} // namespace dresk
