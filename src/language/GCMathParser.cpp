#include "language/GCMathParser.h"

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "language/GCMathScanner.h"

namespace dresk {

namespace {

using Token = GCMathScanner::Token;
using TokenType = GCMathScanner::TokenType;

constexpr char UnaryMinus = 'n';

struct NamedFunction {
    const char* name;
    GCMathParser::Function function;
};

constexpr NamedFunction Functions[] = {
    {"sin", std::sin},
    {"cos", std::cos},
    {"tan", std::tan},
    {"log", std::log10},
    {"log2", std::log2},
    {"ln", std::log},
    {"exp", std::exp},
    {"abs", std::fabs},
    {"sqrt", std::sqrt},
    {"asin", std::asin},
    {"acos", std::acos},
    {"atan", std::atan},
    {"sinh", std::sinh},
    {"cosh", std::cosh},
    {"tanh", std::tanh},
    {"asinh", std::asinh},
    {"acosh", std::acosh},
    {"atanh", std::atanh},
    {"ceil", std::ceil},
    {"floor", std::floor},
    {"round", std::round},
    {"trunc", std::trunc},
    {"rint", std::rint},
    {"near", std::nearbyint},
    {"dtor", [](double degrees) { return degrees / 180.0 * std::numbers::pi; }},
    {"rtod", [](double radians) { return radians / std::numbers::pi * 180.0; }},
};

int precedence(char op) {
    switch (op) {
    case '=':
        return 1;
    case '+':
    case '-':
        return 2;
    case '*':
    case '/':
        return 3;
    case UnaryMinus:
        return 4;
    case '^':
    case '%':
        return 5;
    default:
        return 0;
    }
}

bool isBinaryOperator(const Token& token) {
    return token.type == TokenType::Character && token.character != '=' &&
           token.character != UnaryMinus && precedence(token.character) > 0;
}

double apply(char op, double left, double right) {
    switch (op) {
    case '+':
        return left + right;
    case '-':
        return left - right;
    case '*':
        return left * right;
    case '/':
        return left / right;
    case '^':
        return std::pow(left, right);
    default:
        return std::fmod(left, right);
    }
}

// Shifts tokens on a stack of its own and folds it as soon as the precedence allows, so that depth
// costs memory of this stack alone.
class Evaluation {
  public:
    Evaluation(std::string_view text, GCMathParser& parser) : scanner_(text, parser) {}

    GCMathResult run() {
        advance();
        if (lookahead_.is('\n')) {
            advance();
            return lookahead_.type == TokenType::End ? GCMathResult(0.0) : parseError();
        }
        while (readOperand() && readOperator())
            if (isComplete_)
                return stack_.back().value;
        return error_;
    }

  private:
    enum class Kind { Value, Operator, Variable, Function, Bracket };
    struct Entry {
        Kind kind;
        double value = 0;
        char op = 0;
        GCMathParser::Symbol* symbol = nullptr;
    };

    // Entries, the start state among them.
    static constexpr std::size_t MaximumDepth = 10000;

    static GCMathError error(const char16_t* message) {
        return {u"Error in expression", u"error = " + String(message)};
    }
    GCMathResult parseError() { return error(u"parse error"); }
    bool fail() {
        error_ = error(u"parse error");
        return false;
    }

    void advance() { lookahead_ = scanner_.next(); }

    bool push(Entry entry) {
        if (stack_.size() + 1 >= MaximumDepth) {
            error_ = error(u"parser stack overflow");
            return false;
        }
        stack_.push_back(entry);
        return true;
    }

    // Up to and with the next value, which then stands on top.
    bool readOperand() {
        for (;;) {
            const Token token = lookahead_;
            advance();
            if (token.type == TokenType::Number)
                return push({.kind = Kind::Value, .value = token.number});
            if (token.type == TokenType::Variable && !lookahead_.is('='))
                return push({.kind = Kind::Value, .value = token.symbol->value});
            if (!(token.type == TokenType::Variable ? readAssignment(token) : readPrefix(token)))
                return false;
        }
    }

    bool readAssignment(const Token& token) {
        advance();
        return push({.kind = Kind::Variable, .symbol = token.symbol}) &&
               push({.kind = Kind::Operator, .op = '='});
    }

