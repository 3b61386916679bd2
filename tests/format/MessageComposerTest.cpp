#include "format/MessageComposer.h"

#include "format/AddressParser.h"
#include "format/MIMEParser.h"
#include "format/MailDate.h"
#include "format/MailEncoding.h"
#include "format/RecipientField.h"
#include "support/QtPrinters.h"

#include <QLocale>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QDateTime noon(QDate(2026, 3, 3), QTime(12, 0, 0), Qt::UTC);

EmailAddress address(const QString& text, const std::optional<QString>& name = std::nullopt)
{
    // Set by hand: nothing is trimmed before the composer sees it.
    EmailAddress result;
    result.name = name;
    result.address = text;
    return result;
}

OutgoingMessage someMessage()
{
    OutgoingMessage message;
    message.from = address(u"ann@x.example"_s, u"Ann"_s);
    message.to = {address(u"bob@y.example"_s)};
    message.subject = u"Hello"_s;
    message.body = u"Hi\n"_s;
    return message;
}

OutgoingAttachment attachment(const QString& filename, const QString& type, const QByteArray& data = "x")
{
    return {QUuid::createUuid(), filename, type, data};
}

QByteArray built(const OutgoingMessage& message, const std::optional<QString>& domain = std::nullopt)
{
    return MessageComposer::build(message, noon, domain);
}

/// The message with what is random in it numbered in the order of its appearance.
QByteArray withoutRandomness(const QByteArray& message)
{
    static const QRegularExpression random(
        u"[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}|(?<=_lh_)[0-9A-F]{32}"_s);
    QString text = QString::fromUtf8(message);
    QStringList seen;
    for (QRegularExpressionMatch match = random.match(text); match.hasMatch(); match = random.match(text)) {
        if (!seen.contains(match.captured()))
            seen.append(match.captured());
        text.replace(match.captured(), u"#"_s + QString::number(seen.size()));
    }
    return text.toUtf8();
}

/// The lines of the header block, folded ones as they stand.
QList<QByteArray> headerLines(const QByteArray& message)
{
    const QByteArray block = message.first(message.indexOf("\r\n\r\n"));
    QList<QByteArray> lines;
    for (qsizetype start = 0; start <= block.size();) {
        const qsizetype found = block.indexOf("\r\n", start);
        const qsizetype end = found < 0 ? block.size() : found;
        lines.append(block.sliced(start, end - start));
        start = end + 2;
    }
    return lines;
}

/// The value of a field on one line; empty if there is none.
QByteArray field(const QByteArray& message, const QByteArray& name)
{
    for (const QByteArray& line : headerLines(message)) {
        if (line.startsWith(name + ": "))
            return line.sliced(name.size() + 2);
    }
    return {};
}

// --- Subjects

TEST(MessageComposer, LeavesASubjectThatIsAReplyAsItIs)
{
    for (const QString& subject : {u"Re: x"_s, u"RE: x"_s, u"re:x"_s})
        EXPECT_EQ(MessageComposer::replySubject(subject), subject);
}

TEST(MessageComposer, MarksAnyOtherSubjectAsAReply)
{
    EXPECT_EQ(MessageComposer::replySubject(u"x"_s), u"Re: x");
    EXPECT_EQ(MessageComposer::replySubject(u""_s), u"Re: ");
    EXPECT_EQ(MessageComposer::replySubject(u" re: x"_s), u"Re:  re: x");
}

TEST(MessageComposer, MarksAReplyToAForwardAsAReply)
{
    EXPECT_EQ(MessageComposer::replySubject(u"Fwd: x"_s), u"Re: Fwd: x");
}

TEST(MessageComposer, LeavesASubjectThatIsAForwardAsItIs)
{
    for (const QString& subject : {u"Fw: x"_s, u"FWD: x"_s, u"fwd:"_s, u"FW:x"_s})
        EXPECT_EQ(MessageComposer::forwardSubject(subject), subject);
}

TEST(MessageComposer, MarksAnyOtherSubjectAsAForward)
{
    EXPECT_EQ(MessageComposer::forwardSubject(u"Re: x"_s), u"Fwd: Re: x");
    EXPECT_EQ(MessageComposer::forwardSubject(u"Fwd x"_s), u"Fwd: Fwd x");
}

// --- Quotes

/// In American English, whatever the machine speaks.
class MessageComposerInAmerica : public testing::Test {
protected:
    MessageComposerInAmerica() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }
    ~MessageComposerInAmerica() override { QLocale::setDefault(m_before); }

