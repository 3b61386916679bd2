#include "views/reader/ReaderHeaders.h"

#include "format/MIMEParser.h"
#include "support/QtPrinters.h"
#include "views/style/DisplayText.h"

#include <QLabel>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

ShownHeaders read(const QByteArray& headers)
{
    return ShownHeaders::read(MIMEParser::parse(headers + "\r\n\r\n").headers);
}

QString text(const ReaderHeaders& block, QLatin1StringView name)
{
    const auto* const label = block.findChild<QLabel*>(name);
    return label ? label->text() : u"(no label)"_s;
}

TEST(ShownHeaders, AreThoseOfTheMessage)
{
    const ShownHeaders shown = read("From: Ada Lovelace <ada@example.com>, Bob <bob@example.com>\r\n"
                                    "To: \"Mia, M.\" <mia@example.org>\r\nCc: carl@example.org\r\n"
                                    "Subject: =?utf-8?q?Gr=C3=BC=C3=9Fe?=\r\n"
                                    "Date: Fri, 15 Mar 2024 11:00:00 +0000");
    const ShownHeaders expected{u"Grüße"_s,
                                {u"Ada Lovelace, Bob"_s,
                                 u"Ada Lovelace <ada@example.com>, Bob <bob@example.com>"_s,
                                 u"ada@example.com, bob@example.com"_s, 2},
                                {u"Mia, M."_s, u"Mia, M. <mia@example.org>"_s, u"mia@example.org"_s, 1},
                                {u"carl"_s, u"carl@example.org"_s, u"carl@example.org"_s, 1},
                                QDateTime(QDate(2024, 3, 15), QTime(11, 0), Qt::UTC)};
    EXPECT_EQ(shown, expected);
    EXPECT_EQ(read("X-Nothing: 1"), ShownHeaders());
}

TEST(ShownHeaders, HoldTheFirstSixtyAddressesAndTheNumberOfAll)
{
    const QByteArray sixty = QByteArray("a@b,").repeated(60);
    EXPECT_EQ(read("To: " + sixty).to.names, u"a, "_s.repeated(59) + u'a');
    const ShownAddresses more = read("To: " + sixty + "c@d").to;
    EXPECT_EQ(more.names, u"a, "_s.repeated(60) + u"…"_s);
    EXPECT_EQ(more.mailboxes, u"a@b, "_s.repeated(60) + u"…"_s);
    EXPECT_EQ(more.copied, u"a@b, "_s.repeated(60) + u"c@d"_s);
    EXPECT_EQ(more.count, 61);
    const ShownAddresses mass = read("Cc: " + QByteArray("a@b,").repeated(100'000)).cc;
    EXPECT_EQ(mass.names, more.names);
    EXPECT_EQ(mass.mailboxes, more.mailboxes);
    EXPECT_EQ(mass.count, 100'000);
}

TEST(ShownHeaders, AreBoundedHoweverLongASubjectOrANameIs)
{
    const QByteArray endless(1'000'000, 'x');
    const ShownHeaders shown = read("Subject: " + endless + "\r\nFrom: " + endless + " <" + endless + "@b>");
    EXPECT_EQ(shown.subject, QString(DisplayText::maxLength, u'x') + u'…');
    EXPECT_EQ(shown.from.names, QString(200, u'x') + u'…');
    EXPECT_EQ(shown.from.mailboxes, QString(200, u'x') + u"… <"_s + QString(200, u'x') + u"…>"_s);
    EXPECT_EQ(read("Subject: a\xe2\x80\xae\x1b b").subject, u"a  b"_s);
}

TEST(ReaderHeaders, ShowsWhatItIsGiven)
{
    ReaderHeaders block;
    ShownHeaders headers;
    headers.subject = u"A subject"_s;
    headers.from = {u"Ada"_s, u"Ada <ada@x>"_s, u"ada@x"_s, 1};
    headers.to = {u"Bob, …"_s, u"bob@x, …"_s, u"bob@x, carl@x"_s, 2};
    block.setHeaders(headers, {});
    EXPECT_EQ(text(block, "readerSubject"_L1), u"A subject"_s);
    EXPECT_EQ(text(block, "readerFrom"_L1), u"Ada"_s);
    EXPECT_EQ(text(block, "readerTo"_L1), u"Bob, …"_s);
    EXPECT_EQ(block.findChild<QLabel*>("readerTo"_L1)->toolTip(), u"bob@x, …"_s);
    EXPECT_TRUE(block.findChild<QLabel*>("readerCc"_L1)->isHidden());
    block.setHeaders({}, {});
    EXPECT_EQ(text(block, "readerSubject"_L1), u"(no subject)"_s);
    EXPECT_EQ(text(block, "readerFrom"_L1), u"Unknown"_s);
    EXPECT_EQ(text(block, "readerTo"_L1), u"Undisclosed recipients"_s);
}

} // namespace
} // namespace Larkhaven
