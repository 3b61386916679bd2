#include "format/MIMEParser.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using MIMEParser::parse;
using MIMEParser::splitHeaders;

/// With LF as line ends in `lines`, turned into CR LF.
QByteArray wire(const char* lines)
{
    return QByteArray(lines).replace("\n", "\r\n");
}

/// A multipart message of the pieces, with the boundary "b".
QByteArray multipart(const QList<QByteArray>& pieces, const QByteArray& subtype = "mixed")
{
    QByteArray message = "Content-Type: multipart/" + subtype + "; boundary=b\r\n\r\n";
    for (const QByteArray& piece : pieces)
        message += "--b\r\n" + piece + "\r\n";
    return message + "--b--\r\n";
}

/// What becomes of a leaf in a message of its own.
MailAttachment onlyAttachment(const QByteArray& raw)
{
    const ParsedMessage message = parse(raw);
    EXPECT_EQ(message.attachments.size(), 1);
    EXPECT_EQ(message.textBody, std::nullopt);
    EXPECT_EQ(message.htmlBody, std::nullopt);
    return message.attachments.isEmpty() ? MailAttachment() : message.attachments.first();
}

QString filenameOf(const QByteArray& disposition)
{
    return onlyAttachment("Content-Type: application/pdf\r\nContent-Disposition: " + disposition +
                          "\r\n\r\nx")
        .filename;
}

QList<std::pair<QString, QString>> fieldsOf(QByteArrayView raw)
{
    QList<std::pair<QString, QString>> fields;
    const MIMEHeaders headers = splitHeaders(raw).headers;
    for (const MIMEHeaders::Field& field : headers.fields)
        fields.append({field.name, field.value});
    return fields;
}

QByteArray bodyOf(QByteArrayView raw)
{
    return splitHeaders(raw).body.toByteArray();
}

using Fields = QList<std::pair<QString, QString>>;

// Header blocks

TEST(SplitHeaders, GivesNothingForNothing)
{
    EXPECT_TRUE(splitHeaders("").headers.fields.isEmpty());
    EXPECT_EQ(bodyOf(""), "");
}

TEST(SplitHeaders, FindsNoHeadersBeforeALineEndAtTheStart)
{
    for (const QByteArray& lineEnd : {QByteArray("\n"), QByteArray("\r"), QByteArray("\r\n")}) {
        EXPECT_EQ(bodyOf(lineEnd + "a: b\n\nc"), "a: b\n\nc");
        EXPECT_EQ(fieldsOf(lineEnd + "a: b\n\nc"), Fields{});
        EXPECT_EQ(bodyOf(lineEnd), "");
    }
}

TEST(SplitHeaders, SplitsAtTheFirstEmptyLineOfEitherKind)
{
    const Fields expected{{u"A"_s, u"b"_s}};
    for (const QByteArray& separator :
         {QByteArray("\n\n"), QByteArray("\r\n\r\n"), QByteArray("\n\r\n"), QByteArray("\r\n\n")}) {
        EXPECT_EQ(fieldsOf("A: b" + separator + "c: d\n\ne"), expected);
        EXPECT_EQ(bodyOf("A: b" + separator + "c: d\n\ne"), "c: d\n\ne");
    }
}

TEST(SplitHeaders, HasAnEmptyBodyWhereNoEmptyLineIs)
{
    for (const QByteArray& end : {QByteArray(""), QByteArray("\n"), QByteArray("\r\n"), QByteArray("\n\r")}) {
        EXPECT_EQ(fieldsOf("A: b" + end), (Fields{{u"A"_s, u"b"_s}}));
        EXPECT_EQ(bodyOf("A: b" + end), "");
    }
}

TEST(SplitHeaders, KnowsNoSeparatorOfBareCarriageReturns)
{
    EXPECT_EQ(bodyOf("A: b\r\rc"), "");
    EXPECT_EQ(fieldsOf("A: b\r\rc"), (Fields{{u"A"_s, u"b\r\rc"_s}}));
}

TEST(SplitHeaders, JoinsFoldedLinesWithOneSpace)
{
    EXPECT_EQ(fieldsOf("A: b\r\n \t  c \r\n\td\r\nE: f"), (Fields{{u"A"_s, u"b c d"_s}, {u"E"_s, u"f"_s}}));
    EXPECT_EQ(fieldsOf("A:\n b"), (Fields{{u"A"_s, u" b"_s}}));
    EXPECT_EQ(fieldsOf("A: b\n \nc: d"), (Fields{{u"A"_s, u"b "_s}, {u"c"_s, u"d"_s}}));
}

TEST(SplitHeaders, DropsAContinuationBeforeAnyField)
{
    EXPECT_EQ(fieldsOf(" x: y\nA: b"), (Fields{{u"A"_s, u"b"_s}}));
}

