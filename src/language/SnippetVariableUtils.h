#pragma once

#include "language/SnippetVariable.h"

namespace dresk {

/// The brackets around a token of stored content.
inline constexpr char16_t TokenOpening = u'\u3010';
inline constexpr char16_t TokenClosing = u'\u3011';

/// A token of edit content: what stands for it is one attachment character.
struct ZPTextAttachmentCell {
    enum class Look { Variable, Alias };
    Look look = Look::Variable;
    /// The token's body, or the alias. Empty for none.
    String stringValue;
};

/// From a token's body to a variable, and between stored and edit content. Any thread.
///
/// Stored content holds tokens as plain characters. Edit content holds each token that begins with
/// a keyword as one attachment character with a cell, and the body as its tool tip.
class SnippetVariableUtils {
  public:
    SnippetVariableUtils() = delete;

    /// The text as a parameter's value. The closing bracket cannot be escaped.
    static String escapeParam(StringView text);
    /// Null if the body is no variable's.
    static std::shared_ptr<SnippetVariable> parseVariable(StringView body);
    /// "【body】"
    static String token(StringView body);
    /// Whether the editor turns such a body into a cell.
    static bool beginsWithKeyword(StringView body);

    static AttributedString attributedStringFromVariable(StringView body);
    static AttributedString attributedStringFromAlias(StringView alias);
    /// The cell at a character with these attributes; null if there is none, as for a picture.
    static std::optional<ZPTextAttachmentCell>
    textAttachmentCell(const AttributedString::Attributes& attributes);

    static AttributedString convertToSnippetEditContent(const AttributedString& content);
    static AttributedString convertFromSnippetEditContent(const AttributedString& content);
    /// Replaces each cell by its string value between `prefix` and `suffix`. Pictures stay.
    static AttributedString
    attributedStringByRemovingTextAttachment(const AttributedString& content, StringView prefix,
                                             StringView suffix);
};

} // namespace dresk
