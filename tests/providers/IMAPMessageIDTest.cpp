#include "providers/IMAPMessageID.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(IMAPMessageID, IsReadAsItIsWritten)
{
    for (const auto& [id, text] : {std::pair{IMAPMessageID{4711, 7, u"INBOX"_s}, u"4711.7:INBOX"_s},
                                   std::pair{IMAPMessageID{1, 0, u"a.b:c.d:"_s}, u"1.0:a.b:c.d:"_s},
                                   std::pair{IMAPMessageID{4'294'967'295, 9'223'372'036'854'775'807, u":"_s},
                                             u"4294967295.9223372036854775807::"_s}}) {
        EXPECT_EQ(id.text(), text);
        EXPECT_EQ(IMAPMessageID::parse(text), id);
    }
}

TEST(IMAPMessageID, KnowsNoOtherForm)
{
    for (const QString& text : {u""_s,
                                u"abc"_s,
                                u"4711:INBOX"_s,
                                u":INBOX"_s,
                                u"1.7"_s,
                                u"1.7:"_s,
                                u".7:INBOX"_s,
                                u"1.:INBOX"_s,
                                u"0.7:INBOX"_s,
                                u"-1.7:INBOX"_s,
                                u"1.-7:INBOX"_s,
                                u"01.7:INBOX"_s,
                                u"1.07:INBOX"_s,
                                u"+1.7:INBOX"_s,
                                u" 1.7:INBOX"_s,
                                u"1.7 :INBOX"_s,
                                u"4294967296.7:INBOX"_s,
                                u"1.9223372036854775808:INBOX"_s,
                                u"12:Work.7:INBOX"_s,
                                u"1.2.7:INBOX"_s,
                                u"\u0661.7:INBOX"_s})
        EXPECT_EQ(IMAPMessageID::parse(text), std::nullopt) << text.toStdString();
}

TEST(IMAPMessageID, IsGroupedByMailbox)
{
    const QList<IMAPMessageGroup> expected{{u"INBOX"_s, 7, {5, 3}}, {u"Work"_s, 9, {1}}};
    EXPECT_EQ(IMAPMessageIDs::grouped({u"5.7:INBOX"_s, u"1.9:Work"_s, u"3.7:INBOX"_s}), expected);
    EXPECT_TRUE(IMAPMessageIDs::grouped({}).isEmpty());
}

TEST(IMAPMessageID, IsUnknownAmongOthersWhereItCannotBeReadAndGoneWhereOneOfTwoIsOld)
{
    for (const auto& [ids, text] :
         {std::pair{QStringList{u"5.7:INBOX"_s, u"3:INBOX"_s}, u"Unknown message."_s},
          std::pair{QStringList{u"5.7:INBOX"_s, u"3.8:INBOX"_s},
                    u"This message is no longer on the server."_s}}) {
        try {
            IMAPMessageIDs::grouped(ids);
            ADD_FAILURE() << "nothing failed";
        } catch (const MailError& error) {
            EXPECT_EQ(error.text(), text);
        }
    }
}

} // namespace
} // namespace Larkhaven
