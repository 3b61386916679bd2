#include "format/AddressParser.h"

#include "domain/Text.h"
#include "format/QuotedString.h"

#include <algorithm>
#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Larkhaven::AddressParser {

namespace {

/// Walks the characters of a text that mean something between addresses: `"(),<>@`.
///
/// Sixteen units are looked at together, since most are letters: a list of six addresses is walked in half
/// the time that a look at each unit takes.
class Marks {
public:
    explicit Marks(QStringView text)
        : m_text(text)
    {}

    /// Where the next one stands; the size of the text behind the last one.
    qsizetype next()
    {
        while (m_found == 0) {
            if (m_behind >= m_text.size())
                return m_text.size();
            look();
        }
        const int place = std::countr_zero(m_found);
        m_found &= m_found - 1;
        return m_start + place;
    }

private:
    static constexpr qsizetype stride = 16;

    static bool isMark(char16_t unit)
    {
        return unit == u'"' || unit == u'(' || unit == u')' || unit == u',' || unit == u'<' || unit == u'>' ||
               unit == u'@';
    }

    /// Finds the marks of the next units.
    void look()
    {
        m_start = m_behind;
        m_behind = std::min(m_start + stride, m_text.size());
        const char16_t* const units = m_text.utf16() + m_start;
#if defined(__SSE2__)
        if (m_behind - m_start == stride) {
            const auto* const vectors = reinterpret_cast<const __m128i*>(units);
            // Units beyond Latin-1 become NUL or FF.
            const __m128i bytes = _mm_packus_epi16(_mm_loadu_si128(vectors), _mm_loadu_si128(vectors + 1));
            const auto is = [](__m128i of, char mark) { return _mm_cmpeq_epi8(of, _mm_set1_epi8(mark)); };
            // Brackets of a kind differ in one bit.
            const __m128i isRound = is(_mm_or_si128(bytes, _mm_set1_epi8('(' ^ ')')), ')');
            const __m128i isAngle = is(_mm_or_si128(bytes, _mm_set1_epi8('<' ^ '>')), '>');
            const __m128i isBracket = _mm_or_si128(isRound, isAngle);
            const __m128i isOther =
                _mm_or_si128(_mm_or_si128(is(bytes, '"'), is(bytes, ',')), is(bytes, '@'));
            m_found = static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(isBracket, isOther)));
            return;
        }
#endif
        for (qsizetype index = 0; index < m_behind - m_start; ++index)
            m_found |= (isMark(units[index]) ? 1U : 0U) << index;
    }

    QStringView m_text;
    qsizetype m_start = 0;  ///< of the units that were looked at last
    qsizetype m_behind = 0; ///< these
    unsigned m_found = 0;   ///< which of them are still to come, a bit for each
};

/// What one look at a piece tells of it; -1 where a character doesn't stand in it. Positions in the text.
struct Piece {
    qsizetype start;
    qsizetype end; ///< at its first separating comma, or at the end of the text
    qsizetype lastOpen = -1;
    qsizetype lastClose = -1;
    qsizetype commentStart = -1; ///< the first "("
    qsizetype commentEnd = -1;   ///< the last ")"
    bool hasAt = false;
};

enum class Commas { separate, stand };

/// The piece that begins at `start`, which the marks have come to.
Piece pieceOf(QStringView text, qsizetype start, Marks& marks, Commas commas)
{
    Piece piece{start, text.size()};
    bool inQuote = false;
    qsizetype angleDepth = 0;
    while (true) {
        const qsizetype index = marks.next();
        if (index == text.size())
            return piece;
        switch (text[index].unicode()) {
        case u'"':
            inQuote = !inQuote;
            break;
        case u'<':
            piece.lastOpen = index;
            angleDepth += inQuote ? 0 : 1;
            break;
        case u'>':
            piece.lastClose = index;
            angleDepth = inQuote ? angleDepth : std::max<qsizetype>(angleDepth - 1, 0);
            break;
        case u'(':
            piece.commentStart = piece.commentStart < 0 ? index : piece.commentStart;
            break;
        case u')':
            piece.commentEnd = index;
            break;
        case u'@':
            piece.hasAt = true;
            break;
        default:
            if (commas == Commas::separate && !inQuote && angleDepth == 0) {
                piece.end = index;
                return piece;
            }
            break;
        }
    }
}

QStringView stretch(QStringView text, qsizetype start, qsizetype end)
{
    return text.sliced(start, end - start);
}

/// Where name and address of a piece stand, with the space around them.
struct Places {
    QStringView name;
    QStringView address;
    bool mayBeQuoted = false; ///< the name
};

std::optional<Places> placesOf(QStringView text, const Piece& piece)
{
    if (piece.lastOpen >= 0 && piece.lastClose > piece.lastOpen)
        return Places{stretch(text, piece.start, piece.lastOpen),
                      stretch(text, piece.lastOpen + 1, piece.lastClose), true};
    if (piece.commentStart >= 0 && piece.commentEnd > piece.commentStart)
        return Places{stretch(text, piece.commentStart + 1, piece.commentEnd),
                      stretch(text, piece.start, piece.commentStart)};
    if (piece.hasAt)
        return Places{{}, stretch(text, piece.start, piece.end)};
    return std::nullopt;
}

/// Fills in an address that is empty yet: its constructor would copy and trim once more.
void fill(EmailAddress& address, const Places& places)
{
    address.address = Text::trimmedSpaceAndLineEnds(places.address).toString();
    const QStringView name = Text::trimmedSpaceAndLineEnds(places.name);
    // A line end behind the quotes makes them a part of the name.
    if (places.mayBeQuoted && name.startsWith(u'"') && Text::trimmedSpace(places.name).endsWith(u'"'))
        address.name = EmailAddress(unquoted(name), QString()).name;
    else if (!name.isEmpty())
        address.name = name.toString();
}

} // namespace

QList<EmailAddress> parseList(QStringView text)
{
    // Room for what a usual list has, so that it needn't grow from one address on.
    constexpr qsizetype usualLength = 16;
    constexpr qsizetype mostAtFirst = 32;
    QList<EmailAddress> addresses;
    Marks marks(text);
    for (qsizetype start = 0; addresses.size() < maxAddresses;) {
        const Piece piece = pieceOf(text, start, marks, Commas::separate);
        if (const std::optional<Places> places = placesOf(text, piece)) {
            if (addresses.isEmpty())
                addresses.reserve(std::clamp<qsizetype>(text.size() / usualLength, 1, mostAtFirst));
            fill(addresses.emplaceBack(), *places);
        }
        if (piece.end == text.size())
            break;
        start = piece.end + 1;
    }
    return addresses;
}

namespace {

bool mayStandInAddress(QChar character)
{
    if (character.unicode() > u' ' && character.unicode() < 0x7f)
        return !QStringView(uR"(<>,;:"()[]\)").contains(character);
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Space:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return true;
    }
}

} // namespace

bool isSendable(QStringView address)
{
    const qsizetype at = address.indexOf(u'@');
    return at > 0 && at < address.size() - 1 && address.count(u'@') == 1 &&
           address.size() <= longestAddress && address.toUtf8().size() <= longestAddress &&
           std::ranges::all_of(address, mayStandInAddress);
}

std::optional<EmailAddress> parseOne(QStringView text)
{
    Marks marks(text);
    const std::optional<Places> places = placesOf(text, pieceOf(text, 0, marks, Commas::stand));
    std::optional<EmailAddress> address;
    if (places)
        fill(address.emplace(), *places);
    return address;
}

} // namespace Larkhaven::AddressParser