private:
    QLocale m_before;
};

const QString narrowSpace(QChar(0x202f));

TEST_F(MessageComposerInAmerica, QuotesAReplyUnderItsWriterAndDate)
{
    const QDateTime morning(QDate(2026, 3, 3), QTime(9, 5, 59));
    const QString reply = MessageComposer::quotedReply(u"Hi\n\nAnn\n"_s, u"Ann"_s, u"a@x"_s, morning);
    EXPECT_EQ(QString(reply).replace(narrowSpace, u" "_s),
              u"\n\nOn Mar 3, 2026, 9:05 AM, Ann <a@x> wrote:\n> Hi\n> \n> Ann\n> ");
}

TEST_F(MessageComposerInAmerica, WritesTheDateOfAQuoteInTheTimeZoneOfTheUser)
{
    const QDateTime time(QDate(2026, 3, 3), QTime(12, 0), Qt::UTC);
    const QString local = QLocale(QLocale::C).toString(time.toLocalTime().time(), u"h:mm AP"_s);
    const QString reply = MessageComposer::quotedReply(u""_s, {}, u"a@x"_s, time);
    EXPECT_TRUE(QString(reply).replace(narrowSpace, u" "_s).contains(local)) << reply.toStdString();
}

/// Half an hour beside every whole one, so that no other zone gives the same.
class MessageComposerInIndia : public MessageComposerInAmerica {
protected:
    MessageComposerInIndia()
        : m_previous(qEnvironmentVariableIsSet("TZ") ? std::optional(qgetenv("TZ")) : std::nullopt)
    {
        qputenv("TZ", "Asia/Kolkata");
    }
    ~MessageComposerInIndia() override
    {
        if (m_previous)
            qputenv("TZ", *m_previous);
        else
            qunsetenv("TZ");
    }

private:
    std::optional<QByteArray> m_previous;
};

TEST_F(MessageComposerInIndia, QuotesAndForwardsInTheTimeZoneOfTheUser)
{
    const QDateTime time(QDate(2026, 3, 3), QTime(20, 0), Qt::UTC);
    QString reply = MessageComposer::quotedReply(u"x"_s, {}, u"a@x"_s, time);
    EXPECT_EQ(reply.replace(narrowSpace, u" "_s), u"\n\nOn Mar 4, 2026, 1:30 AM, a@x wrote:\n> x");
    MIMEHeaders headers;
    headers.fields = {{u"Date"_s, u"Tue, 3 Mar 2026 20:00:00 +0000"_s}};
    EXPECT_TRUE(
        MessageComposer::forwardBody(headers, {}).contains(u"\nDate: Wed, 4 Mar 2026 01:30:00 +0530\n"_s));
}

TEST_F(MessageComposerInAmerica, WritesTheDateOfAQuoteInTheLanguageOfTheUser)
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const QDateTime evening(QDate(2026, 12, 24), QTime(18, 30));
    EXPECT_EQ(MessageComposer::quotedReply(u"x"_s, {}, u"a@x"_s, evening),
              u"\n\nOn 24.12.2026, 18:30, a@x wrote:\n> x");
}

TEST(MessageComposer, QuotesWithAnEmptyDateWhereThereIsNone)
{
    EXPECT_EQ(MessageComposer::quotedReply(u"x"_s, {}, u"a@x"_s, {}), u"\n\nOn , a@x wrote:\n> x");
    EXPECT_EQ(MessageComposer::quotedReply(u"x"_s, {}, u"a@x"_s, QDateTime()), u"\n\nOn , a@x wrote:\n> x");
}

TEST(MessageComposer, QuotesSomeoneWhereTheWriterHasNoAddress)
{
    EXPECT_EQ(MessageComposer::quotedReply(u"x"_s, {}, {}, {}), u"\n\nOn , someone wrote:\n> x");
    EXPECT_EQ(MessageComposer::quotedReply(u"x"_s, u"Ann"_s, {}, {}), u"\n\nOn , someone wrote:\n> x");
}

TEST(MessageComposer, GivesQuotedLinesASecondMark)
{
    EXPECT_EQ(MessageComposer::quotedReply(u"> a\n>> b\n\n"_s, {}, u"a@x"_s, {}),
              u"\n\nOn , a@x wrote:\n> > a\n> >> b\n> \n> ");
}

