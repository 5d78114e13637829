#include "Foundation/RTFReader.h"

#include <algorithm>
#include <array>

#include "Foundation/RTF.h"
#include "Foundation/StringNumbers.h"

namespace dresk {

namespace {

constexpr std::size_t MaximumDepth = 2000;

constexpr std::array<std::string_view, 33> SkippedDestinations{
    "stylesheet",       "info",       "header",    "headerl",           "headerr",
    "headerf",          "footer",     "footerl",   "footerr",           "footerf",
    "object",           "themedata",  "listtable", "listoverridetable", "filetbl",
    "revtbl",           "generator",  "xmlnstbl",  "datastore",         "nonshppict",
    "footnote",         "annotation", "bkmkstart", "bkmkend",           "colorschememapping",
    "latentstyles",     "rsidtbl",    "pgdsctbl",  "NeXTGraphicInfo",   "fldtype",
    "expandedcolortbl", "pntext",     "listtext"};

struct NamedCharacter {
    std::string_view word;
    char16_t unit;
};
constexpr std::array<NamedCharacter, 18> NamedCharacters{{{"par", u'\n'},
                                                          {"sect", u'\n'},
                                                          {"row", u'\n'},
                                                          {"nestrow", u'\n'},
                                                          {"line", u'\u2028'},
                                                          {"page", u'\f'},
                                                          {"tab", u'\t'},
                                                          {"cell", u'\t'},
                                                          {"nestcell", u'\t'},
                                                          {"emdash", u'\u2014'},
                                                          {"endash", u'\u2013'},
                                                          {"lquote", u'\u2018'},
                                                          {"rquote", u'\u2019'},
                                                          {"ldblquote", u'\u201C'},
                                                          {"rdblquote", u'\u201D'},
                                                          {"bullet", u'\u2022'},
                                                          {"emspace", u'\u2003'},
                                                          {"enspace", u'\u2002'}}};

struct CharacterSetPage {
    int characterSet;
    unsigned codePage;
};
constexpr std::array<CharacterSetPage, 16> CharacterSetPages{{{77, TextDecoder::MacRoman},
                                                              {128, 932},
                                                              {129, 949},
                                                              {134, 936},
                                                              {136, 950},
                                                              {161, 1253},
                                                              {162, 1254},
                                                              {163, 1258},
                                                              {177, 1255},
                                                              {178, 1256},
                                                              {186, 1257},
                                                              {204, 1251},
                                                              {222, 874},
                                                              {238, 1250},
                                                              {254, 437},
                                                              {255, 850}}};

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

} // namespace

AttributedString RTFReader::read() {
    while (position_ < bytes_.size()) {
        const char c = bytes_[position_++];
        if (c == '{') {
            openGroup();
        } else if (c == '}') {
            closeGroup();
            if (groups_.size() == 1 && ignoredGroups_ == 0)
                break; // the document ends with its outermost group
        } else if (c == '\\') {
            readControl();
        } else if (c != '\r' && c != '\n') {
            byte(c);
        }
    }
    flushBytes();
    return AttributedString(std::move(text_), std::move(runs_));
}

void RTFReader::openGroup() {
    flushBytes();
    skip_ = 0;
    if (groups_.size() >= MaximumDepth) {
        ++ignoredGroups_;
        return;
    }
    groups_.push_back(State(groups_.back()));
}

void RTFReader::closeGroup() {
    flushBytes();
    skip_ = 0;
    ignorableDestination_ = false;
    if (ignoredGroups_ > 0) {
        --ignoredGroups_;
        return;
    }
    if (groups_.size() == 1)
        return;
    const State closed = groups_.back();
    groups_.pop_back();
    if (closed.destination == state().destination)
        return;
    if (closed.destination == Destination::Instruction)
        endInstruction();
    else if (closed.destination == Destination::Graphic)
        attachmentFollows_ = true;
    else if (closed.destination == Destination::Picture)
        endPicture();
}

void RTFReader::readControl() {
    if (position_ >= bytes_.size())
        return;
    const char c = bytes_[position_];
    if (isLetter(c)) {
        apply(readControlWord());
        return;
    }
    ++position_;
    if (c == '\'') {
        const int high = position_ < bytes_.size() ? hexDigitValue(bytes_[position_]) : -1;
        const int low = position_ + 1 < bytes_.size() ? hexDigitValue(bytes_[position_ + 1]) : -1;
        if (high >= 0 && low >= 0) {
            position_ += 2;
            byte(static_cast<char>(high << 4 | low));
        }
        return;
    }
    readSymbol(c);
}

void RTFReader::readSymbol(char symbol) {
    switch (symbol) {
    case '\\':
    case '{':
    case '}':
        byte(symbol);
        break;
    case '\r':
        if (position_ < bytes_.size() && bytes_[position_] == '\n')
            ++position_;
        unit(u'\n');
        break;
    case '\n':
        unit(u'\n');
        break;
    case '~':
        unit(u'\u00A0');
        break;
    case '-':
        unit(u'\u00AD');
        break;
    case '_':
        unit(u'\u2011');
        break;
    case '*':
        ignorableDestination_ = true;
        break;
    default:
        break;
    }
}

RTFReader::ControlWord RTFReader::readControlWord() {
    ControlWord word;
    const std::size_t start = position_;
    while (position_ < bytes_.size() && isLetter(bytes_[position_]))
        ++position_;
    word.name = bytes_.substr(start, position_ - start);
    bool negative = false;
    if (position_ + 1 < bytes_.size() && bytes_[position_] == '-' &&
        isDigit(bytes_[position_ + 1])) {
        negative = true;
        ++position_;
    }
    while (position_ < bytes_.size() && isDigit(bytes_[position_])) {
        word.hasNumber = true;
        if (word.number < 100'000'000)
            word.number = word.number * 10 + (bytes_[position_] - '0');
        ++position_;
    }
    if (negative)
        word.number = -word.number;
    if (position_ < bytes_.size() && bytes_[position_] == ' ')
        ++position_;
    return word;
}

void RTFReader::apply(const ControlWord& word) {
    if (word.name == "u" && word.hasNumber) {
        unit(static_cast<char16_t>(word.number));
        skip_ = state().fallbackLength;
        return;
    }
    if (word.name == "bin") {
        const auto length = static_cast<std::size_t>(std::max(0, word.number));
        if (state().destination == Destination::Picture)
            picture_.append(bytes_.substr(position_, length));
        position_ = std::min(bytes_.size(), position_ + length);
        return;
    }
    flushBytes();
    const bool ignorable = ignorableDestination_;
    ignorableDestination_ = false;
    if (applyDestination(word))
        return;
    if (ignorable) {
        state().destination = Destination::Skipped;
        return;
    }
    if (applyDocument(word) || applyTable(word) || applyCharacter(word))
        return;
    if (state().destination == Destination::Text && !applyParagraphFormat(word))
        applyFormat(word);
}

bool RTFReader::applyDestination(const ControlWord& word) {
    Destination& destination = state().destination;
    if (destination == Destination::Skipped)
        return true;
    if (word.name == "fonttbl") {
        destination = Destination::FontTable;
    } else if (word.name == "colortbl") {
        destination = Destination::ColorTable;
        color_.reset();
    } else if (word.name == "field") {
        state().fieldGroup = groups_.size() - 1;
    } else if (word.name == "fldinst") {
        destination = Destination::Instruction;
        instruction_.clear();
    } else if (word.name == "NeXTGraphic") {
        destination = Destination::Graphic;
        graphicName_.clear();
    } else if (word.name == "pict") {
        destination = Destination::Picture;
        picture_.clear();
        pictureDigit_ = -1;
    } else if (word.name == "shppict") {
        return true; // holds the picture that is meant for readers who know this word
    } else if (std::find(SkippedDestinations.begin(), SkippedDestinations.end(), word.name) !=
               SkippedDestinations.end()) {
        destination = Destination::Skipped;
    } else {
        return false;
    }
    return true;
}

bool RTFReader::applyCharacter(const ControlWord& word) {
    for (const NamedCharacter& named : NamedCharacters)
        if (named.word == word.name) {
            unit(named.unit);
            return true;
        }
    return false;
}

bool RTFReader::applyTable(const ControlWord& word) {
    if (state().destination == Destination::FontTable) {
        if (word.name == "f") {
            state().font = word.number;
            fonts_[word.number] = {};
        } else if (word.name == "fcharset") {
            for (const CharacterSetPage& page : CharacterSetPages)
                if (page.characterSet == word.number)
                    fonts_[state().font].codePage = page.codePage;
        } else if (word.name == "cpg" && word.number > 0) {
            fonts_[state().font].codePage = static_cast<unsigned>(word.number);
        }
        return true;
    }
    if (state().destination == Destination::ColorTable) {
        const double value = std::clamp(word.number, 0, 255) / 255.0;
        if (!color_.has_value())
            color_.emplace();
        if (word.name == "red")
            color_->red = value;
        else if (word.name == "green")
            color_->green = value;
        else if (word.name == "blue")
            color_->blue = value;
        return true;
    }
    return false;
}

bool RTFReader::applyDocument(const ControlWord& word) {
    if (word.name == "ansicpg" && word.number > 0)
        documentCodePage_ = static_cast<unsigned>(word.number);
    else if (word.name == "mac")
        documentCodePage_ = TextDecoder::MacRoman;
    else if (word.name == "pc")
        documentCodePage_ = 437;
    else if (word.name == "pca")
        documentCodePage_ = 850;
    else if (word.name == "deff")
        defaultFont_ = word.number;
    else if (word.name == "uc")
        state().fallbackLength = std::clamp(word.number, 0, 1000);
    else
        return false;
    return true;
}

bool RTFReader::applyParagraphFormat(const ControlWord& word) {
    constexpr int LargestIndent = 30'000;
    if (word.name == "pard") {
        state().alignment.reset();
        state().indent = state().firstLineIndent = 0;
    } else if (word.name == "li")
        state().indent = std::clamp(word.number, -LargestIndent, LargestIndent);
    else if (word.name == "fi")
        state().firstLineIndent = std::clamp(word.number, -LargestIndent, LargestIndent);
    else if (word.name == "ql")
        state().alignment = TextAlignment::Left;
    else if (word.name == "qr")
        state().alignment = TextAlignment::Right;
    else if (word.name == "qc")
        state().alignment = TextAlignment::Center;
    else if (word.name == "qj")
        state().alignment = TextAlignment::Justified;
    else
        return false;
    return true;
}

bool RTFReader::applyStyle(const ControlWord& word) {
    const bool on = !word.hasNumber || word.number != 0;
    State& current = state();
    if (word.name == "b") {
        current.bold = on;
    } else if (word.name == "i") {
        current.italic = on;
    } else if (word.name == "ul") {
        current.underline = on ? 1 : 0;
    } else if (word.name == "uldb") {
        current.underline = on ? 9 : 0;
    } else if (word.name == "ulnone") {
        current.underline = 0;
    } else if (word.name == "strike") {
        current.strikethrough = on ? 1 : 0;
    } else if (word.name == "striked") {
        current.strikethrough = on ? 9 : 0;
    } else if (word.name == "super") {
        current.superscript = on ? 1 : 0;
    } else if (word.name == "sub") {
        current.superscript = on ? -1 : 0;
    } else if (word.name == "nosupersub") {
        current.superscript = 0;
    } else {
        return false;
    }
    return true;
}

void RTFReader::applyFormat(const ControlWord& word) {
    State& current = state();
    if (applyStyle(word))
        return;
    if (word.name == "f") {
        current.font = word.number;
    } else if (word.name == "fs") {
        current.halfPoints = std::clamp(word.number, 1, 10000);
    } else if (word.name == "cf") {
        current.foreground = word.number;
    } else if (word.name == "cb" || word.name == "highlight" || word.name == "chcbpat") {
        current.background = word.number;
    } else if (word.name == "plain") {
        current.bold = current.italic = false;
        current.underline = current.strikethrough = current.superscript = 0;
        current.foreground = current.background = 0;
        current.font = defaultFont_;
        current.halfPoints = 24;
    }
}

std::optional<AttributedString> attributedStringWithRTF(std::string_view bytes,
                                                        const FileWrapper* files) {
    if (bytes.starts_with("\xEF\xBB\xBF"))
        bytes.remove_prefix(3);
    if (!bytes.starts_with("{\\rtf"))
        return std::nullopt;
    return RTFReader(bytes, files).read();
}

std::optional<AttributedString> attributedStringWithRTFD(std::string_view bytes) {
    if (bytes.starts_with("{\\rtf"))
        return attributedStringWithRTF(bytes);
    const auto wrapper = FileWrapper::fileWrapperWithSerializedRepresentation(bytes);
    const FileWrapper* text = wrapper.has_value() ? wrapper->child(u"TXT.rtf") : nullptr;
    return text != nullptr ? attributedStringWithRTF(text->contents, &*wrapper) : std::nullopt;
}

} // namespace dresk
