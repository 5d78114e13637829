#include <csignal>
#include <future>

#include "Foundation/RunLoop.h"
#include "desktop/Deadline.h"
#include "desktop/DesktopTest.h"
#include "input/AXUtils.h"
#include "input/x11/X11Desktop.h"

namespace dresk {
namespace {

class AccessibilityOnX11 : public DesktopTest,
                           public testing::WithParamInterface<TextTarget::Kind> {
  protected:
    void startDesktop() {
        std::string error;
        desktop_ = makeX11Desktop(nullptr, error);
        ASSERT_NE(desktop_, nullptr) << error;
        std::promise<bool> made;
        thread_ = desktop_->startTapThread([&](RunLoop& loop) {
            tap_ = desktop_->eventTaps().createEventTap(
                EventTaps::Location::Session, EventTaps::Options::Default,
                eventMask(EventType::KeyDown), loop,
                [](EventTapProxy, const DesktopEvent&) { return false; });
            made.set_value(tap_ != nullptr);
        });
        ASSERT_TRUE(made.get_future().get());
    }
    void TearDown() override {
        tap_.reset();
        thread_.reset();
        desktop_.reset();
        DesktopTest::TearDown();
    }
    /// Types what the keyboard lacks as well.
    void typeAnything(StringView text) {
        std::promise<void> done;
        thread_->runLoop().post({this, "typeAnything"}, [&] {
            EXPECT_TRUE(desktop_->eventTaps().prepareToType(text));
            DesktopEvent event;
            event.unicodeString = text;
            desktop_->eventTaps().postEvent(EventTaps::Location::Session, event);
            event.type = EventType::KeyUp;
            desktop_->eventTaps().postEvent(EventTaps::Location::Session, event);
            done.set_value();
        });
        done.get_future().wait();
    }
    AXUtils utils() { return AXUtils(*desktop_); }
    /// Waits until the last units before the caret are those.
    testing::AssertionResult tellsBeforeCaret(StringView expected) {
        const auto length = static_cast<std::int64_t>(expected.size());
        std::optional<String> told;
        const bool arrived = await([&] {
            told = utils().getTextBeforeCaretWithMaxLength(length);
            return told == expected;
        });
        if (arrived)
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << "told: " << (told.has_value() ? toUTF8(*told) : "nothing");
    }

    std::unique_ptr<Desktop> desktop_;
    std::unique_ptr<TapThread> thread_;
    std::unique_ptr<EventTap> tap_;
};

String roleOf(const AXElement& element) {
    const AXValue role =
        element != nullptr ? element->attributeValue(AXAttribute::Role) : AXValue();
    const auto* name = std::get_if<String>(&role);
    return name != nullptr ? *name : String(u"none");
}

TEST_P(AccessibilityOnX11, TellsTextAndSelectionInUnits) {
    startDesktop();
    TextTarget* target = startTarget(GetParam());
    ASSERT_NE(target, nullptr);
    const String text = u"a\U0001F600b \u00E4c";
    typeAnything(text);
    ASSERT_TRUE(holds(*target, text));
    ASSERT_TRUE(tellsBeforeCaret(u"b \u00E4c"));
    EXPECT_EQ(utils().getSelectedTextRange(), (Range{7, 0}));
    EXPECT_EQ(utils().getSelectedTextLength(), 0U);
    EXPECT_EQ(utils().getTextBeforeCaretWithMaxLength(6), u"\U0001F600b \u00E4c");
    EXPECT_EQ(utils().getTextBeforeCaretWithMaxLength(5)->size(), 5U) << "half a pair";
    EXPECT_EQ(utils().getTextBeforeCaretWithMaxLength(100), text);
    EXPECT_EQ(utils().getValue(), text);

    keys().tap(KeyInjector::Left);
    keys().tap(KeyInjector::Left);
    keys().press(KeyInjector::LeftShift);
    for (int i = 0; i < 3; ++i)
        keys().tap(KeyInjector::Left);
    keys().release(KeyInjector::LeftShift);
    EXPECT_TRUE(await([&] { return utils().getSelectedTextLength() == 4; }))
        << utils().getSelectedTextLength();
    const auto selected = utils().copySelectedAttributedString();
    ASSERT_TRUE(selected.has_value());
    EXPECT_EQ(selected->string(), u"\U0001F600b ");
}

TEST_P(AccessibilityOnX11, TellsWhereTheCaretIs) {
    // The application was there first: no event has told of it.
    TextTarget* target = startTarget(GetParam());
    ASSERT_NE(target, nullptr);
    startDesktop();
    type(u"x");
    ASSERT_TRUE(tellsBeforeCaret(u"x"));
    const Rect first = utils().getSelectedTextBound();
    type(u"yyyy");
    ASSERT_TRUE(tellsBeforeCaret(u"xyyyy"));
    const Rect fifth = utils().getSelectedTextBound();
    EXPECT_GT(fifth.x, first.x);
    EXPECT_EQ(fifth.y, first.y);
    EXPECT_GT(first.height, 5);
    EXPECT_LT(first.height, 60);
    EXPECT_LT(first.width, 60);
    type(u"\nz");
    ASSERT_TRUE(tellsBeforeCaret(u"z"));
    const Rect below = utils().getSelectedTextBound();
    EXPECT_LT(below.y, first.y) << "measured from below";
    EXPECT_NEAR(below.x, first.x, 1);

    const AXElement element = utils().getFocusedUIElement();
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(roleOf(element), u"AXTextArea");
    EXPECT_EQ(roleOf(utils().getFocusedTopLevelUIElement()),
              GetParam() == TextTarget::Kind::Gtk ? u"AXWindow" : u"AXTextArea");
    const Rect field = utils().getFocusedUIElementBound();
    EXPECT_GT(field.width, 500);
    EXPECT_GT(field.height, 300);
    EXPECT_GE(first.x, field.x);
    EXPECT_LE(first.y, field.y);
    EXPECT_GT(below.y, field.y - field.height);
    const AXValue parent = element->attributeValue(AXAttribute::Parent);
    EXPECT_TRUE(std::holds_alternative<AXElement>(parent));
}

TEST_P(AccessibilityOnX11, AStoppedApplicationCostsOneShortWait) {
    startDesktop();
    TextTarget* target = startTarget(GetParam());
    ASSERT_NE(target, nullptr);
    type(u"abc");
    ASSERT_TRUE(tellsBeforeCaret(u"abc"));
    const auto secondsToAsk = [&] {
        const double begin = steadySeconds();
        EXPECT_EQ(utils().getTextBeforeCaretWithMaxLength(3), std::nullopt);
        EXPECT_TRUE(utils().getSelectedTextBound().isZero());
        return steadySeconds() - begin;
    };
    target->process().signal(SIGSTOP);
    const double first = secondsToAsk();
    const double second = secondsToAsk();
    target->process().signal(SIGCONT);
    EXPECT_LT(first, 0.15) << "40 ms and some for a busy machine";
    EXPECT_LT(second, 0.03) << "not asked again";
    EXPECT_TRUE(tellsBeforeCaret(u"abc")) << "some seconds later it is";
}

INSTANTIATE_TEST_SUITE_P(, AccessibilityOnX11,
                         testing::Values(TextTarget::Kind::Gtk, TextTarget::Kind::Qt),
                         [](const auto& info) { return nameOf(info.param); });

} // namespace
} // namespace dresk
