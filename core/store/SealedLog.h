#pragma once

#include "store/CacheCipher.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>

namespace Larkhaven {

/// A file of sealed records, to which a small change is added without writing the rest anew.
///
/// Each record stands as the size of its box (4 bytes, little-endian) and the box. In the box, before the
/// record itself, are the log's identity (16 random bytes, fresh with each replacement) and the record's
/// number (8 bytes, little-endian, from 0), so that whoever can write to the disk can neither reorder records
/// nor mix those of two logs. The log ends before the first record that is cut off, changed or out of its
/// place.
///
/// Makes no folder and reports no failure beyond its results. One thread at a time.
class SealedLog {
public:
    /// A log is to be replaced, not added to, when it would be more than twice as large as after the last
    /// replacement, and larger than this many bytes: so the bytes that are written in all stay within twice
    /// those of the changes.
    static constexpr qint64 smallest = 256 * 1024;

    /// Touches no file.
    SealedLog(QString path, std::shared_ptr<const CacheCipher> cipher);

    /// The records from the start; empty where there is no log. Files larger than `limit` bytes are none.
    QList<QByteArray> read(qint64 limit);
    /// Adds a record. False where there is nothing to add to, where the log is to be replaced, and where it
    /// can't be written; then the log is as it was, or without a part of its end.
    bool append(const QByteArray& record);
    /// Puts a log of this one record in the place of whatever is there, or leaves that as it is: false.
    bool replace(const QByteArray& record);

private:
    QByteArray sealed(const QByteArray& record, quint64 number) const;

    const QString m_path;
    const std::shared_ptr<const CacheCipher> m_cipher;
    QByteArray m_identity;
    quint64 m_count = 0;   ///< records
    qint64 m_size = 0;     ///< bytes of the whole records; 0: there is nothing to add to
    qint64 m_baseSize = 0; ///< bytes of the first record
};

} // namespace Larkhaven
