#pragma once

#include <QByteArray>

namespace Larkhaven {

/// The sum of RFC 1952, section 8.
inline quint32 crc32(const QByteArray& bytes)
{
    quint32 sum = 0xffffffff;
    for (const char byte : bytes) {
        sum ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ (sum % 2 == 1 ? 0xedb88320 : 0);
    }
    return ~sum;
}

/// A member of a gzip file (RFC 1952, section 2.3).
inline QByteArray zipped(const QByteArray& bytes)
{
    // Qt puts a length and the frame of RFC 1950 around what both have in common.
    QByteArray result =
        QByteArray("\x1f\x8b\x08\0\0\0\0\0\0\xff", 10) + qCompress(bytes, 9).sliced(6).chopped(4);
    for (const quint32 number : {crc32(bytes), static_cast<quint32>(bytes.size())}) {
        for (const int shift : {0, 8, 16, 24})
            result += static_cast<char>(number >> shift);
    }
    return result;
}

} // namespace Larkhaven
