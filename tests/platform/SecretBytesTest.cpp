#include "platform/SecretBytes.h"

#include "support/QtPrinters.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// What the kernel says of the memory in which a byte lies: the "VmFlags" of proc_pid_smaps(5).
QByteArray flagsAt(const void* address)
{
    QFile file(u"/proc/self/smaps"_s);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const auto wanted = reinterpret_cast<quintptr>(address);
    bool isInside = false;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const qsizetype dash = line.indexOf('-');
        bool isStart = false;
        bool isEnd = false;
        const quintptr start = line.left(dash).toULongLong(&isStart, 16);
        const quintptr end = line.mid(dash + 1).split(' ').first().toULongLong(&isEnd, 16);
        if (dash > 0 && isStart && isEnd)
            isInside = start <= wanted && wanted < end;
        else if (isInside && line.startsWith("VmFlags:"))
            return line.simplified() + ' ';
    }
    return {};
}

TEST(SecretBytes, LieWhereNoCoreDumpHasThem)
{
    const SecretBytes key(QByteArray(32, 'k'));
    EXPECT_TRUE(flagsAt(key.data()).contains(" dd ")) << flagsAt(key.data()).constData();
    const QByteArray other(32, 'k');
    EXPECT_FALSE(flagsAt(other.data()).contains(" dd "));
    EXPECT_EQ(QByteArray(key.data(), key.size()), other);
}

TEST(SecretBytes, LeaveTheBytesAloneThatOthersHaveAsWell)
{
    QByteArray mine(32, 'k');
    const char* const place = mine.constData();
    const QByteArray shared = mine;
    const SecretBytes first(mine);
    EXPECT_EQ(shared, QByteArray(32, 'k'));
    EXPECT_EQ(mine.constData(), place);
    EXPECT_EQ(QByteArray(first.data(), first.size()), shared);
}

TEST(SecretBytes, HoldWhatNoHeapOfSecretsHasRoomFor)
{
    const SecretBytes large(QByteArray(static_cast<qsizetype>(SecretBytes::heapSize) + 1, 'k'));
    EXPECT_EQ(QByteArray(large.data(), large.size()).count('k'), large.size());
    EXPECT_EQ(SecretBytes(QByteArray()).size(), 0);
}

} // namespace
} // namespace Larkhaven
