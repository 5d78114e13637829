#include "seam/DROutput.h"

#include <algorithm>

namespace dresk {

namespace {

// `slice` takes the part of the content in a range.
template <class Slice>
OutputFragments cutAtKeys(const SnippetExpandedContent& content, const Slice& slice) {
    OutputFragments result;
    const auto keys = content.keys();
    const std::uint64_t length = content.length();
    if (keys.empty()) {
        result.emplace_back(slice(Range{0, length}));
        return result;
    }
    std::uint64_t position = 0;
    for (const auto& key : keys) {
        const std::uint64_t location = std::min(key->location(), length);
        if (location > position)
            result.emplace_back(slice(Range{position, location - position}));
        result.emplace_back(key);
        position = location;
    }
    if (position < length)
        result.emplace_back(slice(Range{position, length - position}));
    return result;
}

} // namespace

OutputFragments DROutput::fragmentsForPlainTextSnippet(const SnippetExpandedContent& content) {
    return cutAtKeys(content, [&](Range range) {
        return content.string().substr(range.location, range.length);
    });
}

OutputFragments DROutput::fragmentsForRichTextSnippet(const SnippetExpandedContent& content) {
    return cutAtKeys(content, [&](Range range) {
        return std::get<AttributedString>(content.content()).attributedSubstring(range);
    });
}

void DROutput::refreshFragments() {
    fragments.clear();
    if (snippetExpandedContent == nullptr)
        return;
    fragments = snippetExpandedContent->isRichText()
                    ? fragmentsForRichTextSnippet(*snippetExpandedContent)
                    : fragmentsForPlainTextSnippet(*snippetExpandedContent);
}

} // namespace dresk
