#include "store/SealedLog.h"

#include "platform/AtomicFile.h"
#include "platform/RandomBytes.h"
#include "platform/RegularFile.h"

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <exception>
#include <limits>

namespace Larkhaven {

namespace {

constexpr qsizetype prefixSize = sizeof(quint32);
constexpr qsizetype identitySize = 16;
constexpr qsizetype headSize = identitySize + sizeof(quint64);

} // namespace

SealedLog::SealedLog(QString path, std::shared_ptr<const CacheCipher> cipher)
    : m_path(std::move(path))
    , m_cipher(std::move(cipher))
{}

/// The prefix and the box; empty where it can't be sealed.
QByteArray SealedLog::sealed(const QByteArray& record, quint64 number) const
{
    QByteArray plaintext;
    plaintext.reserve(headSize + record.size());
    plaintext += m_identity;
    const quint64 littleEndian = qToLittleEndian(number);
    plaintext.append(reinterpret_cast<const char*>(&littleEndian), sizeof littleEndian);
    plaintext += record;
    try {
        const QByteArray box = m_cipher->seal(plaintext);
        if (box.size() > std::numeric_limits<quint32>::max())
            return {};
        const quint32 size = qToLittleEndian(static_cast<quint32>(box.size()));
        return QByteArray(reinterpret_cast<const char*>(&size), sizeof size) + box;
    } catch (const std::exception&) {
        return {};
    }
}

QList<QByteArray> SealedLog::read(qint64 limit)
{
    m_count = 0;
    m_size = 0;
    QFile file;
    if (!RegularFile::open(file, m_path) || file.size() > limit)
        return {};
    const QByteArray bytes = file.readAll();
    QList<QByteArray> records;
    qsizetype at = 0;
    while (bytes.size() - at >= prefixSize) {
        const quint32 size = qFromLittleEndian<quint32>(bytes.constData() + at);
        if (size > bytes.size() - at - prefixSize)
            break;
        QByteArray plaintext;
        try {
            plaintext = m_cipher->open(bytes.sliced(at + prefixSize, size));
        } catch (const std::exception&) {
            break;
        }
        if (plaintext.size() < headSize ||
            qFromLittleEndian<quint64>(plaintext.constData() + identitySize) != m_count)
            break;
        if (m_count == 0)
            m_identity = plaintext.first(identitySize);
        else if (!plaintext.startsWith(m_identity))
            break;
        records.append(plaintext.sliced(headSize));
        at += prefixSize + size;
        if (m_count == 0)
            m_baseSize = at;
        ++m_count;
    }
    m_size = at;
    return records;
}

bool SealedLog::append(const QByteArray& record)
{
    if (m_size == 0)
        return false;
    const QByteArray bytes = sealed(record, m_count);
    if (bytes.isEmpty() || m_size + bytes.size() > std::max(2 * m_baseSize, smallest))
        return false;
    QFile file;
    // A process that was killed, or a disk that was full, may have left the start of a record.
    if (!RegularFile::openToAppend(file, m_path) || file.size() < m_size ||
        (file.size() > m_size && !file.resize(m_size)))
        return false;
    if (file.write(bytes) != bytes.size()) {
        file.resize(m_size);
        return false;
    }
    m_size += bytes.size();
    ++m_count;
    return true;
}

bool SealedLog::replace(const QByteArray& record)
{
    // Whatever happens now, what is on the disk lacks this change, and nothing may be added to it.
    m_size = 0;
    const std::optional<QByteArray> identity = randomBytes(identitySize);
    if (!identity)
        return false;
    m_identity = *identity;
    const QByteArray bytes = sealed(record, 0);
    if (bytes.isEmpty())
        return false;
    if (!AtomicFile::write(m_path, bytes, AtomicFile::Durability::synced))
        return false;
    m_size = bytes.size();
    m_baseSize = m_size;
    m_count = 1;
    return true;
}

} // namespace Larkhaven
