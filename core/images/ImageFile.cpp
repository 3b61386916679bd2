#include "images/ImageFile.h"

#include <QtEndian>

#include <algorithm>
#include <limits>

namespace Larkhaven::ImageFile {

namespace {

/// Reads numbers out of bytes, which may end anywhere: what lies behind their end is 0.
class Bytes {
public:
    explicit Bytes(QByteArrayView bytes)
        : m_bytes(bytes)
    {}

    qsizetype size() const { return m_bytes.size(); }
    bool has(qsizetype offset, qsizetype count) const
    {
        return offset >= 0 && count >= 0 && offset <= size() && count <= size() - offset;
    }
    bool hasText(qsizetype offset, QByteArrayView text) const
    {
        return has(offset, text.size()) && m_bytes.sliced(offset, text.size()) == text;
    }
    /// `count` bytes, as far as there are any.
    Bytes part(qsizetype offset, qint64 count) const
    {
        if (!has(offset, 0) || count <= 0)
            return Bytes({});
        return Bytes(
            m_bytes.sliced(offset, static_cast<qsizetype>(std::min<qint64>(count, size() - offset))));
    }

    quint8 byte(qsizetype offset) const { return has(offset, 1) ? static_cast<quint8>(m_bytes[offset]) : 0; }
    quint16 big16(qsizetype offset) const { return big<quint16>(offset); }
    quint32 big32(qsizetype offset) const { return big<quint32>(offset); }
    quint64 big64(qsizetype offset) const { return big<quint64>(offset); }
    quint16 little16(qsizetype offset) const { return little<quint16>(offset); }
    quint32 little32(qsizetype offset) const { return little<quint32>(offset); }
    quint32 little24(qsizetype offset) const
    {
        constexpr int shift = 16;
        return little16(offset) | static_cast<quint32>(byte(offset + 2)) << shift;
    }

private:
    template <typename T>
    T big(qsizetype offset) const
    {
        return has(offset, sizeof(T)) ? qFromBigEndian<T>(m_bytes.data() + offset) : T(0);
    }
    template <typename T>
    T little(qsizetype offset) const
    {
        return has(offset, sizeof(T)) ? qFromLittleEndian<T>(m_bytes.data() + offset) : T(0);
    }

