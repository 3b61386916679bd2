#include "images/ImageFile.h"

#include "support/QtPrinters.h"

#include <QBuffer>
#include <QtEndian>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using ImageFile::Format;
using ImageFile::Size;

QByteArray little(quint32 value, int bytes)
{
    QByteArray text(bytes, '\0');
    for (int index = 0; index < bytes; ++index)
        text[index] = static_cast<char>(value >> 8 * index & 0xff);
    return text;
}

QByteArray big(quint32 value, int bytes = 4)
{
    QByteArray text = little(value, bytes);
    std::reverse(text.begin(), text.end());
    return text;
}

QByteArray png(quint32 width, quint32 height)
{
    return "\x89PNG\r\n\x1a\n"_ba + big(13) + "IHDR" + big(width) + big(height) + "\x08\x06\0\0\0"_ba;
}

QByteArray jpeg(quint32 width, quint32 height, char frame = '\xc0')
{
    // A segment with something like a frame header in it, and a fill byte.
    return "\xff\xd8\xff\xe0\x00\x08\xff\xc0\0\0\0\0\xff\xff"_ba + QByteArray(1, frame) + "\x00\x11\x08"_ba +
           big(height, 2) + big(width, 2) + "\x03"_ba;
}

QByteArray gifPicture(quint32 left, quint32 top, quint32 width, quint32 height)
{
    return "\x21\xf9\x04\0\0\0\0\0"_ba + "," + little(left, 2) + little(top, 2) + little(width, 2) +
           little(height, 2) + "\x80\1\2\3\4\5\6"_ba + "\x02\x02\x44\x01\x00"_ba;
}

QByteArray gif(quint32 width, quint32 height, const QByteArray& pictures)
{
    return "GIF89a" + little(width, 2) + little(height, 2) + "\x80\0\0\1\2\3\4\5\6"_ba + pictures + ";";
}

QByteArray chunk(const QByteArray& name, const QByteArray& data)
{
    return name + little(static_cast<quint32>(data.size()), 4) + data + QByteArray(data.size() % 2, '\0');
}

QByteArray webp(const QByteArray& chunks)
{
    return "RIFF" + little(static_cast<quint32>(chunks.size() + 4), 4) + "WEBP" + chunks;
}

QByteArray box(const QByteArray& name, const QByteArray& content)
{
    return big(static_cast<quint32>(content.size() + 8)) + name + content;
}

QByteArray avif(quint32 width, quint32 height, const QByteArray& brands = "avif\0\0\0\0avifmif1"_ba)
{
    const QByteArray none = big(0);
    return box("ftyp", brands) +
           box("meta", none + box("hdlr", none + none) +
                           box("iprp", box("ipco", box("ispe", none + big(10) + big(10)) +
                                                       box("ispe", none + big(width) + big(height)))));
}

QByteArray bmp(quint32 width, quint32 height)
{
    return "BM" + little(70, 4) + little(0, 4) + little(54, 4) + little(40, 4) + little(width, 4) +
           little(height, 4) + little(1, 2) + little(24, 2);
}

void expectSize(const QByteArray& file, Format format, std::optional<Size> size)
{
    ASSERT_EQ(ImageFile::format(file), format);
    const std::optional<Size> found = ImageFile::size(format, file);
    EXPECT_EQ(found, size) << (found ? found->width : -1) << " x " << (found ? found->height : -1);
}

TEST(ImageFile, KnowsEachFormatByItsFirstBytesAndNoOther)
{
    EXPECT_EQ(ImageFile::format(png(1, 1)), Format::png);
    EXPECT_EQ(ImageFile::format(jpeg(1, 1)), Format::jpeg);
    EXPECT_EQ(ImageFile::format("GIF87a"), Format::gif);
    EXPECT_EQ(ImageFile::format("GIF89a"), Format::gif);
    EXPECT_EQ(ImageFile::format(webp({})), Format::webp);
    EXPECT_EQ(ImageFile::format(avif(1, 1)), Format::avif);
    EXPECT_EQ(ImageFile::format(avif(1, 1, "avis\0\0\0\0"_ba)), Format::avif);
    EXPECT_EQ(ImageFile::format(avif(1, 1, "mif1\0\0\0\0miafavif"_ba)), Format::avif);
    EXPECT_EQ(ImageFile::format(bmp(1, 1)), Format::bmp);
    for (const QByteArray& other : {""_ba, "<svg xmlns='http://www.w3.org/2000/svg'/>"_ba,
                                    "<?xml version='1.0'?><svg/>"_ba, "<!DOCTYPE html>"_ba, "%PDF-1.7"_ba,
                                    "\x1f\x8b\x08"_ba, "GIF88a"_ba, "RIFF....WAVEfmt "_ba, "RIFF....WEB"_ba,
                                    "\0\0\0\x18"
                                    "ftypmp42\0\0\0\0mp41isom"_ba,
                                    "\0\0\0\x10"
                                    "ftypmif1avif"_ba,
                                    "\0\0\0\x0c"
                                    "ftypmif1\0\0\0\0avif"_ba,
                                    "BM and more letters of a text that goes on"_ba,
                                    "\0\0\0\x18"
                                    "stypavif\0\0\0\0avif"_ba,
                                    "BM" + little(70, 4) + little(0, 4) + little(54, 4) + little(125, 4),
                                    "\x89PNG\r\n\x1a"_ba, "\xff\xd8"_ba, "\0\0\1\0\1\0"_ba, "II*\0"_ba})
        EXPECT_EQ(ImageFile::format(other), std::nullopt) << other.toHex().toStdString();
}

