#pragma once

#include "language/GCMathParser.h"

namespace dresk {

/// Cuts an expression into tokens. Its place belongs to one evaluation.
class GCMathScanner {
  public:
    enum class TokenType { End, Number, Function, Variable, Character };
    struct Token {
        TokenType type = TokenType::End;
        double number = 0;
        GCMathParser::Symbol* symbol = nullptr;
        char character = 0;

        bool is(char c) const { return type == TokenType::Character && character == c; }
    };

    /// Both outlive the scanner. Words that `parser` does not know become variables of it.
    GCMathScanner(std::string_view text, GCMathParser& parser) : text_(text), parser_(parser) {}

    /// A line feed at the end of the text, then End. A byte beyond ASCII reads as End, too.
    Token next();

  private:
    Token number();
    Token word();

    std::string_view text_;
    GCMathParser& parser_;
    std::size_t position_ = 0;
    bool lineEnded_ = false;
};

} // namespace dresk
