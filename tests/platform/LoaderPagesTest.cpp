#include "app/platform/LoaderPages.h"

#include <QByteArray>
#include <QFile>

#include <gtest/gtest.h>
#include <link.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// What of Qt's core is in memory of the part of its file that nothing is executed of and nothing written to,
/// in bytes: names, and the list of its relocations.
qint64 residentBytes()
{
    QFile file(u"/proc/self/smaps"_s);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    qint64 bytes = 0;
    bool isWanted = false;
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.contains("libQt6Core.so"))
            isWanted = line.contains(" r--p 00000000 ");
        else if (line.contains(" r") && line.contains('-') && line.contains(":") && line.contains('/'))
            isWanted = false;
        else if (isWanted && line.startsWith("Rss:"))
            bytes += line.sliced(4).chopped(3).trimmed().toLongLong() * 1024;
    }
    return bytes;
}

/// The list of the relocations of Qt's core.
QByteArrayView relocations()
{
    QByteArrayView found;
    dl_iterate_phdr(
        [](dl_phdr_info* object, size_t, void* result) {
            if (!QByteArrayView(object->dlpi_name).contains("libQt6Core.so"))
                return 0;
            const char* begin = nullptr;
            qsizetype size = 0;
            for (int index = 0; index < object->dlpi_phnum; ++index) {
                const ElfW(Phdr)& header = object->dlpi_phdr[index];
                if (header.p_type != PT_DYNAMIC)
                    continue;
                for (auto entry = reinterpret_cast<const ElfW(Dyn)*>(object->dlpi_addr + header.p_vaddr);
                     entry->d_tag != DT_NULL; ++entry) {
                    if (entry->d_tag == DT_RELA)
                        begin = reinterpret_cast<const char*>(entry->d_un.d_ptr);
                    if (entry->d_tag == DT_RELASZ)
                        size = static_cast<qsizetype>(entry->d_un.d_val);
                }
            }
            *static_cast<QByteArrayView*>(result) = QByteArrayView(begin, size);
            return 1;
        },
        &found);
    return found;
}

TEST(LoaderPages, LeaveTheMemoryAndAreReadAgainFromTheFile)
{
    const QByteArrayView list = relocations();
    ASSERT_GT(list.size(), 64 * 1024);
    const QByteArray before = list.toByteArray();
    const qint64 residentBefore = residentBytes();
    LoaderPages::release();
    EXPECT_LE(residentBytes(), residentBefore - list.size() + 2 * 4096);
    EXPECT_EQ(list.toByteArray(), before);
    LoaderPages::release();
    EXPECT_EQ(list.toByteArray(), before) << "done twice";
}

} // namespace
} // namespace Larkhaven
