#include "views/style/DisplayText.h"

#include "domain/ShownText.h"

#include <QTextDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::DisplayText {

QString bounded(const QString& text, qsizetype length)
{
    return ShownText::line(text, length);
}

QString lines(const QString& text)
{
    QStringList shown;
    qsizetype left = maxLength;
    for (const QStringView line : QStringView(text).tokenize(u'\n')) {
        if (left <= 0 || shown.size() == maxLines) {
            shown.append(u"…"_s);
            break;
        }
        shown.append(ShownText::line(line, left));
        left -= std::max<qsizetype>(shown.last().size(), 1);
    }
    return shown.join(u'\n');
}

QString toolTip(const QString& text)
{
    return toolTip(QStringList(text));
}

QString toolTip(const QStringList& lines)
{
    QStringList boundedLines;
    for (const QString& line : lines)
        boundedLines.append(bounded(line));
    const QString shown = boundedLines.join(u'\n');
    // A tooltip takes a text for HTML where it looks like it.
    return Qt::mightBeRichText(shown) ? Qt::convertFromPlainText(shown) : shown;
}

QString menuItem(const QString& text)
{
    return bounded(text).replace(u'&', u"&&"_s);
}

} // namespace Larkhaven::DisplayText
