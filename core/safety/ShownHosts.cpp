#include "safety/ShownHosts.h"

#include "domain/Text.h"
#include "safety/PublicSuffixes.h"
#include "safety/URLHost.h"

#include <algorithm>
#include <array>
#include <unicode/uchar.h>
#include <unicode/uscript.h>

using namespace Qt::StringLiterals;

namespace Larkhaven::ShownHosts {
namespace {

/// Stands in a text that was made plain for a full stop with which sentences end in its script.
constexpr QChar sentenceStop = u'\u3002';

/// Those that look like ".", and that no sentence ends with.
constexpr std::array<char32_t, 7> likePoints{0x2024, 0xa4f8, 0xfe52, 0xff0e, 0x0701, 0x0702, 0x1d16d};
/// The full stops of other scripts.
constexpr std::array<char32_t, 23> sentenceStops{
    0x3002, 0xff61, 0xfe12, 0x06d4, 0x0589, 0x0964,  0x0965, 0x1362, 0x166e, 0x1803, 0x1809, 0x2cf9,
    0x2cfe, 0x2e3c, 0xa4ff, 0xa60e, 0xa6f3, 0x10a50, 0x104a, 0x104b, 0x17d4, 0x0df4, 0x1c7e};

/// Endings of countries and others that files have more often.
constexpr std::array fileEndings{"zip"_L1, "mov"_L1, "rs"_L1, "sh"_L1, "md"_L1,
                                 "py"_L1,  "ps"_L1,  "so"_L1, "cab"_L1};

template <typename Table, typename Value>
bool holds(const Table& table, const Value& value)
{
    return std::ranges::any_of(table, [&](const auto& other) { return value == other; });
}

bool isUnseen(char32_t character)
{
    constexpr char32_t emptyBraille = 0x2800;
    const auto code = static_cast<UChar32>(character);
    return character == emptyBraille || u_hasBinaryProperty(code, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) != 0 ||
           (u_charType(code) == U_CONTROL_CHAR && !QChar::isSpace(character)) ||
           u_charType(code) == U_FORMAT_CHAR;
}

/// Half a surrogate pair stands for itself.
char32_t characterAt(QStringView text, qsizetype position)
{
    const QChar first = text[position];
    const bool isPair =
        first.isHighSurrogate() && position + 1 < text.size() && text[position + 1].isLowSurrogate();
    return isPair ? QChar::surrogateToUcs4(first, text[position + 1]) : first.unicode();
}

/// The text without what isn't seen, full stops as "." or `sentenceStop`.
QString plain(QStringView text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype position = 0; position < text.size();) {
        const char32_t character = characterAt(text, position);
        position += QChar::requiresSurrogates(character) ? 2 : 1;
        if (character < 0x80 && character >= u' ')
            result += QChar(character);
        else if (holds(likePoints, character))
            result += u'.';
        else if (holds(sentenceStops, character))
            result += sentenceStop;
        else if (!isUnseen(character))
            result += QChar::fromUcs4(character);
    }
    return result;
}

bool isStop(char32_t character)
{
    return character == u'.' || character == sentenceStop.unicode();
}

bool isOfHost(char32_t character)
{
    constexpr char32_t firstCircled = 0x24b6;
    constexpr char32_t lastCircled = 0x24e9;
    return QChar::isLetterOrNumber(character) || QChar::isMark(character) || character == u'-' ||
           isStop(character) || (character >= firstCircled && character <= lastCircled);
}

/// Whether the script puts no blanks between words, so that a host may stand within a run of its letters.
bool isUnspaced(char32_t character)
{
    UErrorCode status = U_ZERO_ERROR;
    switch (uscript_getScript(static_cast<UChar32>(character), &status)) {
    case USCRIPT_HAN:
    case USCRIPT_HIRAGANA:
    case USCRIPT_KATAKANA:
    case USCRIPT_THAI:
    case USCRIPT_LAO:
    case USCRIPT_KHMER:
    case USCRIPT_MYANMAR:
        return true;
    default:
        return false;
    }
}

/// Splits a text into the longest runs of characters of which `isPart` holds.
template <typename Predicate, typename Use>
void forEachRun(QStringView text, Predicate isPart, Use use)
{
    qsizetype start = -1;
    for (qsizetype position = 0; position <= text.size();) {
        const char32_t character = position < text.size() ? characterAt(text, position) : 0;
        const bool isIn = position < text.size() && isPart(character);
        if (isIn && start < 0)
            start = position;
        if (!isIn && start >= 0) {
            if (!use(text.sliced(start, position - start)))
                return;
            start = -1;
        }
        position += QChar::requiresSurrogates(character) ? 2 : 1;
    }
}

bool isASCII(QStringView text)
{
    return std::ranges::all_of(text, [](QChar character) { return character.unicode() < 0x80; });
}

/// Whether a word without any sign of a URL is rather something else that has a full stop in it.
bool readsOtherwise(QStringView run)
{
    qsizetype stop = run.size() - 1;
    while (stop > 0 && !isStop(run[stop].unicode()))
        --stop;
    const QStringView ending = run.sliced(stop + 1);
    if (run[stop] == sentenceStop && !isASCII(ending))
        return true;
    constexpr qsizetype lettersOfCountry = 2;
    const bool beginsSentence = ending.size() == lettersOfCountry && ending[0].isUpper() &&
                                ending[1].isLower() && stop > 0 && run[stop - 1].isLower();
    return beginsSentence || holds(fileEndings, Text::asciiLowered(ending));
}

/// The host that a run of its characters is; absent where it is none.
std::optional<QString> hostIn(QStringView run, bool isSure)
{
    while (!run.isEmpty() && (isStop(run.front().unicode()) || run.front() == u'-'))
        run = run.sliced(1);
    while (!run.isEmpty() && (isStop(run.back().unicode()) || run.back() == u'-'))
        run.chop(1);
    // In other scripts a name may be shorter in ASCII, but not by that much.
    constexpr qsizetype longestRun = 4 * URLHost::maximumLength;
    if (run.size() > longestRun ||
        std::ranges::none_of(run, [](QChar unit) { return isStop(unit.unicode()); }))
        return std::nullopt;
    isSure = isSure || run.startsWith("www."_L1, Qt::CaseInsensitive);
    if (!isSure && readsOtherwise(run))
        return std::nullopt;
    std::optional<QString> host = URLHost::asciiName(run.toString().replace(sentenceStop, u'.'));
    const bool isKnown =
        host && (PublicSuffixes::isBelowSuffix(*host) || (isSure && !PublicSuffixes::areKnown()));
    return isKnown ? std::optional(Text::asciiLowered(*host)) : std::nullopt;
}

/// Whether an "@" follows behind the rest of the name before it.
bool isUserBefore(QStringView rest)
{
    constexpr qsizetype longestName = 64;
    const qsizetype end = std::min(rest.size(), longestName);
    for (qsizetype i = 0; i < end; ++i) {
        if (rest[i] == u'@')
            return true;
        if (!isOfHost(rest[i].unicode()) && !"_+%&'*=~"_L1.contains(rest[i]))
            return false;
    }
    return false;
}

bool isSlash(QChar character)
{
    return character == u'/' || character == u'\\';
}

/// Looks through one word, which has no white space in it.
class Word {
public:
    Word(QStringView word, const QString& owner)
        : m_word(word)
        , m_owner(owner)
    {}

