#include "ui/qt/AccessPromptWindow.h"

#include "ui/qt/QtText.h"
#include "ui/qt/StatusImage.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace dresk {

namespace {

constexpr int TextWidth = 420;
constexpr int IconSize = 64;
constexpr int ShakeMilliseconds = 200;
/// Of the width, to either side.
constexpr double ShakeReach = 0.02;

} // namespace

AccessPromptWindow::AccessPromptWindow(AccessPrompt prompt)
    : prompt_(std::move(prompt)), ignore_(QStringLiteral("Ignore")), shaking_(this, "pos") {
    setWindowTitle(toQString(prompt_.title));
    setWindowFlag(Qt::WindowStaysOnTopHint);

    auto* picture = new QLabel;
    picture->setPixmap(applicationImage().pixmap(QSize(IconSize, IconSize), devicePixelRatioF()));
    auto* title = new QLabel(toQString(prompt_.title));
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    title->setTextFormat(Qt::PlainText);
    auto* text = new QLabel(toQString(prompt_.text));
    text->setTextFormat(Qt::PlainText);
    text->setWordWrap(true);
    text->setMinimumWidth(TextWidth);

    auto* tryAgain = new QPushButton(QStringLiteral("Try Again"));
    tryAgain->setDefault(true);
    auto* restart = new QPushButton(QStringLiteral("Restart"));
    ignore_.hide();
    const auto onClick = [this](QPushButton& button, const std::function<void()>& action) {
        connect(&button, &QPushButton::clicked, this, [&action] {
            if (action)
                action();
        });
    };
    onClick(*tryAgain, prompt_.tryAgain);
    onClick(*restart, prompt_.restart);
    onClick(ignore_, prompt_.ignore);

    auto* texts = new QVBoxLayout;
    texts->addWidget(title);
    texts->addWidget(text, 1);
    auto* top = new QHBoxLayout;
    top->addWidget(picture, 0, Qt::AlignTop);
    top->addLayout(texts, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(&ignore_);
    buttons->addStretch();
    buttons->addWidget(restart);
    buttons->addWidget(tryAgain);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top, 1);
    layout->addLayout(buttons);
}

void AccessPromptWindow::refuse() {
    ignore_.show();
    if (shaking_.state() == QAbstractAnimation::Running)
        return;
    const QPoint place = pos();
    const QPoint reach(static_cast<int>(width() * ShakeReach), 0);
    shaking_.setDuration(ShakeMilliseconds);
    shaking_.setKeyValues({{0, place},
                           {0.125, place - reach},
                           {0.375, place + reach},
                           {0.625, place - reach},
                           {0.875, place + reach},
                           {1, place}});
    shaking_.start();
}

void AccessPromptWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    if (const auto closed = std::exchange(prompt_.closed, {}))
        closed();
}

} // namespace dresk