    bool readPrefix(const Token& token) {
        if (token.is('-'))
            return push({.kind = Kind::Operator, .op = UnaryMinus});
        if (token.is('('))
            return push({.kind = Kind::Bracket});
        if (token.type != TokenType::Function)
            return fail();
        if (!push({.kind = Kind::Function, .symbol = token.symbol}))
            return false;
        if (!lookahead_.is('('))
            return fail();
        advance();
        return push({.kind = Kind::Bracket});
    }

    // Behind a value: closing brackets, then a binary operator or the end of the line.
    bool readOperator() {
        for (;;) {
            const Token token = lookahead_;
            reduce(isBinaryOperator(token) ? token.character : '\0');
            if (isBinaryOperator(token)) {
                advance();
                return push({.kind = Kind::Operator, .op = token.character});
            }
            if (token.is('\n') && stack_.size() == 1) {
                advance();
                isComplete_ = lookahead_.type == TokenType::End;
                return isComplete_ || fail();
            }
            if (!token.is(')') || stack_.size() < 2)
                return fail();
            if (!push({.kind = Kind::Bracket}))
                return false;
            advance();
            reduceBrackets();
        }
    }

    // Folds what binds tighter than `next`; 0 folds down to a bracket or the bottom.
    void reduce(char next) {
        while (stack_.size() >= 2 && stack_[stack_.size() - 2].kind == Kind::Operator) {
            const char op = stack_[stack_.size() - 2].op;
            const bool isRightAssociative = precedence(op) == precedence('^');
            if (next != '\0' && (precedence(op) < precedence(next) ||
                                 (precedence(op) == precedence(next) && isRightAssociative)))
                return;
            reduceOperator(op);
        }
    }

    void reduceOperator(char op) {
        const double right = stack_.back().value;
        stack_.resize(stack_.size() - 2, Entry{.kind = Kind::Value});
        if (op == UnaryMinus) {
            stack_.push_back({.kind = Kind::Value, .value = -right});
        } else if (op == '=') {
            stack_.back().symbol->value = right;
            stack_.back() = {.kind = Kind::Value, .value = right};
        } else {
            stack_.back().value = apply(op, stack_.back().value, right);
        }
    }

    void reduceBrackets() {
        double value = stack_[stack_.size() - 2].value;
        stack_.resize(stack_.size() - 3, Entry{.kind = Kind::Value});
        if (!stack_.empty() && stack_.back().kind == Kind::Function) {
            const GCMathParser::Function function = stack_.back().symbol->function;
            value =
                function != nullptr ? function(value) : std::numeric_limits<double>::quiet_NaN();
            stack_.pop_back();
        }
        stack_.push_back({.kind = Kind::Value, .value = value});
    }

    GCMathScanner scanner_;
    Token lookahead_;
    std::vector<Entry> stack_;
    bool isComplete_ = false;
    GCMathError error_;
};

} // namespace

GCMathParser::GCMathParser() {
    for (const NamedFunction& named : Functions)
        initSymbol(named.name, SymbolType::Function)->function = named.function;
    initSymbol("pi", SymbolType::Variable)->value = std::numbers::pi;
}

GCMathResult GCMathParser::evaluate(StringView expression) {
    expression_ = expression;
    expressionBytes_ = toUTF8(expression);
    return Evaluation(expressionBytes_, *this).run();
}

void GCMathParser::setSymbolValue(double value, StringView key) {
    const std::string name = toUTF8(key);
    Symbol* symbol = getSymbolForCString(name);
    if (symbol == nullptr)
        symbol = initSymbol(name, SymbolType::Variable);
    symbol->value = value;
}

double GCMathParser::symbolValueForKey(StringView key) const {
    const Symbol* symbol = getSymbol(key);
    return symbol != nullptr ? symbol->value : 0;
}

const GCMathParser::Symbol* GCMathParser::getSymbol(StringView name) const {
    const auto found = newest_.find(toUTF8(name));
    return found != newest_.end() ? found->second : nullptr;
}

GCMathParser::Symbol* GCMathParser::getSymbolForCString(const std::string& name) {
    const auto found = newest_.find(name);
    return found != newest_.end() ? found->second : nullptr;
}

GCMathParser::Symbol* GCMathParser::initSymbol(std::string name, SymbolType type) {
    symbols_.push_back({.name = std::move(name), .type = type, .value = 0, .function = nullptr});
    newest_[symbols_.back().name] = &symbols_.back();
    return &symbols_.back();
}

GCMathResult evaluateMath(StringView expression) {
    return GCMathParser().evaluate(expression);
}

} // namespace dresk