    std::optional<QString> other()
    {
        forEachRun(m_word, isOfHost, [this](QStringView run) { return look(run); });
        return m_other;
    }

private:
    /// Gives whether to go on.
    bool look(QStringView run)
    {
        const qsizetype start = run.data() - m_word.data();
        const QStringView rest = m_word.sliced(start + run.size());
        const bool hasScheme = start >= 2 && isSlash(m_word[start - 1]) && isSlash(m_word[start - 2]);
        if (!hasScheme && isUserBefore(rest))
            return true;
        const bool hasPath = !rest.isEmpty() && isSlash(rest.front());
        const bool isURL = hasScheme || hasPath;
        if (const auto host = hostIn(run, isURL)) {
            take(*host);
            // What stands behind the host of a URL is its path, whatever it looks like.
            return !m_other && !isURL;
        }
        if (std::ranges::any_of(run, [](QChar unit) { return unit.unicode() >= 0x80; }))
            forEachRun(
                run, [](char32_t character) { return !isUnspaced(character); },
                [&](QStringView part) {
                    if (const auto host = hostIn(part, isURL))
                        take(*host);
                    return !m_other;
                });
        return !m_other && !hasScheme;
    }

    void take(const QString& host)
    {
        if (PublicSuffixes::registrableDomain(host) != m_owner)
            m_other = host;
    }

    QStringView m_word;
    const QString& m_owner;
    std::optional<QString> m_other;
};

} // namespace

std::optional<QString> firstOfAnotherOwner(QStringView text, const QString& actual)
{
    const QString owner = PublicSuffixes::registrableDomain(actual);
    const QString shown = plain(text);
    std::optional<QString> other;
    forEachRun(
        shown, [](char32_t character) { return !QChar::isSpace(character); },
        [&](QStringView word) {
            other = Word(word, owner).other();
            return !other;
        });
    return other;
}

} // namespace Larkhaven::ShownHosts
