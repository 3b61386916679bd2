#include "format/EncodedWords.h"

#include "domain/Text.h"
#include "format/Base64.h"
#include "format/MailEncoding.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// A list shows a subject and some addresses for each of its messages, and most of them have a word or two. So
// the words are read from the text as it lies into the one text that comes of it, with nothing allocated on
// the way: a subject of two words takes less than a third of what it takes by way of searches, copies and
// conversions that are made for texts of any length.

namespace Larkhaven::EncodedWords {

namespace {

#if defined(__SSE2__)
constexpr qsizetype unitsOfAVector = 8;

__m128i loadUnits(const char16_t* units)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(units));
}

/// Which unit of eight is the first that a comparison has found, by the mask of its bytes, which isn't 0.
int firstOf(int mask)
{
    return std::countr_zero(static_cast<unsigned>(mask)) / 2;
}
#endif

/// Where the two units stand side by side at or behind `from`; -1 where they don't.
qsizetype pairIndex(QStringView text, char16_t first, char16_t second, qsizetype from)
{
    const char16_t* const units = text.utf16();
    qsizetype index = from;
#if defined(__SSE2__)
    const __m128i firsts = _mm_set1_epi16(static_cast<short>(first));
    const __m128i seconds = _mm_set1_epi16(static_cast<short>(second));
    const auto pairsAt = [&](const char16_t* place) {
        return _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi16(loadUnits(place), firsts),
                                               _mm_cmpeq_epi16(loadUnits(place + 1), seconds)));
    };
    for (; text.size() - index > unitsOfAVector; index += unitsOfAVector) {
        if (const int pairs = pairsAt(units + index))
            return index + firstOf(pairs);
    }
    // What is left is a part of the last vector there is.
    if (const qsizetype last = text.size() - 1 - unitsOfAVector;
        last >= from && index != last + unitsOfAVector) {
        const int pairs = pairsAt(units + last);
        return pairs ? last + firstOf(pairs) : -1;
    }
#endif
    for (; index + 1 < text.size(); ++index) {
        if (units[index] == first && units[index + 1] == second)
            return index;
    }
    return -1;
}

/// Where the first question mark stands at or behind `from`; -1 where none does. It is near: QStringView's
/// own search takes as long to begin.
qsizetype questionMark(QStringView text, qsizetype from)
{
    for (qsizetype index = from; index < text.size(); ++index) {
        if (text[index] == u'?')
            return index;
    }
    return -1;
}

/// The space of the "linear-white-space" between two encoded words.
bool isLinearSpace(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar character) {
        return character == u' ' || character == u'\t' || character == u'\r' || character == u'\n';
    });
}

enum class Encoding { base64, quoted, other };

Encoding encodingNamed(QStringView name)
{
    switch (name.size() == 1 ? name[0].unicode() : u' ') {
    case u'B':
    case u'b':
        return Encoding::base64;
    case u'Q':
    case u'q':
        return Encoding::quoted;
    default:
        return Encoding::other;
    }
}

/// How an encoded word begins, which is "=?" charset "?" encoding "?" encoded-text "?=" (RFC 2047, 2).
struct Beginning {
    bool isUTF8; ///< by its very name
    QStringView charset;
    Encoding encoding;
    qsizetype payload; ///< where the encoded text begins
};

/// Whether the text begins as nearly all words do.
bool beginsWithUTF8(QStringView text)
{
    using Units = std::array<char16_t, 8>;
    using Numbers = std::array<std::uint64_t, 2>;
    constexpr auto expected = std::bit_cast<Numbers>(Units{u'=', u'?', u'u', u't', u'f', u'-', u'8', u'?'});
    constexpr auto caseBits = std::bit_cast<Numbers>(Units{0, 0, 0x20, 0x20, 0x20, 0, 0, 0});
    Numbers found;
    if (text.size() < std::ssize(Units()))
        return false;
    std::memcpy(&found, text.utf16(), sizeof found);
    return (found[0] | caseBits[0]) == expected[0] && (found[1] | caseBits[1]) == expected[1];
}

/// The beginning of `text`, which begins with "=?"; absent where it is malformed.
std::optional<Beginning> readBeginning(QStringView text)
{
    constexpr qsizetype start = 2;
    const bool isUTF8 = beginsWithUTF8(text);
    const qsizetype charsetEnd = isUTF8 ? start + 5 : questionMark(text, start);
    if (charsetEnd < 0)
        return std::nullopt;
    const qsizetype encodingEnd = questionMark(text, charsetEnd + 1);
    if (encodingEnd < 0)
        return std::nullopt;
    return Beginning{isUTF8, text.sliced(start, charsetEnd - start),
                     encodingNamed(text.sliced(charsetEnd + 1, encodingEnd - charsetEnd - 1)),
                     encodingEnd + 1};
}

/// A text that grows at its end.
class Writer {
public:
    /// Room for that many units is there at once.
    explicit Writer(qsizetype size)
        : m_text(size, Qt::Uninitialized)
        , m_units(reinterpret_cast<char16_t*>(m_text.data()))
    {}

