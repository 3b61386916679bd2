#include "ComposedMessages.h"
#include "format/MIMEParser.h"
#include "format/MailDate.h"
#include "format/MessageComposer.h"
#include "support/QtPrinters.h"

#include <QLocale>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace ComposedMessages;

namespace {

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

} // namespace
} // namespace Larkhaven
