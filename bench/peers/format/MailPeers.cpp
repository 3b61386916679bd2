#include "Messages.h"
#include "Paired.h"
#include "domain/Text.h"
#include "format/AddressParser.h"
#include "format/Base64.h"
#include "format/MIMEParser.h"
#include "format/MailDate.h"
#include "format/MailEncoding.h"
#include "format/MessageComposer.h"

#include <QDateTime>
#include <QString>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gmime/gmime.h>
#include <memory>
#include <mimetic/mimetic.h>
#include <string>

// Reading and writing of mail beside GMime, mimetic and Qt.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {
namespace {

struct Unref {
    template <typename T>
    void operator()(T* object) const
    {
        g_object_unref(object);
    }
};
template <typename T>
using Held = std::unique_ptr<T, Unref>;

struct Free {
    void operator()(void* memory) const { g_free(memory); }
};
using Text8 = std::unique_ptr<char, Free>;

// --- Messages

/// What came out of a message: characters of its texts, and bytes of its files.
struct Yield {
    std::uint64_t texts = 0;
    std::uint64_t files = 0;

    bool operator==(const Yield&) const = default;
};

std::uint64_t characters(const std::optional<QString>& text)
{
    return text ? static_cast<std::uint64_t>(text->size()) : 0;
}

Yield yieldOf(const ParsedMessage& message, qsizetype joints)
{
    Yield yield;
    yield.texts =
        characters(message.textBody) + characters(message.htmlBody) - static_cast<std::uint64_t>(2 * joints);
    for (const MailAttachment& file : message.attachments)
        yield.files += static_cast<std::uint64_t>(file.data.size());
    return yield;
}

void addPart(GMimeObject*, GMimeObject* part, gpointer context)
{
    auto& yield = *static_cast<Yield*>(context);
    if (GMIME_IS_TEXT_PART(part)) {
        const Text8 text(g_mime_text_part_get_text(GMIME_TEXT_PART(part)));
        yield.texts += static_cast<std::uint64_t>(g_utf8_strlen(text.get(), -1));
    } else if (GMIME_IS_PART(part)) {
        GMimeDataWrapper* const content = g_mime_part_get_content(GMIME_PART(part));
        const Held<GMimeStream> stream(g_mime_stream_mem_new());
        g_mime_data_wrapper_write_to_stream(content, stream.get());
        yield.files += g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()))->len;
    }
}

Held<GMimeMessage> parsedByGMime(const QByteArray& bytes)
{
    const Held<GMimeStream> stream(
        g_mime_stream_mem_new_with_buffer(bytes.constData(), static_cast<size_t>(bytes.size())));
    const Held<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    return Held<GMimeMessage>(g_mime_parser_construct_message(parser.get(), nullptr));
}

/// Whom it is from, to, about and when, as a list shows it.
std::uint64_t headersByGMime(GMimeMessage* message)
{
    const char* const subject = g_mime_message_get_subject(message);
    InternetAddressList* const to = g_mime_message_get_to(message);
    InternetAddressList* const from = g_mime_message_get_from(message);
    GDateTime* const date = g_mime_message_get_date(message);
    return static_cast<std::uint64_t>(g_utf8_strlen(subject, -1) + internet_address_list_length(to) +
                                      internet_address_list_length(from) + g_date_time_to_unix(date) % 1000);
}

std::uint64_t headersByUs(const MIMEHeaders& headers)
{
    return static_cast<std::uint64_t>(headers.subject().size() + headers.to().size() + headers.from().size() +
                                      headers.date()->toSecsSinceEpoch() % 1000);
}

