#pragma once

#include <QPlainTextEdit>

namespace Larkhaven {

/// The text below messages. It takes plain text up to a bound, and leaves the key Tab to the window.
class SignatureEdit : public QPlainTextEdit {
    Q_OBJECT

public:
    /// In UTF-16 units.
    static constexpr qsizetype longest = 10'000;

    explicit SignatureEdit(QWidget* parent = nullptr);

    /// Shows the text, the beginning of one that is too long.
    void setSignature(const QString& text);

Q_SIGNALS:
    /// The user has changed the text.
    void edited(const QString& text);

protected:
    void insertFromMimeData(const QMimeData* source) override;

private:
    void followChange();

    int m_changeEnd = 0; ///< of the last change, where what is too much is taken out again
    bool m_isShowing = false;
};

} // namespace Larkhaven
