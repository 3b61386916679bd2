#include "views/style/SegmentedPicker.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QRadioButton>
#include <QStyle>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

SegmentedPicker::SegmentedPicker(const QList<Choice>& choices, QWidget* parent)
    : QWidget(parent)
    , m_choices(choices)
{
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (const auto& [text, value] : choices) {
        auto* const button = new QRadioButton(text);
        // The arrow keys choose as a click does.
        connect(button, &QRadioButton::toggled, this, [this, chosenValue = value](bool isChecked) {
            followChoice();
            if (isChecked)
                Q_EMIT chosen(chosenValue);
        });
        m_buttons.append(button);
        layout->addWidget(button);
    }
    layout->addStretch();
    followDirection();
    followChoice();
}

void SegmentedPicker::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange)
        followDirection();
}

void SegmentedPicker::followDirection()
{
    // The sheet speaks of left and right.
    const QRadioButton* const left = isRightToLeft() ? m_buttons.last() : m_buttons.first();
    const QRadioButton* const right = isRightToLeft() ? m_buttons.first() : m_buttons.last();
    for (QRadioButton* const button : std::as_const(m_buttons)) {
        button->setProperty("segment", button == left    ? u"first"_s
                                       : button == right ? u"last"_s
                                                         : u"middle"_s);
        button->style()->unpolish(button);
        button->style()->polish(button);
    }
}

void SegmentedPicker::followChoice()
{
    // Left to itself, a group is entered at its first button, whichever is chosen.
    const auto isChosen = [](const QRadioButton* button) { return button->isChecked(); };
    const bool isAnyChosen = std::ranges::any_of(m_buttons, isChosen);
    for (QRadioButton* const button : std::as_const(m_buttons)) {
        const bool takesTab = isAnyChosen ? isChosen(button) : button == m_buttons.first();
        button->setFocusPolicy(takesTab ? Qt::StrongFocus : Qt::ClickFocus);
    }
}

QAbstractButton* SegmentedPicker::button(const QVariant& value) const
{
    for (qsizetype index = 0; index < m_buttons.size(); ++index) {
        if (m_choices[index].second == value)
            return m_buttons[index];
    }
    return nullptr;
}

QVariant SegmentedPicker::value() const
{
    for (qsizetype index = 0; index < m_buttons.size(); ++index) {
        if (m_buttons[index]->isChecked())
            return m_choices[index].second;
    }
    return {};
}

void SegmentedPicker::setValue(const QVariant& value)
{
    for (qsizetype index = 0; index < m_buttons.size(); ++index) {
        if (m_choices[index].second != value)
            continue;
        const QSignalBlocker quiet(m_buttons[index]);
        m_buttons[index]->setChecked(true);
        followChoice();
    }
}

} // namespace Larkhaven
