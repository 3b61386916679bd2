#include "Hostile.h"
#include "format/MIMEParser.h"
#include "format/MailEncoding.h"
#include "format/QuotedPrintable.h"

// Whole messages, their transfer encodings and their charsets.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {

namespace {

qsizetype sizeOf(const MIMEHeaders& headers)
{
    qsizetype size = 0;
    for (const MIMEHeaders::Field& field : headers.fields)
        size += field.name.size() + field.value.size();
    return size;
}

qsizetype sizeOf(const std::optional<QString>& text)
{
    return text ? text->size() : 0;
}

qsizetype sizeOf(const ParsedMessage& message)
{
    qsizetype size = sizeOf(message.headers) + sizeOf(message.textBody) + sizeOf(message.htmlBody);
    for (const MailAttachment& attachment : message.attachments)
        size += attachment.filename.size() + attachment.mimeType.size() + attachment.data.size();
    for (const MessageSection& section : message.sections)
        size += sizeOf(section.headers) + sizeOf(section.textBody) + sizeOf(section.htmlBody);
    return size;
}

/// A header block and what follows it.
Made<QByteArray> behind(const QString& name, const QByteArray& head, const QByteArray& piece)
{
    return {name, [=](qsizetype size) { return head + filled(piece, size - head.size()); }};
}

const QByteArray mixed = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";

/// Multiparts in multiparts, with something in each.
QByteArray levels(qsizetype size, int depth, const QByteArray& inner)
{
    QByteArray message;
    for (int level = 0; level < depth; ++level) {
        const QByteArray boundary = "b" + QByteArray::number(level);
        message += "Content-Type: multipart/mixed; boundary=" + boundary + "\r\n\r\n--" + boundary + "\r\n";
    }
    return message + "\r\n" + filled(inner, size - message.size() - 2);
}

QByteArray forwarded(qsizetype size, int depth, const QByteArray& inner)
{
    const QByteArray message = QByteArray("Content-Type: message/rfc822\r\n\r\n").repeated(depth);
    return message + "\r\n" + filled(inner, size - message.size() - 2);
}

std::vector<Made<QByteArray>> messages()
{
    return {
        behind(u"parts"_s, mixed, "--b\r\n\r\nx\r\n"),
        behind(u"parts of nothing"_s, mixed, "--b\r\n"),
        behind(u"parts with hyphens"_s, mixed, "--b--\r\n"),
        behind(u"parts that are almost there"_s, mixed, "--bb\r\n"),
        behind(u"lines of hyphens"_s, mixed, "--\r\n"),
        behind(u"hyphens"_s, mixed, "-"),
        behind(u"boundaries without line ends"_s, mixed, "--b"),
        behind(u"line ends"_s, mixed, "\n"),
        behind(u"carriage returns"_s, mixed, "\r"),
        behind(u"texts"_s, mixed, "--b\r\nContent-Type: text/plain\r\n\r\n\r\n"),
        behind(u"HTML texts"_s, mixed, "--b\r\nContent-Type: text/html\r\n\r\n<p>\r\n"),
        behind(u"attachments"_s, mixed, "--b\r\nContent-Disposition: attachment; filename=a\r\n\r\nx\r\n"),
        behind(u"forwarded messages"_s, mixed,
               "--b\r\nContent-Type: message/rfc822\r\n\r\nSubject: a\r\n\r\nx\r\n"),
        behind(u"multiparts, none ended"_s, {}, "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n"),
        behind(u"forwarded messages in forwarded ones"_s, {}, "Content-Type: message/rfc822\r\n\r\n"),
        {u"multiparts to maxDepth, lines in the innermost"_s,
         [](qsizetype size) { return levels(size, MIMEParser::maxDepth, "--\r\n"); }},
        {u"multiparts to maxDepth, their boundaries in the innermost"_s,
         [](qsizetype size) { return levels(size, MIMEParser::maxDepth, "--b0x\r\n--b7x\r\n"); }},
        {u"forwarded to maxDepth"_s,
         [](qsizetype size) { return forwarded(size, MIMEParser::maxDepth - 1, "a text\r\n"); }},
        {u"forwarded in base64 to maxDepth"_s,
         [](qsizetype size) {
             QByteArray message = filled("a text\r\n"_ba, size / 3);
             for (int level = 0; level < 4; ++level) {
                 message = "Content-Type: message/rfc822\r\nContent-Transfer-Encoding: base64\r\n\r\n" +
                           MailEncoding::encodeBase64Lines(message);
             }
             return message.first(std::min(message.size(), size));
         }},
        {u"a boundary without end"_s,
         [](qsizetype size) {
             return "Content-Type: multipart/mixed; boundary=" + QByteArray(size / 2, 'b') + "\r\n\r\n" +
                    filled("--bbbb\r\n"_ba, size / 2 - 50);
         }},
        {u"a boundary of hyphens"_s,
         [](qsizetype size) {
             return "Content-Type: multipart/mixed; boundary=" + QByteArray(size / 4, '-') + "\r\n\r\n" +
                    QByteArray(size / 2, '-') + "\r\n" + filled("---\r\n"_ba, size / 4 - 60);
         }},
        {u"a quoted boundary that is never closed"_s,
         [](qsizetype size) {
             return "Content-Type: multipart/mixed; boundary=\"" + filled("\\\";"_ba, size - 50);
         }},
        {u"fields of many parts"_s,
         [](qsizetype size) {
             return mixed + numbered(size - 60, [](int number) {
                        return "--b\r\nX-" + QByteArray::number(number) +
                               ": a\r\nSubject: b\r\n c\r\n\r\nx\r\n";
                    });
         }},
        {u"a field before each of many Content-Types"_s,
         [](qsizetype size) {
             return filled("X: y\r\n"_ba, size - 40) + "Content-Type: text/html\r\n\r\nx";
         }},
        {u"Content-Types"_s,
         [](qsizetype size) { return filled("Content-Type: text/html\r\n"_ba, size - 8) + "\r\nx"; }},
        {u"names of files in sections"_s,
         [](qsizetype size) {
             return "Content-Disposition: attachment" +
                    numbered(
                        size - 50,
                        [](int number) { return ";\r\n filename*" + QByteArray::number(number) + "=x"; }) +
                    "\r\n\r\nx";
         }},
        {u"a name of encoded words"_s,
         [](qsizetype size) {
             return "Content-Disposition: attachment; filename=\"" + filled("=?utf-8?q?a?="_ba, size - 60) +
                    "\"\r\n\r\nx";
         }},
        {u"a name of marks"_s,
         [](qsizetype size) {
             return "Content-Disposition: attachment; filename=\"a" + filled("\xcc\x81"_ba, size - 60) +
                    "\"\r\n\r\nx";
         }},
        behind(u"unknown charset"_s, "Content-Type: text/plain; charset=x\r\n\r\n", "\xe4\xf6"),
        behind(u"text in UTF-16"_s, "Content-Type: text/plain; charset=utf-16\r\n\r\n", "\xd8\xd8"),
    };
}

void addCharsets(Families& families)
{
    const std::vector<Made<QByteArray>> bytes{
        many("\x1b$B$\"\x1b(B"_ba), many("\x1b"_ba),     many("\xff"_ba), many("\xc3"_ba),
        many("\xf0\x9f\x91"_ba),    many("+AOQ-"_ba),    many("+"_ba),    many("~{"_ba),
        many("\x81\x30"_ba),        many("\x0e\xff"_ba), many("a"_ba)};
    for (const char* charset :
         {"utf-8", "utf-7", "iso-2022-jp", "iso-2022-kr", "iso-2022-cn", "shift_jis", "gb18030", "hz-gb-2312",
          "utf-16", "utf-32", "scsu", "bocu-1", "koi8-r", "none"}) {
        const QString name = QString::fromLatin1(charset);
        families.add(
            u"MailEncoding::decodeText, "_s + name,
            [name](const QByteArray& text) { return MailEncoding::decodeText(text, name).size(); }, bytes);
    }
}

void addTransferEncodings(Families& families)
{
    families.add(u"MailEncoding::decodeBase64"_s,
                 [](const QByteArray& text) { return MailEncoding::decodeBase64(text).size(); },
                 {many("AAAA"_ba), many("="_ba), many("A="_ba), many("\r\n"_ba), many("A\r\n"_ba),
                  many("\xff"_ba), many("AAAA "_ba)});
    families.add(
        u"MailEncoding::decodeQuotedPrintable"_s,
        [](const QByteArray& text) { return MailEncoding::decodeQuotedPrintable(text, false).size(); },
        {many("="_ba), many("=3"_ba), many("=3D"_ba), many("=\r\n"_ba), many("=\r"_ba), many(" "_ba),
         many(" \r\n"_ba), many("= \t"_ba), many("=\n="_ba), many("_"_ba)});
    families.add(u"QuotedPrintable::decodeUTF8"_s,
                 [](const QByteArray& text) {
                     const std::optional<QString> decoded = QuotedPrintable::decodeUTF8(text);
                     return decoded ? decoded->size() : 0;
                 },
                 {many("="_ba), many("=3"_ba), many("=\r\n"_ba), many("=C3=\n=A4"_ba), many("\xc3=A4"_ba),
                  many("=F0=9F=98=80"_ba), many("=E2=82"_ba)});
    families.add(u"MailEncoding::encodeBase64Lines"_s,
                 [](const QByteArray& text) { return MailEncoding::encodeBase64Lines(text).size(); },
                 {many("a"_ba)});
}

} // namespace

} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven;
    using namespace Larkhaven::Bench;
    Families families;
    families.add(
        u"MIMEParser::parse"_s, [](const QByteArray& text) { return sizeOf(MIMEParser::parse(text)); },
        messages());
    addTransferEncodings(families);
    addCharsets(families);
    return measure(argc, argv, families);
}
