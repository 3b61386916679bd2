#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace Larkhaven {

/// A file that came with a message.
struct MailAttachment {
    qsizetype id = 0; ///< its place among the attachments of its message, from 0; never changed
    QString filename; ///< fit for a file system (`MIMEParser::safeFilename`), never empty
    QString mimeType; ///< the value of Content-Type, lowercased
    std::optional<QString> contentID; ///< without angle brackets (RFC 2392)
    bool isInline = false;            ///< meant to be shown within the text (RFC 2183)
    QByteArray data;                  ///< transfer encoding undone

    bool operator==(const MailAttachment&) const = default;
};

} // namespace Larkhaven
