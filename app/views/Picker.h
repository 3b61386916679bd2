#pragma once

#include <QComboBox>

namespace Larkhaven {

/// A choice of one among few, drawn like the fields beside it.
class Picker : public QComboBox {
    Q_OBJECT

public:
    using QComboBox::QComboBox;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace Larkhaven
