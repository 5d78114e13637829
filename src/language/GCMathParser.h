#pragma once

#include <deque>
#include <string>
#include <unordered_map>
#include <variant>

#include "Foundation/String.h"

namespace dresk {

/// Why an expression gave no value.
struct GCMathError {
    /// Always "Error in expression".
    String name;
    /// Such as "error = parse error".
    String reason;
};

/// A number, or why there is none.
using GCMathResult = std::variant<double, GCMathError>;

/// Evaluates arithmetic over doubles with named variables and a fixed table of functions. Variables
/// live as long as the parser. Arithmetic errors are no errors: a division by zero is an infinity.
/// Time is linear in the expression. One thread at a time.
class GCMathParser {
  public:
    enum class SymbolType { Function = 259, Variable = 260 };
    using Function = double (*)(double);

    struct Symbol {
        /// UTF-8.
        std::string name;
        SymbolType type = SymbolType::Variable;
        double value = 0;
        /// For a function; null for one that was made without any.
        Function function = nullptr;
    };

    /// Holds the functions and the variable "pi".
    GCMathParser();
    GCMathParser(const GCMathParser&) = delete;
    GCMathParser& operator=(const GCMathParser&) = delete;

    /// Blanks alone give 0. What was assigned before an error stays assigned.
    GCMathResult evaluate(StringView expression);

    const String& expression() const { return expression_; }
    /// The expression as UTF-8.
    const std::string& expressionCString() const { return expressionBytes_; }

    /// Makes the variable where there is none. A function of that name stays callable.
    void setSymbolValue(double value, StringView key);
    /// 0 if there is no such symbol.
    double symbolValueForKey(StringView key) const;
    /// Null if there is none. Names are case-sensitive; the newest of equal names counts.
    const Symbol* getSymbol(StringView name) const;
    Symbol* getSymbolForCString(const std::string& name);
    /// Makes a symbol of value 0, which hides an older one of that name.
    Symbol* initSymbol(std::string name, SymbolType type);

  private:
    std::deque<Symbol> symbols_;
    std::unordered_map<std::string, Symbol*> newest_;
    String expression_;
    std::string expressionBytes_;
};

/// Evaluates on a parser of its own.
GCMathResult evaluateMath(StringView expression);

} // namespace dresk