/// Both sides read all messages; what came out of each is compared once, before anything is timed.
Case reading(const std::string& name, const QByteArrayList& messages, double goal)
{
    for (const QByteArray& bytes : messages) {
        const Held<GMimeMessage> theirs = parsedByGMime(bytes);
        const ParsedMessage ours = MIMEParser::parse(bytes);
        Yield their;
        g_mime_message_foreach(theirs.get(), addPart, &their);
        const qsizetype joints = std::max<qsizetype>(bytes.count("Content-Type: text/plain") - 1, 0);
        const Yield our = yieldOf(ours, joints);
        const bool isSame = our == their && headersByGMime(theirs.get()) == headersByUs(ours.headers);
        if (isSame)
            continue;
        std::fprintf(
            stderr,
            "%s: headers %llu and %llu, texts of %llu and %llu characters, files of %llu and %llu bytes\n",
            name.c_str(), static_cast<unsigned long long>(headersByUs(ours.headers)),
            static_cast<unsigned long long>(headersByGMime(theirs.get())),
            static_cast<unsigned long long>(our.texts), static_cast<unsigned long long>(their.texts),
            static_cast<unsigned long long>(our.files), static_cast<unsigned long long>(their.files));
        std::exit(EXIT_FAILURE);
    }
    const auto ours = [messages] {
        std::uint64_t sum = 0;
        for (const QByteArray& bytes : messages) {
            const ParsedMessage message = MIMEParser::parse(bytes);
            sum += headersByUs(message.headers);
            for (const MailAttachment& file : message.attachments)
                sum += static_cast<std::uint64_t>(file.data.size());
        }
        return sum;
    };
    const auto theirs = [messages] {
        std::uint64_t sum = 0;
        for (const QByteArray& bytes : messages) {
            const Held<GMimeMessage> message = parsedByGMime(bytes);
            sum += headersByGMime(message.get());
            Yield yield;
            g_mime_message_foreach(message.get(), addPart, &yield);
            sum += yield.files;
        }
        return sum;
    };
    return {name, "GMime", goal, ours, theirs};
}

/// Both sides read all messages and undo the transfer encodings of their parts, ours to text and with the
/// headers that a list shows decoded, which mimetic leaves to its caller. What proves it, once, before
/// anything is timed, is the size of the texts, in characters but blanks and line ends: mimetic takes some of
/// them off the ends of lines.
void addPart(mimetic::MimeEntity& entity, std::string& texts)
{
    for (mimetic::MimeEntity* const part : entity.body().parts())
        addPart(*part, texts);
    if (!entity.body().parts().empty())
        return;
    const std::string& body = entity.body();
    const std::string encoding = entity.header().contentTransferEncoding().mechanism();
    if (encoding == mimetic::ContentTransferEncoding::quoted_printable) {
        mimetic::QP::Decoder decoder;
        mimetic::decode(body.begin(), body.end(), decoder, std::back_inserter(texts));
    } else {
        texts += body;
    }
}

std::uint64_t proofOf(const QString& text)
{
    return static_cast<std::uint64_t>(
        std::ranges::count_if(text, [](QChar character) { return character > u' '; }));
}

std::uint64_t proofOf(const std::string& utf8)
{
    return static_cast<std::uint64_t>(
        std::ranges::count_if(utf8, [](char byte) { return (byte & 0xC0) != 0x80 && (byte & 0xFF) > ' '; }));
}

std::string textsByMimetic(mimetic::MimeEntity& entity)
{
    std::string texts;
    addPart(entity, texts);
    return texts;
}

Case readingBesideMimetic(const std::string& name, const QByteArrayList& messages, double goal)
{
    for (const QByteArray& bytes : messages) {
        mimetic::MimeEntity entity(bytes.begin(), bytes.end());
        const std::uint64_t their = proofOf(textsByMimetic(entity));
        const std::uint64_t our = proofOf(*MIMEParser::parse(bytes).textBody);
        if (our == their)
            continue;
        std::fprintf(stderr, "%s: texts of %llu and %llu characters\n", name.c_str(),
                     static_cast<unsigned long long>(our), static_cast<unsigned long long>(their));
        std::exit(EXIT_FAILURE);
    }
    const auto ours = [messages] {
        std::uint64_t sum = 0;
        for (const QByteArray& bytes : messages) {
            const ParsedMessage message = MIMEParser::parse(bytes);
            sum += static_cast<std::uint64_t>(message.headers.to().size() + !message.textBody->isEmpty());
        }
        return sum;
    };
    const auto theirs = [messages] {
        std::uint64_t sum = 0;
        for (const QByteArray& bytes : messages) {
            mimetic::MimeEntity entity(bytes.begin(), bytes.end());
            sum += entity.header().to().size() + !textsByMimetic(entity).empty();
        }
        return sum;
    };
    return {name, "mimetic", goal, ours, theirs};
}

// --- Composing

Held<GMimeObject> textByGMime(const char* subtype, const QByteArray& text)
{
    Held<GMimeObject> part(GMIME_OBJECT(g_mime_text_part_new_with_subtype(subtype)));
    g_mime_text_part_set_text(GMIME_TEXT_PART(part.get()), text.constData());
    g_mime_part_set_content_encoding(GMIME_PART(part.get()), GMIME_CONTENT_ENCODING_BASE64);
    return part;
}

