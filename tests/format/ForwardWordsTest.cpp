#include "format/ForwardWords.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Field = ForwardWords::Field;

// Without a translation the user's language is English.

TEST(ForwardWords, AreThoseOfTheUserFirstAndThenOfEachLanguageOfTheProgram)
{
    const QList<ForwardWords> known = ForwardWords::known();
    ASSERT_EQ(known.size(), 3);
    EXPECT_EQ(known[0].line, u"---------- Forwarded message ---------"_s);
    EXPECT_EQ(known[0].line, ForwardWords::ofUser().line);
    EXPECT_EQ(known[1].line, u"---------- Forwarded message ---------"_s);
    EXPECT_EQ(known[2].line, u"---------- Weitergeleitete Nachricht ---------"_s);
    const std::array<QString, ForwardWords::fieldCount> english{u"From:"_s, u"Date:"_s, u"Subject:"_s,
                                                                u"To:"_s, u"Cc:"_s};
    EXPECT_EQ(known[0].labels, english);
    EXPECT_EQ(known[1].labels, english);
    EXPECT_EQ(known[2].labels, (std::array<QString, ForwardWords::fieldCount>{
                                   u"Von:"_s, u"Datum:"_s, u"Betreff:"_s, u"An:"_s, u"Cc:"_s}));
}

TEST(ForwardWords, WriteAFieldAsItsLabelABlankAndTheValue)
{
    const ForwardWords german = ForwardWords::known().last();
    EXPECT_EQ(german.written(Field::from, u"Ada"_s), u"Von: Ada"_s);
    EXPECT_EQ(german.written(Field::date, u"heute"_s), u"Datum: heute"_s);
    EXPECT_EQ(german.written(Field::subject, u"S"_s), u"Betreff: S"_s);
    EXPECT_EQ(german.written(Field::to, u"Mia"_s), u"An: Mia"_s);
    EXPECT_EQ(german.written(Field::cc, QString()), u"Cc: "_s);
}

TEST(ForwardWords, ReadWhatTheyWriteWithoutTheWhiteSpaceAroundTheValue)
{
    for (const ForwardWords& words : ForwardWords::known()) {
        for (const Field field : {Field::from, Field::date, Field::subject, Field::to, Field::cc}) {
            const QString line = words.written(field, u" a: b \t"_s);
            const std::optional<ForwardWords::Read> read = words.read(line);
            ASSERT_TRUE(read) << qPrintable(line);
            EXPECT_EQ(read->field, field);
            EXPECT_EQ(read->value, u"a: b"_s);
        }
    }
}

TEST(ForwardWords, ReadAFieldWithoutAValueOrABlank)
{
    const ForwardWords words = ForwardWords::ofUser();
    EXPECT_EQ(words.read(u"Subject:").value().value, u""_s);
    EXPECT_EQ(words.read(u"To:mia@example.org").value().value, u"mia@example.org"_s);
}

TEST(ForwardWords, ReadNothingInAnotherLine)
{
    const ForwardWords words = ForwardWords::ofUser();
    for (const QString& line :
         {u""_s, u"Subject"_s, u" From: Ada"_s, u"from: Ada"_s, u"Von: Ada"_s, u"Hi From: Ada"_s, words.line})
        EXPECT_FALSE(words.read(line)) << qPrintable(line);
}

} // namespace
} // namespace Larkhaven
