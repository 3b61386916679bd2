#include "format/TextEncoding.h"

#include "domain/Text.h"

#include <algorithm>
#include <array>
#include <memory>
#include <unicode/ucnv.h>

namespace Larkhaven {

namespace {

/// What Windows-1252 has at 80 to 9F; 0 where it has nothing.
constexpr std::array<char16_t, 32> windows1252Upper = {
    0x20ac, 0,      0x201a, 0x0192, 0x201e, 0x2026, 0x2020, 0x2021, 0x02c6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017d, 0,      0,      0x2018, 0x2019, 0x201c, 0x201d, 0x2022,
    0x2013, 0x2014, 0x02dc, 0x2122, 0x0161, 0x203a, 0x0153, 0,      0x017e, 0x0178,
};

std::optional<QString> fromWindows1252(QByteArrayView bytes)
{
    QString text = QString::fromLatin1(bytes);
    for (QChar& character : text) {
        const char16_t unit = character.unicode();
        if (unit < 0x80 || unit > 0x9f)
            continue;
        const char16_t mapped = windows1252Upper[unit - 0x80U];
        if (mapped == 0)
            return std::nullopt;
        character = QChar(mapped);
    }
    return text;
}

struct ConverterCloser {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};

std::optional<QString> fromConverter(const char* name, QByteArrayView bytes)
{
    if (bytes.isEmpty())
        return QString();
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, ConverterCloser> converter(ucnv_open(name, &status));
    if (U_FAILURE(status))
        return std::nullopt;
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);

    QString text(bytes.size() + 1, Qt::Uninitialized);
    qsizetype length = 0;
    const char* source = bytes.data();
    const char* const sourceEnd = source + bytes.size();
    while (U_SUCCESS(status)) {
        auto* const units = reinterpret_cast<char16_t*>(text.data());
        char16_t* target = units + length;
        ucnv_toUnicode(converter.get(), &target, units + text.size(), &source, sourceEnd, nullptr, true,
                       &status);
        length = target - units;
        if (status != U_BUFFER_OVERFLOW_ERROR)
            break;
        status = U_ZERO_ERROR;
        text.resize(text.size() + text.size() / 2 + 16);
    }
    if (U_FAILURE(status))
        return std::nullopt;
    text.truncate(length);
    return text;
}

std::optional<QString> fromUTF16(QByteArrayView bytes)
{
    if (bytes.startsWith("\xff\xfe"))
        return fromConverter("UTF-16LE", bytes.sliced(2));
    if (bytes.startsWith("\xfe\xff"))
        return fromConverter("UTF-16BE", bytes.sliced(2));
    return fromConverter("UTF-16BE", bytes);
}

/// ICU's table for Windows-31J has three control characters where IBM's computers had them.
std::optional<QString> fromWindows31J(QByteArrayView bytes)
{
    std::optional<QString> text = fromConverter("windows-31j", bytes);
    if (!text)
        return std::nullopt;
    for (QChar& character : *text) {
        if (character == QChar(0x1c))
            character = QChar(0x1a);
        else if (character == QChar(0x7f))
            character = QChar(0x1c);
        else if (character == QChar(0x1a))
            character = QChar(0x7f);
    }
    return text;
}

/// Converters of the registry that another reading stands for.
struct Reading {
    const char* converter;
    TextEncoding::Charset charset;
    const char* registered; ///< the converter that stands in where `charset` is `registered`
};

constexpr std::array readings = {
    Reading{"UTF-8", TextEncoding::utf8, nullptr},
    Reading{"ISO-8859-1", TextEncoding::isoLatin1, nullptr},
    Reading{"ibm-5348_P100-1997", TextEncoding::windowsCP1252, nullptr},
    Reading{"ibm-943_P15A-2003", TextEncoding::shiftJIS, nullptr},
    Reading{"UTF-16", TextEncoding::utf16, nullptr},
    Reading{"ibm-1383_P110-1999", TextEncoding::registered, "gb18030"},
    Reading{"ibm-970_P110_P110-2006_U2", TextEncoding::registered, "windows-949-2000"},
    Reading{"ibm-1363_P11B-1998", TextEncoding::registered, "windows-949-2000"},
};

TextEncoding registeredEncoding(QByteArray converter)
{
    TextEncoding encoding;
    encoding.charset = TextEncoding::registered;
    encoding.converter = std::move(converter);
    return encoding;
}

} // namespace

TextEncoding::TextEncoding(Charset known)
    : charset(known)
{
    Q_ASSERT(known != registered);
}

std::optional<TextEncoding> TextEncoding::fromRegistry(const QString& name)
{
    const bool isPrintable = std::all_of(
        name.begin(), name.end(), [](QChar character) { return character >= u' ' && character <= u'~'; });
    if (name.isEmpty() || name.size() > maxNameLength || !isPrintable)
        return std::nullopt;

    const QByteArray ascii = name.toLatin1();
    for (const char* standard : {"IANA", "MIME", "WINDOWS", "JAVA"}) {
        UErrorCode status = U_ZERO_ERROR;
        const QByteArray converter = ucnv_getCanonicalName(ascii.constData(), standard, &status);
        if (U_FAILURE(status) || converter.isEmpty())
            continue;
        const auto reading = std::find_if(readings.begin(), readings.end(),
                                          [&](const Reading& row) { return converter == row.converter; });
        if (reading == readings.end())
            return registeredEncoding(converter);
        return reading->charset == registered ? registeredEncoding(reading->registered)
                                              : TextEncoding(reading->charset);
    }
    return std::nullopt;
}

std::optional<QString> TextEncoding::decode(QByteArrayView bytes) const
{
    switch (charset) {
    case utf8:
        return Text::fromStrictUTF8(bytes);
    case isoLatin1:
        return QString::fromLatin1(bytes);
    case isoLatin2:
        return fromConverter("ISO-8859-2", bytes);
    case windowsCP1252:
        return fromWindows1252(bytes);
    case windowsCP1250:
        return fromConverter("windows-1250", bytes);
    case windowsCP1251:
        return fromConverter("windows-1251", bytes);
    case windowsCP1253:
        return fromConverter("windows-1253", bytes);
    case windowsCP1254:
        return fromConverter("windows-1254", bytes);
    case utf16:
        return fromUTF16(bytes);
    case utf16LittleEndian:
        return fromConverter("UTF-16LE", bytes);
    case utf16BigEndian:
        return fromConverter("UTF-16BE", bytes);
    case iso2022JP:
        return fromConverter("ISO-2022-JP", bytes);
    case shiftJIS:
        return fromWindows31J(bytes);
    case japaneseEUC:
        return fromConverter("EUC-JP", bytes);
    case registered:
        return fromConverter(converter.constData(), bytes);
    }
    Q_UNREACHABLE();
}

} // namespace Larkhaven
