#include "safety/TextComparison.h"

#include "domain/Text.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <span>
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/uscript.h>
#include <unicode/ustring.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven::TextComparison {

namespace {

/// Around words in place of an image, in a text without controls.
constexpr QChar imageStart(1);
constexpr QChar imageEnd(2);

// --- Links

struct Link {
    qsizetype end = 0;
    QStringView target; ///< without its scheme
};

/// Whether a URL ends before the character, whatever URLs may hold: in scripts without blanks text follows at
/// once.
bool endsLink(QChar character)
{
    const char16_t unit = character.unicode();
    return unit <= u' ' || character.isSpace() || unit == u'<' || unit == u'>' || unit == u'"' ||
           unit >= 0x2e80 || (unit >= 0x0e00 && unit < 0x1100) || (unit >= 0x1780 && unit < 0x1800);
}

/// The link that begins at the position, if one does.
std::optional<Link> linkAt(QStringView text, qsizetype start)
{
    if (start > 0 && text[start - 1].isLetterOrNumber())
        return std::nullopt;
    const QStringView rest = text.sliced(start);
    const bool isBracketed = start > 0 && text[start - 1] == u'<';
    qsizetype prefix = 0;
    for (const QLatin1StringView scheme :
         {"https://"_L1, "http://"_L1, "ftp://"_L1, "mailto:"_L1, "cid:"_L1, "www."_L1, "tel:"_L1}) {
        if (rest.startsWith(scheme, Qt::CaseInsensitive) && (isBracketed || scheme != "tel:"_L1))
            prefix = scheme == "www."_L1 ? 0 : scheme.size();
        else
            continue;
        Link link;
        link.end = start + scheme.size();
        // In angle brackets a long URL goes on behind the end of its line.
        constexpr qsizetype leastOfBrokenLine = 60;
        qsizetype lineStart = start;
        while (link.end < text.size()) {
            const bool isBreak =
                isBracketed && text[link.end] == u'\n' && link.end - lineStart >= leastOfBrokenLine;
            if (endsLink(text[link.end]) && !isBreak)
                break;
            lineStart = isBreak ? link.end + 1 : lineStart;
            ++link.end;
        }
        if (link.end == start + scheme.size())
            return std::nullopt;
        link.target = text.sliced(start + prefix, link.end - start - prefix);
        return link;
    }
    return std::nullopt;
}

/// As it may be written in another place: "www.example.com/" and "example.com" are one.
QString plainTarget(QStringView target)
{
    constexpr QStringView marks = u"()[]{}.,;:!?*_'/";
    while (!target.isEmpty() && marks.contains(target.back()))
        target.chop(1);
    while (!target.isEmpty() && marks.contains(target.front()))
        target = target.sliced(1);
    if (target.startsWith("www."_L1, Qt::CaseInsensitive))
        target = target.sliced(4);
    return Text::asciiLowered(target);
}

/// What both texts leave out.
struct Ignored {
    std::set<QString> targets; ///< of links, which may stand as text as well
    std::set<QString> marks;   ///< of a list of links: "[1]"
};

/// The mark of a line of a list of links, "[1]" or "1.", and its length.
std::optional<QStringView> listMark(QStringView line)
{
    constexpr qsizetype mostDigits = 3;
    const bool isBracketed = line.startsWith(u'[');
    qsizetype end = isBracketed ? 1 : 0;
    const qsizetype start = end;
    while (end < line.size() && end - start < mostDigits && line[end] >= u'0' && line[end] <= u'9')
        ++end;
    const QChar mark = end < line.size() ? line[end] : QChar();
    if (end == start || (isBracketed ? mark != u']' : mark != u'.' && mark != u':'))
        return std::nullopt;
    const QStringView whole = line.first(end + 1);
    QStringView rest = line.sliced(end + 1);
    while (!rest.isEmpty() &&
           (rest.front() == u':' || rest.front() == u' ' || rest.front() == u'\t' || rest.front() == u'<'))
        rest = rest.sliced(1);
    const std::optional<Link> link = linkAt(rest, 0);
    if (!link || !rest.sliced(link->end).trimmed().isEmpty())
        return std::nullopt;
    return whole;
}

bool isListHeading(QStringView line)
{
    const QString word = Text::lowered(line.trimmed().toString());
    constexpr std::array known{"links:"_L1,    "link:"_L1,   "references:"_L1, "references"_L1,
                               "verweise:"_L1, "liens :"_L1, "liens:"_L1,      "enlaces:"_L1};
    return std::ranges::any_of(known, [&](QLatin1StringView one) { return word == one; });
}

bool isRuler(QStringView line)
{
    return std::ranges::all_of(
        line, [](QChar one) { return one.isSpace() || one == u'-' || one == u'_' || one == u'='; });
}

/// The text without the lists of links at its end or anywhere, and without controls; collects what they name.
QString withoutLists(QStringView text, Ignored& ignored)
{
    QString result;
    result.reserve(text.size());
    qsizetype headingStart = -1;
    for (const QStringView line : text.tokenize(u'\n')) {
        QStringView content = line.trimmed();
        if (const std::optional<QStringView> mark = listMark(content)) {
            const bool isBracketed = mark->startsWith(u'[');
            const QStringView digits = isBracketed ? mark->sliced(1).chopped(1) : mark->chopped(1);
            ignored.marks.insert(u'[' + digits.toString() + u']');
            content = content.sliced(mark->size());
            if (headingStart >= 0)
                result.truncate(headingStart);
            headingStart = -1;
        } else if (isListHeading(content)) {
            headingStart = result.size();
        } else if (!isRuler(content)) {
            headingStart = -1;
        }
        for (const QChar character : content)
            result += character < u' ' ? QChar(u' ') : character;
        result += u'\n';
    }
    return result;
}

void collectTargets(QStringView text, Ignored& ignored)
{
    for (qsizetype position = 0; position < text.size(); ++position) {
        if (const std::optional<Link> link = linkAt(text, position)) {
            ignored.targets.insert(plainTarget(link->target));
            position = link->end - 1;
        }
    }
}

/// The text without its links, and without what names one.
QString withoutLinks(QStringView text, const Ignored& ignored)
{
    QString result;
    result.reserve(text.size());
    qsizetype wordStart = 0;
    const auto endWord = [&] {
        const QStringView word = QStringView(result).sliced(wordStart);
        const bool isMark = word.startsWith(u'[') && ignored.marks.contains(word.toString());
        if (isMark || (word.contains(u'.') && ignored.targets.contains(plainTarget(word))))
            result.truncate(wordStart);
    };
    for (qsizetype position = 0; position < text.size(); ++position) {
        if (const std::optional<Link> link = linkAt(text, position)) {
            endWord();
            result += u' ';
            wordStart = result.size();
            position = link->end - 1;
            continue;
        }
        const QChar character = text[position];
        const bool separates = character.isSpace() || character == u'<' || character == u'>';
        const bool opens = character == u'[';
        if (separates || opens)
            endWord();
        if (separates || opens)
            wordStart = result.size() + (separates ? 1 : 0);
        result += character;
        if (character == u']') {
            endWord();
            wordStart = result.size();
        }
    }
    endWord();
    return result;
}

// --- Words

struct Word {
    qsizetype start = 0;
    qsizetype length = 0;
    int weight = 0;
    bool isOfImage = false;
    quint32 number = 0; ///< the same for the same words
};

/// The words of one text, in one string.
struct Words {
    QString letters;
    std::vector<Word> list;
    bool isCut = false; ///< there were more than are compared

