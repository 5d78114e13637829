#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

#include "language/GCMathParser.h"

namespace dresk {
namespace {

std::string describe(const GCMathResult& result) {
    if (const auto* error = std::get_if<GCMathError>(&result))
        return toUTF8(error->name) + ": " + toUTF8(error->reason);
    char text[64];
    std::snprintf(text, sizeof text, "%.12g", std::get<double>(result));
    return text;
}

constexpr const char* ParseError = "Error in expression: error = parse error";
constexpr const char* Overflow = "Error in expression: error = parser stack overflow";

TEST(GCMathParser, Evaluates) {
    const std::pair<StringView, const char*> cases[] = {
        {u"", "0"},
        {u" \t ", "0"},
        {u"2+3*4", "14"},
        {u"2^3^2", "512"},
        {u"-2^2", "-4"},
        {u"2^-1", "0.5"},
        {u"2^-1*4", "2"},
        {u"2^-2^2", "0.0625"},
        {u"--2", "2"},
        {u"-2*-3-1", "5"},
        {u"7%5%3", "1"},
        {u"2*3%2", "2"},
        {u"2^3%2", "2"},
        {u"2%3^2", "2"},
        {u"-2%3", "-2"},
        {u"10-2-3", "5"},
        {u"12/2/3", "2"},
        {u"(1+2)*(3)", "9"},
        {u"1+a=2*3", "7"},
        {u"a+a=2", "2"},
        {u"a=b=4", "4"},
        {u"1e3+0x10+.5+5.", "1021.5"},
        {u"0x1p3", "8"},
        {u"1e999", "inf"},
        {u"1e-999", "0"},
        {u"abc", "0"},
        {u"pi", "3.14159265359"},
        {u"sin(pi/2)+cos(0)", "2"},
        {u"log(100)", "2"},
        {u"ln(exp(1))", "1"},
        {u"rtod(pi)", "180"},
        {u"dtor(180)", "3.14159265359"},
        {u"near(2.5)+round(2.5)+trunc(-2.7)+abs(-1)", "4"},
        {u"1/0", "inf"},
        {u"-1/0", "-inf"},
        {u"sqrt(-4)", "-nan"},
        // A line feed in the text ends the line, and a character beyond ASCII the input.
        {u"1\né", "1"},
    };
    for (const auto& [expression, expected] : cases)
        EXPECT_EQ(describe(evaluateMath(expression)), expected) << toUTF8(expression);
}

TEST(GCMathParser, RefusesWhatTheGrammarDoesNotKnow) {
    for (const StringView expression :
         {u"sin",  u"sin 1", u"1 2",    u"1;2",   u"()",    u"a_b", u"_",    u"+1",
          u"1=2",  u"(a)=2", u"Sin(0)", u".",     u"1.2.3", u"(1",  u"1)",   u"1+",
          u"*2",   u"a=",    u"2(3)",   u"sin()", u"sin(1", u"0x",  u"1é",   u"é",
          u"1\n2", u"1\n",   u"3!",     u"a b",   u"sin=2", u")",   u"a=1=2"})
        EXPECT_EQ(describe(evaluateMath(expression)), ParseError) << toUTF8(expression);
}

TEST(GCMathParser, KeepsVariablesAndSurvivesErrors) {
    GCMathParser parser;
    EXPECT_EQ(parser.getSymbol(u"abc"), nullptr);
    EXPECT_EQ(describe(parser.evaluate(u"abc=3")), "3");
    EXPECT_EQ(describe(parser.evaluate(u"abc*2+")), ParseError);
    EXPECT_EQ(describe(parser.evaluate(u"abc*2")), "6");
    EXPECT_EQ(describe(parser.evaluate(u"pi=3")), "3");
    EXPECT_EQ(parser.symbolValueForKey(u"pi"), 3);
    EXPECT_EQ(std::get<double>(evaluateMath(u"pi")), std::numbers::pi);

    parser.setSymbolValue(7, u"qty");
    parser.setSymbolValue(9, u"sin");
    EXPECT_EQ(describe(parser.evaluate(u"qty*2+sin(0)")), "14");
    EXPECT_EQ(parser.symbolValueForKey(u"sin"), 9);
    parser.initSymbol("qty", GCMathParser::SymbolType::Function);
    EXPECT_EQ(describe(parser.evaluate(u"qty")), ParseError);
    EXPECT_TRUE(std::isnan(std::get<double>(parser.evaluate(u"qty(1)"))));
}

TEST(GCMathParser, LimitsDepthAndTakesLength) {
    const auto nested = [](std::size_t depth) {
        return String(depth, u'(') + u"1" + String(depth, u')');
    };
    EXPECT_EQ(describe(evaluateMath(nested(9000))), "1");
    EXPECT_EQ(describe(evaluateMath(nested(10000))), Overflow);
    EXPECT_EQ(describe(evaluateMath(nested(2000000))), Overflow);
    EXPECT_EQ(describe(evaluateMath(String(2000000, u'-') + u"1")), Overflow);
    String sum = u"0";
    for (int i = 0; i < 200000; ++i)
        sum += u"+1";
    EXPECT_EQ(describe(evaluateMath(sum)), "200000");
    EXPECT_EQ(describe(evaluateMath(String(u"1").append(400, u'0'))), "inf");
}

} // namespace
} // namespace dresk
