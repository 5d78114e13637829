#include "language/GCMathScanner.h"

#include "Foundation/StringNumbers.h"

namespace dresk {

namespace {

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

} // namespace

GCMathScanner::Token GCMathScanner::next() {
    while (position_ < text_.size() && (text_[position_] == ' ' || text_[position_] == '\t'))
        ++position_;
    if (position_ >= text_.size() || text_[position_] == '\0') {
        if (lineEnded_)
            return {};
        lineEnded_ = true;
        return {.type = TokenType::Character, .character = '\n'};
    }
    const char c = text_[position_];
    if (isDigit(c) || c == '.')
        return number();
    if (isLetter(c))
        return word();
    if (static_cast<unsigned char>(c) > 127)
        return {};
    ++position_;
    return {.type = TokenType::Character, .character = c};
}

// A lone point is 0 and is not passed: the same token comes again, and two numbers in a row are an
// error.
GCMathScanner::Token GCMathScanner::number() {
    std::size_t length = 0;
    const double value = unsignedNumberAt(text_.substr(position_), length);
    position_ += length;
    return {.type = TokenType::Number, .number = value};
}

GCMathScanner::Token GCMathScanner::word() {
    const std::size_t start = position_;
    while (position_ < text_.size() && (isLetter(text_[position_]) || isDigit(text_[position_])))
        ++position_;
    const std::string name(text_.substr(start, position_ - start));
    GCMathParser::Symbol* symbol = parser_.getSymbolForCString(name);
    if (symbol == nullptr)
        symbol = parser_.initSymbol(name, GCMathParser::SymbolType::Variable);
    return {.type = symbol->type == GCMathParser::SymbolType::Function ? TokenType::Function
                                                                       : TokenType::Variable,
            .symbol = symbol};
}

} // namespace dresk
