#include "views/style/MeasuredStyle.h"

#include "views/style/Style.h"

#include <QStyleFactory>

using namespace Qt::StringLiterals;

namespace Larkhaven {

MeasuredStyle::MeasuredStyle()
    : QProxyStyle(QStyleFactory::create(u"Fusion"_s))
{}

int MeasuredStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const
{
    // The symbols in a field grow with its text.
    if (metric == PM_LineEditIconSize)
        return Style::shared().scaled(static_cast<double>(Style::smallIcon) / Style::standardTextSize);
    return QProxyStyle::pixelMetric(metric, option, widget);
}

} // namespace Larkhaven
