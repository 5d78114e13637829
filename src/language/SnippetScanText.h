#pragma once

#include "language/SnippetExpandedContent.h"

namespace dresk {

/// The text under a scan, in two parts: what is done, and the rest with the scan at its front. Time
/// is linear in all text that passes through, so nested content may go back in front of the rest
/// again and again.
class SnippetScanText {
  public:
    using Content = SnippetExpandedContent::Content;

    SnippetScanText(const AttributedString& content, bool isRichText);

    /// Moves on to the next token, "【" through the first "】" behind it. False at the end.
    bool findToken();
    /// The token's place in the text.
    std::uint64_t location() const { return done_.size(); }
    /// Between the brackets. Valid until the token is settled.
    StringView body() const;
    /// Of the token's first character; null in plain text.
    AttributedString::Attributes attributes() const;

    /// One of these settles the token that was found. The scan goes on behind it or behind what
    /// took its place; the last two go on at the start of the text put there.
    void keepToken();
    void deleteToken();
    void replaceToken(StringView text);
    void replaceToken(const AttributedString& text);
    void replaceTokenAndScan(StringView text);
    void replaceTokenAndScan(const AttributedString& text);

    /// When there is no token left.
    Content finish();

  private:
    StringView rest() const { return StringView(rest_).substr(front_); }
    void moveToDone(std::size_t length);
    void drop(std::size_t length);
    template <class Receiver>
    void takeRuns(std::size_t length, Receiver receiver);
    void appendRun(AttributedString::Run run);
    void prepend(StringView text);

    bool isRichText_;
    String done_;
    std::vector<AttributedString::Run> doneRuns_;
    /// The rest begins at `front_`; what lies before is room for text that comes back.
    String rest_;
    std::size_t front_ = 0;
    /// The first run of the rest stands last.
    std::vector<AttributedString::Run> restRuns_;
    std::size_t tokenLength_ = 0;
};

} // namespace dresk