TEST(MessageComposer, QuotesAnEmptyTextAsOneLine)
{
    EXPECT_EQ(MessageComposer::quotedReply(u""_s, {}, u"a@x"_s, {}), u"\n\nOn , a@x wrote:\n> ");
}

TEST(MessageComposer, DoesNotFillInWhatTheWriterIsCalled)
{
    EXPECT_EQ(MessageComposer::quotedReply(u"x"_s, u"%1 %2"_s, u"%1@x"_s, {}),
              u"\n\nOn , %1 %2 <%1@x> wrote:\n> x");
}

TEST(MessageComposer, QuotesTenMegabytesOfEmptyLines)
{
    const QString body(10'000'000, u'\n');
    EXPECT_TRUE(MessageComposer::quotedReply(body, {}, u"a@x"_s, {}).endsWith(u"\n> \n> "_s));
}

MIMEHeaders forwarded(const QByteArray& headers)
{
    return MIMEParser::splitHeaders(headers + "\r\n\r\n").headers;
}

TEST(MessageComposer, ForwardsWhatAMessageSaysOfItselfAndItsText)
{
    const QString text = MessageComposer::forwardBody(
        forwarded("From: =?utf-8?Q?J=C3=BCrgen?= <j@x>, b@y\r\nTo: c@z, Dora <d@z>\r\n"
                  "Date: Tue, 3 Mar 2026 10:11:12 +0100\r\nSubject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?="),
        u"> a\nb"_s);
    const QString date = MailDate::format(QDateTime(QDate(2026, 3, 3), QTime(9, 11, 12), Qt::UTC));
    EXPECT_EQ(text, u"\n\n---------- Forwarded message ---------\nFrom: Jürgen <j@x>, b@y\nDate: "_s + date +
                        u"\nSubject: Grüße\nTo: c@z, Dora <d@z>\n\n> a\nb"_s);
}

TEST(MessageComposer, ForwardsWithoutADateThatCannotBeRead)
{
    EXPECT_EQ(MessageComposer::forwardBody(forwarded("Date: some day"), u"x"_s),
              u"\n\n---------- Forwarded message ---------\nFrom: \nSubject: \nTo: \n\nx");
}

TEST(MessageComposer, DoesNotFillInWhatAForwardedMessageSays)
{
    EXPECT_EQ(MessageComposer::forwardBody(forwarded("From: %1 <a@x>\r\nSubject: %1\r\nTo: %2@y"), u"%1"_s),
              u"\n\n---------- Forwarded message ---------\nFrom: %1 <a@x>\nSubject: %1\nTo: %2@y\n\n%1");
}

// --- Addresses

TEST(MessageComposer, WritesAnAddressWithoutANameAlone)
{
    EXPECT_EQ(MessageComposer::formatAddress(address(u"a@x"_s)), u"a@x");
    EXPECT_EQ(MessageComposer::formatAddress(address(u"a@x"_s, u""_s)), u"a@x");
}

TEST(MessageComposer, WritesANameWithQuotesAndBackslashesInQuotes)
{
    EXPECT_EQ(MessageComposer::formatAddress(address(u"a@x"_s, u"Ann \"A\" O\\Brien"_s)),
              u"\"Ann \\\"A\\\" O\\\\Brien\" <a@x>");
}

TEST(MessageComposer, WritesANameWithANonASCIILetterInEncodedWordsWithoutQuotes)
{
    EXPECT_EQ(MessageComposer::formatAddress(address(u"a@x"_s, u"Jürgen \"J\""_s)),
              u"=?UTF-8?B?SsO8cmdlbiAiSiI=?= <a@x>");
}

TEST(MessageComposer, KeepsANameOfBlanks)
{
    EXPECT_EQ(MessageComposer::formatAddress(address(u"a@x"_s, u"\r\n"_s)), u"\"  \" <a@x>");
}

TEST(MessageComposer, LetsNoAddressEndItsLineOrItsBrackets)
{
    EXPECT_EQ(MessageComposer::formatAddress(address(u"a@x>\r\nBcc: y@z"_s)), u"a@xBcc:y@z");
    EXPECT_EQ(MessageComposer::formatAddress(address(u"a@x>\r\nBcc: y@z"_s, u"A"_s)), u"\"A\" <a@xBcc:y@z>");
}