TEST(ImageFile, NamesTheTypeOfEachFormat)
{
    EXPECT_EQ(ImageFile::mediaType(Format::png), "image/png");
    EXPECT_EQ(ImageFile::mediaType(Format::jpeg), "image/jpeg");
    EXPECT_EQ(ImageFile::mediaType(Format::gif), "image/gif");
    EXPECT_EQ(ImageFile::mediaType(Format::webp), "image/webp");
    EXPECT_EQ(ImageFile::mediaType(Format::avif), "image/avif");
    EXPECT_EQ(ImageFile::mediaType(Format::bmp), "image/bmp");
}

TEST(ImageFile, ReadsTheSizeThatADecoderWouldMakeRoomFor)
{
    expectSize(png(70000, 80000), Format::png, Size{70000, 80000});
    expectSize(jpeg(640, 480), Format::jpeg, Size{640, 480});
    expectSize(jpeg(640, 480, '\xc2'), Format::jpeg, Size{640, 480});
    expectSize(jpeg(640, 480, '\xc4'), Format::jpeg, std::nullopt);
    expectSize(webp(chunk("VP8X", "\x10\0\0\0"_ba + little(99999, 3) + little(49999, 3))), Format::webp,
               Size{100000, 50000});
    expectSize(webp(chunk("VP8 ", "\0\0\0\x9d\x01\x2a"_ba + little(0x4000 | 300, 2) + little(200, 2))),
               Format::webp, Size{300, 200});
    expectSize(webp(chunk("VP8L", "\x2f"_ba + little(1199 | 699U << 14, 4))), Format::webp, Size{1200, 700});
    expectSize(webp(chunk("ICCP", "odd") + chunk("VP8L", "\x2f"_ba + little(9, 4))), Format::webp,
               Size{10, 1});
    expectSize(avif(5000, 6000), Format::avif, Size{5000, 6000});
    expectSize(avif(5, 6), Format::avif, Size{10, 10});
    expectSize(bmp(3, 4), Format::bmp, Size{3, 4});
    expectSize(bmp(3, static_cast<quint32>(-4)), Format::bmp, Size{3, 4});
    expectSize("BM" + little(70, 4) + little(0, 4) + little(26, 4) + little(12, 4) + little(5, 2) +
                   little(6, 2),
               Format::bmp, Size{5, 6});
}

TEST(ImageFile, CountsPicturesThatReachBeyondTheirCanvas)
{
    expectSize(gif(10, 10, gifPicture(0, 0, 10, 10)), Format::gif, Size{10, 10});
    expectSize(gif(10, 10, gifPicture(0, 0, 5, 5) + gifPicture(60000, 7, 5000, 6)), Format::gif,
               Size{65000, 13});
    expectSize(webp(chunk("VP8X", "\x02\0\0\0"_ba + little(9, 3) + little(9, 3)) + chunk("ANIM", "123456") +
                    chunk("ANMF", little(100, 3) + little(50, 3) + little(0, 3) + little(0, 3) + "1234" +
                                      chunk("VP8L", "\x2f"_ba + little(1199, 4)))),
               Format::webp, Size{1200, 101});
    const QByteArray track(76, '\0');
    expectSize(box("ftyp", "avis\0\0\0\0"_ba) +
                   box("moov", box("trak", box("tkhd", track + big(9000U << 16) + big(8000U << 16)))),
               Format::avif, Size{9000, 8000});
}

TEST(ImageFile, FindsNoSizeInAFileThatEndsBeforeItsOwn)
{
    const QList<std::pair<QByteArray, Format>> files{
        {png(5, 6), Format::png},
        {jpeg(5, 6), Format::jpeg},
        {avif(5, 6), Format::avif},
        {bmp(5, 6), Format::bmp},
        {webp(chunk("VP8L", "\x2f"_ba + little(99, 4))), Format::webp}};
    for (const auto& [file, format] : files) {
        for (qsizetype length = 0; length <= file.size(); ++length) {
            // Whatever there is, it is read without reaching behind it.
            const std::optional<Size> found = ImageFile::size(format, file.first(length));
            EXPECT_TRUE(!found || found->pixels() > 0);
        }
        EXPECT_EQ(ImageFile::size(format, file.first(8)), std::nullopt);
    }
    expectSize(png(0, 5), Format::png, std::nullopt);
    expectSize(png(5, 0), Format::png, std::nullopt);
}

TEST(ImageFile, ComesToAnEndWithLengthsThatLie)
{
    constexpr qsizetype size = 300'000;
    const QByteArray zeros(size, '\0');
    const QByteArray ones(size, '\xff');
    for (const QByteArray& rest : {zeros, ones, QByteArray(size, ','), QByteArray(size, '!')}) {
        EXPECT_NO_FATAL_FAILURE(ImageFile::size(Format::gif, gif(1, 1, rest)));
        EXPECT_NO_FATAL_FAILURE(ImageFile::size(Format::webp, webp(rest)));
        EXPECT_NO_FATAL_FAILURE(ImageFile::size(Format::jpeg, "\xff\xd8"_ba + rest));
        EXPECT_NO_FATAL_FAILURE(ImageFile::size(Format::avif, box("ftyp", "avif") + rest));
    }
    QByteArray nested = box("ispe", big(0) + big(7) + big(8));
    for (int depth = 0; depth < 20; ++depth)
        nested = box("ipco", nested);
    EXPECT_EQ(ImageFile::size(Format::avif, nested), std::nullopt) << "nobody looks that deep";
    const QByteArray huge =
        big(1) + "ipco" + big(0xffffffff) + big(0xffffffff) + box("ispe", big(0) + big(7) + big(8));
    EXPECT_EQ(ImageFile::size(Format::avif, huge), (Size{7, 8})) << "as far as there is something";
}

} // namespace
} // namespace Larkhaven
