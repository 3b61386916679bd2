#include "store/MailCache.h"

#include "platform/AtomicFile.h"
#include "platform/FolderEntries.h"
#include "platform/RegularFile.h"
#include "platform/Tasks.h"
#include "store/SealedLog.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <map>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

QString hexName(const QString& text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha256).toHex());
}

/// Creates a folder and those above it, for the owner alone.
bool makePath(const QString& path)
{
    if (QFileInfo(path).isDir())
        return true;
    const QString parent = QFileInfo(path).path();
    if (parent == path || !makePath(parent))
        return false;
    return QDir().mkdir(path, ownerOnly) || QFileInfo(path).isDir();
}

/// Keeps backup programs away (bford.info/cachedir).
void excludeFromBackup(const QString& directory)
{
    AtomicFile::write(directory + u"/CACHEDIR.TAG"_s, "Signature: 8a477f597d28d172789f06886806bc55\n",
                      AtomicFile::Durability::none);
}

std::optional<QByteArray> sealedOrNothing(const CacheCipher& cipher, const QByteArray& data)
{
    try {
        return cipher.seal(data);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<QByteArray> openedOrNothing(const CacheCipher& cipher, const QByteArray& box)
{
    try {
        return cipher.open(box);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace

/// The file work, which one thread at a time does.
class MailCache::Files {
public:
    Files(QString directory, std::shared_ptr<const CacheCipher> cipher, qint64 maxBytes)
        : m_directory(std::move(directory))
        , m_messages(m_directory + u"/messages"_s)
        , m_cipher(std::move(cipher))
        , m_maxBytes(maxBytes)
    {}

    std::optional<QByteArray> read(const QString& key) const
    {
        QFile file;
        const std::optional<QByteArray> plaintext = readSealed(file, messagePath(key));
        // The time of the last reading is what eviction goes by.
        if (plaintext)
            file.setFileTime(QDateTime::currentDateTimeUtc(), QFileDevice::FileModificationTime);
        return plaintext;
    }

    void write(const QString& key, const QByteArray& data)
    {
        if (m_isRetired)
            return;
        const std::optional<QByteArray> box = sealedOrNothing(*m_cipher, data);
        if (!box)
            return;
        const QString path = messagePath(key);
        const qint64 total = usedBytes();
        const qint64 oldSize = QFileInfo(path).size();
        if (!writeMessage(path, *box))
            return;
        m_totalBytes = total - oldSize + box->size();
        if (*m_totalBytes > m_maxBytes)
            evict();
    }

    void remove(const QString& key)
    {
        QFile::remove(messagePath(key));
        m_totalBytes.reset();
    }

    qint64 usedBytes()
    {
        if (!m_totalBytes) {
            qint64 sum = 0;
            for (const FolderEntry& entry : FolderEntry::of(m_messages))
                sum += entry.size;
            m_totalBytes = sum;
        }
        return *m_totalBytes;
    }

    std::optional<QByteArray> readSnapshot(const QString& name) const
    {
        QFile file;
        return readSealed(file, snapshotPath(name));
    }

    void writeSnapshot(const QString& name, const QByteArray& data) const
    {
        if (m_isRetired)
            return;
        const std::optional<QByteArray> box = sealedOrNothing(*m_cipher, data);
        if (box && ensureDirectory(m_directory))
            AtomicFile::write(snapshotPath(name), *box, AtomicFile::Durability::synced);
    }

    void removeSnapshot(const QString& name) const { QFile::remove(snapshotPath(name)); }

    Log readLog(const QString& name)
    {
        OwnedLog& log = logOf(name);
        log.owner = ++m_owners;
        return {log.owner, m_isRetired ? QList<QByteArray>() : log.file.read(fileLimit)};
    }

    void updateLog(const QString& name, quint64 owner, const QByteArray& change,
                   const std::function<QByteArray()>& whole)
    {
        OwnedLog& log = logOf(name);
        if (m_isRetired || log.owner != owner || (!change.isEmpty() && log.file.append(change)))
            return;
        if (ensureDirectory(m_directory) && log.file.replace(whole()))
            removeSnapshot(name);
    }

    void removeAll()
    {
        QDir(m_directory).removeRecursively();
        m_totalBytes = 0;
        m_logs.clear();
    }

    void retire()
    {
        m_isRetired = true;
        removeAll();
    }

private:
    QString messagePath(const QString& key) const { return m_messages + u'/' + hexName(key); }
    QString snapshotPath(const QString& name) const
    {
        return m_directory + u'/' + hexName(u"snapshot:"_s + name);
    }

    struct OwnedLog {
        SealedLog file;
        quint64 owner = 0; ///< 0: nobody
    };

    OwnedLog& logOf(const QString& name)
    {
        const auto known = m_logs.find(name);
        if (known != m_logs.end())
            return known->second;
        const QString path = m_directory + u'/' + hexName(u"log:"_s + name);
        return m_logs.emplace(name, OwnedLog{SealedLog(path, m_cipher)}).first->second;
    }

    std::optional<QByteArray> readSealed(QFile& file, const QString& path) const
    {
        if (m_isRetired || !RegularFile::open(file, path) || file.size() > fileLimit)
            return std::nullopt;
        return openedOrNothing(*m_cipher, file.readAll());
    }

    /// What a power failure leaves of a box isn't opened, and the message is fetched again.
    bool writeMessage(const QString& path, const QByteArray& box) const
    {
        const auto write = [&path, &box] {
            return AtomicFile::write(path, box, AtomicFile::Durability::none);
        };
        // The folder is there but for the first message.
        return write() || (!QFileInfo::exists(m_messages) && ensureDirectory(m_messages) && write());
    }

    bool ensureDirectory(const QString& path) const
    {
        if (QFileInfo::exists(path))
            return true;
        if (!makePath(path))
            return false;
        excludeFromBackup(m_directory);
        return true;
    }

    void evict()
    {
        qint64 total = usedBytes();
        QList<FolderEntry> oldestFirst = FolderEntry::of(m_messages);
        std::ranges::stable_sort(oldestFirst, {}, &FolderEntry::modified);
        const qint64 target = m_maxBytes * 8 / 10;
        for (const FolderEntry& entry : oldestFirst) {
            if (total <= target)
                break;
            QFile::remove(entry.path);
            total -= entry.size;
        }
        m_totalBytes = total;
    }

    const QString m_directory;
    const QString m_messages;
    const std::shared_ptr<const CacheCipher> m_cipher;
    const qint64 m_maxBytes;
    std::optional<qint64> m_totalBytes; ///< absent: counted on next need
    std::map<QString, OwnedLog> m_logs;
    quint64 m_owners = 0; ///< how many there were
    bool m_isRetired = false;
};

MailCache::MailCache(QString directory, std::shared_ptr<const CacheCipher> cipher, qint64 maxBytes)
    : m_files(std::make_shared<Files>(std::move(directory), std::move(cipher), maxBytes))
{
    m_worker.setMaxThreadCount(1);
}

MailCache::~MailCache()
{
    m_worker.waitForDone();
}

Task<std::optional<QByteArray>> MailCache::read(QString key)
{
    return runOn(&m_worker, [files = m_files, key = std::move(key)] { return files->read(key); });
}

Task<> MailCache::write(QString key, QByteArray data)
{
    return runOn(&m_worker, [files = m_files, key = std::move(key), data = std::move(data)] {
        files->write(key, data);
    });
}

Task<> MailCache::remove(QString key)
{
    return runOn(&m_worker, [files = m_files, key = std::move(key)] { files->remove(key); });
}

Task<qint64> MailCache::usedBytes()
{
    return runOn(&m_worker, [files = m_files] { return files->usedBytes(); });
}

Task<std::optional<QByteArray>> MailCache::readSnapshot(QString name)
{
    return runOn(&m_worker, [files = m_files, name = std::move(name)] { return files->readSnapshot(name); });
}

Task<> MailCache::writeSnapshot(QString name, QByteArray data)
{
    return runOn(&m_worker, [files = m_files, name = std::move(name), data = std::move(data)] {
        files->writeSnapshot(name, data);
    });
}

Task<> MailCache::makeSnapshot(QString name, std::function<QByteArray()> make)
{
    return runOn(&m_worker, [files = m_files, name = std::move(name), make = std::move(make)] {
        files->writeSnapshot(name, make());
    });
}

Task<> MailCache::removeSnapshot(QString name)
{
    return runOn(&m_worker, [files = m_files, name = std::move(name)] { files->removeSnapshot(name); });
}

Task<MailCache::Log> MailCache::readLog(QString name)
{
    return runOn(&m_worker, [files = m_files, name = std::move(name)] { return files->readLog(name); });
}

void MailCache::updateLog(QString name, quint64 owner, QByteArray change, std::function<QByteArray()> whole)
{
    m_worker.start([files = m_files, name = std::move(name), owner, change = std::move(change),
                    whole = std::move(whole)] { files->updateLog(name, owner, change, whole); });
}

Task<> MailCache::removeAll()
{
    return runOn(&m_worker, [files = m_files] { files->removeAll(); });
}

Task<> MailCache::retire()
{
    return runOn(&m_worker, [files = m_files] { files->retire(); });
}

} // namespace Larkhaven