std::uint64_t composedByGMime(const QByteArray& text, const QByteArray& html, const QByteArray& file)
{
    const Held<GMimeMessage> message(g_mime_message_new(TRUE));
    g_mime_message_add_mailbox(message.get(), GMIME_ADDRESS_TYPE_FROM, "J\u00f6rg", "joerg@example.org");
    g_mime_message_add_mailbox(message.get(), GMIME_ADDRESS_TYPE_TO, "Ann", "ann@example.com");
    g_mime_message_set_subject(message.get(), "Gr\u00fc\u00dfe aus K\u00f6ln", "UTF-8");
    const Held<GMimeMultipart> both(g_mime_multipart_new_with_subtype("alternative"));
    g_mime_multipart_add(both.get(), textByGMime("plain", text).get());
    g_mime_multipart_add(both.get(), textByGMime("html", html).get());
    const Held<GMimePart> attachment(g_mime_part_new_with_type("application", "pdf"));
    const Held<GMimeStream> bytes(
        g_mime_stream_mem_new_with_buffer(file.constData(), static_cast<size_t>(file.size())));
    const Held<GMimeDataWrapper> content(
        g_mime_data_wrapper_new_with_stream(bytes.get(), GMIME_CONTENT_ENCODING_DEFAULT));
    g_mime_part_set_content(attachment.get(), content.get());
    g_mime_part_set_filename(attachment.get(), "report.pdf");
    g_mime_part_set_content_encoding(attachment.get(), GMIME_CONTENT_ENCODING_BASE64);
    const Held<GMimeMultipart> all(g_mime_multipart_new_with_subtype("mixed"));
    g_mime_multipart_add(all.get(), GMIME_OBJECT(both.get()));
    g_mime_multipart_add(all.get(), GMIME_OBJECT(attachment.get()));
    g_mime_message_set_mime_part(message.get(), GMIME_OBJECT(all.get()));
    const Held<GMimeStream> written(g_mime_stream_mem_new());
    g_mime_object_write_to_stream(GMIME_OBJECT(message.get()), nullptr, written.get());
    return static_cast<std::uint64_t>(g_mime_stream_length(written.get()));
}

/// The sizes of the messages differ by their line ends, and by the fields that each side writes: they are
/// compared in tenths of a megabyte.
Case composing()
{
    constexpr std::uint64_t unit = 100'000;
    const QByteArray text = MailEncoding::decodeQuotedPrintable(quotedPrintable(4000), false);
    const QByteArray html = "<html><body><p>" + text + "</p></body></html>";
    OutgoingMessage message;
    message.from = EmailAddress(u"J\u00f6rg"_s, u"joerg@example.org"_s);
    message.to = {EmailAddress(u"Ann"_s, u"ann@example.com"_s)};
    message.subject = u"Gr\u00fc\u00dfe aus K\u00f6ln"_s;
    message.body = QString::fromUtf8(text);
    message.htmlBody = QString::fromUtf8(html);
    OutgoingAttachment attachment;
    attachment.filename = u"report.pdf"_s;
    attachment.mimeType = u"application/pdf"_s;
    attachment.data = noise(1'048'576);
    message.attachments = {attachment};
    const QDateTime date = QDateTime::currentDateTimeUtc();
    return {"composing, with a file of 1 MiB", "GMime", 8,
            [message, date] {
                return static_cast<std::uint64_t>(MessageComposer::build(message, date).size()) / unit;
            },
            [text, html, file = attachment.data] { return composedByGMime(text, html, file) / unit; }};
}

// --- Encodings

/// Takes the whole input through GMime's encoder of a kind.
std::uint64_t byGMime(GMimeContentEncoding encoding, bool isEncoding, const QByteArray& input,
                      QByteArray& output)
{
    GMimeEncoding state;
    if (isEncoding)
        g_mime_encoding_init_encode(&state, encoding);
    else
        g_mime_encoding_init_decode(&state, encoding);
    output.resize(static_cast<qsizetype>(g_mime_encoding_outlen(&state, static_cast<size_t>(input.size()))));
    return g_mime_encoding_flush(&state, input.constData(), static_cast<size_t>(input.size()), output.data());
}