TEST(MessageComposer, LeavesNothingOfAnAddressOfForbiddenCharacters)
{
    EXPECT_EQ(MessageComposer::formatAddress(address(u" <>,;\"()[]\\\t\r\n\x7f"_s)), u"");
    EXPECT_EQ(MessageComposer::formatAddress(address(u"<>"_s, u"A"_s)), u"\"A\" <>");
}

TEST(MessageComposer, JoinsAListWithoutFoldingIt)
{
    QList<EmailAddress> list;
    QStringList expected;
    for (int index = 0; index < 100; ++index) {
        list.append(address(u"a%1@x"_s.arg(index), u"A, %1"_s.arg(index)));
        expected.append(u"\"A, %1\" <a%1@x>"_s.arg(index));
    }
    EXPECT_EQ(MessageComposer::formatAddressList(list), expected.join(u", "_s));
    EXPECT_EQ(MessageComposer::formatAddressList({}), u"");
}

// --- The header of a message

TEST(MessageComposer, WritesItsFieldsInAFixedOrder)
{
    OutgoingMessage message = someMessage();
    message.cc = {address(u"c@x"_s), address(u"d@x"_s, u"D"_s)};
    message.bcc = {address(u"e@x"_s)};
    message.inReplyTo = u"<1@x>"_s;
    message.references = {u"<0@x>"_s, u"<1@x>"_s};
    EXPECT_EQ(
        headerLines(withoutRandomness(built(message))),
        QList<QByteArray>({"From: \"Ann\" <ann@x.example>", "To: bob@y.example", "Cc: c@x, \"D\" <d@x>",
                           "Bcc: e@x", "Subject: Hello", "Date: " + MailDate::format(noon).toLatin1(),
                           "Message-ID: <#1@x.example>", "In-Reply-To: <1@x>", "References: <0@x> <1@x>",
                           "MIME-Version: 1.0", "Content-Type: text/plain; charset=UTF-8",
                           "Content-Transfer-Encoding: base64"}));
}

TEST(MessageComposer, LeavesOutTheFieldsThatHaveNothingToSay)
{
    OutgoingMessage message;
    message.from = address(u"a@x"_s);
    EXPECT_EQ(withoutRandomness(built(message)),
              "From: a@x\r\nSubject: \r\nDate: " + MailDate::format(noon).toLatin1() +
                  "\r\nMessage-ID: <#1@x>\r\nMIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
                  "Content-Transfer-Encoding: base64\r\n\r\n\r\n");
}

TEST(MessageComposer, ReplacesALineBreakInASubjectByBlanks)
{
    OutgoingMessage message = someMessage();
    message.subject = u"a\r\nBcc: x"_s;
    EXPECT_EQ(field(built(message), "Subject"), "a  Bcc: x");
    EXPECT_FALSE(MIMEParser::parse(built(message)).headers.value(u"Bcc"));
    message.subject = u"a\nBcc: x"_s;
    EXPECT_EQ(field(built(message), "Subject"), "a Bcc: x");
}

TEST(MessageComposer, FoldsALongSubjectOfAnotherScript)
{
    OutgoingMessage message = someMessage();
    message.subject = u"日本語の長い件名をここに書きます。"_s.repeated(10);
    const QByteArray bytes = built(message);
    EXPECT_EQ(MIMEParser::parse(bytes).headers.subject(), message.subject);
    for (const QByteArray& line : headerLines(bytes))
        EXPECT_LE(line.size(), 78);
}

TEST(MessageComposer, NamesTheMachineOfTheSenderInTheMessageID)
{
    const auto domainOf = [](const QString& sender) {
        OutgoingMessage message;
        message.from = address(sender);
        return field(withoutRandomness(built(message)), "Message-ID");
    };
    EXPECT_EQ(domainOf(u"a@example"_s), "<#1@example>");
    EXPECT_EQ(domainOf(u"a@b@example"_s), "<#1@example>");
    EXPECT_EQ(domainOf(u"a@"_s), "<#1@a>");
    EXPECT_EQ(domainOf(u"example"_s), "<#1@example>") << "without an @ it is the whole address";
    EXPECT_EQ(domainOf(u""_s), "<#1@localhost>") << "an empty address gives localhost";
    EXPECT_EQ(domainOf(u"@"_s), "<#1@localhost>");
}