    /// Where the text ends, with room for that many units behind it.
    char16_t* room(qsizetype count)
    {
        if (count > m_text.size() - m_length) {
            m_text.resize(std::max(m_length + count, 2 * m_text.size()));
            m_units = reinterpret_cast<char16_t*>(m_text.data());
        }
        return m_units + m_length;
    }

    void setEnd(const char16_t* end) { m_length = end - m_units; }

    void add(QStringView text)
    {
        if (!text.isEmpty())
            setEnd(std::copy_n(text.utf16(), text.size(), room(text.size())));
    }

    /// Appends what the octets spell in UTF-8; false where they don't.
    bool addUTF8(QByteArrayView octets)
    {
        const char16_t* const end = Text::writeStrictUTF8(room(octets.size()), octets);
        if (end)
            setEnd(end);
        return end;
    }

    QString taken()
    {
        m_text.resize(m_length);
        return std::move(m_text);
    }

private:
    QString m_text;
    char16_t* m_units;
    qsizetype m_length = 0;
};

/// As many octets as a word of lawful length has, and some more, with what is written beyond the last one.
constexpr qsizetype mostOctets = 192;
using Octets = std::array<char, mostOctets + 64>;

/// Copies what stands before the next "=", "?" or character beyond ASCII, with underscores as spaces.
void copyPlain(const char16_t*& input, const char16_t* end, char16_t*& output)
{
#if defined(__SSE2__)
    // All of a vector is written, also what isn't plain: what comes next is written over it.
    const __m128i escape = _mm_set1_epi16('=');
    const __m128i mark = _mm_set1_epi16('?');
    const __m128i underscore = _mm_set1_epi16('_');
    const __m128i toSpace = _mm_set1_epi16('_' ^ ' ');
    const __m128i beyondASCII = _mm_set1_epi16(~0x7f);
    for (; end - input >= unitsOfAVector; input += unitsOfAVector, output += unitsOfAVector) {
        const __m128i units = loadUnits(input);
        const __m128i spaces = _mm_and_si128(_mm_cmpeq_epi16(units, underscore), toSpace);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(output), _mm_xor_si128(units, spaces));
        const __m128i isASCII = _mm_cmpeq_epi16(_mm_and_si128(units, beyondASCII), _mm_setzero_si128());
        const __m128i isSyntax = _mm_or_si128(_mm_cmpeq_epi16(units, escape), _mm_cmpeq_epi16(units, mark));
        const int others = _mm_movemask_epi8(_mm_andnot_si128(isSyntax, isASCII)) ^ 0xFFFF;
        if (others != 0) {
            input += firstOf(others);
            output += firstOf(others);
            return;
        }
    }
#endif
    while (input != end && *input != u'=' && *input != u'?' && *input < 0x80) {
        const char16_t unit = *input++;
        *output++ = unit == u'_' ? u' ' : unit;
    }
}

constexpr std::int8_t noDigit = -1;

/// The value of each character of ASCII as a hexadecimal digit.
constexpr std::array<std::int8_t, 128> hexValues = [] {
    std::array<std::int8_t, 128> values{};
    values.fill(noDigit);
    for (std::int8_t digit = 0; digit < 16; ++digit) {
        values[static_cast<std::size_t>("0123456789ABCDEF"[digit])] = digit;
        values[static_cast<std::size_t>("0123456789abcdef"[digit])] = digit;
    }
    return values;
}();

/// The value of a hexadecimal digit, negative for any other unit.
int hexValue(char16_t unit)
{
    return unit < hexValues.size() ? hexValues[unit] : noDigit;
}

/// Where a text in the "Q" encoding ends that was read, and what came of it.
struct Quoted {
    const char16_t* payloadEnd;
    char16_t* outputEnd;
};

/// Decodes the "Q" encoding up to "?=": to text in UTF-8, or to octets, each a unit. The output has room for
/// as many units as the input has. Absent where that isn't plain: where there is no "?=", where anything
/// isn't ASCII or an "=" begins no octet, and where the octets aren't UTF-8.
std::optional<Quoted> readQuoted(const char16_t* input, const char16_t* end, char16_t* output, bool isUTF8)
{
    while (true) {
        copyPlain(input, end, output);
        if (end - input < 2)
            return std::nullopt;
        if (*input == u'?') {
            if (input[1] == u'=')
                return Quoted{input, output};
            *output++ = *input++;
            continue;
        }
        // Escapes that stand side by side are read together. No character of UTF-8 goes on behind them.
        Octets octets;
        qsizetype count = 0;
        for (; end - input > 2 && *input == u'=' && count < mostOctets; input += 3) {
            const int octet = hexValue(input[1]) * 16 | hexValue(input[2]);
            if (octet < 0)
                return std::nullopt;
            octets[static_cast<std::size_t>(count++)] = static_cast<char>(octet);
        }
        if (count == 0 || count == mostOctets)
            return std::nullopt;
        if (isUTF8) {
            output = Text::writeStrictUTF8(output, QByteArrayView(octets.data(), count));
            if (!output)
                return std::nullopt;
        } else {
            for (qsizetype index = 0; index < count; ++index)
                *output++ = static_cast<unsigned char>(octets[static_cast<std::size_t>(index)]);
        }
    }
}

