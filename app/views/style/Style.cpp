#include "views/style/Style.h"

#include "views/style/AccessibleParts.h"
#include "views/style/MeasuredStyle.h"
#include "views/style/MenuKey.h"
#include "views/style/StyleSheet.h"

#include <QApplication>
#include <QFontDatabase>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

Style::Style()
    : m_colors(StyleColors::of(Scheme::light))
{}

Style& Style::shared()
{
    static Style style;
    return style;
}

int Style::scaled(double multiple) const
{
    return static_cast<int>(std::lround(multiple * m_textSize));
}

int Style::size(Type type) const
{
    switch (type) {
    case Type::caption:
        return m_textSize - 2;
    case Type::body:
        return m_textSize;
    case Type::subhead:
        return m_textSize + 2;
    case Type::title:
        return m_textSize + 7;
    }
    Q_UNREACHABLE();
}

QFont Style::font(Type type, Weight weight) const
{
    const bool isHeading = type == Type::subhead || type == Type::title;
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(size(type));
    font.setWeight(isHeading || weight == Weight::semibold ? QFont::DemiBold : QFont::Normal);
    return font;
}

void Style::setScheme(Scheme scheme)
{
    if (std::exchange(m_scheme, scheme) != scheme)
        update();
}

void Style::setHighContrast(bool isHigh)
{
    if (std::exchange(m_isHighContrast, isHigh) != isHigh)
        update();
}

void Style::setAccent(const std::optional<QColor>& accent)
{
    if (std::exchange(m_accent, accent) != accent)
        update();
}

void Style::setTextSize(double size)
{
    const auto isSize = [size](int step) { return size == static_cast<double>(step); };
    const auto found = std::ranges::find_if(textSizes, isSize);
    const int taken = found == textSizes.end() ? standardTextSize : *found;
    if (std::exchange(m_textSize, taken) != taken)
        update();
}

void Style::update()
{
    m_colors = m_isHighContrast ? StyleColors::ofHighContrast(m_scheme) : StyleColors::of(m_scheme, m_accent);
    if (m_isApplied)
        give();
    Q_EMIT changed();
}

void Style::applyToApplication()
{
    if (!std::exchange(m_isApplied, true)) {
        installAccessibleParts();
        installMenuKey(*qApp);
        // A desktop's own theme may lack images that we need, and mixes styles.
        QIcon::setThemeName(u"breeze"_s);
        QApplication::setStyle(new MeasuredStyle);
    }
    give();
}

void Style::give()
{
    QApplication::setPalette(StyleSheet::palette(m_colors));
    QApplication::setFont(font(Type::body));
    QToolTip::setFont(font(Type::caption));
    qApp->setStyleSheet(StyleSheet::text(
        m_colors, {size(Type::caption), size(Type::body), size(Type::subhead), size(Type::title),
                   QFontDatabase::systemFont(QFontDatabase::FixedFont).family()}));
}

} // namespace Larkhaven
