#include "views/style/ToolTips.h"

#include "views/style/Style.h"

#include <QHelpEvent>
#include <QKeySequence>
#include <QToolTip>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace Larkhaven::ToolTips {

namespace {

bool isChord(const QString& text)
{
    const QKeySequence chord = QKeySequence::fromString(text, QKeySequence::NativeText);
    return !chord.isEmpty() && chord[0].key() != Qt::Key_unknown;
}

} // namespace

QString shown(const QString& text)
{
    const qsizetype open = text.lastIndexOf(" ("_L1);
    const bool hasChord =
        open > 0 && text.endsWith(u')') && isChord(text.sliced(open + 2, text.size() - open - 3));
    if (!hasChord)
        return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text;
    return u"<span style='white-space: nowrap'>%1&nbsp;&nbsp;<span style='color: %2'>%3</span></span>"_s.arg(
        text.first(open).toHtmlEscaped(), Style::shared().colors().secondary.name(),
        text.sliced(open + 2).chopped(1).toHtmlEscaped());
}

void show(QWidget& widget, const QHelpEvent& event)
{
    QToolTip::showText(event.globalPos(), shown(widget.toolTip()), &widget);
}

} // namespace Larkhaven::ToolTips
