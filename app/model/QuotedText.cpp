#include "model/QuotedText.h"

#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"
#include "safety/TextComparison.h"
#include "safety/VisibleText.h"

namespace Larkhaven::QuotedText {

namespace {

using HTMLSanitizer::Section;

/// The document that the reader shows, but for the bytes of its images.
QString shownDocument(const ParsedMessage& message, const HeadOf& headOf)
{
    SanitizerOptions options;
    options.indirectLinks = true;
    for (const MailAttachment& attachment : message.attachments) {
        if (attachment.contentID)
            options.inlineImages.insert(*attachment.contentID, {attachment.mimeType, {}});
    }
    if (message.sections.isEmpty())
        return HTMLSanitizer::sanitize(*message.htmlBody, options).document;
    QList<Section> sections;
    for (const MessageSection& one : message.sections) {
        Section section;
        section.depth = one.depth;
        section.html = one.htmlBody;
        section.text = one.textBody.value_or(QString());
        if (one.depth > 0 && headOf) {
            for (const QString& line : headOf(one.headers))
                section.heading.append({{}, line});
        }
        sections.append(section);
    }
    return HTMLSanitizer::sections(sections, options).document;
}

QString shownText(const ParsedMessage& message, const HeadOf& headOf)
{
    return VisibleText::ofSanitized(shownDocument(message, headOf), TextComparison::longestText);
}

bool saysSomethingElse(const QString& plain, const ParsedMessage& message)
{
    // Our own words above a forwarded message are no part of the comparison.
    const VisibleText::Shown shown =
        VisibleText::shownOf(shownDocument(message, {}), TextComparison::longestText);
    return TextComparison::saysSomethingElse(plain, shown.text, shown.imageWords);
}

} // namespace

Quoted of(const ParsedMessage& message, const QString& snippet, const HeadOf& headOf)
{
    if (!message.htmlBody)
        return {message.textBody.value_or(snippet)};
    // Newsletters often come with a plain text that is blank.
    const bool isBlank = !message.textBody || Text::trimmedSpaceAndLineEnds(*message.textBody).isEmpty();
    if (isBlank)
        return {shownText(message, headOf)};
    if (!saysSomethingElse(*message.textBody, message))
        return {*message.textBody};
    return {shownText(message, headOf), true};
}

} // namespace Larkhaven::QuotedText
