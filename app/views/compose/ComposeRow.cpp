#include "views/compose/ComposeRow.h"

#include "views/style/Style.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace Larkhaven {

ComposeRow::ComposeRow(const QString& label, QWidget* field, QWidget* parent)
    : QWidget(parent)
    , m_label(new QLabel(label))
    , m_field(field)
    , m_layout(new QHBoxLayout(this))
{
    m_label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_label->setBuddy(field);
    QString name = label;
    field->setAccessibleName(name.remove(u':'));
    makeFrameless(*field);
    m_layout->setSpacing(Style::smallPadding);
    m_layout->addWidget(m_label);
    m_layout->addWidget(field, 1);
    setFocusProxy(field);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    connect(&Style::shared(), &Style::changed, this, &ComposeRow::applyStyle);
    applyStyle();
}

void ComposeRow::makeFrameless(QWidget& field)
{
    field.setStyleSheet(u"QLineEdit { border: none; background: transparent; padding: 0; }"_s);
}

void ComposeRow::applyStyle()
{
    const Style& style = Style::shared();
    constexpr double labelColumn = 64.0;
    m_label->setFont(style.font(Style::Type::body));
    m_label->setFixedWidth(style.scaled(labelColumn / Style::standardTextSize));
    m_field->setFont(style.font(Style::Type::body));
    QPalette palette = m_label->palette();
    palette.setColor(QPalette::WindowText, style.colors().secondary);
    m_label->setPalette(palette);
    m_layout->setContentsMargins(Style::smallPadding, 0, Style::largePadding, 1);
    setFixedHeight(style.scaled(2.6));
    update();
}

void ComposeRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(QRect(Style::largePadding, height() - 1, width() - Style::largePadding, 1),
                     Style::shared().colors().hairline);
}

} // namespace Larkhaven