TEST(SplitHeaders, SkipsALineWithoutAColonAndGoesOnWithTheFieldBeforeIt)
{
    EXPECT_EQ(fieldsOf("A: b\nrubbish\n c\nD: e"), (Fields{{u"A"_s, u"b c"_s}, {u"D"_s, u"e"_s}}));
}

TEST(SplitHeaders, CutsAtTheFirstColonAndTrimsBothSides)
{
    EXPECT_EQ(fieldsOf("A \t:\t b: c \n: d"), (Fields{{u"A"_s, u"b: c"_s}, {u""_s, u"d"_s}}));
}

TEST(SplitHeaders, KeepsFieldsOfOneNameInTheirOrder)
{
    EXPECT_EQ(fieldsOf("Received: 1\nreceived: 2"),
              (Fields{{u"Received"_s, u"1"_s}, {u"received"_s, u"2"_s}}));
}

TEST(SplitHeaders, TakesOneStrayCarriageReturnOffALine)
{
    EXPECT_EQ(fieldsOf("A: b\r\r\nC: d\r"), (Fields{{u"A"_s, u"b"_s}, {u"C"_s, u"d"_s}}));
    EXPECT_EQ(fieldsOf("A: b\r\r\r\nC: d"), (Fields{{u"A"_s, u"b\r"_s}, {u"C"_s, u"d"_s}}));
}

TEST(SplitHeaders, ReadsRawHeadersAsUTF8AndOtherwiseAsWindows1252)
{
    EXPECT_EQ(fieldsOf("A: \xc3\xa9"), (Fields{{u"A"_s, u"é"_s}}));
    EXPECT_EQ(fieldsOf("A: \xe9\x80"), (Fields{{u"A"_s, u"é€"_s}}));
}

TEST(SplitHeaders, LeavesEncodedWords)
{
    EXPECT_EQ(fieldsOf("A: =?utf-8?Q?x?="), (Fields{{u"A"_s, u"=?utf-8?Q?x?="_s}}));
}

TEST(SplitHeaders, GivesABodyThatLiesWithinTheBytes)
{
    const QByteArray raw = "A: b\n\nbody";
    EXPECT_EQ(splitHeaders(raw).body.data(), raw.constData() + 6);
}

TEST(SplitHeaders, EndsOnHostileHeaders)
{
    const QByteArray folded = "A: b\n" + QByteArray(" c\n").repeated(1'000'000);
    const Fields fields = fieldsOf(folded);
    ASSERT_EQ(fields.size(), 1);
    EXPECT_EQ(fields.first().second.size(), 2'000'001);
    EXPECT_EQ(fieldsOf(QByteArray("x\n").repeated(5'000'000)), Fields{});
    EXPECT_EQ(fieldsOf("A:" + QByteArray(10'000'000, ' ')), (Fields{{u"A"_s, u""_s}}));
    EXPECT_EQ(fieldsOf(QByteArray("\r").repeated(10'000'000)), Fields{});
}

TEST(SplitHeaders, KeepsNoMoreFieldsThanItsBound)
{
    const QByteArray fields = QByteArray("a:\n").repeated(MIMEParser::maxFields);
    EXPECT_EQ(splitHeaders(fields).headers.fields.size(), MIMEParser::maxFields);
    const MIMEHeaders headers = splitHeaders(fields + "b: c\n d\n").headers;
    EXPECT_EQ(headers.fields.size(), MIMEParser::maxFields);
    EXPECT_EQ(headers.fields.last().value, u""_s);
}

// Bodies

TEST(MIMEParser, ReadsAMessageWithoutContentTypeAsPlainText)
{
    const ParsedMessage message = parse(wire("Subject: x\n\nGr\xc3\xbc\xc3\x9f\x65\n"));
    EXPECT_EQ(message.textBody, u"Grüße\r\n"_s);
    EXPECT_EQ(message.headers.subject(), u"x"_s);
    EXPECT_EQ(parse("Subject: x\n\nGr\xfc\xdf\x65").textBody, u"Grüße"_s);
}

TEST(MIMEParser, ReadsNothingAsAnEmptyPlainText)
{
    const ParsedMessage message = parse("");
    EXPECT_EQ(message.textBody, u""_s);
    EXPECT_TRUE(message.headers.fields.isEmpty());
    EXPECT_TRUE(message.attachments.isEmpty());
}

TEST(MIMEParser, HasAnEmptyBodyWhereTheHeadersEndTheInput)
{
    EXPECT_EQ(parse("Subject: x\r\nTo: a@x").textBody, u""_s);
}

TEST(MIMEParser, ReadsBothBodiesOfAnAlternative)
{
    const ParsedMessage message = parse(multipart(
        {"Content-Type: text/plain\r\n\r\nplain", "Content-Type: text/html\r\n\r\n<p>html"}, "alternative"));
    EXPECT_EQ(message.textBody, u"plain"_s);
    EXPECT_EQ(message.htmlBody, u"<p>html"_s);
    EXPECT_TRUE(message.attachments.isEmpty());
}

