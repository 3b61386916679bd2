#include "ComposedMessages.h"
#include "format/MIMEParser.h"
#include "format/MailDate.h"
#include "format/MailEncoding.h"
#include "format/MessageComposer.h"
#include "format/RecipientField.h"
#include "support/QtPrinters.h"

#include <QSet>

#include <gtest/gtest.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace ComposedMessages;

namespace {

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

} // namespace
} // namespace Larkhaven
