#pragma once

#include <QWidget>

class QGridLayout;
class QLabel;

namespace Larkhaven {

/// A pane of settings in two columns: labels at the right of the first one, controls in the second one.
/// Groups are set off by space; captions stand below their control.
class SettingsForm : public QWidget {
    Q_OBJECT

public:
    explicit SettingsForm(QWidget* parent = nullptr);

    /// Begins a group, which may have a heading.
    void addGroup(const QString& heading = {});
    /// A control behind its prompt, which names it for assistive technology as well, without its colon.
    QLabel* addRow(const QString& prompt, QWidget* control);
    /// A control that bears its own label, or a line of them.
    void addControl(QWidget* control);
    /// What is said about the control above.
    QLabel* addCaption(const QString& text);

private:
    QWidget* m_content; ///< as wide as lines can be read
    QGridLayout* m_grid;
    int m_row = 0;
};

} // namespace Larkhaven