TEST(MIMEParser, FindsBoundariesAndTheEndsOfHeadersAtAnyOffset)
{
    for (int size = 0; size < 50; ++size) {
        const QByteArray filler(size, 'x');
        const QByteArray fields = "Content-Type: multipart/mixed; boundary=b\r\nX: " + filler + "\r\n\r\n";
        const QByteArray preamble = filler + "\n-" + filler + "\n--" + filler + "x\n";
        const QByteArray first = filler + "\r\n-\r\n--\r\n -b";
        const ParsedMessage message = parse(fields + preamble + "--b\r\n\r\n" + first + "\r\n--b\n\n" +
                                            filler + "\r\r\n--b--\n" + filler);
        EXPECT_EQ(message.textBody, QString::fromLatin1(first + "\n\n" + filler + "\r")) << size;
        EXPECT_EQ(message.headers.value(u"X"), QString::fromLatin1(filler)) << size;
    }
}

TEST(MIMEParser, JoinsTwoPlainPartsWithABlankLine)
{
    const ParsedMessage message = parse(multipart({"\r\none", "\r\ntwo", "\r\nthree"}));
    EXPECT_EQ(message.textBody, u"one\n\ntwo\n\nthree"_s);
}

TEST(MIMEParser, MakesTheSecondHTMLPartAnAttachment)
{
    const ParsedMessage message =
        parse(multipart({"Content-Type: text/html\r\n\r\none", "Content-Type: text/html\r\n\r\ntwo"}));
    EXPECT_EQ(message.htmlBody, u"one"_s);
    const QList<MailAttachment> expected{
        {0, u"attachment-1"_s, u"text/html"_s, std::nullopt, false, QByteArray("two")}};
    EXPECT_EQ(message.attachments, expected);
}

TEST(MIMEParser, MakesAPlainPartWithAnAttachmentDispositionAnAttachment)
{
    const MailAttachment attachment =
        onlyAttachment("Content-Type: text/plain\r\nContent-Disposition: Attachment\r\n\r\nx");
    EXPECT_EQ(attachment.mimeType, u"text/plain"_s);
    EXPECT_EQ(attachment.filename, u"attachment-1"_s);
}

TEST(MIMEParser, ReadsAPlainPartWithANameAndNoDispositionAsBody)
{
    EXPECT_EQ(parse("Content-Type: text/plain; name=notes.txt\r\n\r\nx").textBody, u"x"_s);
    EXPECT_EQ(parse("Content-Disposition: inline; filename=notes.txt\r\n\r\nx").textBody, u"x"_s);
}

TEST(MIMEParser, MakesAnyOtherTypeAnAttachment)
{
    EXPECT_EQ(onlyAttachment("Content-Type: application/PDF\r\n\r\nx").mimeType, u"application/pdf"_s);
    EXPECT_EQ(onlyAttachment("Content-Type: text/calendar\r\n\r\nx").mimeType, u"text/calendar"_s);
    EXPECT_EQ(onlyAttachment("Content-Type:\r\n\r\nx").mimeType, u""_s);
    EXPECT_EQ(onlyAttachment("Content-Type: text\r\n\r\nx").mimeType, u"text"_s);
}

TEST(MIMEParser, ReadsTextInItsCharsetAndTransferEncoding)
{
    EXPECT_EQ(parse("Content-Type: text/plain; charset=iso-8859-2\r\n\r\n\xb1").textBody, u"ą"_s);
    EXPECT_EQ(parse("Content-Type: text/plain; charset=\"UTF-8\"\r\nContent-Transfer-Encoding: "
                    "base64\r\n\r\nw6k=\r\n")
                  .textBody,
              u"é"_s);
    EXPECT_EQ(parse("Content-Type: text/html; charset=windows-1251\r\n"
                    "Content-Transfer-Encoding: Quoted-Printable\r\n\r\n=CC=E8=\r\n=F0")
                  .htmlBody,
              u"Мир"_s);
    EXPECT_EQ(parse("Content-Type: text/plain; charset=\"a;b\"\r\n\r\n\xc3\xa9").textBody, u"é"_s);
}

// Attachments

TEST(MIMEParser, NumbersAttachmentsInTheirOrder)
{
    const ParsedMessage message = parse(
        multipart({"Content-Type: image/png\r\n\r\n1", "\r\ntext",
                   "Content-Type: image/png; name=x.png\r\n\r\n2", "Content-Type: image/png\r\n\r\n3"}));
    ASSERT_EQ(message.attachments.size(), 3);
    EXPECT_EQ(message.attachments[0].filename, u"attachment-1"_s);
    EXPECT_EQ(message.attachments[1].filename, u"x.png"_s);
    EXPECT_EQ(message.attachments[2].filename, u"attachment-3"_s);
    for (qsizetype index = 0; index < 3; ++index) {
        EXPECT_EQ(message.attachments[index].id, index);
        EXPECT_EQ(message.attachments[index].data, QByteArray::number(index + 1));
    }
}

