#pragma once

#include <memory>
#include <vector>

#include "Foundation/String.h"

namespace dresk {

struct TextAttributes;

/// Text with runs of shared, immutable attributes. Value semantics; copies share the attributes.
/// Indexes and ranges are in 16-bit units; a range that reaches beyond the end is cut to it.
class AttributedString {
  public:
    /// Attributes of a run; null stands for no attributes at all.
    using Attributes = std::shared_ptr<const TextAttributes>;

    struct Run {
        std::uint64_t length = 0;
        Attributes attributes;
    };

    AttributedString() = default;
    explicit AttributedString(StringView text, Attributes attributes = nullptr);

    /// Runs that reach beyond the text are cut; text that they do not reach has no attributes.
    AttributedString(String text, std::vector<Run> runs);

    std::uint64_t length() const { return string_.size(); }
    const String& string() const { return string_; }
    /// Adjacent runs never have equal attributes, and no run is empty.
    const std::vector<Run>& runs() const { return runs_; }

    /// Attributes at `index`, which must be less than the length. `effectiveRange`, if given,
    /// receives the run that holds it.
    Attributes attributesAtIndex(std::uint64_t index, Range* effectiveRange = nullptr) const;

    AttributedString attributedSubstring(Range range) const;
    /// The new text takes the attributes of the range's first character; for an empty range those
    /// of the character before it, else of the one behind it.
    void replaceCharactersInRange(Range range, StringView text);
    void replaceCharactersInRange(Range range, const AttributedString& text);
    void deleteCharactersInRange(Range range) { replaceCharactersInRange(range, StringView()); }
    void insertAttributedString(const AttributedString& text, std::uint64_t index) {
        replaceCharactersInRange({index, 0}, text);
    }
    void appendAttributedString(const AttributedString& text) {
        insertAttributedString(text, length());
    }
    void setAttributes(const Attributes& attributes, Range range);

    /// Equality of characters and attributes.
    friend bool operator==(const AttributedString& a, const AttributedString& b);

  private:
    Range clamped(Range range) const;
    std::size_t splitRunsAt(std::uint64_t index);
    void joinRuns();

    String string_;
    std::vector<Run> runs_;
};

/// Whether two attribute sets, either of which may be null, say the same.
bool equalAttributes(const AttributedString::Attributes& a, const AttributedString::Attributes& b);

} // namespace dresk