    QByteArrayView m_bytes;
};

/// The largest of each side.
void widen(Size& size, const Size& other)
{
    size.width = std::max(size.width, other.width);
    size.height = std::max(size.height, other.height);
}

/// PNG, 11.2.2: the first chunk is IHDR. Pictures of an animation lie within it.
Size pngSize(const Bytes& file)
{
    constexpr qsizetype nameAt = 12;
    if (!file.hasText(nameAt, "IHDR"))
        return {};
    return {file.big32(nameAt + 4), file.big32(nameAt + 8)};
}

/// ITU T.81, B.1 and B.2.2: segments up to the first frame header. Those of a hierarchy repeat it.
Size jpegSize(const Bytes& file)
{
    constexpr quint8 mark = 0xFF;
    constexpr quint8 firstFrame = 0xC0;
    constexpr quint8 lastFrame = 0xCF;
    constexpr quint8 huffmanTables = 0xC4;
    constexpr quint8 extension = 0xC8;
    constexpr quint8 arithmeticTables = 0xCC;
    constexpr quint8 firstAlone = 0xD0;
    constexpr quint8 lastAlone = 0xD9;
    constexpr quint8 scan = 0xDA;
    qsizetype at = 2;
    while (file.has(at, 4)) {
        if (file.byte(at) != mark) {
            ++at;
            continue;
        }
        const quint8 kind = file.byte(at + 1);
        if (kind == mark) {
            ++at;
        } else if (kind <= 1 || (kind >= firstAlone && kind <= lastAlone)) {
            at += 2;
        } else if (kind >= firstFrame && kind <= lastFrame && kind != huffmanTables && kind != extension &&
                   kind != arithmeticTables) {
            constexpr qsizetype heightAt = 5;
            return {file.big16(at + heightAt + 2), file.big16(at + heightAt)};
        } else if (kind == scan) {
            break;
        } else {
            at += 2 + std::max<qsizetype>(2, file.big16(at + 2));
        }
    }
    return {};
}

/// The offset behind the sub-blocks that begin here (GIF89a, 15).
qsizetype behindBlocks(const Bytes& file, qsizetype at)
{
    while (file.byte(at) != 0)
        at += 1 + file.byte(at);
    return at + 1;
}

qsizetype colorTable(quint8 flags)
{
    constexpr quint8 isThere = 0x80;
    constexpr quint8 size = 0x07;
    return (flags & isThere) != 0 ? 3 * (qsizetype{2} << (flags & size)) : 0;
}

/// GIF89a, 18 and 20: the screen, and every picture, since decoders enlarge the one for the other.
Size gifSize(const Bytes& file)
{
    constexpr qsizetype screenAt = 6;
    constexpr qsizetype flagsAt = 10;
    constexpr qsizetype header = 13;
    constexpr quint8 extension = 0x21;
    constexpr quint8 picture = 0x2C;
    Size size{file.little16(screenAt), file.little16(screenAt + 2)};
    qsizetype at = header + colorTable(file.byte(flagsAt));
    while (file.has(at, 2)) {
        if (file.byte(at) == extension) {
            at = behindBlocks(file, at + 2);
        } else if (file.byte(at) == picture) {
            constexpr qsizetype descriptor = 10;
            widen(size, {file.little16(at + 1) + qint64{file.little16(at + 5)},
                         file.little16(at + 3) + qint64{file.little16(at + 7)}});
            // Behind the colours stands how long the first codes are.
            at = behindBlocks(file, at + descriptor + colorTable(file.byte(at + descriptor - 1)) + 1);
        } else {
            break;
        }
    }
    return size;
}

/// The RIFF container of WebP: every picture of it, and the canvas of the extended format (RFC 9649).
Size webpSize(const Bytes& file)
{
    constexpr qsizetype firstChunk = 12;
    constexpr qsizetype chunkHeader = 8;
    constexpr qsizetype frameHeader = 16;
    constexpr quint32 side = 0x3FFF;
    Size size;
    qsizetype at = firstChunk;
    while (file.has(at, chunkHeader)) {
        const qsizetype data = at + chunkHeader;
        const qint64 length = file.little32(at + 4);
        if (file.hasText(at, "VP8X")) {
            widen(size, {qint64{file.little24(data + 4)} + 1, qint64{file.little24(data + 7)} + 1});
        } else if (file.hasText(at, "VP8 ")) {
            widen(size, {qint64{file.little16(data + 6) & side}, qint64{file.little16(data + 8) & side}});
        } else if (file.hasText(at, "VP8L")) {
            constexpr int bits = 14;
            const quint32 sides = file.little32(data + 1);
            widen(size, {qint64{sides & side} + 1, qint64{sides >> bits & side} + 1});
        } else if (file.hasText(at, "ANMF")) {
            const qint64 left = 2 * qint64{file.little24(data)};
            const qint64 top = 2 * qint64{file.little24(data + 3)};
            widen(size, {left + file.little24(data + 6) + 1, top + file.little24(data + 9) + 1});
            // Its own chunks come next.
            at = data + frameHeader;
            continue;
        }
        if (length > file.size())
            break;
        at = data + static_cast<qsizetype>(length + length % 2);
    }
    return size;
}

/// The boxes of the ISO base media format (ISO/IEC 14496-12, 4.2) in which sizes stand, and which hold such:
/// of pictures ("ispe", ISO/IEC 23008-12, 6.5.3) and of tracks ("tkhd").
void widenByBoxes(Size& size, const Bytes& boxes, int depth)
{
    constexpr int deepest = 8;
    constexpr qsizetype header = 8;
    qsizetype at = 0;
    while (depth < deepest && boxes.has(at, header)) {
        qint64 length = boxes.big32(at);
        qsizetype data = at + header;
        if (length == 1) {
            length =
                static_cast<qint64>(std::min<quint64>(boxes.big64(data), std::numeric_limits<qint64>::max()));
            data += header;
        } else if (length == 0) {
            length = boxes.size() - at;
        }
        if (length < data - at)
            return;
        const Bytes content = boxes.part(data, length - (data - at));
        constexpr qsizetype version = 4;
        if (boxes.hasText(at + 4, "ispe")) {
            widen(size, {content.big32(version), content.big32(version + 4)});
        } else if (boxes.hasText(at + 4, "tkhd")) {
            constexpr int fraction = 16;
            const qsizetype end = content.size();
            widen(size, {content.big32(end - 8) >> fraction, content.big32(end - 4) >> fraction});
        } else if (boxes.hasText(at + 4, "meta")) {
            widenByBoxes(size, content.part(version, content.size()), depth + 1);
        } else if (boxes.hasText(at + 4, "iprp") || boxes.hasText(at + 4, "ipco") ||
                   boxes.hasText(at + 4, "moov") || boxes.hasText(at + 4, "trak")) {
            widenByBoxes(size, content, depth + 1);
        }
        if (length > boxes.size() - at)
            return;
        at += static_cast<qsizetype>(length);
    }
}

/// One of the brands of the first box is AVIF's, for a picture or for a sequence (ISO/IEC 14496-12, 4.3).
bool isAvif(const Bytes& start)
{
    constexpr qsizetype nameAt = 4;
    constexpr qsizetype brandAt = 8;
    constexpr qsizetype versionAt = 12;
    if (!start.hasText(nameAt, "ftyp"))
        return false;
    const qint64 end = std::min<qint64>(start.big32(0), longestSignature);
    for (qsizetype at = brandAt; at < end; at += 4) {
        if (at != versionAt && (start.hasText(at, "avif") || start.hasText(at, "avis")))
            return true;
    }
    return false;
}

Size avifSize(const Bytes& file)
{
    Size size;
    widenByBoxes(size, file, 0);
    return size;
}

/// The core header has sides of 16 bits, all later ones have 32; one that is negative stands on its head.
Size bmpSize(const Bytes& file)
{
    constexpr qsizetype headerAt = 14;
    constexpr quint32 coreHeader = 12;
    constexpr qsizetype widthAt = headerAt + 4;
    if (file.little32(headerAt) == coreHeader)
        return {file.little16(widthAt), file.little16(widthAt + 2)};
    const auto side = [&file](qsizetype at) {
        return std::abs(qint64{static_cast<qint32>(file.little32(at))});
    };
    return {side(widthAt), side(widthAt + 4)};
}

} // namespace

std::optional<Format> format(QByteArrayView start)
{
    const Bytes bytes(start);
    constexpr qsizetype brandAt = 8;
    if (start.startsWith("\x89PNG\r\n\x1a\n"))
        return Format::png;
    if (start.startsWith("\xff\xd8\xff"))
        return Format::jpeg;
    if (start.startsWith("GIF87a") || start.startsWith("GIF89a"))
        return Format::gif;
    if (start.startsWith("RIFF") && bytes.hasText(brandAt, "WEBP"))
        return Format::webp;
    if (isAvif(bytes))
        return Format::avif;
    // Two letters are little: what follows must be a header.
    constexpr qsizetype reservedAt = 6;
    constexpr qsizetype headerAt = 14;
    constexpr quint32 shortest = 12;
    constexpr quint32 longest = 124;
    const bool isBitmap = start.startsWith("BM") && bytes.has(headerAt, 4) &&
                          bytes.little32(reservedAt) == 0 && bytes.little32(headerAt) >= shortest &&
                          bytes.little32(headerAt) <= longest;
    return isBitmap ? std::optional(Format::bmp) : std::nullopt;
}

QByteArray mediaType(Format format)
{
    switch (format) {
    case Format::png:
        return "image/png";
    case Format::jpeg:
        return "image/jpeg";
    case Format::gif:
        return "image/gif";
    case Format::webp:
        return "image/webp";
    case Format::avif:
        return "image/avif";
    case Format::bmp:
        return "image/bmp";
    }
    Q_UNREACHABLE();
}

std::optional<Size> size(Format format, QByteArrayView file)
{
    const auto read = [format](const Bytes& bytes) -> Size {
        switch (format) {
        case Format::png:
            return pngSize(bytes);
        case Format::jpeg:
            return jpegSize(bytes);
        case Format::gif:
            return gifSize(bytes);
        case Format::webp:
            return webpSize(bytes);
        case Format::avif:
            return avifSize(bytes);
        case Format::bmp:
            return bmpSize(bytes);
        }
        Q_UNREACHABLE();
    };
    const Size found = read(Bytes(file));
    return found.width > 0 && found.height > 0 ? std::optional(found) : std::nullopt;
}

} // namespace Larkhaven::ImageFile
