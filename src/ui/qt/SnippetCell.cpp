#include "ui/qt/SnippetCell.h"

#include <algorithm>
#include <set>

#include "ui/qt/QtText.h"

#include <QApplication>
#include <QPainter>
#include <QStyle>
#include <QTextLayout>

namespace dresk {

namespace {

constexpr int Margin = 6;
constexpr int PillPadding = 18;
constexpr int WidestPill = 200;

std::optional<QFont>& theGlobalFont() {
    static std::optional<QFont> font;
    return font;
}

QFont fontOf(const SnippetCell::Style& style) {
    return SnippetCell::globalFont().value_or(style.font);
}

QTextLayout::FormatRange formatRange(const Range& range, const QTextCharFormat& format) {
    return {static_cast<int>(range.location), static_cast<int>(range.length), format};
}

QTextCharFormat colored(const QColor& color) {
    QTextCharFormat format;
    format.setForeground(color);
    return format;
}

QTextCharFormat hitInTitle() {
    QTextCharFormat format = colored(QColor::fromRgbF(0.01F, 0.01F, 0.01F));
    format.setBackground(QColor(Qt::yellow));
    return format;
}

/// The prefix in cyan in front of the rest, and the hit underlined in either.
QList<QTextLayout::FormatRange> formatsOfAbbreviation(std::uint64_t length,
                                                      std::uint64_t prefixLength, Range match) {
    QList<QTextLayout::FormatRange> formats;
    std::set<std::uint64_t> edges{0, prefixLength, match.location, match.end(), length};
    edges.erase(edges.upper_bound(length), edges.end());
    for (auto edge = edges.begin(); *edge < length; ++edge) {
        QTextCharFormat format = colored(*edge < prefixLength ? Qt::cyan : Qt::white);
        if (*edge >= match.location && *edge < match.end()) {
            format.setFontUnderline(true);
            format.setUnderlineColor(Qt::yellow);
        }
        formats.append(formatRange({*edge, *std::next(edge) - *edge}, format));
    }
    return formats;
}

void drawLine(QPainter& painter, const QRect& rect, const QString& text, const QFont& font,
              const QList<QTextLayout::FormatRange>& formats) {
    QTextLayout layout(text, font, painter.device());
    QTextOption option;
    option.setWrapMode(QTextOption::NoWrap);
    layout.setTextOption(option);
    layout.setFormats(formats);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    layout.endLayout();
    if (!line.isValid())
        return;
    painter.save();
    painter.setClipRect(rect, Qt::IntersectClip);
    layout.draw(&painter, QPointF(rect.x(), rect.y() + (rect.height() - line.height()) / 2));
    painter.restore();
}

/// A title and its hit, cut to a width.
struct FittedTitle {
    QString text;
    Range match;
};

/// A title whose hit lies behind the edge begins a little before the hit instead.
FittedTitle fitTitle(const SnippetCellContent& content, const QFontMetrics& metrics, int width) {
    constexpr std::uint64_t unitsBefore = 8;
    QString text = toQString(content.title);
    text.replace(QChar::LineSeparator, QLatin1Char(' '));
    text.replace(QChar::ParagraphSeparator, QLatin1Char(' '));
    Range match = content.titleMatch;
    if (match.length > 0 && match.location > unitsBefore &&
        metrics.horizontalAdvance(text.left(static_cast<int>(match.end()))) > width) {
        auto start = static_cast<int>(match.location - unitsBefore);
        if (text.at(start).isLowSurrogate())
            --start;
        text = QChar(0x2026) + text.mid(start);
        match.location = match.location + 1 - static_cast<std::uint64_t>(start);
    }
    const QString elided = metrics.elidedText(text, Qt::ElideRight, width);
    const auto kept = static_cast<std::uint64_t>(
        elided == text ? elided.size() : std::max<qsizetype>(elided.size() - 1, 0));
    match.length = match.location < kept ? std::min(match.length, kept - match.location) : 0;
    return {elided, match};
}

/// Draws the pill at the right end; the width that it takes.
int drawPill(QPainter& painter, const QRect& rect, const SnippetCellContent& content,
             const QFont& font) {
    const QFontMetrics metrics(font);
    const QString prefix = toQString(content.abbreviationPrefix);
    const QString whole = prefix + toQString(content.abbreviation);
    const int height = std::min(metrics.height() + 2, rect.height() - 2);
    const int width =
        std::min({metrics.horizontalAdvance(whole) + PillPadding, WidestPill, rect.width() / 2});
    const QRect pill(rect.right() + 1 - width, rect.y() + (rect.height() - height) / 2, width,
                     height);
    painter.setPen(Qt::NoPen);
    painter.setBrush(content.duplicatedAbbreviation ? QColor(0xD9, 0x73, 0x00)
                                                    : QColor(0x50, 0x50, 0x50));
    painter.drawRoundedRect(pill, height / 2.0, height / 2.0);

    const QRect inside = pill.adjusted(PillPadding / 2, 0, -PillPadding / 2, 0);
    // Widths are rounded.
    const QString text = metrics.elidedText(whole, Qt::ElideRight, inside.width() + 1);
    drawLine(painter, inside, text, font,
             formatsOfAbbreviation(static_cast<std::uint64_t>(text.size()),
                                   static_cast<std::uint64_t>(prefix.size()),
                                   content.abbreviationMatch));
    return width;
}

int drawFolder(QPainter& painter, const QRect& rect, bool isDisabled) {
    const int size = std::min(16, rect.height());
    const QRect place(rect.x(), rect.y() + (rect.height() - size) / 2, size, size);
    QApplication::style()
        ->standardIcon(QStyle::SP_DirIcon)
        .paint(&painter, place, Qt::AlignCenter, isDisabled ? QIcon::Disabled : QIcon::Normal);
    return size;
}

} // namespace

void SnippetCell::setGlobalFont(std::optional<QFont> font) {
    theGlobalFont() = std::move(font);
}

const std::optional<QFont>& SnippetCell::globalFont() {
    return theGlobalFont();
}

void SnippetCell::draw(QPainter& painter, const QRect& rect, const SnippetCellContent& content,
                       const Style& style) {
    const QFont font = fontOf(style);
    QRect room = rect.adjusted(Margin, 0, -Margin, 0);
    if (room.width() <= 0)
        return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    if (content.isGroup)
        room.adjust(drawFolder(painter, room, content.isDisabled) + Margin, 0, 0, 0);
    if (!content.abbreviation.empty())
        room.adjust(0, 0, -drawPill(painter, room, content, font) - Margin, 0);
    // The list is not the active window, but its selection counts.
    const auto group = content.isDisabled ? QPalette::Disabled : QPalette::Active;
    painter.setPen(
        style.palette.color(group, style.isSelected ? QPalette::HighlightedText : QPalette::Text));
    const FittedTitle title = fitTitle(content, QFontMetrics(font), room.width());
    QList<QTextLayout::FormatRange> formats;
    if (title.match.length > 0)
        formats.append(formatRange(title.match, hitInTitle()));
    drawLine(painter, room, title.text, font, formats);
    painter.restore();
}

QString SnippetCell::accessibleText(const SnippetCellContent& content) {
    const QString title = toQString(content.title);
    if (content.abbreviation.empty())
        return title;
    return toQString(content.abbreviationPrefix) + toQString(content.abbreviation) +
           QStringLiteral(": ") + title;
}

} // namespace dresk
