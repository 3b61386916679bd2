#pragma once

#include <QString>
#include <QStringView>

/// Reads the encoded words of header texts (RFC 2047). Pure functions, callable from any thread, linear in
/// the text; `MailEncoding::decodeHeader` says what mail makes of them.
namespace Larkhaven::EncodedWords {

/// Whether "=?" stands in the text. Where it doesn't, there is nothing to read.
bool mayStandIn(QStringView text);

/// The text with its words replaced: itself where none can stand in it.
QString decode(const QString& text);

} // namespace Larkhaven::EncodedWords
