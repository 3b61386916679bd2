#include "views/reader/TextLines.h"

#include <QTextLayout>

#include <algorithm>

namespace Larkhaven {

namespace {

qint64 units = 0;

} // namespace

TextLines TextLines::of(const QString& text, const QFont& font, int width, int most, LastLineRoom room)
{
    units += text.size();
    TextLines lines;
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    while (lines.count < most) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        const bool isLast = ++lines.count == most;
        line.setLineWidth(std::max(1, width));
        if (isLast && (room.isAlways || line.textStart() + line.textLength() < text.size()))
            line.setLineWidth(std::max(1, width - room.width));
        const qsizetype end = line.textStart() + line.textLength();
        lines.text += QStringView(text).sliced(lines.to, end - lines.to);
        if (end < text.size() && !text[end - 1].isSpace() && !text[end].isSpace())
            lines.text += breakMark;
        lines.lastTop = lines.height;
        lines.lastHeight = line.height();
        lines.height += line.height();
        lines.lastFrom = line.textStart();
        lines.to = end;
        lines.lastWidth = line.naturalTextWidth();
    }
    layout.endLayout();
    lines.text += QStringView(text).sliced(lines.to);
    return lines;
}

qint64 TextLines::unitsLaidOut()
{
    return units;
}

} // namespace Larkhaven
