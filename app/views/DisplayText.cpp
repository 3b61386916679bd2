#include "views/DisplayText.h"

#include <QTextDocument>

namespace Larkhaven::DisplayText {

QString bounded(const QString& text, qsizetype length)
{
    if (text.size() <= length)
        return text;
    const bool splitsPair = text[length - 1].isHighSurrogate();
    return text.first(splitsPair ? length - 1 : length) + u'…';
}

QString toolTip(const QString& text)
{
    const QString shown = bounded(text);
    // A tooltip takes a text for HTML where it looks like it.
    return Qt::mightBeRichText(shown) ? Qt::convertFromPlainText(shown) : shown;
}

} // namespace Larkhaven::DisplayText
