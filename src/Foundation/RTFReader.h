#pragma once

#include <map>
#include <vector>

#include "Foundation/FileWrapper.h"
#include "Foundation/TextAttributes.h"
#include "Foundation/TextDecoder.h"

namespace dresk {

/// Reads one RTF document in a single pass, without recursion. Groups beyond a fixed depth are read
/// as if they were not there.
class RTFReader {
  public:
    RTFReader(std::string_view bytes, const FileWrapper* files) : bytes_(bytes), files_(files) {}
    AttributedString read();

  private:
    enum class Destination { Text, Skipped, FontTable, ColorTable, Instruction, Graphic, Picture };

    struct Font {
        String name;
        unsigned codePage = 0;
    };
    /// What a group inherits and restores.
    struct State {
        Destination destination = Destination::Text;
        int font = -1;
        int halfPoints = 24;
        bool bold = false;
        bool italic = false;
        std::int64_t underline = 0;
        std::int64_t strikethrough = 0;
        std::int64_t superscript = 0;
        int foreground = 0;
        int background = 0;
        std::optional<TextAlignment> alignment;
        /// Twips; the first line's counts from the other.
        int indent = 0;
        int firstLineIndent = 0;
        int fallbackLength = 1;
        /// Index into `links_`, 0 for none.
        std::size_t link = 0;
        /// The group that the field stands in, 0 outside of one.
        std::size_t fieldGroup = 0;

        friend auto operator<=>(const State&, const State&) = default;
    };
    struct ControlWord {
        std::string_view name;
        bool hasNumber = false;
        int number = 0;
    };

    State& state() { return groups_.back(); }
    void openGroup();
    void closeGroup();
    void readControl();
    ControlWord readControlWord();
    void readSymbol(char symbol);
    void apply(const ControlWord& word);
    bool applyDestination(const ControlWord& word);
    bool applyCharacter(const ControlWord& word);
    bool applyTable(const ControlWord& word);
    bool applyDocument(const ControlWord& word);
    void applyFormat(const ControlWord& word);
    bool applyStyle(const ControlWord& word);
    bool applyParagraphFormat(const ControlWord& word);

    /// Of a hexadecimal digit, negative for any other character.
    void byte(char c);
    void unit(char16_t c);
    void flushBytes();
    void emit(StringView text);
    void emitGraphic();
    void emitAttachment(std::shared_ptr<const TextAttachment> attachment);
    void endInstruction();
    void endPicture();
    void tableText(StringView text);
    unsigned codePage() const;
    AttributedString::Attributes attributes();
    void fillAttributes(TextAttributes& result) const;

    std::string_view bytes_;
    const FileWrapper* files_;
    std::size_t position_ = 0;
    std::vector<State> groups_{State()};
    std::size_t ignoredGroups_ = 0;
    int skip_ = 0;
    bool ignorableDestination_ = false;
    std::string pendingBytes_;
    unsigned documentCodePage_ = TextDecoder::WesternEuropean;
    int defaultFont_ = -1;
    std::map<int, Font> fonts_;
    std::vector<std::optional<TextColor>> colors_;
    std::optional<TextColor> color_;
    String instruction_;
    std::vector<String> links_{String()};
    String graphicName_;
    bool attachmentFollows_ = false;
    std::string picture_;
    /// The high half of a byte of the picture; negative between bytes.
    int pictureDigit_ = -1;
    TextDecoder decoder_;
    std::map<State, AttributedString::Attributes> knownAttributes_;
    String text_;
    std::vector<AttributedString::Run> runs_;
};

} // namespace dresk