    QStringView view(const Word& word) const { return QStringView(letters).sliced(word.start, word.length); }
};

/// What a word counts among those in a row that weren't seen.
constexpr int weightOfWord = 4;

/// What a character of a script without blanks counts likewise: of the syllables and letters of some more
/// make a word than of others. 0 for other scripts.
int weightOfCharacter(char32_t character)
{
    constexpr char32_t prolongedSound = 0x30fc;
    constexpr char32_t firstOfThese = 0x0e00;
    if (character < firstOfThese)
        return 0;
    if (character == prolongedSound)
        return weightOfWord / 2;
    UErrorCode status = U_ZERO_ERROR;
    switch (uscript_getScript(static_cast<UChar32>(character), &status)) {
    case USCRIPT_HAN:
    case USCRIPT_YI:
        return weightOfWord;
    case USCRIPT_HIRAGANA:
    case USCRIPT_KATAKANA:
    case USCRIPT_BOPOMOFO:
        return weightOfWord / 2;
    case USCRIPT_THAI:
    case USCRIPT_LAO:
    case USCRIPT_KHMER:
    case USCRIPT_MYANMAR:
    case USCRIPT_TIBETAN:
        return weightOfWord / 4;
    default:
        return 0;
    }
}

/// Whether the mark is an accent or a point, and not a vowel or what makes another letter of one.
bool isAccent(char32_t character)
{
    constexpr int firstFixed = 10;
    constexpr int lastFixed = 36;
    constexpr int firstPlaced = 200;
    const int combining = u_getCombiningClass(static_cast<UChar32>(character));
    return (combining >= firstFixed && combining <= lastFixed) || combining >= firstPlaced;
}

/// Cuts a text into words.
class Cutter {
public:
    Words words(QStringView text)
    {
        m_words.letters.reserve(text.size());
        for (qsizetype position = 0; position < text.size() && !m_words.isCut; ++position) {
            const QChar unit = text[position];
            m_words.isCut = m_words.letters.size() > longestText;
            const bool isPair =
                unit.isHighSurrogate() && position + 1 < text.size() && text[position + 1].isLowSurrogate();
            const char32_t character =
                isPair ? QChar::surrogateToUcs4(unit, text[++position]) : char32_t(unit.unicode());
            if (character < 0x80)
                add(character >= U'A' && character <= U'Z' ? character + 0x20 : character);
            else
                addFolded(character);
        }
        endWord();
        return std::move(m_words);
    }

private:
    /// Character by character: with a whole text hostile sequences of marks take the time of their square.
    void addFolded(char32_t character)
    {
        if (u_hasBinaryProperty(static_cast<UChar32>(character), UCHAR_DEFAULT_IGNORABLE_CODE_POINT))
            return;
        std::array<char16_t, 32> parts{};
        UErrorCode status = U_ZERO_ERROR;
        int count = unorm2_getDecomposition(m_decomposition, static_cast<UChar32>(character), parts.data(),
                                            static_cast<int>(parts.size()), &status);
        if (count < 0 || U_FAILURE(status)) {
            const auto whole = QChar::fromUcs4(character);
            const QStringView units = whole;
            count = static_cast<int>(units.size());
            std::ranges::copy(units.utf16(), units.utf16() + count, parts.data());
        }
        std::array<char16_t, 96> folded{};
        status = U_ZERO_ERROR;
        const int length = u_strFoldCase(folded.data(), static_cast<int>(folded.size()), parts.data(), count,
                                         U_FOLD_CASE_DEFAULT, &status);
        if (U_FAILURE(status))
            return;
        for (const uint one : QStringView(folded.data(), length).toUcs4())
            add(one);
    }

