#include "ui/qt/QuickSearchPanelWindow.h"

#include "Foundation/KeyCode.h"
#include "ui/qt/QtText.h"
#include "ui/qt/QuickSearchField.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWindow>

namespace dresk {

namespace {

constexpr int FieldHeight = 24;

std::optional<std::uint16_t> steeringKey(int key) {
    switch (key) {
    case Qt::Key_Up:
        return KeyCode::UpArrow;
    case Qt::Key_Down:
        return KeyCode::DownArrow;
    case Qt::Key_Return:
        return KeyCode::Return;
    case Qt::Key_Enter:
        return KeyCode::Enter;
    case Qt::Key_Escape:
        return KeyCode::Escape;
    default:
        return std::nullopt;
    }
}

} // namespace

QuickSearchPanelWindow::QuickSearchPanelWindow(const ListPanelRows& rows,
                                               QuickSearchPanelEvents& events)
    : ListPanelWindow({}, rows, events), events_(events), field_(new QuickSearchField) {
    setWindowTitle(tr("Quick Search"));
    table().setAccessibleName(tr("Snippets found"));
    field_->setParent(this);
    setHeader(field_, FieldHeight);
    setFocusProxy(field_);
    field_->textField().installEventFilter(this);
    connect(&field_->textField(), &QLineEdit::textChanged, this,
            [this](const QString& text) { events_.setFilter(fromQString(text)); });
    for (unsigned bit = 0; bit < QuickSearchField::SearchByItems; ++bit)
        connect(&field_->searchByItem(bit), &QAction::triggered, this,
                [this, bit] { events_.onSearchByChanged(bit); });
    connect(&field_->wildcardItem(), &QAction::triggered, this,
            [this] { events_.flipWildcardSearchOption(); });
    create();
    windowHandle()->installEventFilter(this);
}

QuickSearchPanelWindow::~QuickSearchPanelWindow() = default;

void QuickSearchPanelWindow::setFilter(const String& filter) {
    const QSignalBlocker blocker(field_->textField());
    if (const QString text = toQString(filter); field_->textField().text() != text)
        field_->textField().setText(text);
}

void QuickSearchPanelWindow::setSearchMenu(std::uint64_t searchBy, bool isWildcard) {
    for (unsigned bit = 0; bit < QuickSearchField::SearchByItems; ++bit)
        field_->searchByItem(bit).setChecked((searchBy >> bit & 1) != 0);
    field_->wildcardItem().setChecked(isWildcard);
}

void QuickSearchPanelWindow::focusTextField() {
    field_->textField().setFocus();
    field_->textField().selectAll();
}

void QuickSearchPanelWindow::orderFront() {
    waitsForKeyboard_ = waitsForKeyboard_ || !isVisible();
    ListPanelWindow::orderFront();
}

// What tells that the window can be seen may still speak of the last time; then the keyboard is
// refused, and the next word counts.
void QuickSearchPanelWindow::askForKeyboard() {
    if (!waitsForKeyboard_ || !windowHandle()->isExposed())
        return;
    waitsForKeyboard_ = !events_.windowDidAppear(winId());
}

bool QuickSearchPanelWindow::event(QEvent* event) {
    switch (event->type()) {
    case QEvent::WindowDeactivate:
        pressedKeys_.clear();
        // The search menu is a window too.
        if (QApplication::activePopupWidget() == nullptr)
            events_.windowDidResignKey();
        break;
    case QEvent::Hide:
        pressedKeys_.clear();
        waitsForKeyboard_ = false;
        break;
    default:
        break;
    }
    return ListPanelWindow::event(event);
}

bool QuickSearchPanelWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == windowHandle() && event->type() == QEvent::Expose)
        askForKeyboard();
    if (watched == &field_->textField() &&
        (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease))
        return steer(static_cast<QKeyEvent&>(*event));
    return ListPanelWindow::eventFilter(watched, event);
}

// A key counts when it is released; an arrow that is held down goes on by its repetitions.
bool QuickSearchPanelWindow::steer(QKeyEvent& event) {
    const auto key = steeringKey(event.key());
    if (!key.has_value())
        return false;
    if (event.type() == QEvent::KeyPress) {
        pressedKeys_.insert(event.key());
        return true;
    }
    const bool isArrow = *key == KeyCode::UpArrow || *key == KeyCode::DownArrow;
    if (pressedKeys_.count(event.key()) == 0 || (event.isAutoRepeat() && !isArrow))
        return true;
    if (!event.isAutoRepeat())
        pressedKeys_.erase(event.key());
    events_.keyUp(*key);
    return true;
}

namespace {

class QtQuickSearchPanelView final
    : public ListPanelViewOf<QuickSearchPanelView, QuickSearchPanelWindow> {
  public:
    QtQuickSearchPanelView(const ListPanelRows& rows, QuickSearchPanelEvents& events)
        : ListPanelViewOf(rows, events) {}

    void setTableViewParentHidden(bool hidden) override { window_.table().setHidden(hidden); }
    void setFilter(const String& filter) override { window_.setFilter(filter); }
    void setSearchMenu(std::uint64_t searchBy, bool isWildcard) override {
        window_.setSearchMenu(searchBy, isWildcard);
    }
    void focusTextField() override { window_.focusTextField(); }
};

} // namespace

std::unique_ptr<QuickSearchPanelView> makeQtQuickSearchPanelView(const ListPanelRows& rows,
                                                                 QuickSearchPanelEvents& events) {
    return std::make_unique<QtQuickSearchPanelView>(rows, events);
}

} // namespace dresk