TEST(MIMEParser, TakesTheNameOfTheDispositionBeforeThatOfTheType)
{
    EXPECT_EQ(onlyAttachment("Content-Type: application/pdf; name=a.pdf\r\n"
                             "Content-Disposition: attachment; filename=b.pdf\r\n\r\nx")
                  .filename,
              u"b.pdf"_s);
    EXPECT_EQ(onlyAttachment("Content-Type: application/pdf; name=a.pdf\r\n"
                             "Content-Disposition: attachment\r\n\r\nx")
                  .filename,
              u"a.pdf"_s);
    EXPECT_EQ(filenameOf("attachment; filename=\"\""), u"attachment"_s);
}

TEST(MIMEParser, ReadsExtendedFilenames)
{
    EXPECT_EQ(filenameOf("attachment; filename*=UTF-8''na%C3%AFve.txt"), u"naïve.txt"_s);
    EXPECT_EQ(filenameOf("attachment; filename*0*=UTF-8''a%20; filename*1=b.txt"), u"a b.txt"_s);
}

TEST(MIMEParser, ReadsEncodedWordsWithinAFilename)
{
    EXPECT_EQ(filenameOf("attachment; filename=\"=?UTF-8?B?w6k=?=.pdf\""), u"é.pdf"_s);
}

TEST(MIMEParser, CleansFilenames)
{
    EXPECT_EQ(filenameOf("attachment; filename=\"../../etc/passwd\""), u"_.._etc_passwd"_s);
    EXPECT_EQ(filenameOf("attachment; filename=\"=?utf-8?Q?=2F=2E=2E=2Fx?=\""), u"_.._x"_s);
}

TEST(MIMEParser, FindsAnImageWithAContentIDAndNoDispositionInline)
{
    const QByteArray image = "Content-Type: image/png\r\nContent-ID: <logo@x>\r\n\r\nx";
    const ParsedMessage withHTML =
        parse(multipart({"Content-Type: text/html\r\n\r\n<img>", image}, "related"));
    ASSERT_EQ(withHTML.attachments.size(), 1);
    EXPECT_TRUE(withHTML.attachments.first().isInline);
    EXPECT_EQ(withHTML.attachments.first().contentID, u"logo@x"_s);
    EXPECT_TRUE(withHTML.listedAttachments().isEmpty());

    const ParsedMessage withoutHTML = parse(multipart({"\r\ntext", image}));
    EXPECT_EQ(withoutHTML.listedAttachments(), withoutHTML.attachments);
    EXPECT_EQ(withoutHTML.listedAttachments().size(), 1);
}

TEST(MIMEParser, ListsInlinePartsWithoutAContentIDAndAttachmentsWithOne)
{
    const ParsedMessage message = parse(
        multipart({"Content-Type: text/html\r\n\r\n<img>",
                   "Content-Type: image/png\r\nContent-Disposition: inline\r\n\r\n1",
                   "Content-Type: image/png\r\nContent-ID: <x>\r\nContent-Disposition: attachment\r\n\r\n2",
                   "Content-Type: image/png\r\nContent-ID: <y>\r\nContent-Disposition: INLINE\r\n\r\n3",
                   "Content-Type: image/png\r\nContent-ID: <z>\r\nContent-Disposition: form-data\r\n\r\n4"}));
    QByteArray listed;
    const QList<MailAttachment> files = message.listedAttachments();
    for (const MailAttachment& attachment : files)
        listed += attachment.data;
    EXPECT_EQ(listed, "124");
    EXPECT_TRUE(message.attachments[0].isInline);
    EXPECT_FALSE(message.attachments[1].isInline);
    EXPECT_TRUE(message.attachments[2].isInline);
    EXPECT_FALSE(message.attachments[3].isInline);
}

TEST(MIMEParser, TakesAngleBracketsOffAContentIDInPairsOnly)
{
    const auto contentID = [](const QByteArray& value) {
        return onlyAttachment("Content-Type: image/png\r\nContent-ID:" + value + "\r\n\r\nx").contentID;
    };
    EXPECT_EQ(contentID(" <a@x> "), u"a@x"_s);
    EXPECT_EQ(contentID("a@x"), u"a@x"_s);
    EXPECT_EQ(contentID("<a@x"), u"<a@x"_s);
    EXPECT_EQ(contentID("<"), u"<"_s);
    EXPECT_EQ(contentID("<>"), u""_s);
    EXPECT_EQ(contentID(""), u""_s);
}

// Forwarded messages

