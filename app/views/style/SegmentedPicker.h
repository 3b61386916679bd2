#pragma once

#include <QList>
#include <QVariant>
#include <QWidget>

#include <utility>

class QAbstractButton;
class QRadioButton;

namespace Larkhaven {

/// A choice of one among a few short ones that are all seen, side by side. For the keyboard and for assistive
/// technology they are radio buttons.
class SegmentedPicker : public QWidget {
    Q_OBJECT

public:
    using Choice = std::pair<QString, QVariant>; ///< what is shown, and what it stands for

    /// There is at least one choice.
    explicit SegmentedPicker(const QList<Choice>& choices, QWidget* parent = nullptr);

    /// The button of a value, for what a choice has beside its text; null for none.
    QAbstractButton* button(const QVariant& value) const;
    QVariant value() const;
    /// Shows the value as chosen. One that is no choice changes nothing.
    void setValue(const QVariant& value);

Q_SIGNALS:
    /// The user has chosen another value.
    void chosen(const QVariant& value);

protected:
    void changeEvent(QEvent* event) override;

private:
    void followChoice();
    void followDirection();

    QList<Choice> m_choices;
    QList<QRadioButton*> m_buttons;
};

} // namespace Larkhaven
