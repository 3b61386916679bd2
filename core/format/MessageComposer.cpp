#include "format/MessageComposer.h"

#include "domain/Text.h"
#include "format/AddressParser.h"
#include "format/ForwardWords.h"
#include "format/MIMEParser.h"
#include "format/MailDate.h"
#include "format/MailEncoding.h"
#include "format/RecipientField.h"

#include <QCoreApplication>
#include <QLocale>
#include <QUuid>

#include <algorithm>
#include <memory>
#include <unicode/udat.h>
#include <unicode/uloc.h>

using namespace Qt::StringLiterals;

namespace Larkhaven::MessageComposer {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(MessageComposer)
};

// --- Replies and forwards

/// The date in its medium and the time in its short form, as the user's language has them.
QString mediumDate(const QDateTime& date)
{
    // QLocale has no medium form. ICU is given the wall clock as if it were UTC, so that the time zone is the
    // one that everything else in the program sees.
    const QDateTime local = date.toLocalTime();
    const qint64 wallClock = QDateTime(local.date(), local.time(), Qt::UTC).toMSecsSinceEpoch();
    const QByteArray tag = QLocale().bcp47Name().toLatin1();
    QByteArray locale(ULOC_FULLNAME_CAPACITY, '\0');
    UErrorCode status = U_ZERO_ERROR;
    uloc_forLanguageTag(tag.constData(), locale.data(), ULOC_FULLNAME_CAPACITY, nullptr, &status);
    constexpr QStringView utc(u"UTC");
    const std::unique_ptr<UDateFormat, decltype(&udat_close)> formatter(
        udat_open(UDAT_SHORT, UDAT_MEDIUM, locale.constData(), utc.utf16(), static_cast<int32_t>(utc.size()),
                  nullptr, 0, &status),
        udat_close);
    constexpr int32_t longest = 256;
    QString text(longest, Qt::Uninitialized);
    const int32_t length = udat_format(formatter.get(), static_cast<UDate>(wallClock),
                                       reinterpret_cast<char16_t*>(text.data()), longest, nullptr, &status);
    return U_FAILURE(status) ? QString() : text.first(std::min(length, longest));
}

/// The text on one line: an untrusted sender must not put lines of their own into what the user answers.
QString oneLine(const QString& text)
{
    QString line = MailEncoding::headerSafe(text);
    std::ranges::replace_if(line, Text::isLineEnd, u' ');
    return line;
}

QString shownAddress(const std::optional<QString>& name, const QString& address)
{
    return oneLine(name ? *name + " <"_L1 + address + u'>' : address);
}

QString shownAddresses(const QList<EmailAddress>& addresses)
{
    QStringList shown;
    for (const EmailAddress& address : addresses)
        shown.append(shownAddress(address.name, address.address));
    return shown.join(", "_L1);
}

} // namespace

QString replySubject(const QString& subject)
{
    return subject.startsWith("re:"_L1, Qt::CaseInsensitive) ? subject : "Re: "_L1 + subject;
}

QString forwardSubject(const QString& subject)
{
    const bool isForward = subject.startsWith("fwd:"_L1, Qt::CaseInsensitive) ||
                           subject.startsWith("fw:"_L1, Qt::CaseInsensitive);
    return isForward ? subject : "Fwd: "_L1 + subject;
}

QString quotedReply(const QString& body, const std::optional<QString>& senderName,
                    const std::optional<QString>& senderAddress, const std::optional<QDateTime>& date)
{
    const QString writer = senderAddress ? shownAddress(senderName, *senderAddress) : Texts::tr("someone");
    const QString dateText = date && date->isValid() ? mediumDate(*date) : QString();
    QString reply = "\n\n"_L1 + Texts::tr("On %1, %2 wrote:").arg(dateText, writer);
    reply.reserve(reply.size() + body.size() + 3 * (body.count(u'\n') + 1));
    for (const QStringView line : QStringView(body).tokenize(u'\n')) {
        reply += "\n> "_L1;
        reply += line;
    }
    return reply;
}

