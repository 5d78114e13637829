#include "ui/ListPanel.h"

#include <algorithm>

#include "Foundation/PreferenceKeys.h"

namespace dresk {

namespace {

/// Points from the top of the caret down to the list, and from the caret up to it.
constexpr double GapBelow = 30;
constexpr double GapAbove = 10;
constexpr double BaseFontSize = 12;
/// A font that nobody can read, or a row taller than a screen, is worth no respect.
constexpr std::int64_t SmallestFontSizeDelta = -6;
constexpr std::int64_t LargestFontSizeDelta = 48;

/// Accessibility names the top left corner; a frame begins at the lower left one.
Rect frameOf(const Rect& bound) {
    return {bound.x, bound.y - bound.height, bound.width, bound.height};
}

} // namespace

ListPanel::ListPanel(Desktop& desktop, RunLoop& mainRunLoop, const PreferenceStore& preferences,
                     const ListPanelRows& rows, Options options)
    : desktop_(desktop), axUtils_(desktop), mainRunLoop_(mainRunLoop), preferences_(preferences),
      rows_(rows), options_(options) {
    setSnippetSelectorKeyModifier(0);
}

ListPanel::~ListPanel() {
    mainRunLoop_.cancelAll(this);
}

void ListPanel::setView(ListPanelView& view) {
    view_ = &view;
    view_->setOrderColumnWidth(orderColumnWidth_);
    notifyFontSizeDeltaChanged();
}

void ListPanel::setSnippetSelectorKeyModifier(std::uint64_t modifier) {
    constexpr StringView signs = u"⇧⌃⌥⌘";
    hotkeyFormat_.clear();
    orderColumnWidth_ = 15;
    if (modifier > 0 && modifier <= signs.size()) {
        hotkeyFormat_ = {signs[modifier - 1], u' '};
        orderColumnWidth_ = 30;
    }
    if (view_ == nullptr)
        return;
    view_->setOrderColumnWidth(orderColumnWidth_);
    view_->reloadData();
}

String ListPanel::rowNumber(std::size_t row) const {
    if (row >= MaxRows)
        return {};
    return hotkeyFormat_ + static_cast<char16_t>(u'0' + (row + 1) % 10);
}

void ListPanel::notifyFontSizeDeltaChanged() {
    if (view_ == nullptr)
        return;
    const auto delta =
        static_cast<double>(std::clamp(preferences_.integerForKey(PreferenceKey::FontSizeDelta),
                                       SmallestFontSizeDelta, LargestFontSizeDelta));
    if (defaultRowHeight_ < 1)
        defaultRowHeight_ = view_->rowHeight();
    view_->setCellFontSize(BaseFontSize + delta);
    view_->setRowHeight(defaultRowHeight_ + delta);
    if (isVisible())
        refreshHeight();
}

void ListPanel::measureScreens(const Rect& near) {
    screens_ = ScreenSpace(desktop_.screens().screens());
    screen_ = screens_.visibleFrameAt(near.isZero() ? std::nullopt
                                                    : std::optional(Point{near.x, near.y - 1}));
    const Rect screen = screens_.toDesktop(screen_);
    unitsPerPoint_ = view_->unitsPerPoint({screen.x, screen.y});
}

Size ListPanel::windowSize() const {
    const auto rows = static_cast<double>(std::min(rows_.rowCount(), MaxRows));
    return {std::min(view_->width() * unitsPerPoint_, screen_.width),
            (rows * view_->rowHeight() + options_.headerHeight) * unitsPerPoint_};
}

void ListPanel::rememberFrontProcess() {
    const ProcessSerialNumber process = desktop_.processes().frontProcess();
    const std::lock_guard lock(mutex_);
    frontProcess_ = process;
}

void ListPanel::showWindowAtCaret() {
    rememberFrontProcess();
    const Rect caret = axUtils_.getSelectedTextBound();
    const Rect element = caret.isZero() ? axUtils_.getFocusedUIElementBound() : Rect{};
    measureScreens(caret.isZero() ? element : caret);
    show(caret.isZero() ? placeInBound(element) : placeAtCaret(caret));
}

// The caret's y is the upper edge of the caret; the height counts again above it all the same.
Rect ListPanel::aboveCaret(const Rect& caret, Size size) const {
    return {caret.x, caret.y + caret.height + GapAbove * unitsPerPoint_, size.width, size.height};
}

ListPanel::Place ListPanel::placeAtCaret(const Rect& caret) const {
    const Size size = windowSize();
    const double top = caret.y - GapBelow * unitsPerPoint_;
    if (top - size.height >= screen_.y)
        return {PositionMode::BelowCaret, {caret.x, top - size.height, size.width, size.height}};
    return {PositionMode::AboveCaret, aboveCaret(caret, size)};
}

ListPanel::Place ListPanel::placeInBound(Rect element) const {
    const Rect bound = element.isZero() ? Rect{} : intersection(frameOf(element), screen_);
    if (bound.isZero())
        return {PositionMode::CentredOnScreen, centred(windowSize(), screen_)};
    return {PositionMode::CentredInElement, centred(windowSize(), bound)};
}

void ListPanel::showWindowAtTopRightCorner() {
    rememberFrontProcess();
    measureScreens({});
    const Size size = windowSize();
    show({PositionMode::CentredOnScreen,
          {screen_.x + screen_.width - size.width, screen_.y + screen_.height - size.height,
           size.width, size.height}});
}

void ListPanel::show(const Place& place) {
    initialPositionMode_ = place.mode;
    setFrame(place.frame);
    selectRow(0);
    {
        const std::lock_guard lock(mutex_);
        visible_ = true;
    }
    view_->orderFront();
}

void ListPanel::setFrame(Rect frame) {
    frame_ = movedInside(frame, screen_);
    const Rect windowFrame = screens_.toDesktop(frame_);
    {
        const std::lock_guard lock(frameMutex_);
        windowFrame_ = windowFrame;
    }
    view_->setFrame(windowFrame);
}

// The upper edge stays where it is, also above the caret.
void ListPanel::refreshHeight() {
    if (!isVisible())
        return;
    const Size size = windowSize();
    const double top = frame_.y + frame_.height;
    Rect frame{frame_.x, top - size.height, frame_.width, size.height};
    if (initialPositionMode_ == PositionMode::BelowCaret && frame.y < screen_.y)
        if (const Rect caret = axUtils_.getSelectedTextBound(); !caret.isZero()) {
            initialPositionMode_ = PositionMode::AboveCaret;
            frame.y = aboveCaret(caret, size).y;
        }
    setFrame(frame);
}

Rect ListPanel::windowFrame() const {
    const std::lock_guard lock(frameMutex_);
    return windowFrame_;
}

bool ListPanel::takeKeyboard(std::uint64_t window) {
    const std::lock_guard lock(mutex_);
    return visible_ && desktop_.keyboardFocus().take(window);
}

bool ListPanel::close() {
    {
        const std::lock_guard lock(mutex_);
        if (!visible_)
            return false;
        visible_ = false;
        giveFocusBack();
    }
    if (mainRunLoop_.isCurrent())
        closeWindow();
    else
        mainRunLoop_.post({this, "closeWindow"}, [this] { closeWindow(); });
    return true;
}

// It may have been shown again meanwhile.
void ListPanel::closeWindow() {
    if (!isVisible())
        view_->close();
}

// Where the user has gone to another application, the keyboard stays there: only what this program
// took is given back.
void ListPanel::giveFocusBack() {
    if (options_.becomesKey && desktop_.keyboardFocus().giveBack())
        return;
    Processes& processes = desktop_.processes();
    const ProcessSerialNumber front = processes.frontProcess();
    if (front != frontProcess_ &&
        (front == processes.currentProcess() || front == ProcessSerialNumber{}))
        processes.setFrontProcess(frontProcess_);
}

void ListPanel::reloadData() {
    if (view_ == nullptr)
        return;
    view_->reloadData();
    selectRow(0);
}

void ListPanel::nextRow() {
    const auto row = selectedRow();
    selectRow(row.has_value() ? std::min(*row + 1, rows_.rowCount() - 1) : 0);
}

void ListPanel::previousRow() {
    const auto row = selectedRow();
    if (row.has_value() && *row > 0)
        selectRow(*row - 1);
}

void ListPanel::selectRow(std::optional<std::size_t> row) {
    selectedRow_ = row;
    if (view_ != nullptr)
        view_->selectRow(selectedRow());
}

std::optional<std::size_t> ListPanel::selectedRow() const {
    return selectedRow_.has_value() && *selectedRow_ < rows_.rowCount() ? selectedRow_
                                                                        : std::nullopt;
}

std::optional<std::size_t> ListPanel::rowAtMouseLocation() const {
    if (view_ == nullptr || !isVisible())
        return std::nullopt;
    return view_->rowAtPoint(desktop_.screens().pointerLocation());
}

} // namespace dresk
