#include <chrono>
#include <thread>

#include "desktop/KeyInjector.h"
#include "desktop/TextTarget.h"
#include "input/DesktopContract.h"
#include "input/x11/FocusGrab.h"
#include "input/x11/Keymap.h"
#include "input/x11/X11Desktop.h"

namespace dresk {
namespace {

/// The real desktop: a user at the keyboard of the outer display, a GTK text view in front and a
/// Qt text edit to switch to.
class X11DesktopDriver final : public DesktopDriver {
  public:
    X11DesktopDriver() {
        std::string error;
        keys_ = KeyInjector::connect(error);
        EXPECT_NE(keys_, nullptr) << error;
        first_ = TextTarget::start(TextTarget::Kind::Gtk, error);
        EXPECT_NE(first_, nullptr) << error;
        connection_ = XConnection::open(nullptr, error);
        EXPECT_NE(connection_, nullptr) << error;
        keymap_ = Keymap::load(*connection_, {});
        desktop_ = makeX11Desktop(nullptr, error);
        EXPECT_NE(desktop_, nullptr) << error;
    }

    Desktop& desktop() override { return *desktop_; }
    void typeText(StringView text) override { EXPECT_TRUE(keys_->type(text)); }
    void pressKey(std::uint16_t keyCode) override {
        keys_->press(keymap_->codeForKeyCode(keyCode));
    }
    void releaseKey(std::uint16_t keyCode) override {
        keys_->release(keymap_->codeForKeyCode(keyCode));
    }
    void pressMouse() override {
        FocusGrab focus(*connection_);
        focus.enable(false);
        focus.refresh();
        xcb_warp_pointer(connection_->get(), XCB_WINDOW_NONE, focus.window(), 0, 0, 0, 0, 9, 9);
        focus.refresh(); // waits until the pointer is there
        keys_->click();
    }
    void switchFocus(bool toOther) override {
        std::string error;
        if (second_ == nullptr)
            second_ = TextTarget::start(TextTarget::Kind::Qt, error);
        EXPECT_NE(second_, nullptr) << error;
        EXPECT_TRUE((toOther ? second_ : first_)->focus());
    }
    String targetText() override { return first_->text(); }
    void refuseTaps(bool refuse) override {
        rival_.reset();
        if (refuse) {
            rival_ = std::make_unique<FocusGrab>(*connection_);
            EXPECT_TRUE(rival_->enable(true));
        }
    }
    void spend(double seconds) override {
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    }
    bool pumpUntil(const std::function<bool()>& condition) override {
        using namespace std::chrono_literals;
        for (int i = 0; i < 500; ++i) {
            if (condition())
                return true;
            std::this_thread::sleep_for(10ms);
        }
        return false;
    }

  private:
    std::unique_ptr<KeyInjector> keys_;
    std::unique_ptr<TextTarget> first_;
    std::unique_ptr<TextTarget> second_;
    std::unique_ptr<XConnection> connection_;
    std::shared_ptr<const Keymap> keymap_;
    std::unique_ptr<FocusGrab> rival_;
    std::unique_ptr<Desktop> desktop_;
};

std::unique_ptr<DesktopDriver> makeX11Driver() {
    return std::make_unique<X11DesktopDriver>();
}

INSTANTIATE_TEST_SUITE_P(X11, DesktopContract, testing::Values(&makeX11Driver));

} // namespace
} // namespace dresk
