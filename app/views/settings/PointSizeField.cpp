#include "views/settings/PointSizeField.h"

#include "views/style/FlatButton.h"
#include "views/style/FocusedWheel.h"
#include "views/style/Style.h"

#include <QHBoxLayout>
#include <QSignalBlocker>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// Shows no digits behind the point that aren't needed.
class Field final : public FocusedWheel<QDoubleSpinBox> {
public:
    using FocusedWheel::FocusedWheel;

    QString textFromValue(double value) const override
    {
        return locale().toString(value, 'f', QLocale::FloatingPointShortest);
    }
};

} // namespace

PointSizeField::PointSizeField(double smallest, double largest, QWidget* parent)
    : QWidget(parent)
    , m_field(new Field)
{
    m_field->setObjectName("pointSize"_L1);
    m_field->setRange(smallest, largest);
    m_field->setDecimals(1);
    m_field->setSuffix(tr(" pt"));
    m_field->setButtonSymbols(QAbstractSpinBox::NoButtons);
    auto* const smaller = new FlatButton(Symbol::minus, tr("Smaller"));
    smaller->setObjectName("pointSizeSmaller"_L1);
    auto* const larger = new FlatButton(Symbol::plus, tr("Larger"));
    larger->setObjectName("pointSizeLarger"_L1);
    for (FlatButton* const button : {smaller, larger}) {
        button->setAutoRepeat(true);
        button->setFocusPolicy(Qt::StrongFocus);
    }
    connect(smaller, &QToolButton::clicked, m_field, &QDoubleSpinBox::stepDown);
    connect(larger, &QToolButton::clicked, m_field, &QDoubleSpinBox::stepUp);
    connect(m_field, &QDoubleSpinBox::valueChanged, this, &PointSizeField::chosen);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Style::grid);
    layout->addWidget(m_field);
    layout->addWidget(smaller);
    layout->addWidget(larger);
    layout->addStretch();
    setFocusProxy(m_field);
    Style::shared().follow(this, [this] { m_field->setFixedWidth(Style::shared().scaled(6)); });
}

void PointSizeField::setSize(double size)
{
    const QSignalBlocker quiet(m_field);
    if (m_field->value() != size)
        m_field->setValue(size);
}

void PointSizeField::setSpokenName(const QString& spoken)
{
    m_field->setAccessibleName(spoken);
}

} // namespace Larkhaven
