#pragma once

#include <QAbstractButton>

namespace Larkhaven {

/// A button within a text, which looks like a link. Space and Return press it.
class TextLink : public QAbstractButton {
    Q_OBJECT

public:
    explicit TextLink(QWidget* parent = nullptr);

    /// In the font of the text around it.
    static int widthOf(const QString& text, const QFontMetrics& metrics);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};

} // namespace Larkhaven
