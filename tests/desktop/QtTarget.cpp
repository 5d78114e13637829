// A Qt text edit that a test types into: qt_target SOCKET.

#include <cstdio>

#include "desktop/TargetControl.h"

#include <QAbstractNativeEventFilter>
#include <QApplication>
#include <QKeyEvent>
#include <QSocketNotifier>
#include <QTextEdit>

#include <xcb/xcb.h>

namespace dresk {
namespace {

/// Notes keys as they come from the X connection, before input methods and widgets see them.
class KeyRecorder final : public QAbstractNativeEventFilter {
  public:
    explicit KeyRecorder(TargetControl& control) : control_(control) {}

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) override {
        constexpr std::uint8_t SendEventBit = 0x80;
        if (eventType != "xcb_generic_event_t") {
            return false;
        }
        const auto* event = static_cast<const xcb_key_press_event_t*>(message);
        const int type = event->response_type & ~SendEventBit;
        if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
            control_.keyArrived({type == XCB_KEY_PRESS, event->detail, 0,
                                 (event->response_type & SendEventBit) != 0});
        }
        return false;
    }

  private:
    TargetControl& control_;
};

class TextEdit final : public QTextEdit {
  public:
    explicit TextEdit(TargetControl& control) : control_(control) {
        setAcceptRichText(false);
        connect(this, &QTextEdit::textChanged, this, [this] { control_.textChanged(); });
    }

  protected:
    bool event(QEvent* event) override {
        if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
            const auto* key = static_cast<const QKeyEvent*>(event);
            control_.nameLastKey(key->nativeScanCode(), key->nativeVirtualKey());
        }
        return QTextEdit::event(event);
    }
    void keyPressEvent(QKeyEvent* event) override {
        if (event->matches(QKeySequence::Paste)) {
            control_.pasteCommanded();
        }
        QTextEdit::keyPressEvent(event);
    }
    void focusInEvent(QFocusEvent* event) override {
        QTextEdit::focusInEvent(event);
        control_.announceFocus(true);
    }
    void focusOutEvent(QFocusEvent* event) override {
        QTextEdit::focusOutEvent(event);
        control_.announceFocus(false);
    }

  private:
    TargetControl& control_;
};

int runTarget(QApplication& application, const char* socketPath) {
    TargetControl control;
    KeyRecorder recorder(control);
    application.installNativeEventFilter(&recorder);
    TextEdit edit(control);
    edit.setWindowTitle("Qt target");
    edit.resize(900, 600);
    const TargetControl::Handlers handlers{
        [&] { return edit.toPlainText().toStdString(); },
        [&] { edit.clear(); },
        [] { QApplication::quit(); },
    };
    if (!control.connect(socketPath, handlers)) {
        std::fprintf(stderr, "qt_target: cannot connect to %s\n", socketPath);
        return 1;
    }
    QSocketNotifier notifier(control.descriptor(), QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &edit, [&] { control.serve(); });
    edit.show();
    control.announceWindow(static_cast<std::uint32_t>(edit.winId()));
    const int status = QApplication::exec();
    application.removeNativeEventFilter(&recorder);
    return status;
}

} // namespace
} // namespace dresk

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: qt_target SOCKET\n");
        return 2;
    }
    return dresk::runTarget(application, argv[1]);
}
