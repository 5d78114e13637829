#include <algorithm>

#include "Foundation/CharacterSet.h"
#include "input/MacInputService.h"

namespace dresk {

namespace {

constexpr std::uint64_t DefaultBlockLength = 20;

bool standsAlone(char16_t unit) {
    return unit == u'\t' || CharacterSet::newlineCharacterSet().contains(unit);
}

} // namespace

// Only the first unit of a piece is tested, so that a line end further inside stays in it; nor are
// surrogate pairs kept together. Both are meant: the desktop joins what a piece cuts.
OutputFragments
MacInputService::fragmentsForPlainText(StringView text,
                                       const ContextInputSetting& contextInputSetting) {
    const std::uint64_t blockLength =
        contextInputSetting.blockLength != 0 ? contextInputSetting.blockLength : DefaultBlockLength;
    OutputFragments result;
    while (!text.empty()) {
        const std::uint64_t length =
            standsAlone(text.front()) ? 1 : std::min<std::uint64_t>(blockLength, text.size());
        result.emplace_back(String(text.substr(0, length)));
        text.remove_prefix(length);
    }
    return result;
}

OutputFragments
MacInputService::fragmentsForOutputFragments(const OutputFragments& fragments,
                                             const ContextInputSetting& contextInputSetting) {
    OutputFragments result;
    for (const OutputFragment& fragment : fragments) {
        if (const auto* text = std::get_if<String>(&fragment)) {
            auto pieces = fragmentsForPlainText(*text, contextInputSetting);
            std::move(pieces.begin(), pieces.end(), std::back_inserter(result));
        } else {
            result.push_back(fragment);
        }
    }
    return result;
}

void MacInputService::refreshFragmentsForOuput(DROutput& output,
                                               const ContextInputSetting& contextInputSetting) {
    const SnippetExpandedContent* content = output.snippetExpandedContent.get();
    output.leftArrowCount = content != nullptr ? content->caretDistanceFromEnding() : 0;
    output.refreshFragments();
    if (content != nullptr && !content->isRichText() && !contextInputSetting.useClipboard)
        output.fragments = fragmentsForOutputFragments(output.fragments, contextInputSetting);
}

std::uint64_t MacInputService::eventCountForOutput(const DROutput& output) {
    std::uint64_t count = output.backspaceCount + output.leftArrowCount;
    for (const OutputFragment& fragment : output.fragments) {
        if (const auto* key = std::get_if<std::shared_ptr<SnippetKeyVariable>>(&fragment))
            count += (*key)->count();
        else if (std::holds_alternative<String>(fragment))
            ++count;
    }
    return count;
}

} // namespace dresk
