#pragma once

#include "format/MIMEHeaders.h"
#include "format/ParsedMessage.h"

#include <QByteArrayView>
#include <QString>

/// Reads the bytes of messages (RFC 5322, RFC 2045, RFC 2046), whatever they are: total functions without
/// state, callable from any thread. The only reader of message bytes.
///
/// Cost: one pass over the bytes for each level of nesting, and never more than the limits below. Bodies are
/// converted to text only where they are shown as text. Next to the bytes given, a message takes the memory
/// of its own texts and attachments, and while it is read that of each forwarded message around the current
/// part.
namespace Larkhaven::MIMEParser {

/// Parts deeper than this (the message itself has depth 0) vanish.
inline constexpr int maxDepth = 8;
/// Parts beyond this many of one message vanish; containers count, and so do parts that are too deep.
inline constexpr int maxParts = 500;
/// Fields of one header block beyond this many vanish.
inline constexpr qsizetype maxFields = 1'000'000;
/// Longest file name, in user-perceived characters.
inline constexpr qsizetype maxFilenameCharacters = 200;

/// A message with its parts dissolved.
///
/// - Bodies are the first text/html, and all text/plain, joined with an empty line. All containers are alike,
///   and a forwarded message (message/rfc822) is one too unless it is an attachment.
/// - Attachments are parts that say so, parts other than text that have a name, and whatever is no body.
///
/// A container without a boundary is an attachment. A message cut short keeps its last part. Where bytes of
/// the message come out as nothing, the result is marked as incomplete.
ParsedMessage parse(QByteArrayView raw);

/// The header block of an entity, and its body.
struct SplitEntity {
    MIMEHeaders headers;
    QByteArrayView body; ///< lies within the bytes given, and lives as long as they do
};

/// Splits at the first empty line, with LF or CR LF as line ends. Without one, all is header block. Header
/// bytes are read as UTF-8, else as Windows-1252. A folded value is joined with one space at each fold; lines
/// that are no field vanish.
SplitEntity splitHeaders(QByteArrayView raw);

/// A name that is safe to give to a file: no path, no control characters, no invisible or bidirectional
/// marks, no white space or dots at its ends, at most `maxFilenameCharacters` long; "attachment" where
/// nothing is left.
QString safeFilename(const QString& name);

} // namespace Larkhaven::MIMEParser
