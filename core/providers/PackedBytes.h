#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <algorithm>
#include <utility>

namespace Larkhaven {

/// Writes numbers and texts one behind the other, in few bytes. `PackedReader` reads them in the same order.
class PackedWriter {
public:
    void byte(quint8 value) { *room(1) = static_cast<char>(value); }
    /// Seven bits a byte, the lowest first; the last byte lacks the highest bit.
    void number(quint64 value)
    {
        for (; value >= 0x80; value >>= 7)
            byte(static_cast<quint8>(value | 0x80));
        byte(static_cast<quint8>(value));
    }
    /// Such that small ones of both signs are short.
    void signedNumber(qint64 value)
    {
        number((static_cast<quint64>(value) << 1) ^ static_cast<quint64>(value >> 63));
    }
    void bytes(QByteArrayView value)
    {
        number(static_cast<quint64>(value.size()));
        std::copy_n(value.data(), value.size(), room(value.size()));
    }
    /// As UTF-8.
    void text(QStringView value) { bytes(value.toUtf8()); }

    /// What was written, in no more memory than it takes. Nothing is written after it.
    QByteArray result()
    {
        m_bytes.truncate(m_size);
        m_bytes.squeeze();
        return m_bytes;
    }
    void reserve(qsizetype size) { m_bytes.resize(std::max(m_bytes.size(), size)); }

private:
    /// The place of the next bytes. What QByteArray appends with is a call for each byte, and took half of
    /// the time in which a mailbox is written.
    char* room(qsizetype count)
    {
        constexpr qsizetype smallest = 64;
        if (m_bytes.size() - m_size < count)
            m_bytes.resize(std::max({m_size + count, 2 * m_bytes.size(), smallest}));
        return m_bytes.data() + std::exchange(m_size, m_size + count);
    }

    QByteArray m_bytes;
    qsizetype m_size = 0; ///< of what was written
};

/// Reads what `PackedWriter` wrote. Each read fails with `DecodingError` where the bytes end before it does.
/// The bytes are kept by the caller.
class PackedReader {
public:
    explicit PackedReader(QByteArrayView bytes)
        : m_rest(bytes)
    {}

    bool atEnd() const { return m_rest.isEmpty(); }
    quint8 byte();
    quint64 number();
    qint64 signedNumber()
    {
        const quint64 value = number();
        return static_cast<qint64>(value >> 1) ^ -static_cast<qint64>(value & 1);
    }
    /// A part of the bytes that are read.
    QByteArrayView bytes();
    QString text() { return QString::fromUtf8(bytes()); }
    /// How many items follow, each of which takes at least one byte.
    qsizetype count();

private:
    QByteArrayView m_rest;
};

} // namespace Larkhaven
