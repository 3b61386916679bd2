#include "safety/PlainValue.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Larkhaven::HTMLSanitizer {
namespace {

/// What a byte may be the end of, beside a plain value.
enum class Trait : unsigned char {
    none,
    refused, ///< of a plain value
    beyond,  ///< of ASCII
    suspect, ///< no part of a plain style: what begins an escape, a function, an "@" rule or a comment
    colon,
};

constexpr std::array<Trait, 256> traits = [] {
    std::array<Trait, 256> table{};
    for (std::size_t byte = 0x80; byte < table.size(); ++byte)
        table[byte] = Trait::beyond;
    for (const unsigned char byte : std::string_view("&<>\"'"))
        table[byte] = Trait::refused;
    for (const unsigned char byte : std::string_view("\\(@*"))
        table[byte] = Trait::suspect;
    table[':'] = Trait::colon;
    return table;
}();

Trait traitOf(char byte)
{
    return traits[static_cast<unsigned char>(byte)];
}

/// Whether one of the words that `safeStyle` looks for before a colon may end the bytes: those, and what
/// white space stands between. More words than those end in these letters, which costs time alone.
bool mayEndInRefusedName(QByteArrayView bytes)
{
    while (!bytes.isEmpty() && (static_cast<unsigned char>(bytes.back()) <= ' ' || bytes.back() == 0x7f))
        bytes.chop(1);
    if (bytes.isEmpty())
        return false;
    const auto last = static_cast<char>(bytes.back() | 0x20);
    // behavior, -moz-binding, javascript, position
    const auto endsWith = [bytes](std::string_view word) {
        const auto size = static_cast<qsizetype>(word.size());
        return bytes.size() >= size &&
               bytes.last(size).compare(QByteArrayView(word.data(), size), Qt::CaseInsensitive) == 0;
    };
    switch (last) {
    case 'r':
        return endsWith("behavior");
    case 'g':
        return endsWith("-moz-binding");
    case 't':
        return endsWith("javascript");
    case 'n':
        return endsWith("position");
    default:
        return false;
    }
}

} // namespace

bool isPlainValue(QByteArrayView bytes)
{
    bool isASCII = true;
    for (const char byte : bytes) {
        const Trait trait = traitOf(byte);
        if (trait == Trait::refused)
            return false;
        isASCII &= trait != Trait::beyond;
    }
    return isASCII || bytes.isValidUtf8();
}

bool isPlainStyle(QByteArrayView bytes)
{
    for (qsizetype index = 0; index < bytes.size(); ++index) {
        const Trait trait = traitOf(bytes[index]);
        if (trait == Trait::none)
            continue;
        // Beyond ASCII there is white space that may stand before the colon.
        if (trait != Trait::colon || mayEndInRefusedName(bytes.first(index)))
            return false;
    }
    return true;
}

} // namespace Larkhaven::HTMLSanitizer