QString forwardBody(const MIMEHeaders& headers, const QString& body)
{
    return forwardBody(headers, shownAddresses(headers.from()), shownAddresses(headers.to()), body);
}

QString forwardBody(const MIMEHeaders& headers, const QString& sender, const QString& receivers,
                    const QString& body)
{
    using Field = ForwardWords::Field;
    const ForwardWords words = ForwardWords::ofUser();
    QString head = "\n\n"_L1 + words.line + u'\n';
    head += words.written(Field::from, oneLine(sender)) + u'\n';
    if (const std::optional<QDateTime> date = headers.date())
        head += words.written(Field::date, MailDate::format(*date)) + u'\n';
    head += words.written(Field::subject, oneLine(headers.subject())) + u'\n';
    head += words.written(Field::to, oneLine(receivers)) + "\n\n"_L1;
    return head + body;
}

// --- Header fields

namespace {

bool isASCII(QStringView text)
{
    return std::ranges::all_of(text, [](QChar character) { return character.unicode() < 0x80; });
}

/// What ends an address or begins something else in a list of them.
bool isForbiddenInAddress(QChar character)
{
    return QStringView(u" <>,;\"()[]\\").contains(character);
}

} // namespace

namespace {

/// RFC 5322, 2.1.1: the longest line, in octets without its line end.
constexpr qsizetype longestLine = 998;
/// Lines are folded before column 78 (RFC 5322, 2.1.1) where they can be.
constexpr qsizetype wantedLine = 77;

/// The text as a quoted string (RFC 5322, 3.2.4).
QString quotedString(const QString& text)
{
    QString quoted;
    quoted.reserve(text.size() + 2);
    quoted += u'"';
    for (const QChar character : text) {
        if (character == u'\\' || character == u'"')
            quoted += u'\\';
        quoted += character;
    }
    return quoted += u'"';
}

/// The address alone, without every character that would end it.
QString bareAddress(const QString& address)
{
    QString bare = MailEncoding::headerSafe(address);
    return bare.removeIf(isForbiddenInAddress);
}

} // namespace

QString formatAddress(const EmailAddress& address)
{
    const QString bare = bareAddress(address.address);
    const QString name = MailEncoding::headerSafe(address.name.value_or(QString()));
    if (name.isEmpty())
        return bare;
    QString phrase = isASCII(name) ? quotedString(name) : MailEncoding::encodeWords(name);
    // What fits no line is folded between encoded words.
    constexpr qsizetype longestPhrase = longestLine - AddressParser::longestAddress - 20;
    if (isASCII(name) && phrase.size() > longestPhrase)
        phrase = MailEncoding::encodeWords(name);
    return phrase + " <"_L1 + bare + u'>';
}

QString editableAddress(const EmailAddress& address)
{
    const QString bare = bareAddress(address.address);
    const QString name = oneLine(address.name.value_or(QString()));
    return name.isEmpty() ? bare : quotedString(name) + " <"_L1 + bare + u'>';
}

QString formatAddressList(const QList<EmailAddress>& addresses)
{
    QStringList formatted;
    for (const EmailAddress& address : addresses)
        formatted.append(formatAddress(address));
    return formatted.join(", "_L1);
}

QString freshMessageID(const QString& sender, const std::optional<QString>& givenDomain)
{
    return lastingMessageID(QUuid::createUuid(), sender, givenDomain);
}

QString lastingMessageID(const QUuid& id, const QString& sender, const std::optional<QString>& givenDomain)
{
    const QStringList pieces = sender.split(u'@', Qt::SkipEmptyParts);
    const QString domain = givenDomain.value_or(pieces.isEmpty() ? u"localhost"_s : pieces.last());
    return id.toString(QUuid::WithoutBraces) + u'@' + MailEncoding::headerSafe(domain);
}