TEST(MessageComposer, TakesTheDomainOfTheMessageIDThatItIsGiven)
{
    EXPECT_EQ(field(withoutRandomness(built(someMessage(), u"given.example"_s)), "Message-ID"),
              "<#1@given.example>");
    EXPECT_EQ(field(withoutRandomness(built(someMessage(), u"given\r\nBcc: x"_s)), "Message-ID"),
              "<#1@given  Bcc: x>");
}

TEST(MessageComposer, GivesEachMessageItsOwnMessageID)
{
    QSet<QByteArray> seen;
    for (int count = 0; count < 1000; ++count)
        seen.insert(field(built(someMessage()), "Message-ID"));
    EXPECT_EQ(seen.size(), 1000);
}

TEST(MessageComposer, DropsAnEmptyInReplyToAndKeepsOneOfBlanks)
{
    OutgoingMessage message = someMessage();
    message.inReplyTo = u""_s;
    EXPECT_FALSE(built(message).contains("In-Reply-To"));
    // Control characters turn to blanks, and those remain.
    message.inReplyTo = u"\x01\r\n"_s;
    EXPECT_EQ(field(built(message), "In-Reply-To"), "   ");
}

TEST(MessageComposer, DropsEmptyReferences)
{
    OutgoingMessage message = someMessage();
    message.references = {u""_s, u"<1@x>"_s, u""_s, u"<2@x>\r\nBcc: y"_s};
    EXPECT_EQ(field(built(message), "References"), "<1@x> <2@x>  Bcc: y");
    message.references = {u""_s, u""_s};
    EXPECT_FALSE(built(message).contains("References"));
}

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
                  MailEncoding::encodeBase64Lines(data).toLatin1());
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

// --- Injection

/// Each of these tries to end the line that it is put into, or what encloses it there.
const std::vector<QString>& hostileValues()
{
    static const std::vector<QString> values{
        u"x\r\nBcc: evil@z"_s,
        u"x\nBcc: evil@z"_s,
        u"x\rBcc: evil@z"_s,
        u"x\r\n\r\nBcc: evil@z"_s,
        u"x\r\n Bcc: evil@z"_s,
        u"\r\nBcc: evil@z"_s,
        u"x\0\r\nBcc: evil@z\r\n"_s,
        u"x\v\f\r\nBcc: evil@z"_s,
        u"x\">\r\nBcc: evil@z"_s,
        u"x\\\r\nBcc: evil@z"_s,
        u"ü\r\nBcc: evil@z"_s,
        u"ü\u2028Bcc: evil@z"_s,
        u"x\u0085Bcc: evil@z"_s,
        u"嘊嘍Bcc: evil@z"_s, // their low bytes are CR and LF
        u"x"_s + QChar(0xd800) + u"\r\nBcc: evil@z"_s,
        u"=?UTF-8?B?DQpCY2M6IGV2aWxAeg==?=\r\nBcc: evil@z"_s,
    };
    return values;
}

struct HostileField {
    const char* name;
    void (*put)(OutgoingMessage& message, const QString& value);
};

constexpr HostileField hostileFields[]{
    {"subject", [](OutgoingMessage& message, const QString& value) { message.subject = value; }},
    {"sender's name", [](OutgoingMessage& message, const QString& value) { message.from.name = value; }},
    {"sender's address",
     [](OutgoingMessage& message, const QString& value) { message.from.address = value; }},
    {"recipient's name",
     [](OutgoingMessage& message, const QString& value) { message.to = {address(u"b@y"_s, value)}; }},
    {"recipient's address",
     [](OutgoingMessage& message, const QString& value) { message.to = {address(value, u"B"_s)}; }},
    {"bare address", [](OutgoingMessage& message, const QString& value) { message.to = {address(value)}; }},
    {"copy's name",
     [](OutgoingMessage& message, const QString& value) { message.cc = {address(u"b@y"_s, value)}; }},
    {"copy's address", [](OutgoingMessage& message, const QString& value) { message.cc = {address(value)}; }},
    {"In-Reply-To", [](OutgoingMessage& message, const QString& value) { message.inReplyTo = value; }},
    {"references",
     [](OutgoingMessage& message, const QString& value) {
         message.references = {u"<1@x>"_s, value};
     }},
    {"file name", [](OutgoingMessage& message,
                     const QString& value) { message.attachments = {attachment(value, u"a/b"_s)}; }},
    {"MIME type", [](OutgoingMessage& message,
                     const QString& value) { message.attachments = {attachment(u"a"_s, value)}; }},
    {"MIME type's end",
     [](OutgoingMessage& message, const QString& value) {
         message.attachments = {attachment(u"a"_s, u"text/"_s + value)};
     }},
    {"text", [](OutgoingMessage& message, const QString& value) { message.body = value; }},
    {"HTML", [](OutgoingMessage& message, const QString& value) { message.htmlBody = value; }},
    {"data",
     [](OutgoingMessage& message, const QString& value) {
         message.attachments = {attachment(u"a"_s, u"a/b"_s, value.toUtf8())};
     }},
};

