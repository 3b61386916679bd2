#pragma once

#include <QLineEdit>
#include <QValidator>

namespace Larkhaven {

/// Keeps a field of one line from taking more than it can lay out at once, whoever pastes or drops it there.
/// What would be too much is refused as a whole, and the field keeps what it held. Main thread.
class LineGate : public QValidator {
    Q_OBJECT

public:
    /// `mostEffort`: as `DraftGate::effort` counts.
    LineGate(qsizetype mostEffort, QLineEdit* line);

    /// Sets the text of the field, whatever its length is: it has passed another gate.
    void load(const QString& text);

    State validate(QString& text, int& cursor) const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    /// Something was too much for the field.
    void refused() const;

private:
    void showMenu(const QPoint& place);
    void paste();

    qsizetype m_mostEffort;
    QLineEdit* m_line;
    mutable QString m_accepted; ///< the last text that wasn't too much
    bool m_isLoading = false;
};

} // namespace Larkhaven
