#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <utility>

/// What the doubles read of a message (RFC 5322). Apart from the reader under test on purpose.
namespace Larkhaven::RawHeaders {

using Header = std::pair<QString, QString>;

/// In order, names as written, values unfolded.
QList<Header> read(const QByteArray& raw);
/// Of the first one with this name in any case; empty where there is none.
QString value(const QByteArray& raw, const QString& name);
/// "type/subtype" in lower case; "text/plain" where none is given.
QString mimeType(const QByteArray& raw);
/// Of a plain text: what stands behind the first empty line, without its base64. Empty for other types.
QString text(const QByteArray& raw);

} // namespace Larkhaven::RawHeaders