/// The names of all fields in all header blocks of a message that the composer wrote; the lines of its base64
/// bodies have no colon.
QStringList fieldNames(const QByteArray& message)
{
    QStringList names;
    for (const QByteArray& line : message.split('\n')) {
        EXPECT_TRUE(line.isEmpty() || line.endsWith('\r')) << "every line feed ends a line of the network";
        EXPECT_EQ(line.count('\r'), line.isEmpty() ? 0 : 1);
        if (!line.startsWith(' ') && line.contains(':'))
            names.append(QString::fromUtf8(line.first(line.indexOf(':'))));
    }
    return names;
}

TEST(MessageComposer, LetsNoValueOfAnyFieldAddAHeader)
{
    for (const HostileField& hostile : hostileFields) {
        OutgoingMessage harmless = someMessage();
        hostile.put(harmless, u"x"_s);
        const QStringList expected = fieldNames(built(harmless));
        for (const QString& value : hostileValues()) {
            OutgoingMessage message = someMessage();
            hostile.put(message, value);
            const QByteArray bytes = built(message);
            EXPECT_EQ(fieldNames(bytes), expected) << hostile.name << ": " << value.toStdString();
            const ParsedMessage parsed = MIMEParser::parse(bytes);
            EXPECT_FALSE(parsed.headers.value(u"Bcc")) << hostile.name << ": " << value.toStdString();
            for (const MIMEHeaders::Field& read : parsed.headers.fields)
                EXPECT_FALSE(read.name.contains(u"Bcc"_s)) << hostile.name << ": " << value.toStdString();
        }
    }
}

TEST(MessageComposer, LetsNoDomainOfTheMessageIDAddAHeader)
{
    const QStringList expected = fieldNames(built(someMessage()));
    for (const QString& value : hostileValues()) {
        EXPECT_EQ(fieldNames(built(someMessage(), value)), expected) << value.toStdString();
        OutgoingMessage message = someMessage();
        message.from.address = u"a@"_s + value;
        EXPECT_EQ(fieldNames(built(message)), expected) << value.toStdString();
    }
}

