#include "app/platform/Spelling.h"

#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <QSignalSpy>
#include <QThread>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Verdict = Spelling::Verdict;

class SpellingTest : public testing::Test {
protected:
    /// What it says once it knows.
    Verdict settled(const QString& word)
    {
        EXPECT_TRUE(waitUntil([&] { return spelling.verdict(language, word) != Verdict::unknown; }));
        return spelling.verdict(language, word);
    }

    const QString language = u"en_US"_s;
    Spelling spelling;
};

TEST_F(SpellingTest, ReadsTheLanguagesOnAWorker)
{
    const QSignalSpy changes(&spelling, &Spelling::languagesChanged);
    EXPECT_TRUE(spelling.languages().isEmpty());
    ASSERT_TRUE(waitUntil([&] { return !changes.isEmpty(); }));
    EXPECT_TRUE(spelling.languages().contains(language));
}

TEST_F(SpellingTest, LooksWordsUpOnceAndTellsWhenItHas)
{
    QSignalSpy learned(&spelling, &Spelling::learned);
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(spelling.verdict(language, u"world"_s), Verdict::unknown);
        EXPECT_EQ(spelling.verdict(language, u"wrold"_s), Verdict::unknown);
    }
    ASSERT_TRUE(waitUntil([&] { return !learned.isEmpty(); }));
    EXPECT_EQ(learned.constFirst().constFirst(), QVariant(language));
    EXPECT_EQ(spelling.verdict(language, u"world"_s), Verdict::right);
    EXPECT_EQ(spelling.verdict(language, u"wrold"_s), Verdict::wrong);
    settle();
    EXPECT_EQ(learned.size(), 1);
}

TEST_F(SpellingTest, KeepsTheLanguagesApart)
{
    EXPECT_EQ(settled(u"Haus"_s), Verdict::wrong);
    EXPECT_EQ(spelling.verdict(u"de_DE"_s, u"Haus"_s), Verdict::unknown);
    ASSERT_TRUE(waitUntil([&] { return spelling.verdict(u"de_DE"_s, u"Haus"_s) == Verdict::right; }));
    EXPECT_EQ(spelling.verdict(language, u"Haus"_s), Verdict::wrong);
}

TEST_F(SpellingTest, WithoutALanguageEveryWordIsRight)
{
    EXPECT_EQ(spelling.verdict({}, u"wrold"_s), Verdict::right);
    EXPECT_EQ(await(spelling.suggestions({}, u"wrold"_s)), QStringList());
}

TEST_F(SpellingTest, SuggestsForWordsOfABoundedLength)
{
    EXPECT_TRUE(await(spelling.suggestions(language, u"wrold"_s)).contains(u"world"_s));
    const QString longest = u"worldworldworldworldwrol"_s;
    ASSERT_EQ(longest.size(), Spelling::longestSuggestedWord);
    EXPECT_EQ(await(spelling.suggestions(language, longest + u'd')), QStringList());
}

TEST_F(SpellingTest, WhatItIsTaughtIsRightAtOnceEvenWhileItIsLookedUp)
{
    QSignalSpy learned(&spelling, &Spelling::learned);
    EXPECT_EQ(spelling.verdict(language, u"xyzzyq"_s), Verdict::unknown);
    spelling.ignore(language, u"xyzzyq"_s);
    EXPECT_EQ(spelling.verdict(language, u"xyzzyq"_s), Verdict::right);
    EXPECT_EQ(learned.size(), 1);
    ASSERT_TRUE(waitUntil([&] { return learned.size() == 2; }));
    EXPECT_EQ(spelling.verdict(language, u"xyzzyq"_s), Verdict::right);
    spelling.add(language, u"xyzzyk"_s);
    EXPECT_EQ(spelling.verdict(language, u"xyzzyk"_s), Verdict::right);
    EXPECT_EQ(await(spelling.suggestions(language, u"xyzzyk"_s)).value(0), u"xyzzyk"_s);
}

TEST_F(SpellingTest, BeginsToLearnAnewBeyondItsBound)
{
    EXPECT_EQ(settled(u"world"_s), Verdict::right);
    QSignalSpy learned(&spelling, &Spelling::learned);
    for (qsizetype number = 0; number < Spelling::mostKnownWords; ++number)
        spelling.verdict(language, u"1%1"_s.arg(number));
    ASSERT_TRUE(waitUntil([&] { return !learned.isEmpty(); }, std::chrono::seconds(30)));
    EXPECT_EQ(spelling.verdict(language, u"world"_s), Verdict::unknown);
}

TEST(Spelling, EndsWhileItIsAsked)
{
    const auto spelling = std::make_unique<Spelling>();
    spelling->verdict(u"en_US"_s, u"wrold"_s);
    settle();
    spelling->verdict(u"en_US"_s, u"word"_s);
}

} // namespace
} // namespace Larkhaven