TEST(MIMEParser, JoinsTextAndAttachmentsOfAForwardedMessage)
{
    const QByteArray inner = multipart({"\r\ninner", "Content-Type: image/png\r\n\r\nx"})
                                 .replace("=b\r\n", "=c\r\n")
                                 .replace("--b", "--c");
    const ParsedMessage message =
        parse(multipart({"\r\nouter", "Content-Type: message/rfc822\r\n\r\nSubject: inner\r\n" + inner}));
    EXPECT_EQ(message.textBody, u"outer\n\ninner"_s);
    EXPECT_EQ(message.attachments.size(), 1);
    EXPECT_EQ(message.headers.value(u"Subject"), std::nullopt);
}

TEST(MIMEParser, TellsForwardedMessagesApart)
{
    const QByteArray innermost = "Content-Type: message/rfc822\r\n\r\nSubject: three\r\n\r\nthird";
    const QByteArray inner =
        "Subject: two\r\n" +
        multipart({"\r\nsecond", innermost, "Content-Type: text/html\r\n\r\n<b>2</b>", "\r\nsecond again"})
            .replace("=b\r\n", "=c\r\n")
            .replace("--b", "--c");
    const ParsedMessage message =
        parse("Subject: one\r\n" + multipart({"\r\nfirst", "Content-Type: message/rfc822\r\n\r\n" + inner,
                                              "Content-Type: text/html\r\n\r\n<b>1</b>"}));
    ASSERT_EQ(message.sections.size(), 3);
    const auto expect = [&message](qsizetype index, int depth, const QString& subject,
                                   const std::optional<QString>& text, const std::optional<QString>& html) {
        const MessageSection& section = message.sections[index];
        EXPECT_EQ(section.depth, depth);
        EXPECT_EQ(section.headers.subject(), subject);
        EXPECT_EQ(section.textBody, text);
        EXPECT_EQ(section.htmlBody, html);
    };
    expect(0, 0, u"one"_s, u"first"_s, u"<b>1</b>"_s);
    expect(1, 1, u"two"_s, u"second\n\nsecond again"_s, u"<b>2</b>"_s);
    expect(2, 2, u"three"_s, u"third"_s, std::nullopt);
    EXPECT_EQ(message.textBody, u"first\n\nsecond\n\nthird\n\nsecond again"_s);
    EXPECT_EQ(message.htmlBody, u"<b>2</b>"_s);
    EXPECT_EQ(message.attachments.size(), 1);
    EXPECT_TRUE(parse("Subject: one\r\n\r\nfirst").sections.isEmpty());
}

TEST(MIMEParser, TellsTheHTMLOfForwardedMessagesApart)
{
    const QByteArray forwarded = "Content-Type: message/rfc822\r\n\r\nContent-Type: text/html\r\n\r\n";
    const ParsedMessage message = parse(multipart(
        {"Content-Type: text/html\r\n\r\n<i>1</i>", forwarded + "<i>2</i>", forwarded + "<i>3</i>"}));
    ASSERT_EQ(message.sections.size(), 3);
    for (qsizetype index = 0; index < 3; ++index)
        EXPECT_EQ(message.sections[index].htmlBody, u"<i>%1</i>"_s.arg(index + 1));
    EXPECT_EQ(message.htmlBody, u"<i>1</i>"_s);
    EXPECT_EQ(message.attachments.size(), 2);
}

TEST(MIMEParser, TakesTheFirstOfSeveralHTMLPartsForThatOfAForwardedMessage)
{
    const QByteArray html = "Content-Type: text/html\r\n\r\n";
    const QByteArray inner =
        multipart({html + "<i>2</i>", html + "<i>3</i>"}).replace("=b\r\n", "=c\r\n").replace("--b", "--c");
    const ParsedMessage message =
        parse(multipart({html + "<i>1</i>", "Content-Type: message/rfc822\r\n\r\n" + inner}));
    ASSERT_EQ(message.sections.size(), 2);
    EXPECT_EQ(message.sections[0].htmlBody, u"<i>1</i>"_s);
    EXPECT_EQ(message.sections[1].htmlBody, u"<i>2</i>"_s);
}

TEST(MIMEParser, UndoesTheTransferEncodingOfAForwardedMessage)
{
    const QByteArray inner = QByteArray("Content-Type: text/html\r\n\r\n<p>x").toBase64();
    EXPECT_EQ(
        parse("Content-Type: Message/RFC822\r\nContent-Transfer-Encoding: base64\r\n\r\n" + inner).htmlBody,
        u"<p>x"_s);
}

TEST(MIMEParser, KeepsAForwardedMessageThatIsAnAttachmentWhole)
{
    const MailAttachment attachment = onlyAttachment(
        "Content-Type: message/rfc822\r\nContent-Disposition: attachment\r\n\r\nSubject: x\r\n\r\ny");
    EXPECT_EQ(attachment.mimeType, u"message/rfc822"_s);
    EXPECT_EQ(attachment.data, "Subject: x\r\n\r\ny");
}

