#include "views/reader/MessageDocument.h"

#include "safety/HTMLSanitizer.h"
#include "views/style/DisplayText.h"
#include "views/style/RowText.h"

#include <QCoreApplication>
#include <QLocale>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::MessageDocument {

namespace {

using HTMLSanitizer::Section;

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(MessageDocument)
};

/// Of the senders of one message.
constexpr qsizetype mostSenders = 10;

QString sendersOf(const MIMEHeaders& headers)
{
    const QList<EmailAddress> from = headers.from();
    QStringList senders;
    for (const EmailAddress& address : from.first(std::min(from.size(), mostSenders)))
        senders.append(address.name ? u"%1 <%2>"_s.arg(*address.name, address.address) : address.address);
    return senders.isEmpty() ? Texts::tr("Unknown") : DisplayText::bounded(senders.join(u", "_s));
}

Section sectionOf(const MessageSection& message)
{
    Section section;
    section.depth = message.depth;
    section.html = message.htmlBody;
    section.text = message.textBody.value_or(QString());
    if (message.depth == 0)
        return section;
    const QString subject = DisplayText::bounded(message.headers.subject());
    const QString shownSubject = subject.isEmpty() ? Texts::tr("(no subject)") : subject;
    section.name = Texts::tr("Forwarded message: %1").arg(shownSubject);
    section.heading = {{Texts::tr("From:"), sendersOf(message.headers)},
                       {Texts::tr("Subject:"), shownSubject}};
    if (const std::optional<QDateTime> date = message.headers.date()) {
        const QDateTime local = date->toLocalTime();
        section.heading.append(
            {Texts::tr("Date:"),
             Texts::tr("%1 at %2", "a date and a time")
                 .arg(QLocale().toString(local.date(), QLocale::LongFormat), RowText::time(local.time()))});
    }
    return section;
}

} // namespace

SanitizedHTML make(const ParsedMessage& message, bool allowRemoteImages)
{
    if (!message.htmlBody && message.sections.isEmpty())
        return HTMLSanitizer::plainText(message.textBody.value_or(QString()));
    SanitizerOptions options;
    options.allowRemoteImages = allowRemoteImages;
    options.indirectLinks = true;
    for (const MailAttachment& attachment : message.attachments) {
        if (attachment.contentID)
            options.inlineImages.insert(*attachment.contentID, {attachment.mimeType, attachment.data});
    }
    if (message.sections.isEmpty())
        return HTMLSanitizer::sanitize(*message.htmlBody, options);
    QList<Section> sections;
    for (const MessageSection& section : message.sections)
        sections.append(sectionOf(section));
    return HTMLSanitizer::sections(sections, options);
}

} // namespace Larkhaven::MessageDocument
