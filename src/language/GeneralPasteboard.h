#pragma once

#include <functional>
#include <map>
#include <vector>

#include "Foundation/AttributedString.h"

namespace dresk {

namespace PasteboardType {
inline constexpr StringView String = u"public.utf8-plain-text";
inline constexpr StringView RTFD = u"com.apple.flat-rtfd";
inline constexpr StringView RTF = u"public.rtf";
inline constexpr StringView HTML = u"public.html";
inline constexpr StringView PNG = u"public.png";
inline constexpr StringView PDF = u"com.adobe.pdf";
inline constexpr StringView TIFF = u"public.tiff";
} // namespace PasteboardType

/// The clipboard as an expansion reads it. Called on the thread of the expansion, which holds up a
/// key: answers come at once, or not at all.
class GeneralPasteboard {
  public:
    GeneralPasteboard() = default;
    GeneralPasteboard(const GeneralPasteboard&) = delete;
    GeneralPasteboard& operator=(const GeneralPasteboard&) = delete;
    virtual ~GeneralPasteboard() = default;

    virtual bool offersType(StringView type) = 0;
    /// Null when the owner gives none.
    virtual std::optional<std::string> dataForType(StringView type) = 0;
    /// The text; null where there is none.
    virtual std::optional<String> string() = 0;
};

/// A clipboard of its own, for tests and for programs without a desktop. One thread.
class InMemoryPasteboard final : public GeneralPasteboard {
  public:
    bool offersType(StringView type) override { return data_.contains(type); }
    std::optional<std::string> dataForType(StringView type) override;
    std::optional<String> string() override { return string_; }

    void clear();
    void setData(StringView type, std::string data);
    void setString(std::optional<String> text) { string_ = std::move(text); }

  private:
    std::map<String, std::string, std::less<>> data_;
    std::optional<String> string_;
};

/// Builds attributed text from the bytes of a pasteboard type; null if it cannot. Throws nothing.
using RichTextReader =
    std::function<std::optional<AttributedString>(StringView type, const std::string& data)>;

/// The reader for RTFD, RTF and HTML. Any thread. An expansion gives it no more than 2 MB of HTML
/// and 4 MB of the others, and takes the plain text beyond that.
RichTextReader pasteboardRichTextReader();

} // namespace dresk
