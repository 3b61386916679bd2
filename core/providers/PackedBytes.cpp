#include "providers/PackedBytes.h"

#include "domain/Coding.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {

quint8 PackedReader::byte()
{
    if (m_rest.isEmpty())
        throw Coding::unreadable("bytes"_L1);
    const auto value = static_cast<quint8>(m_rest.front());
    m_rest = m_rest.sliced(1);
    return value;
}

quint64 PackedReader::number()
{
    quint64 value = 0;
    for (int shift = 0; shift < 64; shift += 7) {
        const quint8 next = byte();
        value |= static_cast<quint64>(next & 0x7F) << shift;
        if (next < 0x80)
            return value;
    }
    throw Coding::unreadable("number"_L1);
}

QByteArrayView PackedReader::bytes()
{
    const qsizetype size = count();
    const QByteArrayView value = m_rest.first(size);
    m_rest = m_rest.sliced(size);
    return value;
}

qsizetype PackedReader::count()
{
    const quint64 value = number();
    if (value > static_cast<quint64>(m_rest.size()))
        throw Coding::unreadable("count"_L1);
    return static_cast<qsizetype>(value);
}

} // namespace Larkhaven
