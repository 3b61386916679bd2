#include "views/reader/TextLines.h"

#include <QTextLayout>

#include <algorithm>
#include <functional>

namespace Larkhaven {

namespace {

void layOut(const QString& text, const QFont& font, const std::function<double(int line)>& width, int most,
            const std::function<void(const QTextLine& line)>& take)
{
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    for (int number = 0; number < most; ++number) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(std::max(1.0, width(number)));
        take(line);
    }
    layout.endLayout();
}

} // namespace

TextLines TextLines::of(const QString& text, const QFont& font, int width, int most, int lastRoom)
{
    TextLines lines;
    const auto widthOf = [=](int line) -> double { return line == most - 1 ? width - lastRoom : width; };
    layOut(text, font, widthOf, most, [&lines](const QTextLine& line) {
        lines.lastTop = lines.height;
        lines.lastHeight = line.height();
        lines.height += line.height();
        lines.lastFrom = line.textStart();
        lines.to = line.textStart() + line.textLength();
        lines.lastWidth = line.naturalTextWidth();
        ++lines.count;
    });
    return lines;
}

QString TextLines::breakable(const QString& text, const QFont& font, int width, int most)
{
    QString broken;
    qsizetype taken = 0;
    layOut(
        text, font, [width](int) { return width; }, most,
        [&](const QTextLine& line) {
            const qsizetype end = line.textStart() + line.textLength();
            broken += QStringView(text).sliced(taken, end - taken);
            taken = end;
            if (end < text.size() && !text[end - 1].isSpace() && !text[end].isSpace())
                broken += breakMark;
        });
    return broken += QStringView(text).sliced(taken);
}

} // namespace Larkhaven
