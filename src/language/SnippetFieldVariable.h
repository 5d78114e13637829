#pragma once

#include "language/SnippetVariable.h"

namespace dresk {

/// A question that the expansion puts to the user. Fields of one name are not merged: each has its
/// own place in the text.
class SnippetFieldVariable final : public SnippetVariable {
  public:
    enum Type : std::int64_t { Singleline, Multiline, PopupMenu, Number };

    SnippetFieldVariable() = default;
    explicit SnippetFieldVariable(const SnippetVariableParams& params);
    std::optional<String> toString() const override;

    /// One of `Type`; nothing is shown for other values.
    std::int64_t type() const { return type_; }
    void setType(std::int64_t type) { type_ = type; }
    bool isSingleline() const { return type_ == Singleline; }
    bool isMultiline() const { return type_ == Multiline; }
    bool isPopupMenu() const { return type_ == PopupMenu; }
    bool isNumber() const { return type_ == Number; }
    bool canSetWidth() const { return isSingleline() || isMultiline(); }
    bool canSetHeight() const { return isMultiline(); }
    bool canSetReadonly() const override { return isSingleline() || isMultiline(); }

    /// Caption, and what ties fields together; null or empty ties nothing.
    const std::optional<String>& name() const { return name_; }
    void setName(std::optional<String> name) { name_ = std::move(name); }
    /// Default text, items of a popup menu by lines, or a number or formula; after the form the
    /// answer.
    const std::optional<String>& value() const { return value_; }
    void setValue(std::optional<String> value) { value_ = std::move(value); }
    /// Goes into the text instead of the value; null for none.
    const std::optional<AttributedString>& richTextValue() const { return richTextValue_; }
    void setRichTextValue(std::optional<AttributedString> value) {
        richTextValue_ = std::move(value);
    }
    /// Columns.
    std::int64_t width() const { return width_; }
    void setWidth(std::int64_t width) { width_ = width; }
    /// Whether a width was given; only then is it written back.
    bool hasWidth() const { return hasWidth_; }
    void setHasWidth(bool value) { hasWidth_ = value; }
    /// Rows.
    std::int64_t height() const { return height_; }
    void setHeight(std::int64_t height) { height_ = height; }
    bool hasHeight() const { return hasHeight_; }
    void setHasHeight(bool value) { hasHeight_ = value; }
    /// Kept, but the form shows the first item.
    std::int64_t defaultIndex() const { return defaultIndex_; }
    void setDefaultIndex(std::int64_t index) { defaultIndex_ = index; }

  private:
    std::int64_t type_ = Singleline;
    std::optional<String> name_;
    std::optional<String> value_;
    std::optional<AttributedString> richTextValue_;
    std::int64_t width_ = 0;
    bool hasWidth_ = false;
    std::int64_t height_ = 0;
    bool hasHeight_ = false;
    std::int64_t defaultIndex_ = 0;
};

} // namespace dresk
