#pragma once

#include "format/MIMEHeaders.h"
#include "format/MailAttachment.h"

#include <QList>
#include <QString>

#include <optional>

namespace Larkhaven {

/// A message as `MIMEParser::parse` reads it: the tree of its parts is dissolved.
struct ParsedMessage {
    MIMEHeaders headers; ///< of the message itself; those of forwarded messages within it are gone
    std::optional<QString> textBody;   ///< all of its plain texts, joined with empty lines
    std::optional<QString> htmlBody;   ///< the first of its HTML texts
    QList<MailAttachment> attachments; ///< in the order of the message
    /// The message holds bytes that came out as nothing: a multipart without its delimiter, base64 that gives
    /// no byte, parts beyond the limits of the parser.
    bool isIncomplete = false;

    /// The attachments to show as files: all but those that the HTML body refers to as its images (inline,
    /// with a content identifier).
    QList<MailAttachment> listedAttachments() const;

    bool operator==(const ParsedMessage&) const = default;
};

} // namespace Larkhaven
