#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace Larkhaven {

/// Writes numbers and texts one behind the other, in few bytes. `PackedReader` reads them in the same order.
class PackedWriter {
public:
    void byte(quint8 value) { m_bytes += static_cast<char>(value); }
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
        m_bytes += value;
    }
    /// As UTF-8.
    void text(QStringView value) { bytes(value.toUtf8()); }

    const QByteArray& result() const { return m_bytes; }
    void reserve(qsizetype size) { m_bytes.reserve(size); }

private:
    QByteArray m_bytes;
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
