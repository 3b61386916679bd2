#include "format/MIMEHeaders.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

MIMEHeaders one(const QString& name, const QString& value)
{
    return {{{name, value}}};
}

TEST(MIMEHeaders, FindsTheFirstFieldOfANameInAnyCase)
{
    const MIMEHeaders headers{{{u"subject"_s, u"one"_s}, {u"SUBJECT"_s, u"two"_s}}};
    EXPECT_EQ(headers.value(u"Subject"), u"one"_s);
    EXPECT_EQ(headers.value(u"To"), std::nullopt);
}

TEST(MIMEHeaders, GivesRawAndDecodedValues)
{
    const MIMEHeaders headers = one(u"Subject"_s, u"=?utf-8?Q?=C3=A9?="_s);
    EXPECT_EQ(headers.value(u"Subject"), u"=?utf-8?Q?=C3=A9?="_s);
    EXPECT_EQ(headers.decoded(u"subject"), u"é"_s);
    EXPECT_EQ(headers.decoded(u"To"), std::nullopt);
    EXPECT_EQ(headers.subject(), u"é"_s);
}

TEST(MIMEHeaders, HasEmptyValuesWhereThereAreNoFields)
{
    const MIMEHeaders headers;
    EXPECT_EQ(headers.subject(), u""_s);
    EXPECT_TRUE(headers.from().isEmpty());
    EXPECT_TRUE(headers.to().isEmpty());
    EXPECT_TRUE(headers.cc().isEmpty());
    EXPECT_TRUE(headers.replyTo().isEmpty());
    EXPECT_EQ(headers.date(), std::nullopt);
    EXPECT_EQ(headers.messageID(), std::nullopt);
    EXPECT_TRUE(headers.references().isEmpty());
}

TEST(MIMEHeaders, ReadsTheAddressFields)
{
    const EmailAddress ann(u"Ann"_s, u"a@x"_s);
    EXPECT_EQ(one(u"From"_s, u"Ann <a@x>"_s).from(), QList{ann});
    EXPECT_EQ(one(u"To"_s, u"Ann <a@x>"_s).to(), QList{ann});
    EXPECT_EQ(one(u"CC"_s, u"Ann <a@x>"_s).cc(), QList{ann});
    EXPECT_EQ(one(u"Reply-To"_s, u"Ann <a@x>"_s).replyTo(), QList{ann});
}

TEST(MIMEHeaders, CutsAnAddressListAtACommaThatWasEncoded)
{
    const QList<EmailAddress> expected{EmailAddress(u"Bob"_s, u"b@y"_s)};
    EXPECT_EQ(one(u"From"_s, u"=?utf-8?Q?Doe,_Bob?= <b@y>"_s).from(), expected);
}

TEST(MIMEHeaders, ReadsTheDate)
{
    const QDateTime expected(QDate(2026, 3, 3), QTime(9, 11, 12), Qt::UTC);
    EXPECT_EQ(one(u"Date"_s, u"Tue, 3 Mar 2026 10:11:12 +0100"_s).date(), expected);
    EXPECT_EQ(one(u"Date"_s, u"2026-03-03"_s).date(), std::nullopt);
}

TEST(MIMEHeaders, KeepsTheAngleBracketsOfAMessageID)
{
    EXPECT_EQ(one(u"Message-Id"_s, u" <a@x>\t"_s).messageID(), u"<a@x>"_s);
}

TEST(MIMEHeaders, CutsReferencesAtSpacesAndTabs)
{
    EXPECT_EQ(one(u"References"_s, u" <a@x>  <b@y>\t<c@z> "_s).references(),
              (QList<QString>{u"<a@x>"_s, u"<b@y>"_s, u"<c@z>"_s}));
    EXPECT_TRUE(one(u"References"_s, u" \t "_s).references().isEmpty());
}

TEST(MIMEHeaders, ReadsNoMoreReferencesThanItsBound)
{
    const QString text = u"x "_s.repeated(MIMEHeaders::maxReferences + 1);
    EXPECT_EQ(one(u"References"_s, text).references().size(), MIMEHeaders::maxReferences);
}

} // namespace
} // namespace Larkhaven
