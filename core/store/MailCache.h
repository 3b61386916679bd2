#pragma once

#include "domain/MailProvider.h"
#include "store/CacheCipher.h"

#include <QByteArray>
#include <QString>
#include <QThreadPool>

#include <functional>
#include <memory>
#include <optional>

namespace Larkhaven {

/// The sealed files of one account: raw messages by key, and provider snapshots by name.
///
/// File contents are boxes of the cipher, and logs of them (`SealedLog`); file names are SHA-256 digests (64
/// lower-case hexadecimal digits) of the key, or of "snapshot:" or "log:" and the name, so that neither can
/// be read off the disk. Messages lie in "messages" below the directory and count towards the limit; when
/// they pass it, those that were not read for longest go until 80% of it are left. Snapshots and logs lie in
/// the directory itself and are never evicted.
///
/// The cache may vanish at any time: a failed read is a miss, a failed write is dropped, nothing is ever
/// reported. What isn't a regular file at the place of one is a miss too.
///
/// Operations are called on the main thread and run one at a time, in the order of their calls, on a worker
/// of the cache's own. A cache may be dropped while they run: its destructor waits for those that have begun.
class MailCache {
public:
    /// Files above this size in bytes are a miss (1 GiB): whatever lies there must not fill the memory.
    static constexpr qint64 fileLimit = 0x40000000;

    /// Touches no file. `maxBytes` bounds the sum of the sizes of the message files.
    MailCache(QString directory, std::shared_ptr<const CacheCipher> cipher, qint64 maxBytes);
    ~MailCache();
    MailCache(const MailCache&) = delete;
    MailCache& operator=(const MailCache&) = delete;

    Task<std::optional<QByteArray>> read(QString key);
    Task<> write(QString key, QByteArray data);
    Task<> remove(QString key);
    /// The sum of the sizes of the message files in bytes; counted when it isn't known.
    Task<qint64> usedBytes();
    Task<std::optional<QByteArray>> readSnapshot(QString name);
    Task<> writeSnapshot(QString name, QByteArray data);
    /// As `writeSnapshot`, with bytes that are made on the worker of the cache.
    Task<> makeSnapshot(QString name, std::function<QByteArray()> make);
    Task<> removeSnapshot(QString name);
    /// What is stored of a log, and the right to go on with it.
    struct Log {
        quint64 owner = 0;
        QList<QByteArray> records; ///< from its start; empty where there is none
    };
    /// Whoever reads a log is its one owner from then on, until it is read again or `removeAll` is called:
    /// another provider of the account, or of another server behind it, mustn't find rows of the one before.
    Task<Log> readLog(QString name);
    /// Adds a record to the log of the owner, or replaces it by the one record that `whole` makes on the
    /// worker of the cache: where `change` is empty, where there is nothing to add to, and where the log has
    /// grown to a multiple of what it was. A snapshot of the name goes once there is a log. Nobody waits for
    /// it: the destructor does.
    void updateLog(QString name, quint64 owner, QByteArray change, std::function<QByteArray()> whole);
    /// Deletes everything of the account. A later write makes the folders again.
    Task<> removeAll();
    /// The same for good, for an account that is removed: every later write is dropped and every read is a
    /// miss, so that what is still being fetched doesn't bring the folder back.
    Task<> retire();

private:
    class Files;

    /// Shared with the operations under way.
    std::shared_ptr<Files> m_files;
    QThreadPool m_worker;
};

} // namespace Larkhaven
