#include "format/MessageComposer.h"

#include "ComposedMessages.h"
#include "format/MIMEParser.h"
#include "format/MailEncoding.h"
#include "format/RecipientField.h"
#include "support/QtPrinters.h"

#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace ComposedMessages;

namespace {

// --- The content of a message

TEST(MessageComposer, WritesAPlainMessageAsASinglePart)
{
    const QByteArray bytes = built(someMessage());
    EXPECT_TRUE(bytes.endsWith("\r\nMIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
                               "Content-Transfer-Encoding: base64\r\n\r\nSGkNCg==\r\n"));
}

TEST(MessageComposer, NestsTextAndHTMLAndAnAttachment)
{
    OutgoingMessage message = someMessage();
    message.htmlBody = u"<p>Hi"_s;
    message.attachments = {attachment(u"a.bin"_s, u"application/x-a"_s, "abc")};
    const QByteArray bytes = withoutRandomness(built(message));
    EXPECT_EQ(bytes.sliced(bytes.indexOf("MIME-Version")),
              "MIME-Version: 1.0\r\n"
              "Content-Type: multipart/mixed; boundary=\"=_lh_#2\"\r\n"
              "\r\n"
              "--=_lh_#2\r\n"
              "Content-Type: multipart/alternative; boundary=\"=_lh_#3\"\r\n"
              "\r\n"
              "--=_lh_#3\r\n"
              "Content-Type: text/plain; charset=UTF-8\r\n"
              "Content-Transfer-Encoding: base64\r\n"
              "\r\n"
              "SGkNCg==\r\n"
              "--=_lh_#3\r\n"
              "Content-Type: text/html; charset=UTF-8\r\n"
              "Content-Transfer-Encoding: base64\r\n"
              "\r\n"
              "PHA+SGk=\r\n"
              "--=_lh_#3--\r\n"
              "--=_lh_#2\r\n"
              "Content-Type: application/x-a; name=\"a.bin\"\r\n"
              "Content-Disposition: attachment; filename=\"a.bin\"\r\n"
              "Content-Transfer-Encoding: base64\r\n"
              "\r\n"
              "YWJj\r\n"
              "--=_lh_#2--\r\n");
}

TEST(MessageComposer, WritesTextAndHTMLAsAlternatives)
{
    OutgoingMessage message = someMessage();
    message.htmlBody = u"<p>Hi"_s;
    const ParsedMessage parsed = MIMEParser::parse(built(message));
    EXPECT_TRUE(
        parsed.headers.value(u"Content-Type").value().startsWith(u"multipart/alternative; boundary="_s));
    EXPECT_EQ(parsed.textBody, u"Hi\r\n"_s);
    EXPECT_EQ(parsed.htmlBody, u"<p>Hi"_s);
}

TEST(MessageComposer, TakesAnEmptyHTMLBodyForAnAbsentOne)
{
    OutgoingMessage empty = someMessage();
    empty.htmlBody = u""_s;
    EXPECT_EQ(withoutRandomness(built(empty)), withoutRandomness(built(someMessage())));
}

TEST(MessageComposer, SendsEveryLineEndAsOneOfTheNetwork)
{
    const auto textOf = [](const QString& body) {
        OutgoingMessage message = someMessage();
        message.body = body;
        return MIMEParser::parse(built(message)).textBody.value_or(QString());
    };
    EXPECT_EQ(textOf(u"a\nb\r\nc\n\n\r\n"_s), u"a\r\nb\r\nc\r\n\r\n\r\n");
    EXPECT_EQ(textOf(u"a\rb\r\r\nc\n\r"_s), u"a\rb\r\r\nc\r\n\r");
    EXPECT_EQ(textOf(u"\n"_s), u"\r\n");
    EXPECT_EQ(textOf(u""_s), u"");
}

TEST(MessageComposer, EncodesBodiesInLinesOfSeventySixCharacters)
{
    for (const qsizetype size :
         {1, 56, 57, 58, 113, 114, 115, 57 * 1024 - 1, 57 * 1024, 57 * 1024 + 1, 57 * 2048, 200'000}) {
        OutgoingMessage message = someMessage();
        QByteArray data(size, Qt::Uninitialized);
        for (qsizetype index = 0; index < size; ++index)
            data[index] = static_cast<char>(index * 7);
        message.attachments = {attachment(u"a"_s, u"a/b"_s, data)};
        const QByteArray bytes = built(message);
        const qsizetype start = bytes.lastIndexOf("\r\n\r\n") + 4;
        EXPECT_EQ(bytes.sliced(start, bytes.lastIndexOf("\r\n--") - start),
                  MailEncoding::encodeBase64Lines(data));
    }
}

TEST(MessageComposer, GivesAnAttachmentOfNoBytesAnEmptyBody)
{
    OutgoingMessage message = someMessage();
    message.attachments = {attachment(u"a"_s, u"a/b"_s, "")};
    EXPECT_TRUE(withoutRandomness(built(message))
                    .endsWith("Content-Transfer-Encoding: base64\r\n\r\n\r\n--=_lh_#2--\r\n"));
    EXPECT_EQ(MIMEParser::parse(built(message)).attachments.value(0).data, "");
}

TEST(MessageComposer, UsesANewBoundaryForEachMultipart)
{
    OutgoingMessage message = someMessage();
    message.htmlBody = u"x"_s;
    message.attachments = {attachment(u"a"_s, u"a/b"_s)};
    QSet<QString> boundaries;
    static const QRegularExpression pattern(u"boundary=\"(=_lh_[0-9A-F]{32})\"\\r\\n"_s);
    for (int count = 0; count < 100; ++count) {
        QRegularExpressionMatchIterator matches = pattern.globalMatch(QString::fromLatin1(built(message)));
        while (matches.hasNext())
            boundaries.insert(matches.next().captured(1));
    }
    EXPECT_EQ(boundaries.size(), 200);
}

// --- Attachments

QByteArray headersOf(const OutgoingAttachment& file)
{
    OutgoingMessage message = someMessage();
    message.attachments = {file};
    const QByteArray bytes = built(message);
    const qsizetype start = bytes.lastIndexOf("Content-Type");
    return bytes.sliced(start, bytes.indexOf("\r\n\r\n", start) - start);
}

QByteArray expectedHeaders(const QByteArray& type, const QByteArray& ascii, const QByteArray& extended = {})
{
    return "Content-Type: " + type + "; name=\"" + ascii +
           "\"\r\nContent-Disposition: attachment; filename=\"" + ascii + '"' +
           (extended.isEmpty() ? QByteArray() : "; filename*=UTF-8''" + extended) +
           "\r\nContent-Transfer-Encoding: base64";
}

TEST(MessageComposer, WritesAFileNameInBothForms)
{
    EXPECT_EQ(headersOf(attachment(u"résumé.pdf"_s, u"application/pdf"_s)),
              expectedHeaders("application/pdf", "r_sum_.pdf", "r%C3%A9sum%C3%A9.pdf"));
}

TEST(MessageComposer, WritesAnASCIIFileNameOnce)
{
    EXPECT_EQ(headersOf(attachment(u"a b;c=d%20.txt"_s, u"a/b"_s)), expectedHeaders("a/b", "a b;c=d%20.txt"));
}

TEST(MessageComposer, StandsForEachScalarOfAFileNameWithOneUnderscore)
{
    EXPECT_EQ(headersOf(attachment(u"\U0001F600e\u0301\"x"_s, u"a/b"_s)),
              expectedHeaders("a/b", "_e__x", "%F0%9F%98%80e%CC%81%22x"));
}

TEST(MessageComposer, LeavesTheCharactersOfAnExtendedFileNameThatMayStand)
{
    EXPECT_EQ(
        headersOf(attachment(u"ü!#$&+-.^_`|~azAZ09 *'%(),;<=>?@[]{}x"_s, u"a/b"_s)),
        expectedHeaders("a/b", "_!#$&+-.^_`|~azAZ09 *'%(),;<=>?@[]{}x",
                        "%C3%BC!#$&+-.^_`|~azAZ09%20%2A%27%25%28%29%2C%3B%3C%3D%3E%3F%40%5B%5D%7B%7Dx"));
}

TEST(MessageComposer, WritesNoExtendedFileNameWhereThatCannotBeEncoded)
{
    EXPECT_EQ(headersOf(attachment(u"a"_s + QChar(0xd800) + u"b"_s, u"a/b"_s)),
              expectedHeaders("a/b", "a_b"));
}

TEST(MessageComposer, CallsAFileWithoutANameAttachment)
{
    for (const QString& name : {u""_s, u" . "_s, u"\u202e"_s})
        EXPECT_EQ(headersOf(attachment(name, u"a/b"_s)), expectedHeaders("a/b", "attachment"));
}

TEST(MessageComposer, CleansFileNames)
{
    EXPECT_EQ(headersOf(attachment(u"../a\r\nBcc: x\\y\".txt"_s, u"a/b"_s)),
              expectedHeaders("a/b", "_a  Bcc_ x_y_.txt", "_a%20%20Bcc_%20x_y%22.txt"));
}

TEST(MessageComposer, LowersTheTypeOfAnAttachment)
{
    EXPECT_EQ(headersOf(attachment(u"a"_s, u"Text/PLAIN"_s)), expectedHeaders("text/plain", "a"));
}

TEST(MessageComposer, ReplacesATypeWithAParameter)
{
    EXPECT_EQ(headersOf(attachment(u"a"_s, u"text/plain; evil=1"_s)),
              expectedHeaders("application/octet-stream", "a"));
}

TEST(MessageComposer, TakesATypeByTheLetters)
{
    for (const char* type : {"a/b", "9/9", "application/vnd.x+json", "a!#$&^_.+-/b!#$&^_.+-"})
        EXPECT_EQ(headersOf(attachment(u"a"_s, QString::fromLatin1(type))), expectedHeaders(type, "a"));
    for (const QString& type :
         {u""_s, u"a"_s, u"/"_s, u"a/"_s, u"/b"_s, u"a/b/c"_s, u".a/b"_s, u"a/-b"_s, u"a/b "_s, u" a/b"_s,
          u"a/b\n"_s, u"a/b\r\nBcc: x"_s, u"a /b"_s, u"a/ü"_s, u"a/b%"_s, u"a*/b"_s, u"a/b\0"_s})
        EXPECT_EQ(headersOf(attachment(u"a"_s, type)), expectedHeaders("application/octet-stream", "a"))
            << type.toStdString();
}

TEST(MessageComposer, KeepsTheLimitForAttachmentsAtTwentyFiveMebibytes)
{
    EXPECT_EQ(MessageComposer::maxAttachmentBytes, 25 * 1024 * 1024);
}

// --- Round trips

TEST(MessageComposer, IsReadBackByTheParser)
{
    OutgoingMessage message = someMessage();
    message.from = address(u"ann@x.example"_s, u"Ann \"A\" Example"_s);
    message.to = {address(u"b@y"_s, u"Jürgen Groß"_s), address(u"c@y"_s), address(u"d@y"_s, u"Доктор"_s)};
    message.cc = {address(u"e@y"_s, u"山田太郎"_s)};
    message.subject = u"Grüße und 👨‍👩‍👧‍👦 שלום"_s;
    message.body = u"Ein Text\nmit 1.000 €\n.\n--=_lh_\nFrom x"_s;
    message.htmlBody = u"<p>Ein Text</p>"_s;
    message.inReplyTo = u"<1@x>"_s;
    message.references = {u"<0@x>"_s, u"<1@x>"_s};
    message.attachments = {attachment(u"Übersicht 2026.pdf"_s, u"application/pdf"_s, QByteArray(1000, '\0')),
                           attachment(u"note.txt"_s, u"text/plain"_s, "a\nb")};
    const ParsedMessage read = MIMEParser::parse(built(message));
    EXPECT_EQ(read.headers.from().value(0).address, u"ann@x.example");
    EXPECT_EQ(read.headers.to(), message.to);
    EXPECT_EQ(read.headers.cc(), message.cc);
    EXPECT_EQ(read.headers.subject(), message.subject);
    EXPECT_EQ(read.headers.date(), noon);
    EXPECT_EQ(read.headers.references(), message.references);
    EXPECT_EQ(read.textBody, QString(message.body).replace(u"\n"_s, u"\r\n"_s));
    EXPECT_EQ(read.htmlBody, message.htmlBody);
    ASSERT_EQ(read.attachments.size(), 2);
    for (qsizetype index = 0; index < 2; ++index) {
        EXPECT_EQ(read.attachments[index].filename, message.attachments[index].filename);
        EXPECT_EQ(read.attachments[index].mimeType, message.attachments[index].mimeType);
        EXPECT_EQ(read.attachments[index].data, message.attachments[index].data);
        EXPECT_FALSE(read.attachments[index].isInline);
    }
}

TEST(MessageComposer, IsReadBackInEveryShape)
{
    for (const bool hasHTML : {false, true}) {
        for (int count = 0; count < 4; ++count) {
            OutgoingMessage message = someMessage();
            if (hasHTML)
                message.htmlBody = u"<b>x"_s;
            for (int index = 0; index < count; ++index)
                message.attachments.append(
                    attachment(QString::number(index), u"a/b"_s, QByteArray::number(index)));
            const ParsedMessage read = MIMEParser::parse(built(message));
            EXPECT_EQ(read.textBody, u"Hi\r\n"_s);
            EXPECT_EQ(read.htmlBody.has_value(), hasHTML);
            ASSERT_EQ(read.attachments.size(), count);
            for (int index = 0; index < count; ++index)
                EXPECT_EQ(read.attachments[index].data, QByteArray::number(index));
        }
    }
}

TEST(MessageComposer, AllocatesAMessageInItsExactSize)
{
    OutgoingMessage message = someMessage();
    message.htmlBody = u"x"_s;
    for (const qsizetype size : {qsizetype(0), qsizetype(1), qsizetype(57), qsizetype(100'000),
                                 MessageComposer::maxAttachmentBytes}) {
        message.attachments = {attachment(u"a"_s, u"a/b"_s, QByteArray(size, 'x')),
                               attachment(u"b"_s, u"a/b"_s, QByteArray(size / 2, 'y'))};
        const QByteArray bytes = built(message);
        EXPECT_EQ(bytes.capacity(), bytes.size());
    }
}

TEST(MessageComposer, WritesTenMegabytesOfLineEnds)
{
    OutgoingMessage message = someMessage();
    message.body = QString(10'000'000, u'\n');
    message.htmlBody = QString(10'000'000, u'\n');
    EXPECT_GT(built(message).size(), 50'000'000);
}

TEST(MessageComposer, WritesTenThousandRecipientsAndReferences)
{
    OutgoingMessage message = someMessage();
    for (int index = 0; index < 10'000; ++index) {
        message.to.append(address(u"a%1@x"_s.arg(index), u"Ä%1"_s.arg(index)));
        message.references.append(u"<%1@x>"_s.arg(index));
    }
    const ParsedMessage read = MIMEParser::parse(built(message));
    EXPECT_EQ(read.headers.value(u"To"),
              MessageComposer::formatAddressList(message.to).replace(u"\r\n"_s, u""_s));
    EXPECT_EQ(read.headers.references(), message.references);
}

TEST(MessageComposer, WritesAnAddressForAFieldWithItsNameAsItReads)
{
    EXPECT_EQ(MessageComposer::editableAddress({uR"(Ann "A")"_s, u"a@x"_s}), uR"("Ann \"A\"" <a@x>)");
    EXPECT_EQ(MessageComposer::editableAddress({uR"(O\Brien)"_s, u"a@x"_s}), uR"("O\\Brien" <a@x>)");
    EXPECT_EQ(MessageComposer::editableAddress({u"Jörg"_s, u"a@x"_s}), u"\"Jörg\" <a@x>");
    EXPECT_EQ(MessageComposer::editableAddress({std::nullopt, u"a@x, b@y"_s}), u"a@xb@y");
    EXPECT_EQ(MessageComposer::editableAddress({u"a\u2028b\u0085c\nd"_s, u"a@x"_s}), u"\"a b c d\" <a@x>");
}

TEST(MessageComposer, WritesEndlessNamesOfQuotesAndBackslashes)
{
    for (const QString& part : {u"\"\\"_s, u"\"\\,‹"_s}) {
        const QString name = part.repeated(1'000'000);
        const EmailAddress address(name, u"a@x"_s);
        EXPECT_EQ(MessageComposer::editableAddress(address).size(),
                  name.size() + 2 * 1'000'000 + QStringView(u"\"\" <a@x>").size());
        EXPECT_TRUE(MessageComposer::formatAddress(address).endsWith(u" <a@x>"_s));
    }
}

TEST(MessageComposer, KnowsEveryLineEndInWhatItQuotesAndForwards)
{
    const QString reply = MessageComposer::quotedReply(u"x"_s, u"A\u2028B\u2029C\u0085D\nE"_s, u"a@x"_s, {});
    EXPECT_EQ(reply, u"\n\nOn , A B C D E <a@x> wrote:\n> x");
    MIMEHeaders headers;
    headers.fields = {{u"From"_s, u"A\u2028B <a@x>"_s},
                      {u"Subject"_s, u"S\u2029T\u0085U"_s},
                      {u"To"_s, u"C\u2028D <c@x>"_s}};
    EXPECT_EQ(
        MessageComposer::forwardBody(headers, u"x"_s),
        u"\n\n---------- Forwarded message ---------\nFrom: A B <a@x>\nSubject: S T U\nTo: C D <c@x>\n\nx");
}

// --- What a draft alone has, and what is given

TEST(MessageComposer, KeepsInADraftWhatNamesNobodyBesideTheRecipients)
{
    OutgoingMessage message = someMessage();
    message.unread = {u"bob\r\nBcc: v@x"_s, u"\"carl"_s, u"Jörg"_s};
    const QByteArray bytes = built(message);
    EXPECT_EQ(field(bytes, "To"), "bob@y.example");
    const MIMEHeaders headers = MIMEParser::parse(bytes).headers;
    EXPECT_FALSE(headers.value(u"Bcc"));
    EXPECT_EQ(RecipientField::restored(*headers.value(u"X-Larkhaven-Unread-To")), message.unread.to);
    EXPECT_EQ(RecipientField::restored(*headers.value(u"X-Larkhaven-Unread-Cc")), message.unread.cc);
    EXPECT_EQ(RecipientField::restored(*headers.value(u"X-Larkhaven-Unread-Bcc")), message.unread.bcc);
    message.unread = {};
    EXPECT_FALSE(built(message).contains("X-Larkhaven"));
}

TEST(MessageComposer, WritesTheMessageIDThatItIsGiven)
{
    OutgoingMessage message = someMessage();
    message.messageID = u"1.2@x.example"_s;
    EXPECT_EQ(field(built(message), "Message-ID"), "<1.2@x.example>");
    EXPECT_EQ(built(message).count("Message-ID"), 1);
    message.messageID = u"1@x\r\nBcc: y"_s;
    EXPECT_EQ(field(built(message), "Message-ID"), "<1@x  Bcc: y>");
}

} // namespace
} // namespace Larkhaven