TEST(MIMEParser, OpensAForwardedMessageThatHasAName)
{
    EXPECT_EQ(parse("Content-Type: message/rfc822; name=x.eml\r\n\r\nSubject: x\r\n\r\ny").textBody, u"y"_s);
}

// Boundaries

TEST(MIMEParser, LeavesTheLineEndBeforeADelimiterToTheDelimiter)
{
    const auto data = [](const char* body) {
        return parse(QByteArray("Content-Type: multipart/mixed; boundary=b\n\n") + body)
            .attachments.value(0)
            .data;
    };
    EXPECT_EQ(data("--b\nContent-Type: image/png\n\nx\n--b--"), "x");
    EXPECT_EQ(data("--b\r\nContent-Type: image/png\r\n\r\nx\r\n--b--"), "x");
    EXPECT_EQ(data("--b\r\nContent-Type: image/png\r\n\r\nx\r\n\r\n--b--"), "x\r\n");
    EXPECT_EQ(data("--b\nContent-Type: image/png\n\nx\r\r\n--b--"), "x\r");
    EXPECT_EQ(data("--b\nContent-Type: image/png\n\nx\n\n--b--"), "x\n");
}

TEST(MIMEParser, KeepsTheLastPartOfABodyWithoutAClosingDelimiter)
{
    const ParsedMessage message =
        parse("Content-Type: multipart/mixed; boundary=b\n\n--b\n\none\n--b\n\ntwo\n");
    EXPECT_EQ(message.textBody, u"one\n\ntwo\n"_s);
}

TEST(MIMEParser, KeepsNoEmptyPartAtTheEndOfABody)
{
    EXPECT_EQ(parse("Content-Type: multipart/mixed; boundary=b\n\n--b\n").textBody, std::nullopt);
    EXPECT_EQ(parse("Content-Type: multipart/mixed; boundary=b\n\n--b").textBody, std::nullopt);
    EXPECT_EQ(parse("Content-Type: multipart/mixed; boundary=b\n\n--b\n--b--").textBody, u""_s);
}

TEST(MIMEParser, IgnoresPreambleAndEpilogue)
{
    EXPECT_EQ(
        parse("Content-Type: multipart/mixed; boundary=b\n\npreamble\n--b\n\nx\n--b--\nepilogue\n--b\n\ny\n")
            .textBody,
        u"x"_s);
    EXPECT_EQ(parse("Content-Type: multipart/mixed; boundary=b\n\nno delimiter\n").textBody, std::nullopt);
}

TEST(MIMEParser, MatchesDelimitersExactly)
{
    const auto text = [](const QByteArray& body) {
        return parse("Content-Type: multipart/mixed; boundary=b\n\n--b\n\nx\n" + body + "\n--b--").textBody;
    };
    for (const QByteArray& content : {QByteArray("--bX"), QByteArray("--B"), QByteArray(" --b"),
                                      QByteArray("--b--x"), QByteArray("--b---"), QByteArray("--b x"),
                                      QByteArray("-b"), QByteArray("--"), QByteArray("--b\x0b")})
        EXPECT_EQ(text(content), QString(u"x\n"_s + QString::fromUtf8(content))) << content.toStdString();
    EXPECT_EQ(text("--b \t\r\n\ny"), u"x\n\ny"_s);
    EXPECT_EQ(text("--b-- \t\r\n\ny"), u"x"_s);
}

TEST(MIMEParser, TakesABoundaryOfAnyCharacters)
{
    EXPECT_EQ(parse("Content-Type: multipart/mixed; boundary=\"--\"\n\n----\n\nx\n------").textBody, u"x"_s);
    EXPECT_EQ(
        parse("Content-Type: multipart/mixed; boundary=\"\xc3\xa9 \"\n\n--\xc3\xa9 \n\nx\n--\xc3\xa9 --")
            .textBody,
        u"x"_s);
}

TEST(MIMEParser, MakesAContainerWithoutABoundaryAnAttachment)
{
    EXPECT_EQ(onlyAttachment("Content-Type: multipart/mixed\r\n\r\n--b\r\n").mimeType, u"multipart/mixed"_s);
    EXPECT_EQ(onlyAttachment("Content-Type: multipart/mixed; boundary=\"\"\r\n\r\n--\r\n").mimeType,
              u"multipart/mixed"_s);
}

TEST(MIMEParser, DoesNotApplyTheTransferEncodingOfAContainer)
{
    EXPECT_EQ(
        parse(
            "Content-Type: multipart/mixed; boundary=b\nContent-Transfer-Encoding: base64\n\n--b\n\nx\n--b--")
            .textBody,
        u"x"_s);
}