TEST(MessageComposer, LetsNoFileNameAddAParameter)
{
    OutgoingMessage message = someMessage();
    message.attachments = {attachment(u"a.txt\"; filename=\"b.exe"_s, u"a/b"_s),
                           attachment(u"a.txt\\\"; filename*=utf-8''b.exe; x=\""_s, u"a/b"_s)};
    const QList<MailAttachment> read = MIMEParser::parse(built(message)).attachments;
    ASSERT_EQ(read.size(), 2);
    EXPECT_EQ(read[0].filename, u"a.txt\"; filename=\"b.exe");
    EXPECT_EQ(read[1].filename, u"a.txt_\"; filename*=utf-8''b.exe; x=\"");
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

// --- The length of lines

qsizetype longestLineOf(const QByteArray& message)
{
    qsizetype longest = 0;
    for (const QByteArray& line : message.split('\n'))
        longest = std::max(longest, line.size() - (line.endsWith('\r') ? 1 : 0));
    return longest;
}

TEST(MessageComposer, FoldsAddressesAndReferencesBetweenThemBeforeColumn78)
{
    OutgoingMessage message = someMessage();
    message.to.clear();
    message.cc.clear();
    for (int index = 10; index < 30; ++index) {
        message.to.append(address(u"a%1@x.example"_s.arg(index)));
        message.cc.append(address(u"a%1@x.example"_s.arg(index), u"Jörg, der %1."_s.arg(index)));
        message.references.append(u"<%1@x.example>"_s.arg(index));
    }
    const QByteArray bytes = built(message);
    for (const QByteArray& line : headerLines(bytes))
        EXPECT_LT(line.size(), 78) << line.toStdString();
    EXPECT_TRUE(
        bytes.contains("To: a10@x.example, a11@x.example, a12@x.example, a13@x.example,\r\n"
                       " a14@x.example, a15@x.example, a16@x.example, a17@x.example, a18@x.example,\r\n"
                       " a19@x.example,"))
        << bytes.toStdString();
    EXPECT_TRUE(bytes.contains("References: <10@x.example> <11@x.example> <12@x.example> <13@x.example>\r\n"
                               " <14@x.example> "));
    const ParsedMessage read = MIMEParser::parse(bytes);
    EXPECT_EQ(read.headers.to(), message.to);
    EXPECT_EQ(read.headers.references(), message.references);
    EXPECT_EQ(RecipientField::read(*read.headers.value(u"Cc")).size(), 20);
}

TEST(MessageComposer, FillsALineToColumn77AndNoFurther)
{
    OutgoingMessage message = someMessage();
    // "To: " and the address and the comma behind it.
    message.to = {address(QString(70, u'a') + u"@x"_s), address(u"b@x"_s)};
    EXPECT_TRUE(built(message).contains("@x,\r\n b@x\r\n"));
    message.to = {address(QString(66, u'a') + u"@x"_s), address(u"b@x"_s)};
    EXPECT_TRUE(built(message).contains("@x,\r\n b@x\r\n")) << "78 columns with what follows";
    message.to = {address(QString(65, u'a') + u"@x"_s), address(u"b@x"_s)};
    EXPECT_TRUE(built(message).contains("@x, b@x\r\n"));
}

TEST(MessageComposer, WritesNoLineAbove998Octets)
{
    const QString word(5'000, u'w');
    OutgoingMessage message = someMessage();
    message.from = address(u"ann@x.example"_s, word);
    message.to = {address(u"a@x"_s, word), address(u"b@x"_s, uR"(\")"_s.repeated(2'000)),
                  address(u"c@x"_s, word + u'ä'), address(word + u"@x"_s), address(u"d@x"_s)};
    message.subject = word;
    message.inReplyTo = u'<' + word + u"@x> <1@x>"_s;
    message.references = {u'<' + word + u"@x>"_s, u"<1@x>"_s};
    message.unread = {word, word, word};
    message.attachments = {attachment(u"漢"_s.repeated(200), u"a/"_s + word),
                           attachment((u"a"_s + u"\u0301"_s.repeated(900)).repeated(3), u"a/b"_s)};
    const QByteArray bytes = built(message);
    EXPECT_LE(longestLineOf(bytes), 998);
    const ParsedMessage read = MIMEParser::parse(bytes);
    EXPECT_EQ(read.headers.from(), QList<EmailAddress>{message.from});
    EXPECT_EQ(read.headers.subject(), word);
    EXPECT_EQ(read.headers.value(u"In-Reply-To"), u"<1@x>"_s);
    EXPECT_EQ(read.headers.references(), QList<QString>{u"<1@x>"_s});
    const QList<RecipientField::Piece> to = RecipientField::read(*read.headers.value(u"To"));
    ASSERT_EQ(to.size(), 4) << "an address that fits no line is left out";
    EXPECT_EQ(MailEncoding::decodeHeader(*to[0].address->name), word);
    EXPECT_EQ(MailEncoding::decodeHeader(*to[2].address->name), word + u'ä');
    EXPECT_EQ(to[3].address->address, u"d@x");
    ASSERT_EQ(read.attachments.size(), 2);
    EXPECT_EQ(read.attachments[0].filename, u"漢"_s.repeated(200));
    EXPECT_EQ(read.attachments[0].mimeType, u"application/octet-stream");
    EXPECT_EQ(read.attachments[1].filename, message.attachments[1].filename);
}

TEST(MessageComposer, CutsALetterThatFitsNoWordBetweenItsMarks)
{
    OutgoingMessage message = someMessage();
    message.subject = u"a"_s + u"\u0301"_s.repeated(10'000);
    const QByteArray bytes = built(message);
    EXPECT_LE(longestLineOf(bytes), 998);
    EXPECT_EQ(MIMEParser::parse(bytes).headers.subject(), message.subject);
}

TEST(MessageComposer, KeepsASubjectOfOneLineInASCIIAsItStands)
{
    OutgoingMessage message = someMessage();
    message.subject = QString(989, u's');
    EXPECT_TRUE(built(message).contains("Subject: " + QByteArray(989, 's') + "\r\n"));
    message.subject += u's';
    EXPECT_TRUE(built(message).contains("Subject: =?UTF-8?B?"));
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
