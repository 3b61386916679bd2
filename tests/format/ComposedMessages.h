#pragma once

#include "format/MessageComposer.h"

#include <QRegularExpression>

/// Messages to compose, and what is looked up in composed ones.
namespace Larkhaven::ComposedMessages {

using namespace Qt::StringLiterals;

inline const QDateTime noon(QDate(2026, 3, 3), QTime(12, 0, 0), Qt::UTC);

inline EmailAddress address(const QString& text, const std::optional<QString>& name = std::nullopt)
{
    // Set by hand: nothing is trimmed before the composer sees it.
    EmailAddress result;
    result.name = name;
    result.address = text;
    return result;
}

inline OutgoingMessage someMessage()
{
    OutgoingMessage message;
    message.from = address(u"ann@x.example"_s, u"Ann"_s);
    message.to = {address(u"bob@y.example"_s)};
    message.subject = u"Hello"_s;
    message.body = u"Hi\n"_s;
    return message;
}

inline OutgoingAttachment attachment(const QString& filename, const QString& type,
                                     const QByteArray& data = "x")
{
    return {QUuid::createUuid(), filename, type, data};
}

inline QByteArray built(const OutgoingMessage& message, const std::optional<QString>& domain = std::nullopt)
{
    return MessageComposer::build(message, noon, domain);
}

/// The message with what is random in it numbered in the order of its appearance.
inline QByteArray withoutRandomness(const QByteArray& message)
{
    static const QRegularExpression random(
        u"[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}|(?<=_lh_)[0-9A-F]{32}"_s);
    QString text = QString::fromUtf8(message);
    QStringList seen;
    for (QRegularExpressionMatch match = random.match(text); match.hasMatch(); match = random.match(text)) {
        if (!seen.contains(match.captured()))
            seen.append(match.captured());
        text.replace(match.captured(), u"#"_s + QString::number(seen.size()));
    }
    return text.toUtf8();
}

/// The lines of the header block, folded ones as they stand.
inline QList<QByteArray> headerLines(const QByteArray& message)
{
    const QByteArray block = message.first(message.indexOf("\r\n\r\n"));
    QList<QByteArray> lines;
    for (qsizetype start = 0; start <= block.size();) {
        const qsizetype found = block.indexOf("\r\n", start);
        const qsizetype end = found < 0 ? block.size() : found;
        lines.append(block.sliced(start, end - start));
        start = end + 2;
    }
    return lines;
}

/// The value of a field on one line; empty if there is none.
inline QByteArray field(const QByteArray& message, const QByteArray& name)
{
    for (const QByteArray& line : headerLines(message)) {
        if (line.startsWith(name + ": "))
            return line.sliced(name.size() + 2);
    }
    return {};
}

} // namespace Larkhaven::ComposedMessages
