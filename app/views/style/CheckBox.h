#pragma once

#include <QCheckBox>

namespace Larkhaven {

/// A check box in the colours of the program, whose box grows with the text.
class CheckBox : public QCheckBox {
    Q_OBJECT

public:
    explicit CheckBox(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(const QPoint& point) const override;
    void paintEvent(QPaintEvent* event) override;

private:
    QRect box() const;
};

} // namespace Larkhaven
