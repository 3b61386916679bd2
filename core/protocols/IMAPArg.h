#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <variant>

namespace Larkhaven {

/// One piece of an IMAP command.
class IMAPArg {
public:
    /// Sent as its UTF-8 bytes; nothing is put between pieces.
    static IMAPArg text(QString text) { return IMAPArg(std::move(text)); }
    /// Sent as a synchronising literal (RFC 3501, 4.3).
    static IMAPArg literal(QByteArray bytes) { return IMAPArg(std::move(bytes)); }
    /// A quoted string where the text is printable ASCII, otherwise a literal of its UTF-8 bytes. No text can
    /// break out of either.
    static IMAPArg quoted(const QString& text);

    /// Null for a literal.
    const QString* text() const { return std::get_if<QString>(&m_value); }
    /// Null for a text.
    const QByteArray* literal() const { return std::get_if<QByteArray>(&m_value); }

    bool operator==(const IMAPArg&) const = default;

private:
    explicit IMAPArg(std::variant<QString, QByteArray> value)
        : m_value(std::move(value))
    {}

    std::variant<QString, QByteArray> m_value;
};

/// A UID set (RFC 3501, 9, `sequence-set`): ascending, without doubles, runs of consecutive numbers as
/// "first:last".
QString uidSet(QList<qint64> uids);

} // namespace Larkhaven
