#include "platform/RandomBytes.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace Larkhaven {
namespace {

TEST(RandomBytes, GivesAsManyBytesAsAskedFor)
{
    // More than the kernel gives at once without interruption (256 bytes), and nothing.
    for (const qsizetype count : {0, 1, 32, 100'000})
        EXPECT_EQ(randomBytes(count).value().size(), count);
}

TEST(RandomBytes, GivesOtherBytesEachTime)
{
    EXPECT_NE(randomBytes(32), randomBytes(32));
}

TEST(RandomBytes, FillsAllOfTheBytes)
{
    // A byte that is 0 in each of 64 rounds was never filled: the chance of it otherwise is 2 to the -512.
    QByteArray seen(1000, '\0');
    for (int round = 0; round < 64; ++round) {
        const QByteArray bytes = randomBytes(seen.size()).value();
        for (qsizetype index = 0; index < seen.size(); ++index)
            seen[index] = static_cast<char>(seen[index] | bytes[index]);
    }
    EXPECT_FALSE(seen.contains('\0'));
}

} // namespace
} // namespace Larkhaven
