#pragma once

#include <atomic>

#include "language/SnippetExpandedContent.h"
#include "language/SnippetVariable.h"
#include "seam/ContextInputSetting.h"

namespace dresk {

/// How an expansion was started. AmbiguousListFlag is added to Accepted or Selected.
namespace SnippetTrigger {
inline constexpr std::int32_t Direct = 1;
inline constexpr std::int32_t Typed = 2;
inline constexpr std::int32_t Accepted = 4;
inline constexpr std::int32_t Selected = 8;
inline constexpr std::int32_t AmbiguousListFlag = 16;
inline constexpr std::int32_t ScriptResult = 32;
inline constexpr std::int32_t HotKey = 64;
} // namespace SnippetTrigger

/// One thing to deliver: text to type or paste, rich text to paste, or a key to press.
using OutputFragment = std::variant<String, AttributedString, std::shared_ptr<SnippetKeyVariable>>;
using OutputFragments = std::vector<OutputFragment>;

/// One job for the sender. Made and kept by the engine, carried out on the tap thread; `finished`
/// may be read from any thread.
class DROutput {
  public:
    /// Snapshot given by the sender when it takes the job; null before.
    std::shared_ptr<ContextInputSetting> contextInputSetting;
    /// A SnippetTrigger; sending tests only for Typed.
    std::int32_t trigger = 0;
    /// The key that caused the job is to be swallowed.
    bool cancelTrigger = false;
    /// Characters still to erase.
    std::uint64_t backspaceCount = 0;
    /// Left-arrow presses still to send at the end.
    std::uint64_t leftArrowCount = 0;
    /// What to deliver; null for a job that only erases.
    std::shared_ptr<SnippetExpandedContent> snippetExpandedContent;
    /// What is still to deliver, in order.
    OutputFragments fragments;
    std::uint64_t order = 0;
    /// The sender cannot type some of the text, so nothing was erased or typed.
    bool rejected = false;
    /// The last step has run.
    std::atomic<bool> finished{false};

    /// Makes the fragments anew from the content.
    void refreshFragments();

    /// The content with its key presses at their places.
    static OutputFragments fragmentsForPlainTextSnippet(const SnippetExpandedContent& content);
    static OutputFragments fragmentsForRichTextSnippet(const SnippetExpandedContent& content);
};

} // namespace dresk
