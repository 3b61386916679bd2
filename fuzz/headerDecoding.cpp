#include "domain/Text.h"
#include "format/MailEncoding.h"
#include "format/QuotedPrintable.h"

#include <QByteArrayView>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// Decoding takes anything, and undoes what encoding writes. The first byte of the input chooses a charset.

using namespace Larkhaven;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

constexpr const char* charsets[] = {
    "utf-8",       "us-ascii",    "iso-8859-1",  "windows-1252", "windows-1253", "utf-16",     "utf-16le",
    "iso-2022-jp", "shift_jis",   "euc-jp",      "koi8-r",       "gb2312",       "euc-kr",     "big5",
    "utf-7",       "hz-gb-2312",  "iso-2022-kr", "scsu",         "bocu-1",       "big5-hkscs", "gb18030",
    "utf-32",      "iso-2022-cn", "cesu-8",      "x-iscii-de",   "x-unknown",    "ibm037",     "tis-620",
};

void checkBytes(QByteArrayView bytes)
{
    require(MailEncoding::decodeBase64(bytes).size() <= bytes.size());
    require(MailEncoding::decodeQuotedPrintable(bytes, true).size() <= bytes.size());
    require(MailEncoding::decodeQuotedPrintable(bytes, false).size() ==
            MailEncoding::decodeQuotedPrintable(bytes, true).size());
    require(QuotedPrintable::decodeUTF8(bytes) ==
            Text::fromStrictUTF8(MailEncoding::decodeQuotedPrintable(bytes, false)));
    const QByteArray lines = MailEncoding::encodeBase64Lines(bytes);
    require(MailEncoding::decodeBase64(lines) == bytes);
    require(MailEncoding::base64URLDecode(MailEncoding::base64URLEncode(bytes)) == bytes.toByteArray());
}

void checkText(const QString& text)
{
    const QString encoded = MailEncoding::encodeHeader(text);
    bool isASCII = true;
    for (const QChar character : text)
        isASCII = isASCII && character.unicode() < 0x80;
    if (isASCII)
        require(encoded == text);
    else if (encoded.size() <= MailEncoding::maxHeaderBytes)
        require(MailEncoding::decodeHeader(encoded) == text);
    for (const QChar character : MailEncoding::headerSafe(text))
        require(character.unicode() >= 0x20 && character.unicode() != 0x7f);

    const QString decoded = MailEncoding::decodeHeader(text);
    if (!text.contains(QStringView(u"=?")))
        require(decoded == text);
    MailEncoding::base64URLDecode(text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QByteArrayView bytes(data + 1, static_cast<qsizetype>(size) - 1);
    const QString charset = QString::fromLatin1(charsets[data[0] % std::size(charsets)]);
    checkBytes(bytes);
    checkText(Text::fromRepairedUTF8(bytes));
    checkText(MailEncoding::decodeText(
        bytes, QString::fromLatin1(bytes.first(std::min<qsizetype>(bytes.size(), 20)))));
    MailEncoding::decodeText(bytes, charset);
    return 0;
}
