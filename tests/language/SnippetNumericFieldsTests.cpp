#include <gtest/gtest.h>

#include "language/SnippetNumericFields.h"
#include "language/SnippetVariableUtils.h"

namespace dresk {
namespace {

using Fields = std::vector<std::shared_ptr<SnippetFieldVariable>>;

Fields
makeFields(std::initializer_list<std::pair<const char16_t*, const char16_t*>> namesAndValues) {
    Fields fields;
    for (const auto& [name, value] : namesAndValues) {
        auto field = std::make_shared<SnippetFieldVariable>();
        field->setType(SnippetFieldVariable::Number);
        field->setName(name);
        if (value != nullptr)
            field->setValue(value);
        fields.push_back(std::move(field));
    }
    return fields;
}

std::string describe(const SnippetNumericFields& model) {
    String text;
    for (const String& name : model.numericFieldNames())
        text += name + u"=" + *model.formattedValue(name) + u" ";
    return toUTF8(text);
}

TEST(SnippetNumericFields, CalculatesWhenTheFormLoads) {
    struct Case {
        Fields fields;
        const char* expected;
        bool succeeds = true;
    };
    const Case cases[] = {
        {makeFields({{u"price", u"10"}, {u"qty", u"2"}, {u"total", u"price*qty"}}),
         "price=10 qty=2 total=20 "},
        // Formulas wait for each other; one that names no field stays at 0.
        {makeFields({{u"c", u"b+1"}, {u"b", u"a*2"}, {u"a", u"1,234.5"}, {u"k", u"2+3"}}),
         "c=2470 b=2469 a=1234.5 k=0 "},
        {makeFields({{u"a", u"a+1"}, {u"b", u"c"}, {u"c", u"b"}, {u"d", u"a+1"}}),
         "a=0 b=0 c=0 d=0 "},
        // The first field of a name decides; names that are none take no part.
        {makeFields({{u"a", u"1"}, {u"a", u"2"}, {u"b c", u"3"}, {u"_", u"4"}, {u"", u"5"}}),
         "a=1 "},
        {makeFields({{u"a", u"1"}, {u"b", u"a/3"}, {u"c", u"a/0"}}), "a=1 b=0.333 c=∞ "},
        {makeFields({{u"a", u"1"}, {u"x", u"a+"}, {u"y", u"a+1"}}), "a=1 x=0 y=0 ", false},
        {makeFields({{u"a_b", u"1"}, {u"x", u"a_b+1"}}), "a_b=1 x=0 ", false},
        {makeFields({{u"a", nullptr}, {u"b", u"a+1"}}), "a=0 b=1 "},
    };
    for (const Case& c : cases) {
        SnippetNumericFields model(u"en_US");
        EXPECT_EQ(model.onBodyOnLoad(c.fields), c.succeeds) << c.expected;
        EXPECT_EQ(describe(model), c.expected);
    }
}

TEST(SnippetNumericFields, RecalculatesWhatDependsOnTheInput) {
    SnippetNumericFields model(u"en_US");
    ASSERT_TRUE(model.onBodyOnLoad(makeFields({{u"price", u"10"},
                                               {u"qty", u"2"},
                                               {u"rate", u"3"},
                                               {u"other", u"rate*2"},
                                               {u"total", u"price*qty"},
                                               {u"sum", u"total+other+1"}})));
    EXPECT_EQ(describe(model), "price=10 qty=2 rate=3 other=6 total=20 sum=27 ");
    // The formula that the input does not touch keeps its value but counts as 0 in others.
    EXPECT_TRUE(model.onTextInputOnChange(u"qty", u"3 pieces"));
    EXPECT_EQ(describe(model), "price=10 qty=3 rate=3 other=6 total=30 sum=31 ");
    EXPECT_TRUE(model.onTextInputOnChange(u"rate", u"x"));
    EXPECT_EQ(describe(model), "price=10 qty=3 rate=0 other=0 total=30 sum=1 ");
    EXPECT_TRUE(model.onTextInputOnChange(u"unknown", u"1"));
    EXPECT_EQ(model.formattedValue(u"unknown"), std::nullopt);

    ASSERT_TRUE(model.onBodyOnLoad(
        makeFields({{u"a", u"1"}, {u"x", u"y+a"}, {u"y", u"x"}, {u"z", u"y+a"}})));
    EXPECT_TRUE(model.onTextInputOnChange(u"a", u"5"));
    EXPECT_EQ(describe(model), "a=5 x=5 y=0 z=5 ");
    ASSERT_TRUE(model.onBodyOnLoad(makeFields({{u"a", u"1"}, {u"b", u"a+1"}, {u"c", u"a*2"}})));
    EXPECT_TRUE(model.onTextInputOnChange(u"b", u"7"));
    EXPECT_EQ(describe(model), "a=1 b=7 c=2 ");
}

TEST(SnippetNumericFields, ReadsNumbersAsTheLocaleWritesThem) {
    SnippetNumericFields model(u"de_DE");
    ASSERT_TRUE(model.onBodyOnLoad(
        makeFields({{u"a", u" 1,5 "}, {u"b", u"1.500"}, {u"c", u"1.5"}, {u"d", u"a*2"}})));
    EXPECT_EQ(describe(model), "a=1,5 b=1500 c=0 d=3 ");
}

TEST(SnippetNumericFields, TakesLongChains) {
    Fields fields;
    for (int i = 0; i < 1000; ++i) {
        auto field = std::make_shared<SnippetFieldVariable>();
        field->setType(SnippetFieldVariable::Number);
        field->setName(u"f" + fromUTF8(std::to_string(i)));
        field->setValue(u"1+f" + fromUTF8(std::to_string(i + 1)));
        fields.push_back(field);
    }
    fields.back()->setValue(u"1");
    SnippetNumericFields model(u"en_US");
    EXPECT_TRUE(model.onBodyOnLoad(fields));
    EXPECT_EQ(model.formattedValue(u"f0"), u"1000");
    EXPECT_TRUE(model.onTextInputOnChange(u"f999", u"2"));
    EXPECT_EQ(model.formattedValue(u"f0"), u"1001");
}

} // namespace
} // namespace dresk
