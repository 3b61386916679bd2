#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

namespace Larkhaven {

/// What a "mailto:" URL asks to be written (RFC 6068), read from an untrusted source. A plain value; pure
/// functions, callable from any thread, linear in their input.
///
///     mailto  = "mailto:" [ to ] [ "?" field *( "&" field ) ] [ "#" fragment ]
///     to      = *pchar                            ; addresses, separated by commas
///     field   = name "=" value                    ; both percent-encoded UTF-8
///
/// Five fields are read: To, Cc, Bcc, Subject and Body, by whatever case. Every other one is dropped: a URL
/// attaches no file, answers no message and sets no header. "+" is a plus (RFC 6068, 5).
///
/// Invalid UTF-8 is repaired to U+FFFD. Each text is on one line, the lines of the body apart, without
/// control characters, without characters that aren't seen or turn the direction (`ShownText::line`).
/// Addresses stay text: who a piece of a field names, or that it names nobody, is for whoever reads the
/// field.
struct MailtoURL {
    QString to; ///< addresses as text, joined by ", " where several fields name some; as cc and bcc
    QString cc;
    QString bcc;
    QString subject; ///< of several the first
    QString body;    ///< lines end with LF; of several bodies the first

    /// A longer URL is none, in UTF-16 units.
    static constexpr qsizetype maxLength = 100'000;
    /// Fields beyond are dropped.
    static constexpr qsizetype maxFields = 100;
    /// Of the arguments of one start no more are read.
    static constexpr qsizetype maxMessages = 5;

    /// Absent where it is no "mailto:" URL, or too long.
    static std::optional<MailtoURL> parse(QStringView url);

    /// Whether the text says that it is one, however long it is.
    static bool hasScheme(QStringView url);

    /// Takes all that says it is one out of the arguments of a program, and gives the first `maxMessages`
    /// that can be read.
    static QList<MailtoURL> takeFrom(QStringList& arguments);

    bool operator==(const MailtoURL&) const = default;
};

} // namespace Larkhaven
