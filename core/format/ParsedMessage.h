#pragma once

#include "format/MIMEHeaders.h"
#include "format/MailAttachment.h"

#include <QList>
#include <QString>

#include <optional>

namespace Larkhaven {

/// One of the messages that a message consists of where others are forwarded within it (message/rfc822), with
/// the bodies that are its own.
struct MessageSection {
    int depth = 0; ///< how many messages are around it; 0 for the message itself
    MIMEHeaders headers;
    std::optional<QString> textBody; ///< its plain texts, joined with empty lines
    std::optional<QString> htmlBody; ///< the first of its HTML texts

    bool operator==(const MessageSection&) const = default;
};

/// A message as `MIMEParser::parse` reads it: the tree of its parts is dissolved.
struct ParsedMessage {
    MIMEHeaders headers;               ///< of the message itself
    std::optional<QString> textBody;   ///< all of its plain texts, joined with empty lines
    std::optional<QString> htmlBody;   ///< the first of its HTML texts
    QList<MailAttachment> attachments; ///< in the order of the message
    /// The message itself and those that are forwarded within it, each before those within it; empty where
    /// none is. Their HTML texts behind the first one are attachments all the same.
    QList<MessageSection> sections;
    /// The message holds bytes that came out as nothing: a multipart without its delimiter, base64 that gives
    /// no byte, parts beyond the limits of the parser.
    bool isIncomplete = false;

    /// The attachments to show as files: all but those that the HTML body refers to as its images (inline,
    /// with a content identifier).
    QList<MailAttachment> listedAttachments() const;

    bool operator==(const ParsedMessage&) const = default;
};

} // namespace Larkhaven
