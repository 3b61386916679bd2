#pragma once

#include "views/style/Symbols.h"

#include <QWidget>

#include <optional>

class QLabel;
class QPushButton;

namespace Larkhaven {

/// A line of caption size that says something beside the content and takes nothing: a symbol where one is
/// given, a text that is elided where it doesn't fit, and a flat button. Assistive technology is told when
/// the text changes.
class QuietLine : public QWidget {
    Q_OBJECT

public:
    QuietLine(std::optional<Symbol> symbol, const QString& button, QWidget* parent = nullptr);

    /// The text as a whole; untrusted parts of it have passed `DisplayText`.
    void setText(const QString& text);
    const QString& text() const { return m_full; }
    QPushButton& button() const { return *m_button; }

Q_SIGNALS:
    void clicked();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void elide();

    QLabel* m_text;
    QPushButton* m_button;
    QString m_full;
};

} // namespace Larkhaven
