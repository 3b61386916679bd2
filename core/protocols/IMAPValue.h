#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>
#include <variant>

namespace Larkhaven {

/// One value of an IMAP response (RFC 3501, 4). Compared by value.
class IMAPValue {
public:
    /// A bare token. Bracketed sections are part of it, so that it may hold spaces: "BODY[HEADER.FIELDS
    /// (DATE)]".
    static IMAPValue atom(QString text) { return IMAPValue(Atom{std::move(text)}); }
    /// A quoted string or a literal, as raw bytes.
    static IMAPValue string(QByteArray bytes) { return IMAPValue(std::move(bytes)); }
    static IMAPValue list(QList<IMAPValue> values) { return IMAPValue(std::move(values)); }
    static IMAPValue nil() { return IMAPValue(std::monostate()); }

    bool isNil() const { return std::holds_alternative<std::monostate>(m_value); }
    /// Null if this isn't a list.
    const QList<IMAPValue>* list() const { return std::get_if<QList<IMAPValue>>(&m_value); }

    /// The atom's text, or the string's bytes read as UTF-8 and repaired; absent for a list and NIL.
    std::optional<QString> text() const;
    /// `text` as a signed 64-bit decimal number with an optional sign; absent if it is anything else.
    std::optional<qint64> integer() const;
    /// The atom's UTF-8 bytes, or the string's bytes; absent for a list and NIL.
    std::optional<QByteArray> data() const;

    /// Whether `text` is the keyword, which is given in capitals, in any case of its ASCII letters.
    bool isKeyword(QLatin1StringView keyword) const;

    bool operator==(const IMAPValue&) const = default;

private:
    struct Atom {
        QString text;
        bool operator==(const Atom&) const = default;
    };
    using Value = std::variant<std::monostate, Atom, QByteArray, QList<IMAPValue>>;

    explicit IMAPValue(Value value)
        : m_value(std::move(value))
    {}

    Value m_value;
};

} // namespace Larkhaven
