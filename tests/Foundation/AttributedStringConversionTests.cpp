#include <gtest/gtest.h>

#include "Foundation/AttributedStringConversion.h"
#include "Foundation/RTF.h"

namespace dresk {
namespace {

AttributedString attachmentText(StringView text, const char* contents) {
    auto attributes = std::make_shared<TextAttributes>();
    attributes->attachment = std::make_shared<TextAttachment>(TextAttachment{u"a.txt", contents});
    return AttributedString(text, std::move(attributes));
}

TEST(AttributedStringConversion, DerivesOtherTexts) {
    EXPECT_EQ(plainTextWithAttachmentString(AttributedString(u"a\nb\uFFFC\r")),
              u"a b(Attachment)\r");
    EXPECT_EQ(plainTextWithAttachmentString(AttributedString(u"\uFFFC\uFFFC"), u"\n"), u"  ");

    const AttributedString link = hyperlinkFromString(u"text", u"https://example.com");
    ASSERT_EQ(link.runs().size(), 1U);
    EXPECT_EQ(link.attributesAtIndex(3)->link, u"https://example.com");
    EXPECT_EQ(link.attributesAtIndex(3)->underlineStyle, 1);
    EXPECT_EQ(link.attributesAtIndex(3)->foregroundColor, (TextColor{0, 0, 1}));

    auto bold = std::make_shared<TextAttributes>();
    bold->font = TextFont{.name = u"Helvetica", .bold = true};
    AttributedString text(u"ß");
    text.appendAttributedString(AttributedString(u"b", bold));
    const AttributedString upper = upperCaseAttributedString(text);
    EXPECT_EQ(upper.string(), u"SSB");
    EXPECT_EQ(upper.attributesAtIndex(0), nullptr);
    EXPECT_TRUE(upper.attributesAtIndex(1)->font->bold); // where it was before
    EXPECT_EQ(upper.attributesAtIndex(2), nullptr);
}

TEST(AttributedStringConversion, KeepsAttachmentsApart) {
    AttributedString text = attachmentText(u"\uFFFC", "one");
    text.appendAttributedString(AttributedString(u" "));
    text.appendAttributedString(attachmentText(u"\uFFFC", "two"));
    const auto all = allAttachments(text);
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0]->contents + all[1]->contents, "onetwo");

    auto plain = std::make_shared<TextAttributes>();
    plain->font = TextFont{u"Courier", 9};
    const AttributedString cleared =
        attributedStringByClearAttributesExceptTextAttachment(text, plain);
    EXPECT_EQ(cleared.attributesAtIndex(1), plain);
    EXPECT_EQ(cleared.attributesAtIndex(2)->font, plain->font);
    EXPECT_EQ(cleared.attributesAtIndex(2)->attachment->contents, "two");
    EXPECT_EQ(attributedStringByClearAttributesExceptTextAttachment(text, nullptr), text);
    EXPECT_EQ(attributedStringByClearAttributesExceptTextAttachment({}, plain).length(), 0U);

    EXPECT_EQ(allAttachments(*attributedStringWithRTFD(rtfdData(cleared))).at(1)->contents, "two");
    EXPECT_EQ(attributedStringWithRTF(rtfData(cleared))->string(), text.string());
}

} // namespace
} // namespace dresk
