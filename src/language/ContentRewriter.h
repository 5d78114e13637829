#pragma once

#include "language/SnippetExpandedContent.h"

namespace dresk {

/// Makes a changed copy of a plain or attributed content from front to back, in time linear in its
/// length and its runs.
class ContentRewriter {
  public:
    using Content = SnippetExpandedContent::Content;

    /// `source` outlives the rewriter.
    explicit ContentRewriter(const Content& source);
    explicit ContentRewriter(const AttributedString& source);

    /// The source's text.
    StringView text() const { return text_; }
    /// The place reached in the source.
    std::uint64_t position() const { return position_; }
    /// Length of the result so far.
    std::uint64_t length() const { return result_.size(); }
    /// Attributes of the character at the position; at the end, of the last one.
    AttributedString::Attributes attributes() const;

    /// An index before the position or beyond the end is cut to it.
    void copyTo(std::uint64_t index);
    void skipTo(std::uint64_t index);
    void insert(StringView text, AttributedString::Attributes attributes);
    void insert(const AttributedString& text);

    /// Copies the rest; attributed exactly if the source is. Ends the rewriter.
    Content finish();
    AttributedString finishAttributed();

  private:
    void advanceTo(std::uint64_t index, bool copies);
    void appendRun(std::uint64_t length, AttributedString::Attributes attributes);

    StringView text_;
    /// Null for plain content.
    const std::vector<AttributedString::Run>* runs_ = nullptr;
    std::uint64_t position_ = 0;
    std::size_t runIndex_ = 0;
    std::uint64_t runOffset_ = 0;
    String result_;
    std::vector<AttributedString::Run> resultRuns_;
};

} // namespace dresk