// Limits

/// A text within `depth` containers, with a text in each of them.
QByteArray nested(int depth)
{
    QByteArray message = "\r\nleaf";
    for (int level = depth; level > 0; --level) {
        const QByteArray boundary = "b" + QByteArray::number(level);
        const QByteArray number = QByteArray::number(level);
        message = "Content-Type: multipart/mixed; boundary=" + boundary + "\r\n\r\n--" + boundary +
                  "\r\n\r\nat " + number + "\r\n--" + boundary + "\r\n" + message + "\r\n--" + boundary +
                  "--\r\n";
    }
    return message;
}

TEST(MIMEParser, ReadsPartsDownToDepth8)
{
    EXPECT_TRUE(parse(nested(8)).textBody->endsWith(u"at 8\n\nleaf"));
}

TEST(MIMEParser, DropsThePartsAtDepth9)
{
    const ParsedMessage message = parse(nested(9));
    EXPECT_TRUE(message.textBody->endsWith(u"at 8"));
    EXPECT_TRUE(message.attachments.isEmpty());
}

TEST(MIMEParser, CountsForwardedMessagesAsDepth)
{
    const QByteArray wrapper = "Content-Type: message/rfc822\r\n\r\n";
    EXPECT_EQ(parse(wrapper.repeated(8) + "\r\nx").textBody, u"x"_s);
    EXPECT_EQ(parse(wrapper.repeated(9) + "\r\nx").textBody, std::nullopt);
}

TEST(MIMEParser, Reads500PartsOfAMessage)
{
    // The container counts as one.
    const QByteArray part = "Content-Type: image/png\r\n\r\nx";
    EXPECT_EQ(parse(multipart(QList<QByteArray>(499, part))).attachments.size(), 499);
    EXPECT_EQ(parse(multipart(QList<QByteArray>(500, part))).attachments.size(), 499);
    EXPECT_EQ(parse(multipart(QList<QByteArray>(500, part) + QList<QByteArray>{"\r\ntext"})).textBody,
              std::nullopt);
}

TEST(MIMEParser, ReadsNoMessageWithinThe500thPart)
{
    const QList<QByteArray> parts(498, "Content-Type: image/png\r\n\r\nx");
    const QByteArray forwarded = "Content-Type: message/rfc822\r\n\r\n\r\ntext";
    EXPECT_EQ(parse(multipart(parts.first(497) + QList<QByteArray>{forwarded})).textBody, u"text"_s);
    const ParsedMessage message = parse(multipart(parts + QList<QByteArray>{forwarded}));
    EXPECT_EQ(message.textBody, std::nullopt);
    EXPECT_TRUE(message.isIncomplete);
}

TEST(MIMEParser, SharesTheBudgetOfPartsAmongAllContainers)
{
    const QByteArray part = "Content-Type: image/png\r\n\r\nx";
    const QByteArray inner =
        multipart(QList<QByteArray>(300, part)).replace("boundary=b", "boundary=c").replace("--b", "--c");
    // 1 + (1 + 300) + (1 + 197)
    EXPECT_EQ(parse(multipart({inner, inner})).attachments.size(), 497);
}

TEST(MIMEParser, CountsPartsThatAreTooDeep)
{
    QByteArray deep = QByteArray("--c\r\n\r\ny\r\n").repeated(1000);
    deep = "Content-Type: multipart/mixed; boundary=c\r\n\r\n" + deep;
    for (int level = 0; level < 7; ++level)
        deep = "Content-Type: message/rfc822\r\n\r\n" + deep;
    EXPECT_EQ(parse(multipart({deep, "\r\nafter"})).textBody, std::nullopt);
}