namespace {

QString messageIDOf(const OutgoingMessage& message, const std::optional<QString>& domain)
{
    const QString id = message.messageID ? MailEncoding::headerSafe(*message.messageID)
                                         : freshMessageID(message.from.address, domain);
    return u'<' + id + u'>';
}

/// The field with its entries one behind the other, folded between them. An entry that fits no line is left
/// out: no server would take it.
QString foldedField(QLatin1StringView name, const QStringList& entries, QLatin1StringView separator)
{
    QString field = name + u':';
    qsizetype column = field.size();
    bool isFirst = true;
    for (const QString& entry : entries) {
        const QByteArray octets = entry.toUtf8();
        const qsizetype lineEnd = octets.indexOf("\r\n");
        const qsizetype firstLine = lineEnd < 0 ? octets.size() : lineEnd;
        const qsizetype lastLine = octets.size() - (octets.lastIndexOf('\n') + 1);
        if (octets.isEmpty() || std::max(firstLine, lastLine) + name.size() + 4 > longestLine)
            continue;
        if (!isFirst) {
            field += separator;
            column += separator.size();
        }
        const bool isFolded = !isFirst && column + 1 + firstLine + separator.size() > wantedLine;
        field += isFolded ? "\r\n "_L1 : " "_L1;
        field += entry;
        const qsizetype before = isFolded ? 1 : column + 1;
        column = lineEnd < 0 ? before + octets.size() : lastLine;
        isFirst = false;
    }
    return isFirst ? QString() : field;
}

/// Message identifiers, each whole.
QString referenceField(QLatin1StringView name, const QList<QString>& references)
{
    QStringList safe;
    for (const QString& reference : references)
        safe.append(MailEncoding::headerSafe(reference));
    safe.removeAll(QString());
    return foldedField(name, safe, {});
}

/// `inReplyTo` as it stands, or piece by piece where it fits no line.
QString inReplyToField(const QString& inReplyTo)
{
    constexpr auto name = "In-Reply-To"_L1;
    const QString safe = MailEncoding::headerSafe(inReplyTo);
    if (safe.isEmpty())
        return {};
    const QString whole = referenceField(name, {safe});
    return whole.isEmpty() ? referenceField(name, safe.split(u' ', Qt::SkipEmptyParts)) : whole;
}

QString subjectField(const QString& subject)
{
    constexpr auto name = "Subject: "_L1;
    const QString safe = MailEncoding::headerSafe(subject);
    const QString encoded = MailEncoding::encodeHeader(safe);
    const bool fits = !isASCII(safe) || name.size() + safe.size() <= longestLine;
    return name + (fits ? encoded : MailEncoding::encodeWords(safe));
}

/// All fields of the message but those of its content.
QStringList messageFields(const OutgoingMessage& message, const QDateTime& date,
                          const std::optional<QString>& domain)
{
    QStringList fields{"From: "_L1 + formatAddress(message.from)};
    const auto addList = [&fields](QLatin1StringView name, const QList<EmailAddress>& addresses) {
        QStringList entries;
        for (const EmailAddress& address : addresses)
            entries.append(formatAddress(address));
        fields.append(foldedField(name, entries, ","_L1));
    };
    addList("To"_L1, message.to);
    addList("Cc"_L1, message.cc);
    addList("Bcc"_L1, message.bcc);
    fields.append(subjectField(message.subject));
    fields.append("Date: "_L1 + MailDate::format(date));
    fields.append("Message-ID: "_L1 + messageIDOf(message, domain));
    fields.append(inReplyToField(message.inReplyTo.value_or(QString())));
    fields.append(referenceField("References"_L1, message.references));
    const auto addUnread = [&fields](QLatin1StringView name, const QString& text) {
        if (!text.isEmpty())
            fields.append(name + ":\r\n "_L1 + RecipientField::kept(text));
    };
    addUnread(unreadToField, message.unread.to);
    addUnread(unreadCcField, message.unread.cc);
    addUnread(unreadBccField, message.unread.bcc);
    fields.append(u"MIME-Version: 1.0"_s);
    fields.removeAll(QString());
    return fields;
}

// --- Entities

/// A stretch of an entity's body. Large ones are encoded only when the message is written, at their place.
struct Piece {
    enum class Form { verbatim, base64Lines };

