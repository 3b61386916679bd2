#pragma once

#include <QLabel>

namespace Larkhaven {

/// A body text in a column of a width that is told, for layouts that don't ask how high a wrapped text is.
/// The width follows the text size.
class WrappedText : public QLabel {
    Q_OBJECT

public:
    /// `width` as a multiple of the text size.
    WrappedText(const QString& text, double width, QWidget* parent = nullptr);

private:
    double m_width;
};

} // namespace Larkhaven
