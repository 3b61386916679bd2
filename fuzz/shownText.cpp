#include "domain/ShownText.h"

#include "domain/Text.h"

#include <QByteArrayView>
#include <QList>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <unicode/uchar.h>

// Any text may stand where a title or a label shows it: what is shown is short, on one line, and all of it is
// seen.

using namespace Larkhaven;

namespace {

constexpr char32_t zeroWidthNonJoiner = 0x200c;
constexpr char32_t zeroWidthJoiner = 0x200d;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

bool mayStayUnseen(char32_t character)
{
    return character == zeroWidthJoiner || character == zeroWidthNonJoiner ||
           u_hasBinaryProperty(static_cast<UChar32>(character), UCHAR_VARIATION_SELECTOR);
}

void checkShown(const QString& shown)
{
    int marks = 0;
    for (const char32_t character : shown.toUcs4()) {
        const auto point = static_cast<UChar32>(character);
        require(!U_IS_SURROGATE(point) && !U_IS_UNICODE_NONCHAR(point));
        require(u_charType(point) != U_CONTROL_CHAR &&
                !Text::isLineEnd(QChar(character > 0xffff ? 0 : character)));
        require(!u_hasBinaryProperty(point, UCHAR_BIDI_CONTROL));
        require(!u_hasBinaryProperty(point, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) || mayStayUnseen(character));
        if (mayStayUnseen(character))
            continue;
        const bool isMark = (U_GET_GC_MASK(point) & U_GC_M_MASK) != 0;
        marks = isMark ? marks + 1 : 0;
        require(marks <= ShownText::mostMarks);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const qsizetype length = data[0];
    const QByteArrayView rest(data + 1, static_cast<qsizetype>(size) - 1);
    // As UTF-16 too, so that halves of surrogate pairs come by.
    const QString units(reinterpret_cast<const QChar*>(rest.toByteArray().constData()), rest.size() / 2);
    for (const QString& text : {Text::fromRepairedUTF8(rest), units}) {
        const QString shown = ShownText::line(text, length);
        require(shown.size() <= length + 1);
        require(shown.size() <= length || shown.endsWith(u'…'));
        checkShown(shown);
    }
    return 0;
}