TextEncoding charsetOf(const Beginning& word)
{
    // RFC 2231, 5: a language may follow the charset behind a "*".
    const auto language = std::ranges::find(word.charset, u'*');
    return MailEncoding::encodingNamed(word.charset.first(language - word.charset.begin()));
}

void addText(Writer& result, QByteArrayView octets, const TextEncoding& charset)
{
    if (charset.charset != TextEncoding::utf8 || !result.addUTF8(octets))
        result.add(MailEncoding::decodeText(octets, charset));
}

/// Appends the text of a word's octets.
void addText(Writer& result, QByteArrayView octets, const Beginning& word)
{
    if (!word.isUTF8 || !result.addUTF8(octets))
        addText(result, octets, charsetOf(word));
}

/// Appends what the word at the beginning of `text` says; how long it is. 0, and nothing is appended, where
/// it isn't plain.
qsizetype addPlainBase64(Writer& result, QStringView text, const Beginning& word)
{
    Octets octets;
    static_assert(Base64::roomFor(mostOctets) <= std::tuple_size_v<Octets>);
    const QStringView payload =
        text.sliced(word.payload).first(std::min(text.size() - word.payload, mostOctets));
    const Base64::Run run = Base64::decodeRun(octets.data(), payload);
    qsizetype end = word.payload + run.characters;
    while (end < text.size() && text[end] == u'=')
        ++end;
    if (end + 1 >= text.size() || text[end] != u'?' || text[end + 1] != u'=')
        return 0;
    addText(result, QByteArrayView(octets.data(), run.octets), word);
    return end + 2;
}

qsizetype addPlainQuoted(Writer& result, QStringView text, const Beginning& word)
{
    const char16_t* const payload = text.utf16() + word.payload;
    char16_t* const start = result.room(text.size());
    const std::optional<Quoted> quoted = readQuoted(payload, text.utf16() + text.size(), start, word.isUTF8);
    if (!quoted)
        return 0;
    const qsizetype length = quoted->payloadEnd + 2 - text.utf16();
    if (word.isUTF8) {
        result.setEnd(quoted->outputEnd);
        return length;
    }
    const TextEncoding charset = charsetOf(word);
    const qsizetype count = quoted->outputEnd - start;
    if (charset.charset == TextEncoding::isoLatin1) {
        // The octets are its characters.
        result.setEnd(quoted->outputEnd);
    } else if (count <= mostOctets) {
        Octets octets;
        for (qsizetype index = 0; index < count; ++index)
            octets[static_cast<std::size_t>(index)] = static_cast<char>(start[index]);
        addText(result, QByteArrayView(octets.data(), count), charset);
    } else {
        return 0;
    }
    return length;
}

/// The same for every other word; absent where it is malformed.
std::optional<qsizetype> addAny(Writer& result, QStringView text, const Beginning& word)
{
    const qsizetype payloadEnd = pairIndex(text, u'?', u'=', word.payload);
    if (payloadEnd < 0)
        return std::nullopt;
    const QByteArray payload = text.sliced(word.payload, payloadEnd - word.payload).toUtf8();
    if (word.encoding == Encoding::base64)
        addText(result, Base64::decode(payload), word);
    else if (word.encoding == Encoding::quoted)
        addText(result, MailEncoding::decodeQuotedPrintable(payload, true), word);
    else
        result.add(text.first(payloadEnd + 2));
    return payloadEnd + 2;
}

/// Appends what the word at the beginning of `text` says; how long it is. Absent where it is malformed.
std::optional<qsizetype> addWord(Writer& result, QStringView text, const Beginning& word)
{
    qsizetype length = 0;
    if (word.encoding == Encoding::base64)
        length = addPlainBase64(result, text, word);
    else if (word.encoding == Encoding::quoted)
        length = addPlainQuoted(result, text, word);
    return length > 0 ? length : addAny(result, text, word);
}

} // namespace

bool mayStandIn(QStringView text)
{
    return pairIndex(text, u'=', u'?', 0) >= 0;
}

QString decode(const QString& text)
{
    qsizetype start = pairIndex(text, u'=', u'?', 0);
    if (start < 0)
        return text;
    Writer result(text.size());
    QStringView rest = text;
    bool lastWasEncoded = false;
    for (; start >= 0; start = pairIndex(rest, u'=', u'?', 0)) {
        const QStringView prefix = rest.first(start);
        const bool isHeldBack = lastWasEncoded && isLinearSpace(prefix);
        if (!isHeldBack)
            result.add(prefix);
        const QStringView word = rest.sliced(start);
        const std::optional<Beginning> beginning = readBeginning(word);
        const std::optional<qsizetype> length = beginning ? addWord(result, word, *beginning) : std::nullopt;
        if (!length) {
            if (!isHeldBack)
                rest = word;
            break;
        }
        lastWasEncoded = beginning->encoding != Encoding::other;
        rest = word.sliced(*length);
    }
    result.add(rest);
    return result.taken();
}

} // namespace Larkhaven::EncodedWords
