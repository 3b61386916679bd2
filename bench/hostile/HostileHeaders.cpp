#include "Hostile.h"
#include "format/AddressParser.h"
#include "format/ForwardWords.h"
#include "format/HeaderParameters.h"
#include "format/MIMEParser.h"
#include "format/MailDate.h"
#include "format/MailEncoding.h"
#include "format/MailtoURL.h"
#include "format/MessageComposer.h"
#include "format/QuotedString.h"
#include "format/RawAddresses.h"
#include "format/RecipientField.h"
#include "format/SenderReader.h"

// The fields of headers, the addresses that a user types, and what is written of both.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {

namespace {

qsizetype sizeOf(const QList<EmailAddress>& addresses)
{
    qsizetype size = 0;
    for (const EmailAddress& address : addresses)
        size += address.address.size() + address.name.value_or(QString()).size();
    return size;
}

qsizetype sizeOf(const QStringList& texts)
{
    qsizetype size = 0;
    for (const QString& text : texts)
        size += text.size();
    return size;
}

/// Opening and closing ones, half of the text each.
Made<QString> nested(const QString& name, QChar open, QChar close)
{
    return {name, [=](qsizetype size) { return QString(size / 2, open) + QString(size / 2, close); }};
}

std::vector<Made<QString>> addressTexts()
{
    return {
        {u"addresses"_s,
         [](qsizetype size) {
             return numberedText(size, [](int number) { return u"a%1@b,"_s.arg(number); });
         }},
        {u"named addresses"_s,
         [](qsizetype size) {
             return numberedText(size,
                                 [](int number) { return u"\"Doe, %1\" <d%1@x.example>, "_s.arg(number); });
         }},
        {u"one word"_s, [](qsizetype size) { return QString(size, u'a'); }},
        {u"marks on one letter"_s,
         [](qsizetype size) { return u'a' + QString(size - 8, QChar(0x301)) + u"@b.c"_s; }},
        {u"letters of full width"_s,
         [](qsizetype size) { return QString(size - 4, QChar(0xff41)) + u"@b.c"_s; }},
        {u"a name of encoded words"_s,
         [](qsizetype size) { return filled(u"=?utf-8?Q?a?= "_s, size - 8) + u"<a@b.c>"_s; }},
        {u"a domain of umlauts"_s, [](qsizetype size) { return u"a@"_s + QString(size - 2, QChar(0xe4)); }},
        {u"domains of umlauts"_s,
         [](qsizetype size) {
             return numberedText(size, [](int number) { return u"a@\u00e4%1.de, "_s.arg(number); });
         }},
        nested(u"nested comments"_s, u'(', u')'),
        nested(u"nested angles"_s, u'<', u'>'),
        {u"groups in groups"_s,
         [](qsizetype size) { return filled(u"g:"_s, size / 2) + QString(size / 2, u';'); }},
        {u"a route without end"_s,
         [](qsizetype size) { return u'<' + filled(u"@a,"_s, size - 8) + u":b@c>"_s; }},
        {u"a comment before words"_s,
         [](qsizetype size) { return filled(u"(a) b "_s, size - 4) + u"@c.d"_s; }},
        {u"quotes in an angle without end"_s,
         [](qsizetype size) { return u'<' + filled(u"\"a\"(b)"_s, size - 1); }},
        many(u"<"_s),
        many(u">"_s),
        many(u"\""_s),
        many(u"("_s),
        many(u"["_s),
        many(u"\\"_s),
        many(u"\"\\"_s),
        many(u"(\\"_s),
        many(u"<\""_s),
        many(u"<("_s),
        many(u"<[\"("_s),
        many(u","_s),
        many(u":"_s),
        many(u"g:;"_s),
        many(u"g:"_s),
        many(u"a:<"_s),
        many(u"@"_s),
        many(u"a@"_s),
        many(u"@ "_s),
        many(u"a @ b "_s),
        many(u". "_s),
        many(u"=?"_s),
        many(u"=?a?q?"_s),
        many(u"=?a?q?b"_s),
        many(u"=?a?q?=?a?q?"_s),
        many(u"<a@b>"_s),
        many(u"<a@b> "_s),
        many(u"<a@b><"_s),
        many(u"()"_s),
        many(u"\"\" "_s),
        many(u"a\t"_s),
        many(u" "_s),
        many(u"\u0130"_s),
        many(u"\u200b"_s),
        many(u"\u202e"_s),
        many(u"\u0301"_s),
        many(u"\U0001f468\u200d"_s),
    };
}

void addAddresses(Families& families)
{
    const std::vector<Made<QString>> texts = addressTexts();
    families.addText(
        u"AddressParser::parseList"_s,
        [](const QString& text) { return sizeOf(AddressParser::parseList(text)); }, texts);
    families.addText(
        u"RecipientField::read"_s,
        [](const QString& text) {
            qsizetype size = 0;
            for (const RecipientField::Piece& piece : RecipientField::read(text))
                size += piece.text.size() + (piece.address ? sizeOf({*piece.address}) : 0);
            return size;
        },
        texts);
    families.addText(
        u"RawAddresses::read"_s,
        [](const QString& text) { return sizeOf(RawAddresses::read(text, 1'000'000)); }, texts);
    families.addText(
        u"RawAddresses::seenIn"_s,
        [](const QString& text) { return sizeOf(QStringList(RawAddresses::seenIn(text))); }, texts);
    families.addText(
        u"SenderReader::read, to longestField"_s,
        [](const QString& text) {
            return sizeOf(SenderReader::read(QList<QString>{text}, QList<QString>{text}).addresses);
        },
        texts, SenderReader::longestField);
    families.addText(u"SenderReader::read, beyond longestField"_s,
                     [](const QString& text) {
                         return sizeOf(
                             SenderReader::read(QList<QString>{text}, QList<QString>{text}).addresses);
                     },
                     {many(u"\u0130"_s), many(u"a@b,"_s), many(u"<a@b>"_s), many(u"("_s)});
    families.addText(u"MIMEHeaders::from"_s,
                     [](const QString& text) {
                         MIMEHeaders headers;
                         headers.fields.append({u"From"_s, text});
                         return sizeOf(headers.from());
                     },
                     {many(u"a@b,"_s), many(u"=?utf-8?q?=2C?=a@b"_s), many(u"(<"_s), many(u"\""_s)});
}

void addDates(Families& families)
{
    const auto read = [](const QString& text) { return qsizetype{MailDate::parse(text) ? 1 : 0}; };
    families.addText(
        u"MailDate::parse"_s, read,
        {many(u" "_s),
         many(u"0"_s),
         many(u"("_s),
         many(u"Mon, "_s),
         many(u"1 "_s),
         many(u"9:"_s),
         many(u"\u0130"_s),
         {u"white space in a date"_s,
          [](qsizetype size) { return u"Tue, 3 Mar 2026"_s + QString(size - 40, u' ') + u"10:11:12 GMT"_s; }},
         {u"zeros in a year"_s,
          [](qsizetype size) { return u"3 Mar "_s + QString(size - 40, u'0') + u"1 10:11:12 GMT"_s; }},
         {u"a comment"_s,
          [](qsizetype size) { return u"Tue, 3 Mar 2026 10:11:12 +0100 ("_s + QString(size - 40, u'('); }}});
}

std::vector<Made<QString>> parameterTexts()
{
    return {
        {u"sections (RFC 2231)"_s,
         [](qsizetype size) {
             return u"a"_s + numberedText(size - 1, [](int number) { return u";f*%1=x"_s.arg(number); });
         }},
        {u"sections backwards"_s,
         [](qsizetype size) {
             return u"a"_s +
                    numberedText(size - 1, [](int number) { return u";f*%1=x"_s.arg(9'999'999 - number); });
         }},
        {u"extended sections"_s,
         [](qsizetype size) {
             return u"a"_s +
                    numberedText(size - 1, [](int number) { return u";f*%1*=koi8-r''%C1"_s.arg(number); });
         }},
        {u"sections of many names"_s,
         [](qsizetype size) {
             return u"a"_s +
                    numberedText(size - 1, [](int number) { return u";f%1*0=x;f%1*1=y"_s.arg(number); });
         }},
        {u"parameters"_s,
         [](qsizetype size) {
             return u"a"_s + numberedText(size - 1, [](int number) { return u";p%1=x"_s.arg(number); });
         }},
        {u"extended parameters in unknown charsets"_s,
         [](qsizetype size) {
             return u"a"_s + numberedText(size - 1, [](int number) { return u";p*=x%1''%41"_s.arg(number); });
         }},
        {u"one extended value"_s,
         [](qsizetype size) { return u"a;f*=utf-8''"_s + filled(u"%C3%A4"_s, size - 12); }},
        {u"an open quote"_s, [](qsizetype size) { return u"a;f=\""_s + filled(u"\\\";"_s, size - 5); }},
        many(u";"_s),
        many(u";a=\""_s),
        many(u";f=x"_s),
        many(u";f*0=x"_s),
        many(u";f*=''"_s),
        many(u";*=*"_s),
        many(u";=\\"_s),
        many(u"="_s),
        many(u"*"_s),
        many(u"'"_s),
        many(u"\""_s),
        many(u"\u0130"_s),
        many(u";\u0130=x"_s),
        many(u" ;"_s),
    };
}

qsizetype sizeOf(const HeaderParameters& parameters)
{
    qsizetype size = parameters.value.size();
    for (const ParameterList::Parameter& one : parameters.params)
        size += one.name.size() + one.value.size();
    return size;
}

std::vector<Made<QString>> encodedWordTexts()
{
    return {
        many(u"=?utf-8?q?a?="_s),
        many(u"=?utf-8?b?YQ==?= "_s),
        many(u"=?koi8-r?Q?a?="_s),
        many(u"=?iso-2022-jp?B?GyRCGyhC?="_s),
        many(u"=?"_s),
        many(u"?="_s),
        many(u"=?="_s),
        many(u"=?\?="_s),
        many(u"=?a?q?"_s),
        many(u"=?a?q"_s),
        many(u"=?a?b?=?"_s),
        many(u"=?x?q?=3?="_s),
        many(u"=?utf-8?q?=?="_s),
        many(u"=?utf-8*en?q?a?= \t"_s),
        many(u"=?utf-8?x?a?= "_s),
        {u"words in unknown charsets"_s,
         [](qsizetype size) {
             return numberedText(size, [](int number) { return u"=?x%1?q?a?= "_s.arg(number); });
         }},
        {u"words in charsets of ICU"_s,
         [](qsizetype size) {
             return numberedText(size,
                                 [](int number) { return u"=?ibm-%1?q?=e4?= "_s.arg(437 + number % 900); });
         }},
        {u"one word"_s, [](qsizetype size) { return u"=?utf-8?q?"_s + QString(size - 12, u'_') + u"?="_s; }},
        {u"a charset without end"_s,
         [](qsizetype size) { return u"=?"_s + QString(size - 8, u'a') + u"?q?a?="_s; }},
        {u"white space between two"_s,
         [](qsizetype size) { return u"=?utf-8?q?a?="_s + QString(size - 30, u' ') + u"=?utf-8?q?a?="_s; }},
        {u"white space without a second"_s,
         [](qsizetype size) { return u"=?utf-8?q?a?="_s + filled(u"         x"_s, size - 30); }},
        {u"marks behind a word"_s,
         [](qsizetype size) { return u"=?utf-8?q?a?="_s + QString(size / 2 - 20, QChar(0x301)); }},
    };
}

void addEncodedWords(Families& families)
{
    const auto read = [](const QString& text) { return MailEncoding::decodeHeader(text).size(); };
    families.addText(u"MailEncoding::decodeHeader, to maxHeaderBytes"_s, read, encodedWordTexts(),
                     MailEncoding::maxHeaderBytes);
    families.addText(u"MailEncoding::decodeHeader, beyond maxHeaderBytes"_s, read, encodedWordTexts());
    const std::vector<Made<QString>> texts{many(u"\u00e4"_s),
                                           many(u"a"_s),
                                           many(u"\U0001f468\u200d"_s),
                                           many(u"\u0301"_s),
                                           many(u"\u0301\u00e4"_s),
                                           many(u"\u0130"_s),
                                           many(u"\u0915\u094d"_s),
                                           many(u"\r\n\u00e4"_s),
                                           many(QString(QChar(0xd800))),
                                           many(u"\u1100"_s),
                                           many(u"\U0001f1e6"_s)};
    families.addText(
        u"MailEncoding::encodeHeader"_s,
        [](const QString& text) { return MailEncoding::encodeHeader(text).size(); }, texts);
    families.addText(u"MailEncoding::headerSafe"_s,
                     [](const QString& text) { return MailEncoding::headerSafe(text).size(); },
                     {many(u"\r\n"_s), many(u"\u0130"_s)});
    families.addText(
        u"MailEncoding::base64URLDecode"_s,
        [](const QString& text) { return MailEncoding::base64URLDecode(text).value_or(QByteArray()).size(); },
        {many(u"AAAA"_s), many(u"-_+/"_s), many(u"="_s), many(u"\u0130"_s)});
    families.addText(u"unquoted"_s, [](const QString& text) { return unquoted(text).size(); },
                     {many(u"\""_s), many(u"\"\\"_s), many(u"\\\""_s)});
}

void addHeaderBlocks(Families& families)
{
    const auto read = [](const QByteArray& text) {
        const MIMEParser::SplitEntity split = MIMEParser::splitHeaders(text);
        qsizetype size = split.body.size();
        for (const MIMEHeaders::Field& field : split.headers.fields)
            size += field.name.size() + field.value.size();
        const QStringList references(split.headers.references());
        return size + sizeOf(references) + split.headers.subject().size() + sizeOf(split.headers.to());
    };
    families.add(
        u"MIMEParser::splitHeaders"_s, read,
        {{u"a field folded without end"_s,
          [](qsizetype size) { return "Subject: a" + filled("\r\n b"_ba, size - 10); }},
         {u"folds of nothing"_s, [](qsizetype size) { return "Subject: a" + filled("\r\n "_ba, size - 10); }},
         {u"fields"_s,
          [](qsizetype size) {
              return numbered(size, [](int number) { return "X-" + QByteArray::number(number) + ": a\r\n"; });
          }},
         {u"references"_s, [](qsizetype size) { return "References: " + filled("<a@b> "_ba, size - 12); }},
         {u"references, none closed"_s,
          [](qsizetype size) { return "References: " + filled("<"_ba, size - 12); }},
         {u"references, none opened"_s,
          [](qsizetype size) { return "References: " + filled("> "_ba, size - 12); }},
         {u"addresses, folded"_s,
          [](qsizetype size) { return "To: a" + filled(" <a@b>,\r\n"_ba, size - 5); }},
         {u"bytes that are no UTF-8"_s,
          [](qsizetype size) { return "Subject: " + QByteArray(size - 9, '\xe4'); }},
         {u"a byte that is no UTF-8 at the end"_s,
          [](qsizetype size) { return "Subject: " + filled("\xc3\xa4"_ba, size - 10) + '\xe4'; }},
         many("Subject: a\r\n"_ba),
         many("From: a@b\r\n"_ba),
         many("\r"_ba),
         many("a"_ba),
         many("a\n"_ba),
         many(" \n"_ba),
         many(":"_ba),
         many(":\n"_ba),
         many("a:\r"_ba),
         many("a :\n"_ba),
         many("\t"_ba)});
}

void addMailto(Families& families)
{
    const auto read = [](const QString& text) {
        const std::optional<MailtoURL> url = MailtoURL::parse(u"mailto:"_s + text);
        return url ? url->to.size() + url->cc.size() + url->bcc.size() + url->subject.size() +
                         url->body.size()
                   : 0;
    };
    families.addText(
        u"MailtoURL::parse, to maxLength"_s, read,
        {many(u"a@b,"_s),
         many(u"%"_s),
         many(u"%25"_s),
         many(u"%0a"_s),
         many(u"%cc%81"_s),
         many(u"%e2%80%ae"_s),
         many(u"%ff"_s),
         many(u"&"_s),
         many(u"?"_s),
         many(u"?to=a&"_s),
         many(u"\u0130"_s),
         {u"fields"_s, [](qsizetype size) { return u"?"_s + filled(u"to=a@b.c&cc=d@e&bcc=f&"_s, size - 1); }},
         {u"a body"_s, [](qsizetype size) { return u"?body="_s + filled(u"%0d%0a"_s, size - 6); }}},
        MailtoURL::maxLength - 7);
    families.addText(u"MailtoURL::parse, beyond maxLength"_s, read, {many(u"a@b,"_s)});
}

std::vector<Made<QString>> namesAndWords()
{
    return {many(u"\u0130"_s),        many(u"\u0301"_s), many(u"\u202e"_s), many(u"\\\""_s),
            many(u"\r\n"_s),          many(u"\u00e4"_s), many(u"a b "_s),   many(u"\U0001f468\u200d"_s),
            many(u"<,>;:\"()[]\\"_s), many(u"a"_s),      many(u"@"_s),      many(u"."_s)};
}

void addComposer(Families& families)
{
    const auto built = [](const OutgoingMessage& message) {
        static const QDateTime now(QDate(2026, 3, 3), QTime(10, 11, 12), Qt::UTC);
        return MessageComposer::build(message, now).size();
    };
    const std::vector<Made<QString>> texts = namesAndWords();
    families.addText(
        u"MessageComposer::build, a subject"_s,
        [built](const QString& text) {
            OutgoingMessage message;
            message.subject = text;
            return built(message);
        },
        texts);
    families.addText(
        u"MessageComposer::build, a name and a file"_s,
        [built](const QString& text) {
            OutgoingMessage message;
            message.from = EmailAddress(text, u"a@b.example"_s);
            message.to = {EmailAddress(std::nullopt, text)};
            message.attachments = {{QUuid(), text, text, {}}};
            return built(message);
        },
        texts);
    families.addText(
        u"MessageComposer::build, texts"_s,
        [built](const QString& text) {
            OutgoingMessage message;
            message.body = text;
            message.htmlBody = text;
            message.unread.to = text;
            return built(message);
        },
        texts);
    families.addText(
        u"MessageComposer::build, receivers to DraftGate::mostAddresses"_s,
        [built](const QString& text) {
            OutgoingMessage message;
            for (const QString& one : text.split(u','))
                message.to.append(EmailAddress(one, one));
            return built(message);
        },
        {many(u"a@b,"_s), many(u"\u00e4,"_s), many(u","_s), many(u"a b@c.d,"_s)}, 4 * 2000);
    families.addText(u"MessageComposer::build, references"_s,
                     [built](const QString& text) {
                         OutgoingMessage message;
                         message.references = text.split(u' ');
                         return built(message);
                     },
                     {many(u"<a@b> "_s), many(u" "_s), many(u"a "_s), many(u"\u0130 "_s)});
    families.addText(
        u"MessageComposer::editableAddress"_s,
        [](const QString& text) {
            return MessageComposer::editableAddress(EmailAddress(text, u"a@b.example"_s)).size();
        },
        texts);
    families.addText(
        u"MessageComposer::formatAddress"_s,
        [](const QString& text) { return MessageComposer::formatAddress(EmailAddress(text, text)).size(); },
        texts);
    families.addText(u"MessageComposer::quotedReply"_s,
                     [](const QString& text) {
                         return MessageComposer::quotedReply(text, text, text, std::nullopt).size();
                     },
                     {many(u"\n"_s), many(u"> "_s), many(u"\r"_s), many(u">\r\n"_s), many(u"\u2028"_s)});
    families.addText(u"MessageComposer::replySubject"_s,
                     [](const QString& text) { return MessageComposer::replySubject(text).size(); },
                     {many(u"Re: "_s), many(u"\u0130"_s), many(u" "_s)});
    families.addText(u"MessageComposer::freshMessageID"_s,
                     [](const QString& text) { return MessageComposer::freshMessageID(text).size(); },
                     {many(u"@"_s), many(u"a@"_s), many(u"\u0130"_s), many(u"a."_s)});
    families.addText(u"ForwardWords::read"_s,
                     [](const QString& text) {
                         qsizetype size = 0;
                         for (const ForwardWords& words : ForwardWords::known()) {
                             const std::optional<ForwardWords::Read> read = words.read(text);
                             size += read ? read->value.size() : 0;
                         }
                         return size;
                     },
                     {many(u"From: "_s), many(u":"_s), many(u" "_s), many(u"\u0130"_s)});
    families.addText(u"MIMEParser::safeFilename"_s,
                     [](const QString& text) { return MIMEParser::safeFilename(text).size(); },
                     {many(u"."_s), many(u"/"_s), many(u"\\"_s), many(u" ."_s), many(u"\u202e"_s),
                      many(u"\u0301"_s), many(u"\u0130"_s), many(u"a/"_s), many(u"\U0001f468\u200d"_s),
                      many(u"../"_s), many(u"\u200b."_s)});
}

} // namespace

} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven;
    using namespace Larkhaven::Bench;
    Families families;
    addHeaderBlocks(families);
    addEncodedWords(families);
    families.addText(
        u"HeaderParameters::parse"_s,
        [](const QString& text) { return sizeOf(HeaderParameters::parse(text)); }, parameterTexts());
    addAddresses(families);
    addDates(families);
    addMailto(families);
    addComposer(families);
    return measure(argc, argv, families);
}