TEST(MIMEParser, EndsOnHostileBodies)
{
    const QByteArray header = "Content-Type: multipart/mixed; boundary=b\n\n";
    EXPECT_EQ(parse(header + QByteArray("--b\n").repeated(2'500'000)).textBody, u"\n\n"_s.repeated(498));
    EXPECT_EQ(parse(header + QByteArray("\n").repeated(10'000'000)).textBody, std::nullopt);
    EXPECT_EQ(parse(header + QByteArray("--b").repeated(3'000'000)).textBody, std::nullopt);
    EXPECT_EQ(parse(header + "--b" + QByteArray(10'000'000, ' ')).textBody, std::nullopt);
    // A delimiter of half a million dashes against lines of them.
    const QByteArray dashes(500'000, '-');
    const QByteArray lines = (dashes + '\n').repeated(20);
    EXPECT_EQ(parse("Content-Type: multipart/mixed; boundary=" + dashes + "\n\n" + lines).textBody,
              std::nullopt);
}

TEST(MIMEParser, EndsOnDeepNestingOfALargeMessage)
{
    const QByteArray text(5'000'000, 'x');
    QByteArray message = "\r\n" + text;
    for (int level = 0; level < 8; ++level)
        message =
            "Content-Type: message/rfc822\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n" + message;
    EXPECT_EQ(parse(message).textBody->size(), text.size());
}

TEST(MIMEParser, ReadsEndlessNamesOfALetterThatHasNoSmallOne)
{
    // QString::toLower takes the time of the square for these.
    const QByteArray endless = QString(400'000, QChar(0x130)).toUtf8();
    const ParsedMessage message = MIMEParser::parse(
        endless + ": x\r\nSUBJECT: Hi\r\nCONTENT-TYPE: Text/Plain; CHARSET=" + endless + "; " + endless +
        "=" + endless + "\r\nContent-Transfer-Encoding: " + endless + "\r\n\r\nText");
    EXPECT_EQ(message.headers.subject(), u"Hi");
    EXPECT_EQ(message.textBody, u"Text"_s);
    EXPECT_EQ(message.headers.value(QString::fromUtf8(endless)), u"x"_s);
}

// --- What could not be read

TEST(MIMEParser, MarksAMultipartWithoutItsDelimiter)
{
    const QByteArray header = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    EXPECT_TRUE(parse(header + "--c\r\n\r\nx\r\n--c--\r\n").isIncomplete);
    EXPECT_TRUE(parse(header + "x").isIncomplete);
    EXPECT_TRUE(parse(multipart({header + "x"})).isIncomplete);
    EXPECT_FALSE(parse(header).isIncomplete);
    EXPECT_FALSE(parse(header + " \t\r\n").isIncomplete);
    EXPECT_FALSE(parse(header + "preamble\r\n--b\r\n\r\nx\r\n--b--\r\nepilogue").isIncomplete);
    EXPECT_FALSE(parse(multipart({"\r\n"})).isIncomplete);
}

TEST(MIMEParser, MarksBase64ThatGivesNothing)
{
    const QByteArray encoding = "Content-Transfer-Encoding: base64\r\n";
    for (const QByteArray type : {"text/plain", "text/html", "image/png", "message/rfc822"}) {
        const QByteArray header = "Content-Type: " + type + "\r\n" + encoding + "\r\n";
        EXPECT_TRUE(parse(header + "*").isIncomplete) << type.toStdString();
        EXPECT_TRUE(parse(header + "A").isIncomplete) << type.toStdString();
        EXPECT_FALSE(parse(header + "QQ==").isIncomplete) << type.toStdString();
        EXPECT_FALSE(parse(header + "\r\n").isIncomplete) << type.toStdString();
    }
}

TEST(MIMEParser, MarksQuotedPrintableThatGivesNothing)
{
    for (const QByteArray charset : {"utf-8", "iso-8859-1"}) {
        const QByteArray header = "Content-Type: text/plain; charset=" + charset +
                                  "\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n";
        EXPECT_TRUE(parse(header + "=\r\n").isIncomplete) << charset.toStdString();
        EXPECT_FALSE(parse(header + "=20\r\n").isIncomplete) << charset.toStdString();
        EXPECT_FALSE(parse(header + "\r\n").isIncomplete) << charset.toStdString();
    }
}

TEST(MIMEParser, ReadsQuotedPrintableInTheCharsetThatItNames)
{
    const auto text = [](const QByteArray& charset, const QByteArray& body) {
        return parse("Content-Type: text/plain; charset=" + charset +
                     "\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n" + body)
            .textBody;
    };
    EXPECT_EQ(text("iso-8859-1", "=C3=A4"), u"Ã¤"_s);
    EXPECT_EQ(text("utf-8", "=C3=A4"), u"ä"_s);
    EXPECT_EQ(text("utf-8", "=E4"), u"ä"_s);
    EXPECT_EQ(text("us-ascii", "=C3=\r\n=A4"), u"ä"_s);
}

TEST(MIMEParser, MarksPartsBeyondTheLimits)
{
    const QByteArray part = "Content-Type: image/png\r\n\r\n1";
    EXPECT_FALSE(parse(multipart(QList<QByteArray>(MIMEParser::maxParts - 1, part))).isIncomplete);
    EXPECT_TRUE(parse(multipart(QList<QByteArray>(MIMEParser::maxParts, part))).isIncomplete);
    QByteArray deep = "\r\nx";
    for (int depth = 1; depth <= MIMEParser::maxDepth; ++depth) {
        const QByteArray boundary = "b" + QByteArray::number(depth);
        deep = "Content-Type: multipart/mixed; boundary=" + boundary + "\r\n\r\n--" + boundary + "\r\n" +
               deep + "\r\n--" + boundary + "--";
    }
    EXPECT_FALSE(parse(deep).isIncomplete);
    EXPECT_TRUE(parse(multipart({deep})).isIncomplete);
}

} // namespace
} // namespace Larkhaven