    QByteArray bytes;
    Form form = Form::verbatim;

    qsizetype writtenSize() const;
    void appendTo(QByteArray& message) const;
};

/// RFC 2045, 6.8: a line of 76 characters holds 57 bytes.
constexpr qsizetype bytesOfLine = 57;
/// Lines that are encoded at once.
constexpr qsizetype linesOfBlock = 1024;

qsizetype Piece::writtenSize() const
{
    if (form == Form::verbatim)
        return bytes.size();
    const qsizetype lineEnds = std::max<qsizetype>((bytes.size() - 1) / bytesOfLine, 0);
    return (bytes.size() + 2) / 3 * 4 + 2 * lineEnds;
}

void Piece::appendTo(QByteArray& message) const
{
    if (form == Form::verbatim) {
        message += bytes;
        return;
    }
    constexpr qsizetype blockSize = linesOfBlock * bytesOfLine;
    for (qsizetype start = 0; start < bytes.size(); start += blockSize) {
        if (start > 0)
            message += "\r\n";
        const QByteArrayView block =
            QByteArrayView(bytes).sliced(start, std::min(blockSize, bytes.size() - start));
        message += MailEncoding::encodeBase64Lines(block);
    }
}

struct Entity {
    QByteArray headers; ///< without a line end behind the last one
    QList<Piece> body;
};

/// The UTF-8 bytes of the text, each line end of whatever kind (LF or CRLF) written as CRLF.
QByteArray withNetworkLineEnds(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    QByteArray result;
    result.reserve(utf8.size() + utf8.count('\n'));
    qsizetype start = 0;
    for (qsizetype end = utf8.indexOf('\n'); end >= 0; end = utf8.indexOf('\n', start)) {
        const bool hasReturn = end > start && utf8[end - 1] == '\r';
        result.append(QByteArrayView(utf8).sliced(start, end - start - (hasReturn ? 1 : 0)));
        result += "\r\n";
        start = end + 1;
    }
    return result.append(QByteArrayView(utf8).sliced(start));
}

Entity textPart(const QByteArray& type, const QString& text)
{
    const QByteArray headers =
        "Content-Type: " + type + "; charset=UTF-8\r\nContent-Transfer-Encoding: base64";
    return {headers, {{withNetworkLineEnds(text), Piece::Form::base64Lines}}};
}

Entity multipart(const QByteArray& subtype, const QList<Entity>& parts)
{
    const QByteArray boundary =
        "=_lh_" + Text::asciiUppered(QUuid::createUuid().toString(QUuid::Id128)).toLatin1();
    Entity entity{"Content-Type: multipart/" + subtype + "; boundary=\"" + boundary + '"', {}};
    for (const Entity& part : parts) {
        entity.body.append({"--" + boundary + "\r\n" + part.headers + "\r\n\r\n"});
        entity.body.append(part.body);
        entity.body.append({"\r\n"});
    }
    entity.body.append({"--" + boundary + "--"});
    return entity;
}

bool isTypeLetterOrDigit(QChar character)
{
    const char16_t unit = character.unicode();
    return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z') || (unit >= u'0' && unit <= u'9');
}

/// RFC 6838, 4.2: `restricted-name`.
bool isTypeName(QStringView name)
{
    return !name.isEmpty() && isTypeLetterOrDigit(name.front()) &&
           std::ranges::all_of(name, [](QChar character) {
               return isTypeLetterOrDigit(character) || QStringView(u"!#$&^_.+-").contains(character);
           });
}

QByteArray checkedType(const QString& mimeType)
{
    const qsizetype slash = mimeType.indexOf(u'/');
    const QStringView type(mimeType);
    // RFC 6838, 4.2: no name of a type is longer.
    constexpr qsizetype longestName = 127;
    if (slash > longestName || mimeType.size() - slash - 1 > longestName)
        return "application/octet-stream";
    if (slash < 0 || !isTypeName(type.first(slash)) || !isTypeName(type.sliced(slash + 1)))
        return "application/octet-stream";
    return Text::asciiLowered(mimeType).toLatin1();
}

constexpr qsizetype longestASCIIName = 400;

/// The file name for readers that know ASCII only, one "_" for each character that they don't, of at most its
/// first characters.
QByteArray asciiName(const QString& filename)
{
    QByteArray name;
    const QList<uint> scalars = filename.toUcs4();
    for (const uint scalar : scalars.first(std::min(scalars.size(), longestASCIIName)))
        name += scalar > 0x7f || scalar == U'\\' || scalar == U'"' ? '_' : static_cast<char>(scalar);
    return name;
}

/// RFC 5987, 3.2.1: `attr-char`, of which those that are no `unreserved` need to be named.
QByteArray percentEncoded(const QString& text)
{
    return text.toUtf8().toPercentEncoding("!#$&+^`|");
}

/// The name in sections on lines of their own (RFC 2231, 3), for one that fits no line. None ends within a
/// character.
QByteArray nameInSections(const QString& filename)
{
    constexpr qsizetype longestSection = 900;
    QByteArrayList sections{QByteArray()};
    const QList<uint> scalars = filename.toUcs4();
    for (const uint scalar : scalars) {
        const char32_t character = scalar;
        const QByteArray encoded = percentEncoded(QString::fromUcs4(&character, 1));
        if (sections.last().size() + encoded.size() > longestSection)
            sections.append(QByteArray());
        sections.last() += encoded;
    }
    QByteArray result;
    for (qsizetype index = 0; index < sections.size(); ++index) {
        result += ";\r\n filename*" + QByteArray::number(index) + "*=";
        result += (index == 0 ? "UTF-8''" : "") + sections[index];
    }
    return result;
}

QByteArray dispositionField(const QString& filename, const QByteArray& ascii)
{
    const QByteArray field = "Content-Disposition: attachment";
    const QByteArray plain = field + "; filename=\"" + ascii + '"';
    // Half a surrogate pair has no percent-encoding.
    if (ascii == filename.toUtf8() || !filename.isValidUtf16())
        return plain;
    const QByteArray both = plain + "; filename*=UTF-8''" + percentEncoded(filename);
    // Readers prefer a plain name to one in sections.
    return both.size() <= longestLine ? both : field + nameInSections(filename);
}

Entity attachmentPart(const OutgoingAttachment& attachment)
{
    const QString filename = MIMEParser::safeFilename(MailEncoding::headerSafe(attachment.filename));
    const QByteArray ascii = asciiName(filename);
    const QByteArray headers = "Content-Type: " + checkedType(attachment.mimeType) + "; name=\"" + ascii +
                               "\"\r\n" + dispositionField(filename, ascii) +
                               "\r\nContent-Transfer-Encoding: base64";
    return {headers, {{attachment.data, Piece::Form::base64Lines}}};
}

Entity content(const OutgoingMessage& message)
{
    Entity entity = textPart("text/plain", message.body);
    if (message.htmlBody && !message.htmlBody->isEmpty())
        entity = multipart("alternative", {entity, textPart("text/html", *message.htmlBody)});
    if (message.attachments.isEmpty())
        return entity;
    QList<Entity> parts{entity};
    for (const OutgoingAttachment& attachment : message.attachments)
        parts.append(attachmentPart(attachment));
    return multipart("mixed", parts);
}

} // namespace

QByteArray build(const OutgoingMessage& message, const QDateTime& date, const std::optional<QString>& domain)
{
    Entity entity = content(message);
    const QByteArray fields = messageFields(message, date, domain).join("\r\n"_L1).toUtf8();
    entity.body.prepend({fields + "\r\n" + entity.headers + "\r\n\r\n"});
    entity.body.append({"\r\n"});

    qsizetype size = 0;
    for (const Piece& piece : std::as_const(entity.body))
        size += piece.writtenSize();
    QByteArray bytes;
    bytes.reserve(size);
    for (const Piece& piece : std::as_const(entity.body))
        piece.appendTo(bytes);
    return bytes;
}

} // namespace Larkhaven::MessageComposer
