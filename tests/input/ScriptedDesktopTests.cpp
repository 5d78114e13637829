#include <thread>

#include "input/DesktopContract.h"
#include "input/scripted/KeyNames.h"
#include "input/scripted/ScriptedDesktop.h"

namespace dresk {
namespace {

class ScriptedDriver : public DesktopDriver {
  public:
    explicit ScriptedDriver(std::unique_ptr<ScriptedDesktop> desktop)
        : desktop_(std::move(desktop)),
          other_(desktop_->processes().launch(u"other", u"Other Program")) {}

    Desktop& desktop() override { return *desktop_; }
    void typeText(StringView text) override { desktop_->typeText(text); }
    void pressKey(std::uint16_t keyCode) override {
        if (!toggleModifier(keyCode))
            desktop_->pressKey(keyCode, heldFlags_);
    }
    void releaseKey(std::uint16_t keyCode) override {
        if (!toggleModifier(keyCode))
            desktop_->releaseKey(keyCode);
    }
    void pressMouse() override { desktop_->pressMouse(); }
    void switchFocus(bool toOther) override {
        desktop_->performOnTapThread([this, toOther] {
            desktop_->processes().setFrontProcess(toOther ? other_ : desktop_->editor());
        });
    }
    String targetText() override {
        return desktop_->processes().textField(desktop_->editor()).text();
    }
    void refuseTaps(bool refuse) override {
        desktop_->eventTaps().refuseTaps(refuse ? eventMask(EventType::KeyDown) : 0);
    }

  protected:
    void limitCallbacks(double seconds) { desktop_->eventTaps().setCallbackLimit(seconds); }

  private:
    bool toggleModifier(std::uint16_t keyCode) {
        for (const ModifierKey& modifier : ModifierKeys)
            if (modifier.keyCode == keyCode) {
                desktop_->holdModifiers(heldFlags_ ^= modifier.flag);
                return true;
            }
        return false;
    }

    std::unique_ptr<ScriptedDesktop> desktop_;
    ProcessSerialNumber other_;
    std::uint64_t heldFlags_ = 0;
};

struct HasTime {
    VirtualTime time;
};
class VirtualDriver final : private HasTime, public ScriptedDriver {
  public:
    VirtualDriver() : ScriptedDriver(std::make_unique<ScriptedDesktop>(time)) {}
    void spend(double seconds) override { time.advance(seconds); }
    bool pumpUntil(const std::function<bool()>& condition) override {
        time.runPending();
        for (int i = 0; i < 1000 && !condition(); ++i)
            time.advance(0.01);
        return condition();
    }
};

// A busy machine may hold up any callback, so none is too slow but the one that means to be.
class RealDriver final : public ScriptedDriver {
  public:
    RealDriver() : ScriptedDriver(std::make_unique<ScriptedDesktop>()) {
        limitCallbacks(Unlimited);
    }
    void typeText(StringView text) override {
        limitCallbacks(Unlimited);
        ScriptedDriver::typeText(text);
    }
    void spend(double seconds) override {
        limitCallbacks(seconds / 2);
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    }
    bool pumpUntil(const std::function<bool()>& condition) override {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end)
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }

  private:
    static constexpr double Unlimited = 1e9;
};

template <class Driver>
std::unique_ptr<DesktopDriver> make() {
    return std::make_unique<Driver>();
}
INSTANTIATE_TEST_SUITE_P(Virtual, DesktopContract, testing::Values(&make<VirtualDriver>));
INSTANTIATE_TEST_SUITE_P(Real, DesktopContract, testing::Values(&make<RealDriver>));

TEST(ScriptedTextField, DoesWhatKeysSay) {
    using namespace KeyCode;
    struct Row {
        const char* name;
        StringView text;
        Range selection;
        std::vector<KeyPress> presses;
        StringView expected;
        Range expectedSelection;
    };
    const Row rows[] = {
        {"erase", u"abc", {3, 0}, {{Delete}}, u"ab", {2, 0}},
        {"erase at the start", u"abc", {0, 0}, {{Delete}}, u"abc", {0, 0}},
        {"erase a pair", u"a\U0001F600", {3, 0}, {{Delete}}, u"a", {1, 0}},
        {"erase the selection", u"abcd", {1, 2}, {{Delete}}, u"ad", {1, 0}},
        {"forward", u"abc", {1, 0}, {{ForwardDelete}}, u"ac", {1, 0}},
        {"forward at the end", u"abc", {3, 0}, {{ForwardDelete}}, u"abc", {3, 0}},
        {"left over a pair", u"a\U0001F600", {3, 0}, {{LeftArrow}}, u"a\U0001F600", {1, 0}},
        {"select left", u"abc", {3, 0}, {{LeftArrow, EventFlag::Shift}}, u"abc", {2, 1}},
        {"home of a line", u"ab\ncd", {5, 0}, {{Home}}, u"ab\ncd", {3, 0}},
        {"end of a line", u"ab\ncd", {0, 0}, {{End}}, u"ab\ncd", {2, 0}},
        {"up keeps the column", u"abc\nde", {6, 0}, {{UpArrow}}, u"abc\nde", {2, 0}},
        {"down to a shorter line", u"abc\nde\n", {3, 0}, {{DownArrow}}, u"abc\nde\n", {6, 0}},
        {"down on the last line", u"abc", {1, 0}, {{DownArrow}}, u"abc", {3, 0}},
        {"a chord is no text", u"a", {1, 0}, {{9, EventFlag::Command}}, u"a", {1, 0}},
    };
    for (const Row& row : rows) {
        ScriptedTextField field;
        field.setText(row.text);
        field.setSelection(row.selection);
        for (const KeyPress& press : row.presses)
            field.pressKey(press.keyCode, press.flags, press.keyCode == 9 ? u"v" : u"");
        EXPECT_EQ(field.text(), row.expected) << row.name;
        EXPECT_EQ(field.selection(), row.expectedSelection) << row.name;
    }
}

TEST(ScriptedKeyboard, EveryCharacterCanBeTyped) {
    for (const char16_t* layout : {u"us", u"de"}) {
        VirtualTime time;
        ScriptedDesktop desktop(time);
        desktop.selectLayout(layout);
        const StringView text = u"Grüße, José! yZ @[]{}|~^`´ naïve Ñ € 漢 \U0001F600\n\"fin\"";
        desktop.typeText(text);
        EXPECT_EQ(desktop.text(), text) << toUTF8(layout);
    }
    EXPECT_EQ(ScriptedLayout::named(u"xx"), nullptr);
    EXPECT_EQ(ScriptedLayout::compose(u'´', u"x"), u"´x");
    EXPECT_EQ(ScriptedLayout::compose(u'´', u"e"), u"é");
}

} // namespace
} // namespace dresk