    void add(char32_t character)
    {
        if (character == imageStart.unicode() || character == imageEnd.unicode()) {
            endWord();
            m_isOfImage = character == imageStart.unicode();
            return;
        }
        const auto code = static_cast<UChar32>(character);
        const int category = u_charType(code);
        const uint32_t mask = U_MASK(category);
        if ((mask & U_GC_M_MASK) != 0) {
            const bool isInWord = m_words.letters.size() > m_start;
            if (isInWord && !isAccent(character))
                append(character);
            return;
        }
        if ((mask & (U_GC_L_MASK | U_GC_N_MASK)) == 0) {
            endWord();
            return;
        }
        const int weight = weightOfCharacter(character);
        if (weight > 0 || m_isBehindCharacter)
            endWord();
        append(character);
        m_weight = weight > 0 ? weight : weightOfWord;
        m_isBehindCharacter = weight > 0;
    }

    void append(char32_t character) { m_words.letters += QChar::fromUcs4(character); }

    void endWord()
    {
        const qsizetype length = m_words.letters.size() - m_start;
        if (length > 0)
            m_words.list.push_back({m_start, length, m_weight, m_isOfImage, 0});
        m_start = m_words.letters.size();
        m_isBehindCharacter = false;
    }

    static const UNormalizer2* decomposition()
    {
        UErrorCode status = U_ZERO_ERROR;
        return unorm2_getNFKDInstance(&status);
    }

