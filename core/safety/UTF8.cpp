#include "safety/UTF8.h"

#include "domain/Text.h"

#include <unicode/ustring.h>

namespace Larkhaven::UTF8 {

QByteArray encoded(QStringView text)
{
    // A code unit of UTF-16 takes at most three bytes of UTF-8.
    QByteArray bytes(text.size() * 3, Qt::Uninitialized);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(bytes.data(), static_cast<int32_t>(bytes.size()), &length, text.utf16(),
                       static_cast<int32_t>(text.size()), QChar::ReplacementCharacter, nullptr, &status);
    bytes.truncate(U_FAILURE(status) ? 0 : length);
    return bytes;
}

bool isHexDigit(char16_t unit)
{
    return (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'f') || (unit >= u'A' && unit <= u'F');
}

unsigned hexValue(char16_t digit)
{
    return digit <= u'9' ? digit - u'0' : (digit | 0x20U) - u'a' + 10U;
}

bool isPercentEncodedAt(QStringView text, qsizetype position)
{
    return text[position] == u'%' && position + 2 < text.size() && isHexDigit(text[position + 1].unicode()) &&
           isHexDigit(text[position + 2].unicode());
}

std::optional<QString> percentDecoded(QStringView text)
{
    const QByteArray source = encoded(text);
    QByteArray bytes;
    bytes.reserve(source.size());
    for (qsizetype i = 0; i < source.size(); ++i) {
        if (source[i] != '%') {
            bytes += source[i];
            continue;
        }
        if (i + 2 >= source.size() || !isHexDigit(static_cast<uchar>(source[i + 1])) ||
            !isHexDigit(static_cast<uchar>(source[i + 2])))
            return std::nullopt;
        const unsigned value =
            hexValue(static_cast<uchar>(source[i + 1])) * 16 + hexValue(static_cast<uchar>(source[i + 2]));
        bytes += static_cast<char>(value);
        i += 2;
    }
    return Text::fromStrictUTF8(bytes);
}

} // namespace Larkhaven::UTF8
