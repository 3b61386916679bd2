#include "views/style/RowText.h"

#include "support/ModelFixture.h"
#include "support/QtPrinters.h"

#include <QLocale>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class RowText : public testing::Test {
protected:
    QString sender(const MailboxRef& mailbox) const
    {
        return Larkhaven::RowText::sender(row, mailbox, account);
    }

    const Account account = ModelFixture::imapAccount();
    MessageSummary row = ModelFixture::row(account, u"1"_s);
};

/// Restores the locale of the other tests.
class LocaleChange {
public:
    explicit LocaleChange(const QLocale& locale) { QLocale::setDefault(locale); }
    ~LocaleChange() { QLocale::setDefault(m_before); }
    LocaleChange(const LocaleChange&) = delete;
    LocaleChange& operator=(const LocaleChange&) = delete;

private:
    const QLocale m_before;
};

QDateTime local(const QString& text)
{
    return QDateTime::fromString(text, Qt::ISODate);
}

TEST_F(RowText, NamesNoMoreRecipientsThanAnybodySees)
{
    row.to = QList<EmailAddress>(100'000, EmailAddress(QString(1'000'000, u'n'), u"a@x"_s));
    const QString shown = sender(MailboxRef::system(Mailbox::sent));
    EXPECT_EQ(shown.count(u", "_s), 50);
    EXPECT_TRUE(shown.endsWith(u", …"_s));
    EXPECT_LT(shown.size(), 60'000);
}

TEST_F(RowText, ShowsTheNameOfTheSender)
{
    EXPECT_EQ(sender(MailboxRef::system(Mailbox::inbox)), u"Ada");
    row.from = EmailAddress(std::nullopt, u"ada@example.com"_s);
    EXPECT_EQ(sender(MailboxRef::system(Mailbox::archive)), u"ada");
    EXPECT_EQ(sender(MailboxRef::label({u"id"_s, u"Work"_s})), u"ada");
}

TEST_F(RowText, ShowsTheAddressesOfASenderWhoseNameCannotBeTrusted)
{
    const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);
    row.sender = Sender{{EmailAddress(u"ceo@bank.example"_s, u"service@evil.example"_s)},
                        Sender::Names::lookLikeAnotherAddress};
    EXPECT_EQ(sender(inbox), u"service@evil.example");
    row.sender = Sender{{EmailAddress(u"Doe, Ann"_s, u"ann@x"_s)}};
    EXPECT_EQ(sender(inbox), u"Doe, Ann");
    row.sender = Sender{{}, Sender::Names::honest, false};
    EXPECT_EQ(sender(inbox), u"(unknown sender)");
    row.sender = Sender{{EmailAddress(std::nullopt, QString(500, u'a') + u"@evil.example"_s)},
                        Sender::Names::lookLikeAnotherAddress};
    EXPECT_EQ(sender(inbox), u'…' + QString(287, u'a') + u"@evil.example"_s);
}

TEST_F(RowText, SaysThatASenderIsUnknown)
{
    row.from = std::nullopt;
    EXPECT_EQ(sender(MailboxRef::system(Mailbox::inbox)), u"(unknown sender)");
}

TEST_F(RowText, ShowsTheRecipientsInSentAndDrafts)
{
    row.to = {EmailAddress(u"Bob"_s, u"bob@example.com"_s), EmailAddress(std::nullopt, u"eve@example.com"_s),
              EmailAddress(u"Mia Real"_s, u"MIA@example.org"_s)};
    for (const Mailbox mailbox : {Mailbox::sent, Mailbox::drafts})
        EXPECT_EQ(sender(MailboxRef::system(mailbox)), u"To: Bob, eve, me");
    EXPECT_EQ(sender(MailboxRef::system(Mailbox::inbox)), u"Ada");
}

TEST_F(RowText, SaysThatThereIsNoRecipient)
{
    row.to.clear();
    EXPECT_EQ(sender(MailboxRef::system(Mailbox::sent)), u"(no recipient)");
}

TEST_F(RowText, SaysThatThereIsNoSubject)
{
    EXPECT_EQ(Larkhaven::RowText::subject(row), u"Subject 1");
    row.subject.clear();
    EXPECT_EQ(Larkhaven::RowText::subject(row), u"(no subject)");
}

TEST_F(RowText, ShowsTheTimeOfADateOfToday)
{
    const QDateTime now = local(u"2024-03-15T23:30:00"_s);
    EXPECT_EQ(Larkhaven::RowText::date(local(u"2024-03-15T00:00:00"_s), now), u"12:00 AM");
    EXPECT_EQ(Larkhaven::RowText::date(local(u"2024-03-15T14:05:59"_s), now), u"2:05 PM");
    EXPECT_EQ(Larkhaven::RowText::date(local(u"2024-03-15T23:59:59"_s), now), u"11:59 PM");
}

TEST_F(RowText, CallsTheDayBeforeYesterday)
{
    const QDateTime now = local(u"2024-01-01T00:10:00"_s);
    EXPECT_EQ(Larkhaven::RowText::date(local(u"2023-12-31T00:00:00"_s), now), u"Yesterday");
    EXPECT_EQ(Larkhaven::RowText::date(local(u"2023-12-31T23:59:59"_s), now), u"Yesterday");
    EXPECT_EQ(Larkhaven::RowText::date(local(u"2023-12-30T23:59:59"_s), now), u"12/30/23");
}

TEST_F(RowText, NamesTheYearOnlyIfItIsNotThePresentOne)
{
    const QDateTime now = local(u"2024-03-15T12:00:00"_s);
    EXPECT_EQ(Larkhaven::RowText::date(local(u"2024-03-13T12:00:00"_s), now), u"3/13");
    EXPECT_EQ(Larkhaven::RowText::date(local(u"2024-12-01T12:00:00"_s), now), u"12/1");
    EXPECT_EQ(Larkhaven::RowText::date(local(u"2023-03-13T12:00:00"_s), now), u"3/13/23");
}

TEST_F(RowText, ReadsDatesInTheUsersZone)
{
    const QDateTime now = local(u"2024-03-15T12:00:00"_s);
    const QDateTime lateAtGreenwich(QDate(2024, 3, 14), QTime(23, 30), Qt::UTC);
    EXPECT_EQ(Larkhaven::RowText::date(lateAtGreenwich, now), u"12:30 AM");
}

TEST_F(RowText, LeavesNothingOfTheYearBehindInAnyLocale)
{
    const QDateTime now = local(u"2024-03-15T12:00:00"_s);
    const QDateTime date = local(u"2024-12-31T12:00:00"_s);
    const QList<QLocale> locales =
        QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry);
    ASSERT_GT(locales.size(), 300);
    for (const QLocale& locale : locales) {
        const LocaleChange change(locale);
        const QString text = Larkhaven::RowText::date(date, now);
        QString latin;
        const QList<uint> characters = text.toUcs4();
        for (const char32_t character : characters)
            latin.append(QChar::isDigit(character) ? QString::number(QChar::digitValue(character))
                                                   : QString::fromUcs4(&character, 1));
        EXPECT_FALSE(latin.contains(u"24") || latin.contains(u"y") || latin.contains(u'\''))
            << locale.name().toStdString() << ": " << text.toStdString();
        EXPECT_TRUE(latin.contains(u"31")) << locale.name().toStdString() << ": " << text.toStdString();
        EXPECT_TRUE(latin.front().isLetterOrNumber())
            << locale.name().toStdString() << ": " << text.toStdString();
    }
}

TEST_F(RowText, ShowsNoSecondsInAnyLocale)
{
    const QList<QLocale> locales =
        QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry);
    for (const QLocale& locale : locales) {
        const LocaleChange change(locale);
        EXPECT_EQ(Larkhaven::RowText::time(QTime(10, 20, 0)), Larkhaven::RowText::time(QTime(10, 20, 59)))
            << locale.name().toStdString();
        EXPECT_NE(Larkhaven::RowText::time(QTime(10, 20)), Larkhaven::RowText::time(QTime(10, 21)))
            << locale.name().toStdString();
    }
}

TEST_F(RowText, CountsBytesInDecimalUnits)
{
    EXPECT_EQ(Larkhaven::RowText::size(0), u"0 bytes");
    EXPECT_EQ(Larkhaven::RowText::size(1), u"1 byte");
    EXPECT_EQ(Larkhaven::RowText::size(2), u"2 bytes");
    EXPECT_EQ(Larkhaven::RowText::size(999), u"999 bytes");
    EXPECT_EQ(Larkhaven::RowText::size(1500), u"1.5 kB");
    EXPECT_EQ(Larkhaven::RowText::size(2'345'678), u"2.3 MB");
}

} // namespace
} // namespace Larkhaven
