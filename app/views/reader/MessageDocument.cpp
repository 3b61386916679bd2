#include "views/reader/MessageDocument.h"

#include "format/ForwardWords.h"
#include "format/SenderReader.h"
#include "safety/HTMLSanitizer.h"
#include "safety/VisibleText.h"
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
    const Sender sender = SenderReader::read(headers);
    const QList<EmailAddress>& from = sender.addresses;
    const bool isNamed = sender.names == Sender::Names::honest;
    QStringList senders;
    for (const EmailAddress& address : from.first(std::min(from.size(), mostSenders)))
        senders.append(address.name && isNamed ? u"%1 <%2>"_s.arg(*address.name, address.address)
                                               : address.address);
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

/// Of forwards within each other.
constexpr int mostForwards = 8;

/// Reads the lines of a text one after the other, without their ends.
class Lines {
public:
    explicit Lines(QStringView text)
        : m_text(text)
    {}

    qsizetype position() const { return m_position; }
    bool isAtEnd() const { return m_position >= m_text.size(); }
    QStringView next()
    {
        const qsizetype found = m_text.indexOf(u'\n', m_position);
        const qsizetype end = found < 0 ? m_text.size() : found;
        QStringView line = m_text.sliced(m_position, end - m_position);
        m_position = std::min(end + 1, m_text.size());
        if (line.endsWith(u'\r'))
            line.chop(1);
        return line;
    }

private:
    QStringView m_text;
    qsizetype m_position = 0;
};

/// In front of a field of a forward, whatever language it was written in.
QString labelOf(ForwardWords::Field field)
{
    switch (field) {
    case ForwardWords::Field::from:
        return Texts::tr("From:");
    case ForwardWords::Field::date:
        return Texts::tr("Date:");
    case ForwardWords::Field::subject:
        return Texts::tr("Subject:");
    case ForwardWords::Field::to:
        return Texts::tr("To:");
    case ForwardWords::Field::cc:
        break;
    }
    return Texts::tr("Cc:");
}

/// The fields below the line, which has been read, each once; empty where it isn't one of a forward.
QList<Section::Line> readForwardFields(const ForwardWords& words, Lines& lines)
{
    QList<Section::Line> fields;
    while (!lines.isAtEnd()) {
        const QStringView line = lines.next();
        if (line.isEmpty())
            return fields;
        const std::optional<ForwardWords::Read> field = words.read(line);
        if (!field)
            return {};
        const QString label = labelOf(field->field);
        if (std::ranges::find(fields, label, &Section::Line::label) != fields.end())
            return {};
        fields.append({label, DisplayText::bounded(field->value.toString())});
    }
    return {};
}

/// A plain text with what is forwarded in it; one section where nothing is.
QList<Section> sectionsOf(const QString& text)
{
    QList<Section> sections{Section{}};
    qsizetype taken = 0;
    const QList<ForwardWords> known = ForwardWords::known();
    Lines lines(text);
    while (!lines.isAtEnd() && sections.size() <= mostForwards) {
        const qsizetype start = lines.position();
        const auto words = std::ranges::find(known, lines.next(), &ForwardWords::line);
        if (words == known.end())
            continue;
        Lines below = lines;
        const QList<Section::Line> fields = readForwardFields(*words, below);
        if (fields.isEmpty())
            continue;
        sections.last().text = text.sliced(taken, start - taken);
        Section forwarded;
        forwarded.depth = static_cast<int>(sections.size());
        forwarded.name = Texts::tr("Forwarded message");
        forwarded.heading = fields;
        sections.append(forwarded);
        lines = below;
        taken = lines.position();
    }
    sections.last().text = text.sliced(taken);
    return sections;
}

/// The document without the styles that stand in dead links and blocked images themselves. These are text,
/// and hidden, whatever the message says; a style sheet of ours can't see to it, since a style of an element
/// that is important counts before all sheets (CSS Cascading 5, 6.1).
QString withoutStylesOfDead(const QString& document)
{
    constexpr auto style = " style=\""_L1;
    constexpr auto sheet = "<style>"_L1;
    constexpr auto sheetEnd = "</style>"_L1;
    const QStringView all = document;
    QString result;
    qsizetype copied = 0;
    qsizetype start = 0;
    // As the sanitizer writes tags, no value has a bracket or a quotation mark in it.
    while ((start = all.indexOf(u'<', start)) >= 0) {
        const bool isSheet = all.sliced(start).startsWith(sheet);
        const qsizetype end = isSheet ? all.indexOf(sheetEnd, start) : all.indexOf(u'>', start);
        if (end < 0)
            break;
        const QStringView tag = all.sliced(start, end - start);
        const bool isDead = (tag.startsWith("<a "_L1) && !tag.contains(" href=\""_L1)) ||
                            (tag.startsWith("<img "_L1) && tag.contains(" data-lh-blocked=\""_L1));
        const qsizetype found = isDead ? tag.indexOf(style) : -1;
        if (found >= 0) {
            result += all.sliced(copied, start + found - copied);
            copied = start + tag.indexOf(u'"', found + style.size()) + 1;
        }
        start = end;
    }
    return result += all.sliced(copied);
}

SanitizedHTML withoutStylesOfDead(SanitizedHTML sanitized)
{
    sanitized.document = withoutStylesOfDead(sanitized.document);
    return sanitized;
}

} // namespace

bool isText(const ParsedMessage& message)
{
    return !message.htmlBody && message.sections.isEmpty();
}

SanitizedHTML makeText(const ParsedMessage& message)
{
    QString text = VisibleText::ofSanitized(make(message, false).document, mostTextCharacters);
    if (text.size() > mostTextCharacters) {
        text.truncate(mostTextCharacters);
        text += u"\n\n"_s + Texts::tr("(The rest of this message is left out.)");
    }
    return HTMLSanitizer::plainText(text);
}

SanitizedHTML make(const ParsedMessage& message, bool allowRemoteImages)
{
    if (isText(message)) {
        const QList<Section> sections = sectionsOf(message.textBody.value_or(QString()));
        return sections.size() == 1 ? HTMLSanitizer::plainText(sections.first().text)
                                    : HTMLSanitizer::sections(sections, {});
    }
    SanitizerOptions options;
    options.allowRemoteImages = allowRemoteImages;
    options.indirectLinks = true;
    for (const MailAttachment& attachment : message.attachments) {
        if (attachment.contentID)
            options.inlineImages.insert(*attachment.contentID, {attachment.mimeType, attachment.data});
    }
    if (message.sections.isEmpty())
        return withoutStylesOfDead(HTMLSanitizer::sanitize(*message.htmlBody, options));
    QList<Section> sections;
    for (const MessageSection& section : message.sections)
        sections.append(sectionOf(section));
    return withoutStylesOfDead(HTMLSanitizer::sections(sections, options));
}

} // namespace Larkhaven::MessageDocument
