#include "ui/form/FormDialog.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QSizeGrip>
#include <QVBoxLayout>
#include <QWindow>

namespace dresk {

namespace {

constexpr QSize DefaultSize(540, 200);
constexpr QSize SmallestSize(260, 120);
constexpr int TallestByItself = 520;
constexpr int BottomBorder = 41;
constexpr int FrameWidth = 1;
constexpr int MiddleLightness = 128;
// Milliseconds that the page has to tell what it holds when OK is pressed.
constexpr int AnswerTime = 1000;

/// Qt keeps the corner of each screen in units of the display and scales what is on it.
QPoint toLogical(QPointF point) {
    for (const QScreen* screen : QGuiApplication::screens()) {
        const double ratio = screen->devicePixelRatio();
        const QRectF native(screen->geometry().topLeft(),
                            QSizeF(screen->geometry().size()) * ratio);
        if (native.contains(point))
            return (native.topLeft() + (point - native.topLeft()) / ratio).toPoint();
    }
    return point.toPoint();
}

Qt::WindowFlags flagsFor(bool isPopover) {
    const Qt::WindowFlags flags = Qt::Dialog | Qt::WindowStaysOnTopHint | Qt::WindowTitleHint |
                                  Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;
    return isPopover ? flags | Qt::FramelessWindowHint : flags;
}

} // namespace

FormDialog::FormDialog(FormProfile& profile)
    : profile_(profile),
      bridge_([this](const QString& operation, const QString& id, FormState state) {
          handleCall(operation, id, std::move(state));
      }),
      page_(&profile) {
    channel_.registerObject(QStringLiteral("bridge"), &bridge_);
    page_.setWebChannel(&channel_);
    connect(&page_, &QWebEnginePage::renderProcessTerminated, this, [this] {
        isUsable_ = false;
        if (delegate_ != nullptr)
            delegate_->pageFailed("the process that shows its page has ended.");
    });
    connect(&page_, &QWebEnginePage::contentsSizeChanged, this, &FormDialog::fitContent);
    acceptTimer_.setSingleShot(true);
    acceptTimer_.setInterval(AnswerTime);
    connect(&acceptTimer_, &QTimer::timeout, this, [this] {
        if (delegate_ != nullptr)
            delegate_->acceptFields(lastState_);
    });
    makeWidgets();
    resize(DefaultSize);
}

FormDialog::~FormDialog() {
    profile_.pages().removePage(url_);
    // The page belongs to this object and not to the view.
    view_->setPage(nullptr);
}

void FormDialog::makeWidgets() {
    setWindowTitle(QStringLiteral("Dresk"));
    setMinimumSize(SmallestSize);
    view_ = new QWebEngineView(this);
    view_->setPage(&page_);
    view_->setContextMenuPolicy(Qt::NoContextMenu);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &FormDialog::acceptFields);
    connect(buttons, &QDialogButtonBox::rejected, this, &QWidget::close);
    buttons->button(QDialogButtonBox::Ok)->setDefault(true);
    for (QAbstractButton* button : buttons->buttons())
        button->setIcon({});

    auto* bar = new QWidget;
    bar->setFixedHeight(BottomBorder);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(12, 0, 2, 0);
    row->setSpacing(8);
    row->addWidget(buttons);
    row->addWidget(new QSizeGrip(bar), 0, Qt::AlignRight | Qt::AlignBottom);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(FrameWidth, FrameWidth, FrameWidth, FrameWidth);
    column->setSpacing(0);
    column->addWidget(view_, 1);
    column->addWidget(bar);
}

void FormDialog::load(const QByteArray& html, const QString& resourceDirectory) {
    profile_.pages().removePage(url_);
    lastState_ = {};
    url_ = profile_.pages().addPage(html, resourceDirectory);
    bridge_.setPage(url_.path());
    const QColor ground = QGuiApplication::palette().color(QPalette::Base);
    page_.setBackgroundColor(ground);
    if (ground.lightness() < MiddleLightness)
        url_.setQuery(QStringLiteral("dark"));
    page_.show(url_);
}

void FormDialog::handleCall(const QString& operation, const QString& id, FormState state) {
    if (delegate_ == nullptr)
        return;
    lastState_ = state;
    if (operation == u"changed")
        delegate_->pageChanged(std::move(state));
    else if (operation == u"onBodyOnLoad") {
        // A new page may have come with a new widget to draw it.
        view_->setFocus();
        delegate_->onBodyOnLoad(std::move(state));
    } else if (operation == u"accept")
        delegate_->accept(std::move(state));
    else if (operation == u"acceptFields")
        delegate_->acceptFields(std::move(state));
    else if (operation == u"cancel")
        delegate_->cancel();
    else if (operation == u"onTextInputKeyUp_")
        delegate_->onTextInputKeyUp(std::move(state), id.toStdU16String());
    else if (operation == u"onTextInputOnChange_")
        delegate_->onTextInputOnChange(std::move(state), id.toStdU16String());
}

void FormDialog::acceptFields() {
    if (delegate_ == nullptr || acceptTimer_.isActive())
        return;
    acceptTimer_.start();
    bridge_.requestAcceptFields();
}

void FormDialog::setContentSize(QSize size) {
    hasGivenSize_ = true;
    resize(size.expandedTo(SmallestSize));
}

void FormDialog::fitContent(QSizeF size) {
    if (hasGivenSize_ || delegate_ == nullptr || size.isEmpty())
        return;
    // Once for a form: from then on the size is the user's.
    hasGivenSize_ = true;
    const int height = static_cast<int>(size.height()) + BottomBorder + 2 * FrameWidth;
    const int room = isVisible() ? screen()->availableGeometry().bottom() - y() : TallestByItself;
    resize(width(), std::max(this->height(), std::min({height, room, TallestByItself})));
}

QSize FormDialog::frameSizeFor(bool) const {
    return size() * devicePixelRatioF();
}

void FormDialog::showAt(QPointF origin, bool isPopover) {
    isPopover_ = isPopover;
    if (const Qt::WindowFlags flags = flagsFor(isPopover); windowFlags() != flags)
        setWindowFlags(flags);
    move(toLogical(origin));
    show();
    raise();
    activateWindow();
    view_->setFocus();
}

void FormDialog::clear() {
    delegate_ = nullptr;
    acceptTimer_.stop();
    hasGivenSize_ = false;
    hide();
    resize(DefaultSize);
    load({}, {});
}

void FormDialog::closeEvent(QCloseEvent* event) {
    event->ignore();
    if (delegate_ != nullptr)
        delegate_->cancel();
}

// Keys that the page leaves alone.
void FormDialog::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape)
        close();
    else if (!event->isAutoRepeat())
        QDialog::keyPressEvent(event);
}

// The free part of the bar below moves the window.
void FormDialog::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && windowHandle() != nullptr)
        windowHandle()->startSystemMove();
}

void FormDialog::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QColor window = palette().color(QPalette::Window);
    const QColor text = palette().color(QPalette::WindowText);
    const auto mixed = [&](double share) {
        return QColor::fromRgbF(
            static_cast<float>(window.redF() * (1 - share) + text.redF() * share),
            static_cast<float>(window.greenF() * (1 - share) + text.greenF() * share),
            static_cast<float>(window.blueF() * (1 - share) + text.blueF() * share));
    };
    painter.fillRect(rect(), window);
    painter.setPen(mixed(0.18));
    const int line = height() - BottomBorder - FrameWidth;
    painter.drawLine(0, line, width(), line);
    if (isPopover_) {
        painter.setPen(mixed(0.4));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }
}

void FormDialog::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    update();
}

} // namespace dresk
