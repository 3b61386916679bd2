#include "views/settings/SettingsForm.h"

#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Larkhaven {

SettingsForm::SettingsForm(QWidget* parent)
    : QWidget(parent)
    , m_content(new QWidget)
    , m_grid(new QGridLayout(m_content))
{
    m_grid->setHorizontalSpacing(Style::padding);
    m_grid->setVerticalSpacing(Style::smallPadding);
    m_grid->setColumnStretch(1, 1);
    m_grid->setContentsMargins(0, 0, 0, 0);
    auto* const line = new QHBoxLayout;
    line->addStretch();
    line->addWidget(m_content, 1);
    line->addStretch();
    auto* const layout = new QVBoxLayout(this);
    constexpr int margin = Style::largePadding + Style::smallPadding;
    layout->setContentsMargins(margin, Style::largePadding, margin, margin);
    layout->addLayout(line);
    layout->addStretch();
    // Longer lines are hard to follow.
    Style::shared().follow(this, [this] { m_content->setMaximumWidth(Style::shared().scaled(52)); });
}

void SettingsForm::addGroup(const QString& heading)
{
    if (m_row > 0)
        m_grid->setRowMinimumHeight(m_row++, Style::smallPadding);
    if (heading.isEmpty())
        return;
    auto* const text = new QLabel(heading);
    setRole(*text, Role::subhead);
    m_grid->addWidget(text, m_row++, 0, 1, 2);
}

QLabel* SettingsForm::addRow(const QString& prompt, QWidget* control)
{
    auto* const text = new QLabel(prompt);
    text->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    text->setBuddy(control);
    if (control->accessibleName().isEmpty())
        control->setAccessibleName(prompt.endsWith(u':') ? prompt.chopped(1) : prompt);
    m_grid->addWidget(text, m_row, 0);
    m_grid->addWidget(control, m_row++, 1);
    return text;
}

void SettingsForm::addControl(QWidget* control)
{
    m_grid->addWidget(control, m_row++, 1);
}

QLabel* SettingsForm::addCaption(const QString& text)
{
    auto* const caption = new QLabel(text);
    setRole(*caption, Role::caption);
    caption->setTextFormat(Qt::PlainText);
    caption->setWordWrap(true);
    // Without something that grows, a column is as narrow as its narrowest control.
    QSizePolicy grows = caption->sizePolicy();
    grows.setHorizontalPolicy(QSizePolicy::Expanding);
    caption->setSizePolicy(grows);
    m_grid->addWidget(caption, m_row++, 1);
    return caption;
}

} // namespace Larkhaven
