#include "format/ParsedMessage.h"

namespace Larkhaven {

QList<MailAttachment> ParsedMessage::listedAttachments() const
{
    QList<MailAttachment> listed;
    for (const MailAttachment& attachment : attachments) {
        const bool isImageOfHTML = htmlBody && attachment.isInline && attachment.contentID;
        if (!isImageOfHTML)
            listed.append(attachment);
    }
    return listed;
}

} // namespace Larkhaven
