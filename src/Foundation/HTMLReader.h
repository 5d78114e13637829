#pragma once

#include <map>
#include <vector>

#include "Foundation/HTMLStyle.h"

namespace dresk {

/// Collects the text of one HTML document from the events of a parser. Elements come properly
/// nested; those beyond a fixed depth are read as if they were not there.
class HTMLReader {
  public:
    using Attribute = std::pair<std::string_view, std::string_view>;

    HTMLReader();

    void startElement(std::string_view name, const std::vector<Attribute>& attributes);
    void endElement();
    void characters(std::string_view text);
    /// Marks of a clipboard's fragment stand in comments.
    void comment(std::string_view text);
    AttributedString finish();

  private:
    enum class Kind { Other, List, OrderedList, Row, Cell };
    struct Element {
        Kind kind = Kind::Other;
        bool isBlock = false;
        /// No-break spaces in it stand for ordinary ones that HTML would drop.
        bool holdsBlanks = false;
        HTMLStyle style;
        /// Made when the first character needs them.
        AttributedString::Attributes known;
        /// Items of a list or cells of a row so far.
        int count = 0;
        /// Of a row or cell: length of the text where it began, and whether a line was to end
        /// there.
        std::size_t start = 0;
        bool lineEnded = false;
    };

    void applyElement(std::string_view name, Element& element);
    static void applyAttributes(std::string_view name, const std::vector<Attribute>& attributes,
                                Element& element, const HTMLStyle& outer, HTMLBox& box);
    void beginBlock(std::string_view name, Element& element);
    void beginItem();
    void beginCell(Element& cell);
    void endCell(const Element& cell);
    void image(const std::vector<Attribute>& attributes);

    void endLine();
    void lineBreak();
    void character(char16_t c);
    void put(char16_t c, const AttributedString::Attributes& attributes);
    void appendUnit(char16_t c, const AttributedString::Attributes& attributes);
    void appendToLine(StringView text);
    const AttributedString::Attributes& currentAttributes();
    AttributedString::Attributes attributesOfLineEnd();
    AttributedString::Attributes attributesFor(const HTMLStyle& style);

    std::vector<Element> elements_;
    /// Open elements that are left out with all they hold, and open ones beyond the depth.
    std::size_t leftOut_ = 0;
    std::size_t tooDeep_ = 0;
    bool fragmentBegan_ = false;
    bool fragmentEnded_ = false;

    /// A line ends before the next character; `br` alone ends one even if the line is empty.
    bool lineEnded_ = false;
    bool lineBroken_ = false;
    AttributedString::Attributes lineEndAttributes_;
    bool lineHasText_ = false;
    /// Behind a marker or at the start of a cell: a block opens no line, blanks are dropped.
    bool afterMarker_ = false;
    /// A blank comes before the next character of the line; null for none.
    bool blankFollows_ = false;
    AttributedString::Attributes blankAttributes_;
    bool preformattedBegan_ = false;

    std::map<HTMLStyle, AttributedString::Attributes> knownAttributes_;
    String text_;
    std::vector<AttributedString::Run> runs_;
};

} // namespace dresk
