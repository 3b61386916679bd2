#include "Hostile.h"
#include "domain/FileName.h"
#include "domain/ShownText.h"
#include "domain/Text.h"
#include "images/ImageFile.h"
#include "safety/AttachedFile.h"

// Names, texts of one line, and files by their bytes.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {

namespace {

std::vector<Made<QString>> names()
{
    std::vector<Made<QString>> texts{
        {u"marks on one letter"_s, [](qsizetype size) { return u'a' + QString(size - 1, QChar(0x301)); }},
        {u"an ending without end"_s, [](qsizetype size) { return u"a."_s + QString(size - 2, u'b'); }},
        {u"a flag of tags"_s,
         [](qsizetype size) { return u"\U0001f3f4"_s + filled(u"\U000e0061"_s, size - 2); }}};
    for (const QString& piece : {u"a"_s,
                                 u"."_s,
                                 u" ."_s,
                                 u"a."_s,
                                 u" "_s,
                                 u"/"_s,
                                 u"\n"_s,
                                 u"\r"_s,
                                 u"\r\n"_s,
                                 u"\t"_s,
                                 u"\u0130"_s,
                                 u"\u0301"_s,
                                 u"\u202e"_s,
                                 u"\u200b"_s,
                                 u"\u200d"_s,
                                 u"\ufe0f"_s,
                                 u"\u00ad"_s,
                                 u"\U000e0061"_s,
                                 u"\U0001f3f4\U000e0061"_s,
                                 u"\U0001f468\u200d"_s,
                                 u"\U0001f1e6"_s,
                                 u"\u0915\u094d"_s,
                                 u"\u0915\u094d\u200d"_s,
                                 u"\u1100"_s,
                                 u"\u2800"_s,
                                 u"\ufff9"_s,
                                 u"\uffff"_s,
                                 u"1\ufe0f\u20e3"_s,
                                 u"\u0600"_s,
                                 u"\U0001d159"_s})
        texts.push_back(many(piece));
    texts.push_back(many(QString(QChar(0xd800))));
    return texts;
}

qsizetype sizeOf(const AttachedFile::Kind& kind)
{
    return kind.type.size() + kind.warning.size();
}

std::vector<Made<QByteArray>> files()
{
    const auto behind = [](const QString& name, const QByteArray& start, const QByteArray& piece) {
        return Made<QByteArray>{name,
                                [=](qsizetype size) { return start + filled(piece, size - start.size()); }};
    };
    return {
        behind(u"PNG of chunks"_s, "\x89PNG\r\n\x1a\n"_ba, "\0\0\0\0IDATxxxx"_ba),
        behind(u"PNG of headers"_s, "\x89PNG\r\n\x1a\n"_ba, "\0\0\0\0IHDRxxxx"_ba),
        behind(u"JPEG of segments"_s, "\xff\xd8\xff"_ba, "\xff\xe0\0\2"_ba),
        behind(u"JPEG of frames"_s, "\xff\xd8\xff"_ba, "\xff\xc0\0\x0b\x08\0\1\0\1\1\1\x11\0"_ba),
        behind(u"JPEG of fill bytes"_s, "\xff\xd8\xff"_ba, "\xff"_ba),
        behind(u"GIF of blocks"_s, "GIF89a\1\0\1\0\0\0\0"_ba, "!\xf9\1x\0"_ba),
        behind(u"GIF of pictures"_s, "GIF89a\1\0\1\0\0\0\0"_ba, ",\0\0\0\0\1\0\1\0\0\2\1x\0"_ba),
        behind(u"GIF of subblocks"_s, "GIF89a\1\0\1\0\0\0\0!\xf9"_ba, "\1x"_ba),
        behind(u"WebP of chunks"_s, "RIFF\xff\xff\xff\x7fWEBP"_ba, "JUNK\0\0\0\0"_ba),
        behind(u"WebP of frames"_s, "RIFF\xff\xff\xff\x7fWEBPVP8X\x0a\0\0\0\0\0\0\0\0\0\0\0\0\0"_ba,
               "ANMF\0\0\0\0"_ba),
        behind(u"AVIF of boxes"_s,
               "\0\0\0\x18"
               "ftypavif\0\0\0\0avifmif1"_ba,
               "\0\0\0\x08"
               "free"_ba),
        behind(u"AVIF of sizes"_s,
               "\0\0\0\x18"
               "ftypavif\0\0\0\0avifmif1"_ba,
               "\0\0\0\x14ispe\0\0\0\0\0\0\0\1\0\0\0\1"_ba),
        {u"AVIF of boxes in boxes"_s,
         [](qsizetype size) {
             QByteArray file = "\0\0\0\x18"
                               "ftypavif\0\0\0\0avifmif1"_ba;
             for (qsizetype left = size - file.size(); left >= 24; left -= 8) {
                 for (int shift = 24; shift >= 0; shift -= 8)
                     file += static_cast<char>(left >> shift);
                 file += "iprp";
             }
             return file;
         }},
        behind(u"BMP"_s, "BM\0\0\0\0\0\0\0\0\0\0\0\0\x28\0\0\0"_ba, "x"_ba),
        behind(u"zip of entries"_s, {}, "PK\3\4\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\1\0\0\0x"_ba),
        behind(u"zip of central entries"_s, {}, "PK\1\2vbaProject.bi"_ba),
        many("vbaProject.bi"_ba),
        many("v"_ba),
        many("#!"_ba),
        many("<script"_ba),
        many("<"_ba),
        many("MZ"_ba),
        many("\0"_ba),
        many(" "_ba),
        many("\n"_ba),
        many("\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1"_ba),
        many("_VBA_PROJEC"_ba),
        many("_\0V\0B\0A\0_\0P\0R\0O\0J\0E\0C\0"_ba),
    };
}

} // namespace

} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven;
    using namespace Larkhaven::Bench;
    Families families;
    const std::vector<Made<QString>> texts = names();
    families.addText(
        u"FileName::shown"_s, [](const QString& text) { return FileName::shown(text).size(); }, texts);
    families.addText(
        u"ShownText::line, a label"_s, [](const QString& text) { return ShownText::line(text, 300).size(); },
        texts);
    families.addText(
        u"ShownText"_s,
        [](const QString& text) {
            return ShownText::line(text, text.size()).size() + ShownText::singleSpaced(text).size() +
                   (ShownText::hasHidden(text) ? 1 : 0) + (ShownText::hasInk(text) ? 1 : 0);
        },
        texts);
    families.addText(
        u"Text"_s,
        [](const QString& text) {
            return Text::lowered(text).size() + Text::asciiLowered(text).size() +
                   Text::prefix(text, text.size() / 2).size() + Text::trimmedSpaceAndLineEnds(text).size();
        },
        texts);
    families.addText(
        u"AttachedFile, the name"_s,
        [](const QString& text) {
            const QString name = FileName::shown(text);
            return sizeOf(AttachedFile::kindOf(name, text, {})) + (AttachedFile::canRun(name, {}) ? 1 : 0);
        },
        texts);
    const std::vector<Made<QByteArray>> bytes = files();
    for (const QString& name : {u"a.docm"_s, u"a.doc"_s, u"a"_s}) {
        families.add(
            u"AttachedFile, "_s + name,
            [name](const QByteArray& file) {
                return sizeOf(AttachedFile::kindOf(name, u"text/plain"_s, file)) +
                       (AttachedFile::canRun(name, file) ? 1 : 0);
            },
            bytes);
    }
    families.add(
        u"ImageFile"_s,
        [](const QByteArray& file) {
            const std::optional<ImageFile::Format> format = ImageFile::format(file);
            return qsizetype{format && ImageFile::size(*format, file) ? 1 : 0};
        },
        bytes);
    families.add(u"Text, from UTF-8"_s,
                 [](const QByteArray& text) {
                     return Text::fromRepairedUTF8(text).size() + (Text::fromStrictUTF8(text) ? 1 : 0);
                 },
                 {many("\xff"_ba), many("\xc3"_ba), many("\xf0\x9f"_ba), many("\xed\xa0\x80"_ba),
                  many("\xc3\xa4"_ba), many("a\xff"_ba)});
    return measure(argc, argv, families);
}
