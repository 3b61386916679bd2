#pragma once

#include <QProxyStyle>

namespace Larkhaven {

/// Qt's Fusion with the measures of ours that no style sheet can tell.
class MeasuredStyle final : public QProxyStyle {
    Q_OBJECT

public:
    MeasuredStyle();

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
};

} // namespace Larkhaven
