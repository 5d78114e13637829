#include "ui/qt/TextWindows.h"

#include "ui/qt/QtText.h"
#include "ui/qt/StatusImage.h"

#include <QFontDatabase>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

namespace dresk {

DiagnosticWindow::DiagnosticWindow() : text_(new QPlainTextEdit) {
    setWindowTitle(QStringLiteral("Dresk Diagnostic"));
    text_->setReadOnly(true);
    text_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    text_->setAccessibleName(windowTitle());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(text_);
    resize(620, 420);
}

void DiagnosticWindow::showText(const String& text) {
    text_->setPlainText(toQString(text));
    if (const QScreen* place = screen())
        move(place->availableGeometry().center() - rect().center());
    show();
    raise();
    activateWindow();
}

AboutWindow::AboutWindow(const String& version) {
    constexpr int PictureSize = 96;
    setWindowTitle(QStringLiteral("About Dresk"));
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->setContentsMargins(40, 28, 40, 28);
    const auto addLine = [&](const QString& text, double scale, bool bold) {
        auto* label = new QLabel(text);
        QFont font = label->font();
        font.setPointSizeF(font.pointSizeF() * scale);
        font.setBold(bold);
        label->setFont(font);
        label->setAlignment(Qt::AlignCenter);
        layout->addWidget(label);
    };
    auto* picture = new QLabel;
    picture->setPixmap(
        applicationImage().pixmap(QSize(PictureSize, PictureSize), devicePixelRatioF()));
    layout->addWidget(picture, 0, Qt::AlignCenter);
    addLine(QStringLiteral("Dresk"), 1.8, true);
    addLine(QStringLiteral("Version ") + toQString(version), 1, false);
    layout->addSpacing(10);
    addLine(QStringLiteral("Type an abbreviation anywhere, get the text."), 1, false);
}

} // namespace dresk
