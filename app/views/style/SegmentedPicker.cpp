#include "views/style/SegmentedPicker.h"

#include <QHBoxLayout>
#include <QRadioButton>

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
        const bool isFirst = m_buttons.isEmpty();
        const bool isLast = m_buttons.size() + 1 == choices.size();
        button->setProperty("segment", isFirst ? u"first"_s : isLast ? u"last"_s : u"middle"_s);
        // The arrow keys choose as a click does.
        connect(button, &QRadioButton::toggled, this, [this, chosenValue = value](bool isChecked) {
            if (isChecked)
                Q_EMIT chosen(chosenValue);
        });
        m_buttons.append(button);
        layout->addWidget(button);
    }
    layout->addStretch();
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
        const QSignalBlocker quiet(m_buttons[index]);
        // A group always has one that is chosen, unless it is told otherwise.
        m_buttons[index]->setAutoExclusive(false);
        m_buttons[index]->setChecked(m_choices[index].second == value);
        m_buttons[index]->setAutoExclusive(true);
    }
}

} // namespace Larkhaven
