#pragma once

#include <QDoubleSpinBox>

namespace Larkhaven {

/// A field for a size in points, shown as "13 pt", between two buttons that change it by one.
class PointSizeField : public QWidget {
    Q_OBJECT

public:
    /// Both bounds are sizes that can be chosen.
    PointSizeField(double smallest, double largest, QWidget* parent = nullptr);

    void setSize(double size);
    /// What assistive technology calls the field.
    void setSpokenName(const QString& spoken);

Q_SIGNALS:
    /// The user has chosen another size.
    void chosen(double size);

private:
    QDoubleSpinBox* m_field;
};

} // namespace Larkhaven