    const UNormalizer2* m_decomposition = decomposition();
    Words m_words;
    qsizetype m_start = 0;
    int m_weight = weightOfWord;
    bool m_isOfImage = false;
    bool m_isBehindCharacter = false; ///< the word is one character of a script without blanks
};

QString joined(const Words& words)
{
    QStringList all;
    for (const Word& word : words.list)
        all.append(words.view(word).toString());
    return all.join(u' ');
}

/// Gives the same words of both texts the same numbers.
void number(Words& left, Words& right)
{
    struct Place {
        QStringView view;
        Word* word;
    };
    std::vector<Place> places;
    places.reserve(left.list.size() + right.list.size());
    for (Words* const words : {&left, &right}) {
        for (Word& word : words->list)
            places.push_back({words->view(word), &word});
    }
    std::ranges::sort(places, [](const Place& one, const Place& other) { return one.view < other.view; });
    quint32 last = 0;
    for (std::size_t index = 0; index < places.size(); ++index) {
        last += index > 0 && places[index - 1].view != places[index].view ? 1 : 0;
        places[index].word->number = last;
    }
}

// --- Images

bool isNameOfImage(QStringView text)
{
    const qsizetype at = text.indexOf(u'@');
    const QStringView name = (at < 0 ? text : text.first(at)).trimmed();
    constexpr std::array endings{".png"_L1, ".jpg"_L1,  ".jpeg"_L1, ".gif"_L1,
                                 ".bmp"_L1, ".webp"_L1, ".svg"_L1};
    return !name.contains(u' ') && std::ranges::any_of(endings, [&](QLatin1StringView ending) {
        return name.endsWith(ending, Qt::CaseInsensitive);
    });
}

/// What stands in the brackets behind what they call an image in the user's language.
QStringView behindLabel(QStringView text)
{
    constexpr qsizetype longest = 20;
    const qsizetype colon = text.indexOf(u':');
    const QStringView label = text.first(std::max<qsizetype>(colon, 0)).trimmed();
    const bool isWord = !label.isEmpty() && label.size() <= longest &&
                        std::ranges::all_of(label, [](QChar one) { return one.isLetter(); });
    return isWord ? text.sliced(colon + 1).trimmed() : text.trimmed();
}

/// Marks what stands in brackets in place of images.
QString withMarkedImages(QStringView text, const QStringList& imageWords)
{
    constexpr qsizetype longest = 200;
    std::set<QString> known;
    for (const QString& words : imageWords)
        known.insert(joined(Cutter().words(words)));
    QString result;
    result.reserve(text.size());
    for (qsizetype position = 0; position < text.size(); ++position) {
        const bool opens = text[position] == u'[';
        const QStringView near = opens ? text.sliced(position + 1).left(longest) : QStringView();
        const auto* const end =
            std::ranges::find_if(near, [](QChar one) { return one == u'[' || one == u']'; });
        const qsizetype close = end - near.begin();
        if (end == near.end() || *end != u']') {
            result += text[position];
            continue;
        }
        const QStringView content = behindLabel(near.first(close));
        if (!isNameOfImage(content) && !known.contains(joined(Cutter().words(content)))) {
            result += text[position];
            continue;
        }
        result += imageStart + content.toString() + imageEnd;
        position += close + 1;
    }
    return result;
}

// --- Runs

using Run = std::array<quint32, wordsOfRun>;

/// The runs of so many words, of which the image words are none.
std::vector<Run> runsOf(std::span<const quint32> numbers, std::size_t length)
{
    std::vector<Run> runs;
    for (std::size_t start = 0; start + length <= numbers.size(); ++start) {
        Run run{};
        std::ranges::copy(numbers.subspan(start, length), run.begin());
        runs.push_back(run);
    }
    return runs;
}

std::vector<quint32> numbersOf(const Words& words)
{
    std::vector<quint32> numbers;
    for (const Word& word : words.list) {
        if (!word.isOfImage)
            numbers.push_back(word.number);
    }
    return numbers;
}

/// How many are in both; each is sorted.
std::size_t common(const std::vector<Run>& left, const std::vector<Run>& right)
{
    std::size_t count = 0;
    for (auto one = left.begin(), other = right.begin(); one != left.end() && other != right.end();) {
        if (*one == *other)
            ++count;
        const bool isBehind = *other < *one;
        const bool isBefore = *one < *other;
        one += isBehind ? 0 : 1;
        other += isBefore ? 0 : 1;
    }
    return count;
}

/// Whether so many words in a row are in none of the runs.
bool hasUnseen(const Words& plain, const std::vector<Run>& runs, const std::vector<Run>& shown,
               std::size_t length)
{
    std::vector<bool> isSeen(runs.size() + length);
    for (std::size_t start = 0; start < runs.size(); ++start) {
        if (std::ranges::binary_search(shown, runs[start]))
            std::fill_n(isSeen.begin() + static_cast<std::ptrdiff_t>(start), length, true);
    }
    int weight = 0;
    std::size_t place = 0;
    for (const Word& word : plain.list) {
        const bool isThere = !word.isOfImage && isSeen[place];
        place += word.isOfImage ? 0 : 1;
        weight = isThere ? 0 : weight + word.weight;
        if (weight >= mostUnseenWords * weightOfWord)
            return true;
    }
    return false;
}

} // namespace

