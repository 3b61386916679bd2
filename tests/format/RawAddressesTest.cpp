#include "format/RawAddresses.h"

#include <QRandomGenerator>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// The text with letters in the place of each encoded word, found by its grammar (RFC 2047, 2): nothing in
/// them means anything any more.
QString withoutWords(const QString& text)
{
    constexpr qsizetype longestWord = 1'000;
    static const QRegularExpression word(uR"(=\?[^?\s]*\?[^?\s]*\?\S*?\?=)"_s);
    QString result = text;
    for (qsizetype position = 0; position < text.size();) {
        const QRegularExpressionMatch match = word.match(text, position, QRegularExpression::NormalMatch,
                                                         QRegularExpression::AnchorAtOffsetMatchOption);
        const bool isWord = match.hasMatch() && match.capturedLength() <= longestWord;
        const qsizetype length = isWord ? match.capturedLength() : 1;
        if (isWord)
            result.replace(position, length, QString(length, u'x'));
        position += length;
    }
    return result;
}

TEST(RawAddresses, TakesEncodedWordsWholeWhateverStandsInThem)
{
    QRandomGenerator random(7);
    const QStringList pieces{u"=?"_s,     u"?="_s,  u"="_s, u"?"_s, u"?q?"_s,
                             u"=?a?q?"_s, u"a@b"_s, u","_s, u" "_s, u"a"_s};
    qsizetype words = 0;
    qsizetype addresses = 0;
    for (int turn = 0; turn < 20'000; ++turn) {
        QString text;
        const int count = random.bounded(2, 30);
        for (int piece = 0; piece < count; ++piece)
            text += pieces[random.bounded(pieces.size())];
        // Some are as long as a word may be, or a little longer.
        if (turn % 10 == 0)
            text.insert(random.bounded(text.size()), QString(random.bounded(960, 1'000), u'l'));
        const QString plain = withoutWords(text);
        const QList<EmailAddress> read = RawAddresses::read(text, 100);
        const QList<EmailAddress> expected = RawAddresses::read(plain, 100);
        ASSERT_EQ(read.size(), expected.size()) << text.toStdString();
        for (qsizetype index = 0; index < read.size(); ++index) {
            EXPECT_EQ(read[index].address.size(), expected[index].address.size()) << text.toStdString();
            EXPECT_EQ(read[index].name.value_or(QString()).size(),
                      expected[index].name.value_or(QString()).size())
                << text.toStdString();
        }
        words += plain != text ? 1 : 0;
        addresses += read.size();
    }
    EXPECT_GT(words, 2'000);
    EXPECT_GT(addresses, 2'000);
}

} // namespace
} // namespace Larkhaven
