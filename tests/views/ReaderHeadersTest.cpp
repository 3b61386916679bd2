#include "views/reader/ReaderHeaders.h"

#include "format/MIMEParser.h"
#include "support/QtPrinters.h"
#include "views/reader/TextLines.h"
#include "views/style/DisplayText.h"
#include "views/style/Style.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QTest>

#include <algorithm>
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
                                {{u"Ada Lovelace"_s, u"Bob"_s},
                                 u"Ada Lovelace <ada@example.com>, Bob <bob@example.com>"_s,
                                 u"ada@example.com, bob@example.com"_s,
                                 2},
                                {{u"Mia, M."_s}, u"Mia, M. <mia@example.org>"_s, u"mia@example.org"_s, 1},
                                {{u"carl"_s}, u"carl@example.org"_s, u"carl@example.org"_s, 1},
                                QDateTime(QDate(2024, 3, 15), QTime(11, 0), Qt::UTC)};
    EXPECT_EQ(shown, expected);
    EXPECT_EQ(read("X-Nothing: 1"), ShownHeaders());
}

TEST(ShownHeaders, HoldTheFirstAddressesAndTheNumberOfAll)
{
    const QByteArray sixty = QByteArray("a@b,").repeated(60);
    EXPECT_EQ(read("To: " + sixty).to.mailboxes, u"a@b, "_s.repeated(59) + u"a@b"_s);
    const ShownAddresses more = read("To: " + sixty + "c@d").to;
    EXPECT_EQ(more.names.size(), 61);
    EXPECT_EQ(more.mailboxes, u"a@b, "_s.repeated(60) + u"…"_s);
    EXPECT_EQ(more.copied, u"a@b, "_s.repeated(60) + u"c@d"_s);
    EXPECT_EQ(more.count, 61);
    const ShownAddresses mass = read("Cc: " + QByteArray("a@b,").repeated(100'000)).cc;
    EXPECT_EQ(mass.names, QStringList(500, u"a"_s));
    EXPECT_EQ(mass.mailboxes, more.mailboxes);
    EXPECT_EQ(mass.count, 100'000);
}

TEST(ShownHeaders, AreWhatARowOfTheListKnows)
{
    MessageSummary row;
    row.subject = u"A\u202esubject"_s;
    row.from = EmailAddress(u"Ada"_s, u"ada@x"_s);
    row.to = QList<EmailAddress>(1000, EmailAddress({}, u"bob@x"_s));
    row.date = QDateTime(QDate(2024, 3, 15), QTime(11, 0), Qt::UTC);
    const ShownHeaders shown = ShownHeaders::of(row);
    EXPECT_EQ(shown.subject, u"Asubject");
    EXPECT_EQ(shown.from, ShownAddresses::of({*row.from}));
    EXPECT_EQ(shown.to.names, QStringList(500, u"bob"_s));
    EXPECT_EQ(shown.to.count, 1000);
    EXPECT_EQ(shown.to.copied.count(u'@'), 500) << "the rest comes with the message";
    EXPECT_EQ(shown.cc, ShownAddresses());
    EXPECT_EQ(shown.date, row.date);
    row.from.reset();
    EXPECT_EQ(ShownHeaders::of(row).from, ShownAddresses());
}

TEST(ShownHeaders, AreBoundedHoweverLongASubjectOrANameIs)
{
    const QByteArray endless(1'000'000, 'x');
    const ShownHeaders shown = read("Subject: " + endless + "\r\nFrom: " + endless + " <" + endless + "@b>");
    EXPECT_EQ(shown.subject, QString(DisplayText::maxLength, u'x') + u'…');
    EXPECT_EQ(shown.from.names, QStringList(QString(200, u'x') + u'…'));
    EXPECT_EQ(shown.from.mailboxes, QString(200, u'x') + u"… <"_s + QString(200, u'x') + u"…>"_s);
    EXPECT_EQ(read("Subject: a\xe2\x80\xae\x1b b").subject, u"a  b"_s);
}

/// A block as wide as in a usual window, laid out.
class ReaderHeadersBlock : public testing::Test {
protected:
    /// Its types come from the style sheet.
    void SetUp() override { Style::shared().applyToApplication(); }

    void show(int width, const ShownHeaders& headers)
    {
        block.setHeaders(headers, {});
        block.resize(width, block.heightForWidth(width));
        block.show();
        QApplication::sendPostedEvents();
        block.resize(width, block.heightForWidth(width));
        QApplication::sendPostedEvents();
    }
    QLabel& label(QLatin1StringView name) { return *block.findChild<QLabel*>(name); }
    QAbstractButton& more(QLatin1StringView name)
    {
        return *label(name).findChild<QAbstractButton*>("moreAddresses"_L1);
    }
    int lines(QLatin1StringView name)
    {
        const QLabel& shown = label(name);
        const QMargins margins = shown.contentsMargins();
        return qRound(static_cast<double>(shown.height() - margins.top()) / shown.fontMetrics().height());
    }
    static ShownAddresses people(qsizetype count)
    {
        QList<EmailAddress> addresses;
        for (qsizetype number = 1; number <= count; ++number)
            addresses.append(EmailAddress(u"Person %1"_s.arg(number), u"p%1@x"_s.arg(number)));
        return ShownAddresses::of(addresses);
    }

    ReaderHeaders block;
};

TEST_F(ReaderHeadersBlock, ShowsWhatItIsGiven)
{
    ShownHeaders headers;
    headers.subject = u"A subject"_s;
    headers.from = {{u"Ada"_s}, u"Ada <ada@x>"_s, u"ada@x"_s, 1};
    headers.to = {{u"Bob"_s, u"Carl"_s}, u"bob@x, …"_s, u"bob@x, carl@x"_s, 2};
    show(900, headers);
    EXPECT_EQ(text(block, "readerSubject"_L1), u"A subject"_s);
    EXPECT_EQ(text(block, "readerFrom"_L1), u"Ada"_s);
    EXPECT_EQ(text(block, "readerTo"_L1), u"Bob, Carl"_s);
    EXPECT_EQ(label("readerTo"_L1).toolTip(), u"bob@x, …"_s);
    EXPECT_TRUE(more("readerTo"_L1).isHidden());
    EXPECT_TRUE(label("readerCc"_L1).isHidden());
    show(900, {});
    EXPECT_EQ(text(block, "readerSubject"_L1), u"(no subject)"_s);
    EXPECT_EQ(text(block, "readerFrom"_L1), u"Unknown"_s);
    EXPECT_EQ(text(block, "readerTo"_L1), u"Undisclosed recipients"_s);
}

TEST_F(ReaderHeadersBlock, PutsTheDateBesideTheSubjectWhereThereIsRoom)
{
    ShownHeaders headers;
    headers.subject = u"A subject"_s;
    headers.date = QDateTime(QDate(2024, 3, 15), QTime(11, 0), Qt::UTC);
    QLabel& date = label("readerDate"_L1);
    for (const bool isWide : {true, false, true}) {
        show(isWide ? 900 : 420, headers);
        const QLabel& subject = label("readerSubject"_L1);
        EXPECT_EQ(date.x() > block.width() / 2, isWide);
        EXPECT_EQ(date.geometry().right(), block.width() - 1 - 16);
        EXPECT_EQ(date.y() < subject.geometry().bottom(), isWide);
        QStringList told;
        for (const QLabel* const shown : block.findChildren<QLabel*>()) {
            if (shown->isVisible() && (shown->text() == u"Date:" || shown == &date))
                told.append(QAccessible::queryAccessibleInterface(const_cast<QLabel*>(shown))
                                ->text(QAccessible::Name));
        }
        std::ranges::sort(told);
        EXPECT_EQ(told,
                  isWide ? QStringList(u"Date: "_s + date.text()) : (QStringList{u"Date:"_s, date.text()}));
    }
    show(900, {});
    EXPECT_FALSE(date.isVisible());
}

TEST_F(ReaderHeadersBlock, ElidesASubjectBehindItsThirdLine)
{
    ShownHeaders headers;
    headers.subject = u"Some words of a subject"_s;
    show(600, headers);
    EXPECT_EQ(lines("readerSubject"_L1), 1);
    EXPECT_EQ(label("readerSubject"_L1).toolTip(), u"");
    headers.subject = u"Some words of a subject "_s.repeated(30).trimmed();
    show(600, headers);
    EXPECT_EQ(lines("readerSubject"_L1), 3);
    EXPECT_TRUE(text(block, "readerSubject"_L1).endsWith(u'…'));
    EXPECT_TRUE(headers.subject.startsWith(text(block, "readerSubject"_L1).chopped(1)));
    EXPECT_EQ(label("readerSubject"_L1).toolTip(), headers.subject);
    EXPECT_EQ(label("readerSubject"_L1).accessibleName(), headers.subject);
    // A word without an end is broken, and widens nothing.
    headers.subject = QString(900, u'x');
    show(600, headers);
    EXPECT_EQ(lines("readerSubject"_L1), 3);
    EXPECT_LE(block.minimumSizeHint().width(), 420);
    const qsizetype shown = text(block, "readerSubject"_L1).count(u'x');
    EXPECT_GT(shown, 100);
    EXPECT_LT(shown, 400);
}

TEST_F(ReaderHeadersBlock, NamesReceiversOnTwoLinesAndUnfoldsTheOthers)
{
    ShownHeaders headers;
    headers.to = people(1000);
    show(600, headers);
    EXPECT_EQ(lines("readerTo"_L1), 2);
    QAbstractButton& button = more("readerTo"_L1);
    ASSERT_TRUE(button.isVisible());
    const qsizetype named = text(block, "readerTo"_L1).count(u',') + 1;
    EXPECT_GT(named, 8);
    EXPECT_TRUE(text(block, "readerTo"_L1).endsWith(u"Person %1"_s.arg(named)));
    EXPECT_EQ(button.text(), u"and %1 more"_s.arg(1000 - named));
    EXPECT_TRUE(label("readerTo"_L1).rect().contains(button.geometry()));
    EXPECT_GT(button.y(), 5) << "it stands on the second line";

    ASSERT_TRUE(button.focusPolicy() & Qt::TabFocus);
    QTest::keyClick(&button, Qt::Key_Return);
    show(600, headers);
    EXPECT_GT(lines("readerTo"_L1), 20);
    EXPECT_TRUE(QString(text(block, "readerTo"_L1)).endsWith(u"Person 500 and 500 more"));
    EXPECT_EQ(button.text(), u"Show Fewer");
    QTest::keyClick(&button, Qt::Key_Space);
    show(600, headers);
    EXPECT_EQ(lines("readerTo"_L1), 2);
    // Others are folded, whatever those before were.
    QTest::mouseClick(&button, Qt::LeftButton);
    headers.to = people(400);
    show(600, headers);
    EXPECT_EQ(lines("readerTo"_L1), 2);
}

TEST_F(ReaderHeadersBlock, NamesAllReceiversWhoFitOnTwoLines)
{
    ShownHeaders headers;
    headers.to = people(10);
    show(600, headers);
    EXPECT_EQ(lines("readerTo"_L1), 2);
    EXPECT_TRUE(text(block, "readerTo"_L1).endsWith(u"Person 10"));
    EXPECT_TRUE(more("readerTo"_L1).isHidden());
}

TEST_F(ReaderHeadersBlock, KeepsTheDirectionOfANameAndOfItsNeighbours)
{
    const QString arabic = u"محمد علي"_s;
    ShownHeaders headers;
    headers.subject = u"مرحبا بالعالم"_s;
    headers.from = ShownAddresses::of({EmailAddress(arabic, u"m@x"_s)});
    headers.to = ShownAddresses::of({EmailAddress(arabic, u"m@x"_s), EmailAddress(u"Ada"_s, u"ada@x"_s)});
    show(900, headers);
    EXPECT_EQ(text(block, "readerTo"_L1), u"\u200e\u2068"_s + arabic + u"\u2069, Ada"_s);
    // What is drawn stands at the label, and the second name behind the first.
    for (const QLatin1StringView name : {"readerSubject"_L1, "readerFrom"_L1, "readerTo"_L1}) {
        const QImage image = label(name).grab().toImage();
        int first = image.width();
        int last = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (qAbs(image.pixelColor(x, y).lightness() -
                         image.pixelColor(image.width() - 1, 0).lightness()) > 80) {
                    first = std::min(first, x);
                    last = std::max(last, x);
                }
            }
        }
        EXPECT_LT(first, 24) << name.data();
        EXPECT_LT(last, 300) << name.data();
    }
}

TEST_F(ReaderHeadersBlock, FollowsTheDirectionOfItsWindow)
{
    ShownHeaders headers;
    headers.subject = u"A subject"_s;
    headers.from = people(1);
    show(900, headers);
    const QMargins before = label("readerSubject"_L1).contentsMargins();
    ASSERT_GT(before.left(), 0);
    block.setLayoutDirection(Qt::RightToLeft);
    const QMargins after = label("readerSubject"_L1).contentsMargins();
    EXPECT_EQ(after.right(), before.left());
    EXPECT_EQ(after.left(), 0);
    EXPECT_TRUE(label("readerSubject"_L1).alignment().testFlag(Qt::AlignRight));
    EXPECT_TRUE(label("readerFrom"_L1).alignment().testFlag(Qt::AlignRight));
}

/// A label that has laid out what it is given at a width, as layouts have it do.
void layOut(AddressLabel& label, int width)
{
    label.resize(width, label.heightForWidth(width));
    QApplication::sendPostedEvents();
}

TEST(AddressLabel, LaysOutOnceForAWidthAndNoMoreThanIsBounded)
{
    const QList<EmailAddress> people(100'000, EmailAddress(QString(199, u'\u0634'), u"a@x"_s));
    const ShownAddresses shown = ShownAddresses::of(people);
    AddressLabel label;
    label.show();
    QAbstractButton& more = *label.findChild<QAbstractButton*>("moreAddresses"_L1);
    const auto workOf = [](const auto& deed) {
        const qint64 before = TextLines::unitsLaidOut();
        deed();
        return TextLines::unitsLaidOut() - before;
    };
    label.resize(600, 40);
    label.setAddresses(shown, {});
    const qint64 folded = workOf([&] { layOut(label, 500); });
    EXPECT_GT(folded, 0);
    EXPECT_LE(folded, 2 * 2'300) << "what is cut is laid out once more";
    EXPECT_EQ(workOf([&] { layOut(label, 500); }), 0);
    const qint64 unfolding = workOf([&] { QTest::keyClick(&more, Qt::Key_Space); });
    EXPECT_GT(unfolding, 9'000);
    EXPECT_LE(unfolding, 10'300);
    EXPECT_EQ(workOf([&] {
                  label.heightForWidth(500);
                  layOut(label, 500);
              }),
              0);
    EXPECT_LE(workOf([&] { layOut(label, 400); }), 10'300);
    EXPECT_TRUE(label.text().endsWith(u"and 99,950 more"_s)) << label.text().right(40).toStdString();
    // What changes on the lines is laid out anew.
    QFont large = label.font();
    large.setPointSize(2 * std::max(large.pointSize(), 5));
    EXPECT_GT(workOf([&] { label.setFont(large); }), 0);
    label.setAddresses(ShownAddresses::of(people.first(1)), {});
    EXPECT_LT(label.text().size(), 250);
}

TEST(AddressLabel, CutsANameBetweenLettersAndWithinItsIsolate)
{
    const QString faces = u"\U0001F600"_s.repeated(99);
    const QString arabic = u"\u0645\u062d"_s.repeated(99);
    for (const QString& name : {faces, arabic, u"e\u0301\u0302"_s.repeated(60)}) {
        for (const int count : {1, 3}) {
            AddressLabel label;
            label.show();
            label.setAddresses(ShownAddresses::of(QList<EmailAddress>(count, EmailAddress(name, u"a@x"_s))),
                               {});
            for (int width = 100; width < 140; ++width) {
                layOut(label, width);
                const QString text = QString(label.text()).remove(TextLines::breakMark);
                ASSERT_TRUE(text.isValidUtf16()) << width;
                ASSERT_EQ(text.count(QChar(0x2068)), text.count(QChar(0x2069))) << width;
                const qsizetype end = text.indexOf(u'…');
                ASSERT_GT(end, 2) << width << " " << count << " " << text.toStdString();
                ASSERT_TRUE(!name.startsWith(u'e') || end % 3 == 0) << "a letter keeps its marks";
                EXPECT_LE(label.heightForWidth(width), 2 * label.fontMetrics().height() + 2);
            }
        }
    }
}

TEST_F(ReaderHeadersBlock, ShowsStarAndPaperClipBesideTheSubject)
{
    show(900, {});
    EXPECT_FALSE(label("readerStar"_L1).isVisible());
    EXPECT_FALSE(label("readerClip"_L1).isVisible());
    block.setMarks({true, true, 0});
    EXPECT_TRUE(label("readerStar"_L1).isVisible());
    EXPECT_TRUE(label("readerClip"_L1).isVisible());
    EXPECT_FALSE(label("readerAttachmentCount"_L1).isVisible());
    EXPECT_EQ(label("readerClip"_L1).accessibleName(), u"Attachments");
    block.setMarks({false, true, 3});
    EXPECT_FALSE(label("readerStar"_L1).isVisible());
    EXPECT_EQ(text(block, "readerAttachmentCount"_L1), u"3");
    EXPECT_TRUE(label("readerAttachmentCount"_L1).isVisible());
    EXPECT_EQ(label("readerClip"_L1).accessibleName(), u"3 attachments");
}

// --- The sender

/// The block as the reader shows it.
class SenderBlock : public testing::Test {
protected:
    void show(const QByteArray& headers, int width = 900)
    {
        const MIMEHeaders parsed = MIMEParser::parse(headers + "\r\n\r\n").headers;
        block.setHeaders(ShownHeaders::read(parsed), std::nullopt);
        block.setSender(ShownSender::read(parsed));
        block.resize(width, 300);
        block.show();
        QTest::qWait(0);
    }
    QLabel& label(QLatin1StringView name) { return *block.findChild<QLabel*>(name); }
    QString words(QLatin1StringView name) { return label(name).text().remove(TextLines::breakMark); }
    QRect place(QLatin1StringView name) { return {label(name).mapTo(&block, QPoint()), label(name).size()}; }

    ReaderHeaders block;
};

TEST_F(SenderBlock, HasTheAddressBehindTheName)
{
    show("From: Ann <ann@x.example>");
    EXPECT_EQ(words("readerFrom"_L1), u"Ann");
    EXPECT_EQ(words("readerFromAddress"_L1), u"ann@x.example");
    EXPECT_TRUE(label("readerFromAddress"_L1).isVisible());
    EXPECT_FALSE(label("readerSenderNotice"_L1).isVisible());
    EXPECT_EQ(place("readerFrom"_L1).top(), place("readerFromAddress"_L1).top());
    EXPECT_GT(place("readerFromAddress"_L1).left(), place("readerFrom"_L1).right());
    EXPECT_LT(place("readerFromAddress"_L1).left(), place("readerFrom"_L1).right() + 30);
    EXPECT_EQ(label("readerFromAddress"_L1).property("role"),
              block.findChild<QLabel*>("readerDate"_L1)->property("role"));
}

TEST_F(SenderBlock, HasTheAddressBelowANameThatLeavesNoRoom)
{
    show("From: " + QByteArray("Ann ").repeated(20) + "<ann@x.example>", 500);
    EXPECT_EQ(words("readerFromAddress"_L1), u"ann@x.example");
    EXPECT_GE(place("readerFromAddress"_L1).top(), place("readerFrom"_L1).bottom());
    EXPECT_EQ(place("readerFromAddress"_L1).left(), place("readerFrom"_L1).left());
    EXPECT_LE(place("readerFromAddress"_L1).bottom(), place("readerTo"_L1).top());
}

TEST_F(SenderBlock, WarnsOfANameThatLooksLikeAnotherAddress)
{
    show("From: ceo@bank.example <service@evil.example>");
    EXPECT_EQ(words("readerFromAddress"_L1), u"service@evil.example");
    EXPECT_TRUE(label("readerSenderNotice"_L1).isVisible());
    EXPECT_EQ(label("readerSenderNotice"_L1).text(), u"The sender’s name looks like another address.");
    EXPECT_GT(place("readerSenderNotice"_L1).top(), place("readerTo"_L1).top());
    show("From: Ann <ann@x.example>");
    EXPECT_FALSE(label("readerSenderNotice"_L1).isVisible());
}

TEST_F(SenderBlock, WarnsOfHiddenCharactersAndUnclearSenders)
{
    show("From: =?utf-8?q?A=E2=80=AEnn?= <a@x>");
    EXPECT_EQ(words("readerFrom"_L1), u"Ann");
    EXPECT_EQ(label("readerSenderNotice"_L1).text(), u"The sender’s name holds hidden characters.");
    show("From: a@x, ceo@bank.example <b@x>");
    EXPECT_EQ(label("readerSenderNotice"_L1).text(),
              u"The sender’s name looks like another address. This message doesn’t say clearly who sent it.");
    show("Subject: S");
    EXPECT_EQ(words("readerFrom"_L1), u"Unknown");
    EXPECT_FALSE(label("readerFromAddress"_L1).isVisible());
    EXPECT_EQ(label("readerSenderNotice"_L1).text(), u"This message doesn’t say clearly who sent it.");
}

TEST_F(SenderBlock, ShowsTheEndOfALongAddress)
{
    show("From: Ann <" + QByteArray("a").repeated(400) + "@evil.example>", 900);
    EXPECT_TRUE(words("readerFromAddress"_L1).startsWith(u'…'));
    EXPECT_TRUE(words("readerFromAddress"_L1).endsWith(u"a@evil.example"_s));
}

TEST(ShownSender, OfARowSaysWhatTheRowKnows)
{
    MessageSummary row;
    EXPECT_EQ(ShownSender::of(row), ShownSender());
    row.from = EmailAddress(u"Ann"_s, u"ann@x"_s);
    EXPECT_EQ(ShownSender::of(row).addresses.names, QStringList{u"ann@x"_s});
    EXPECT_EQ(ShownSender::of(row).warning, u"");
    row.sender = Sender{{EmailAddress(u"Bob"_s, u"bob@y"_s)}, Sender::Names::holdHiddenCharacters};
    EXPECT_EQ(ShownSender::of(row).names.names, QStringList{u"Bob"_s});
    EXPECT_EQ(ShownSender::of(row).addresses.names, QStringList{u"bob@y"_s});
    EXPECT_EQ(ShownSender::of(row).warning, u"The sender’s name holds hidden characters.");
}

} // namespace
} // namespace Larkhaven
