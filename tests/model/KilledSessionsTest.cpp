#include "support/QtPrinters.h"

#include <QHash>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <iostream>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// What the killed processes said of one text.
struct Said {
    int typed = 0;
    int durable = 0;
    bool isClosing = false;
    bool isClosed = false;
};

class KilledSessionsTest : public testing::Test {
protected:
    QByteArray run(unsigned seed, int milliseconds)
    {
        QProcess session;
        session.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QStringList arguments{folder.path(), QString::number(seed)};
        if (milliseconds < 0)
            arguments.append(u"recover"_s);
        session.start(QString::fromLatin1(KILLED_SESSION), arguments);
        if (milliseconds < 0)
            EXPECT_TRUE(session.waitForFinished());
        else if (!session.waitForFinished(milliseconds))
            session.kill();
        session.waitForFinished();
        return session.readAllStandardOutput();
    }

    void take(const QByteArray& output)
    {
        QSet<QByteArray> offered;
        bool isRecovered = false;
        const QHash<QByteArray, Said> before = texts;
        QList<QByteArray> lines = output.split('\n');
        lines.removeLast(); // empty, or cut by the kill
        for (const QByteArray& line : std::as_const(lines)) {
            const QList<QByteArray> words = line.split(' ');
            ++said[words[0]];
            ASSERT_NE(words[0], "damaged") << line.toStdString();
            if (words[0] == "recovered") {
                isRecovered = true;
                continue;
            }
            Said& text = texts[words.at(1)];
            const int version = words.value(2).toInt();
            if (words[0] == "offered") {
                EXPECT_FALSE(offered.contains(words[1])) << "offered twice";
                EXPECT_FALSE(text.isClosed) << "offered although it was closed";
                EXPECT_GE(version, text.durable) << "offered in an older state";
                EXPECT_LE(version, text.typed);
                offered.insert(words[1]);
                text.durable = version;
                text.typed = version;
                text.isClosing = false;
            } else if (words[0] == "typed") {
                text.typed = version;
            } else if (words[0] == "durable") {
                text.durable = version;
            } else if (words[0] == "closing") {
                text.isClosing = true;
            } else if (words[0] == "closed") {
                text.isClosed = true;
            }
        }
        if (!isRecovered)
            return;
        for (auto text = before.cbegin(); text != before.cend(); ++text) {
            const bool isOwed = text->durable > 0 && !text->isClosing && !text->isClosed;
            EXPECT_TRUE(!isOwed || offered.contains(text.key())) << text.key().toStdString() << " is lost";
            // What wasn't on the disk, or was about to go, may be gone; then it stays gone.
            if (!offered.contains(text.key()))
                texts[text.key()].isClosed = true;
        }
    }

    QTemporaryDir folder;
    QHash<QByteArray, Said> texts;
    QHash<QByteArray, int> said;
};

TEST_F(KilledSessionsTest, LoseNothingAndOfferEveryTextOnceInItsNewestState)
{
    bool isGiven = false;
    const int given = qEnvironmentVariableIntValue("LARKHAVEN_KILLS", &isGiven);
    const int kills = isGiven ? given : 200;
    const unsigned seed = std::random_device()();
    std::cout << "seed " << seed << ", " << kills << " kills\n";
    std::mt19937 random(seed);
    for (int round = 0; round < kills && !HasFailure(); ++round) {
        SCOPED_TRACE("kill " + std::to_string(round));
        take(run(static_cast<unsigned>(random()), static_cast<int>(20 + random() % 280)));
    }
    take(run(1, -1));
    for (const char* word : {"offered", "recovered", "typed", "durable", "closing", "closed"})
        EXPECT_GT(said.value(word), kills / 10) << word;
}

} // namespace
} // namespace Larkhaven