bool saysSomethingElse(const QString& plain, const QString& shown, const QStringList& imageWords)
{
    if (plain.size() > longestText || shown.size() > longestText)
        return true;
    Ignored ignored;
    const QString listlessPlain = withoutLists(plain, ignored);
    const QString listlessShown = withoutLists(shown, ignored);
    collectTargets(listlessPlain, ignored);
    collectTargets(listlessShown, ignored);
    Words plainWords = Cutter().words(withMarkedImages(withoutLinks(listlessPlain, ignored), imageWords));
    Words shownWords = Cutter().words(withoutLinks(listlessShown, ignored));
    if (plainWords.isCut || shownWords.isCut)
        return true;
    number(plainWords, shownWords);
    const std::vector<quint32> plainNumbers = numbersOf(plainWords);
    const std::vector<quint32> shownNumbers = numbersOf(shownWords);
    if (plainWords.list.empty())
        return false;
    const bool isShort = std::min(plainNumbers.size(), shownNumbers.size()) < wordsOfRun;
    const std::size_t length = isShort ? 1 : wordsOfRun;
    std::vector<Run> plainRuns = runsOf(plainNumbers, length);
    std::vector<Run> shownRuns = runsOf(shownNumbers, length);
    std::ranges::sort(shownRuns);
    if (hasUnseen(plainWords, plainRuns, shownRuns, length))
        return true;
    std::ranges::sort(plainRuns);
    return common(plainRuns, shownRuns) * 10 < std::max(plainRuns.size(), shownRuns.size()) * 9;
}

} // namespace Larkhaven::TextComparison
