#pragma once

#include <QLabel>
#include <QWidget>

class QHBoxLayout;

namespace Larkhaven {

/// A row of the form: a label in its column, a field without a frame, and a hairline below.
class ComposeRow : public QWidget {
    Q_OBJECT

public:
    ComposeRow(const QString& label, QWidget* field, QWidget* parent = nullptr);

    /// Gives the field the looks of a row.

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void measure();

    QLabel* m_label;
    QWidget* m_field;
    QHBoxLayout* m_layout;
};

} // namespace Larkhaven