std::vector<Case> encodingCases()
{
    const QByteArray bytes = noise(1'048'576);
    const QByteArray lines = MailEncoding::encodeBase64Lines(bytes);
    const QByteArray quoted = quotedPrintable(262'144);
    const QByteArray utf8 = MailEncoding::decodeQuotedPrintable(quoted, false);
    std::vector<Case> cases;
    cases.push_back({"base64 decode, 1 MiB in lines", "GMime", 8,
                     [lines] { return static_cast<std::uint64_t>(MailEncoding::decodeBase64(lines).size()); },
                     [lines] {
                         QByteArray output;
                         return byGMime(GMIME_CONTENT_ENCODING_BASE64, false, lines, output);
                     }});
    cases.push_back(
        {"base64 encode, 1 MiB in lines", "GMime", 10,
         [bytes] { return static_cast<std::uint64_t>(MailEncoding::encodeBase64Lines(bytes).size() + 2); },
         [bytes] {
             QByteArray output;
             const std::uint64_t size = byGMime(GMIME_CONTENT_ENCODING_BASE64, true, bytes, output);
             // Its lines end with LF alone, the last one too.
             return size + (size + 76) / 77;
         }});
    cases.push_back({"quoted-printable decode", "GMime", 2.5,
                     [quoted] {
                         return static_cast<std::uint64_t>(
                             MailEncoding::decodeQuotedPrintable(quoted, false).size());
                     },
                     [quoted] {
                         QByteArray output;
                         return byGMime(GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE, false, quoted, output);
                     }});
    cases.push_back({"UTF-8 to text", "Qt's fromUtf8", 0.9,
                     [utf8] { return static_cast<std::uint64_t>(Text::fromStrictUTF8(utf8)->size()); },
                     [utf8] { return static_cast<std::uint64_t>(QString::fromUtf8(utf8).size()); }});
    const QByteArray ascii =
        QByteArray("A line of plain English text, as long as lines of mail are.\r\n").repeated(4000);
    cases.push_back({"UTF-8 to text, all ASCII", "Qt's fromUtf8", 0.9,
                     [ascii] { return static_cast<std::uint64_t>(Text::fromStrictUTF8(ascii)->size()); },
                     [ascii] { return static_cast<std::uint64_t>(QString::fromUtf8(ascii).size()); }});
    return cases;
}

// --- Headers

std::vector<Case> headerCases()
{
    const QByteArray subject = "=?UTF-8?B?R3LDvMOfZSBhdXMgS8O2bG4sIHdvIGVzIHNlaXQ=?= "
                               "=?UTF-8?Q?_drei_Tagen_regnet_und_niemand_wei=C3=9F=2C_warum?=";
    const QByteArray list = "Bob <bob@example.com>, \"Smith, Ann\" <ann@example.com>, zoe@example.com (Zoe), "
                            "=?UTF-8?Q?J=C3=B6rg?= <joerg@example.org>, Team: a@x.example, b@x.example;";
    const QByteArray date = "Tue, 03 Mar 2026 10:11:12 +0100";
    const QString subjectText = QString::fromLatin1(subject);
    const QString listText = QString::fromLatin1(list);
    const QString dateText = QString::fromLatin1(date);
    std::vector<Case> cases;
    cases.push_back(
        {"encoded words of a subject", "GMime", 8,
         [subjectText] { return static_cast<std::uint64_t>(MailEncoding::decodeHeader(subjectText).size()); },
         [subject] {
             const Text8 text(g_mime_utils_header_decode_text(nullptr, subject.constData()));
             return static_cast<std::uint64_t>(g_utf8_strlen(text.get(), -1));
         }});
    cases.push_back({"address list", "GMime", 10,
                     [listText] {
                         return static_cast<std::uint64_t>(
                             AddressParser::parseList(MailEncoding::decodeHeader(listText)).size());
                     },
                     [list] {
                         const Held<InternetAddressList> addresses(
                             internet_address_list_parse(nullptr, list.constData()));
                         // It counts a group as one.
                         return static_cast<std::uint64_t>(internet_address_list_length(addresses.get()) + 1);
                     }});
    cases.push_back(
        {"date", "Qt's RFC 2822", 6,
         [dateText] { return static_cast<std::uint64_t>(MailDate::parse(dateText)->toSecsSinceEpoch()); },
         [dateText] {
             return static_cast<std::uint64_t>(
                 QDateTime::fromString(dateText, Qt::RFC2822Date).toSecsSinceEpoch());
         }});
    return cases;
}

} // namespace
} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven::Bench;
    g_mime_init();
    std::vector<Case> cases{reading("MIME, plain", plainMessages(600), 10),
                            reading("MIME, alternative", alternativeMessages(600), 7),
                            reading("MIME, attachment", attachmentMessages(8), 5),
                            reading("MIME, nested", nestedMessages(600), 10),
                            readingBesideMimetic("MIME, plain", plainMessages(600), 4),
                            readingBesideMimetic("MIME, nested", nestedMessages(600), 5),
                            composing()};
    for (const std::vector<Case>& group : {encodingCases(), headerCases()})
        cases.insert(cases.end(), group.begin(), group.end());
    return compare(argc, argv, cases);
}
