#include "safety/HTMLSanitizer.h"
#include "safety/IndexSet.h"
#include "safety/RefusedStyles.h"
#include "safety/UTF8.h"
#include "safety/UnitScan.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven::HTMLSanitizer {
namespace {

using namespace RefusedStyles;

QString withoutEscapes(const QString& css)
{
    if (!UnitScan::holds<u'\\'>(css))
        return css;
    constexpr qsizetype mostDigits = 6;
    QString result;
    result.reserve(css.size());
    for (qsizetype i = 0; i < css.size(); ++i) {
        if (css[i] != u'\\') {
            result += css[i];
            continue;
        }
        char32_t value = 0;
        qsizetype end = i + 1;
        for (; end < css.size() && end <= i + mostDigits && UTF8::isHexDigit(css[end].unicode()); ++end)
            value = value * 16 + UTF8::hexValue(css[end].unicode());
        if (end == i + 1) {
            if (end < css.size() && css[end] != u'\n')
                result += css[end];
            i = end;
            continue;
        }
        if (value != 0 && value <= QChar::LastValidCodePoint && !QChar::isSurrogate(value))
            result += QChar::fromUcs4(value);
        const bool swallows =
            end < css.size() && (css[end] == u'\t' || css[end] == u'\n' || css[end] == u' ');
        i = swallows ? end : end - 1;
    }
    return result.remove(u'\\');
}

constexpr std::array unflowedPositions{"fixed"_L1, "sticky"_L1, "absolute"_L1};

/// The most characters other than white space from the start of a match to the end of its last fixed piece,
/// less one: as far to the left of a change as a match can begin that the change completes. ("position", ":",
/// "absolute")
constexpr int reachOfHeads = 16;

char16_t lowered(char16_t unit)
{
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
}

/// The patterns whose words can begin with this character, comments apart.
std::array<Pattern, 2> candidatesFor(char16_t unit)
{
    switch (lowered(unit)) {
    case u'@':
        return {importRule, fontFace};
    case u'u':
        return {url, headCount};
    case u'i':
        return {imageSet, headCount};
    case u'e':
        return {expression, headCount};
    case u'b':
        return {behavior, headCount};
    case u'-':
        return {mozBinding, headCount};
    case u'j':
        return {javascript, headCount};
    case u'p':
        return {position, headCount};
    default:
        return {headCount, headCount};
    }
}

// --- Rounds on a plain string

bool hasWord(QStringView text, qsizetype position, QLatin1StringView word)
{
    return position >= 0 && word.size() <= text.size() - position &&
           std::ranges::equal(text.sliced(position, word.size()), word, [](QChar character, char letter) {
               return lowered(character.unicode()) == static_cast<uchar>(letter);
           });
}

qsizetype behindSpace(QStringView text, qsizetype position)
{
    while (position < text.size() && text[position].isSpace())
        ++position;
    return position;
}

/// The character by which the matches of a pattern are found. Those it has before the follower are letters,
/// which stand everywhere.
char16_t markOf(Pattern pattern)
{
    return pattern == comment ? u'/' : pattern <= fontFace ? u'@' : rules[pattern].follower;
}

/// The fixed pieces of a match.
struct Head {
    qsizetype start = 0;
    qsizetype end = 0; ///< behind them
};

/// The head that has its mark at the position; absent where none does.
std::optional<Head> headAt(QStringView text, Pattern pattern, qsizetype mark)
{
    const Rule& rule = rules[pattern];
    if (pattern == comment)
        return hasWord(text, mark, "/*"_L1) ? std::optional(Head{mark, mark + 2}) : std::nullopt;
    if (pattern <= fontFace) {
        if (!hasWord(text, mark, rule.word))
            return std::nullopt;
        const qsizetype wordEnd = mark + rule.word.size();
        if (rule.follower == 0)
            return Head{mark, wordEnd};
        const qsizetype follower = behindSpace(text, wordEnd);
        const bool follows = follower < text.size() && text[follower] == rule.follower;
        return follows ? std::optional(Head{mark, follower + 1}) : std::nullopt;
    }
    qsizetype wordEnd = mark;
    while (wordEnd > 0 && text[wordEnd - 1].isSpace())
        --wordEnd;
    const Head head{wordEnd - rule.word.size(), mark + 1};
    // Nearly all words end in another letter.
    const auto lastLetter = static_cast<uchar>(rule.word.back().toLatin1());
    if (head.start < 0 || lowered(text[wordEnd - 1].unicode()) != lastLetter ||
        !hasWord(text, head.start, rule.word))
        return std::nullopt;
    if (pattern != position)
        return head;
    const qsizetype value = behindSpace(text, head.end);
    for (const QLatin1StringView word : unflowedPositions) {
        if (hasWord(text, value, word))
            return Head{head.start, value + word.size()};
    }
    return std::nullopt;
}

/// The patterns of which the text holds a head, as bits: one pass over it.
unsigned headsIn(QStringView text)
{
    const auto next = [text](qsizetype from) {
        return UnitScan::firstOf<u'/', u'@', u'(', u':'>(text, from);
    };
    unsigned found = 0;
    for (qsizetype at = next(0); at < text.size(); at = next(at + 1)) {
        const char16_t before = at > 0 ? lowered(text[at - 1].unicode()) : u' ';
        const bool isLetter = before >= u'a' && before <= u'z';
        for (unsigned pattern = 0; pattern < patternCount; ++pattern) {
            const auto one = static_cast<Pattern>(pattern);
            // Nearly all words before a mark end in another letter.
            const bool mayEnd = one <= fontFace || !isLetter ||
                                rules[pattern].word.back() == QLatin1Char(static_cast<char>(before));
            if (markOf(one) == text[at] && mayEnd && headAt(text, one, at))
                found |= 1U << pattern;
        }
    }
    return found;
}

/// The end of the match that begins so; absent where it isn't closed and must be: then no later one is
/// either.
std::optional<qsizetype> endOfMatch(QStringView text, Pattern pattern, const Head& head)
{
    if (pattern == comment) {
        const qsizetype end = text.indexOf("*/"_L1, head.end);
        return end < 0 ? std::nullopt : std::optional(end + 2);
    }
    if (rules[pattern].end == 0)
        return head.end;
    const qsizetype end = text.indexOf(rules[pattern].end, head.end);
    if (end < 0)
        return pattern == fontFace ? std::nullopt : std::optional(text.size());
    return end + 1;
}

/// Replaces the matches of a pattern from the left to the right. Returns whether there were any.
bool replaceIn(QString& text, Pattern pattern)
{
    QString result;
    qsizetype copied = 0;
    const QStringView view(text);
    for (qsizetype at = view.indexOf(markOf(pattern)); at >= 0; at = view.indexOf(markOf(pattern), at + 1)) {
        const std::optional<Head> head = headAt(view, pattern, at);
        if (!head || head->start < copied)
            continue;
        const std::optional<qsizetype> end = endOfMatch(view, pattern, *head);
        if (!end)
            break;
        result += view.sliced(copied, head->start - copied);
        result += rules[pattern].replacement;
        copied = *end;
        at = *end - 1;
    }
    if (copied == 0)
        return false;
    result += view.sliced(copied);
    text = std::move(result);
    return true;
}

/// One round: each pattern in its order. Returns whether it changed anything.
bool replaceOnce(QString& text)
{
    bool changed = false;
    unsigned heads = headsIn(text);
    for (unsigned pattern = 0; pattern < patternCount && heads != 0; ++pattern) {
        if ((heads >> pattern & 1U) != 0 && replaceIn(text, static_cast<Pattern>(pattern))) {
            changed = true;
            heads = headsIn(text);
        }
    }
    return changed;
}

// --- Rounds on a linked list

/// Rounds of replacements on one text until a round changes nothing, with the result that replacing in a
/// plain string round by round has, but near-linear cost.
///
/// A plain string takes a round over the whole text for each level of nesting, as in
/// "javajavascript:script:". Here the text is a linked list, and for each pattern a set tells where a match
/// begins. A pass takes the matches of one pattern from its set, all of them before it changes anything, as
/// replacing in a string does; then it changes the text, and renews the sets only as far around each change
/// as a match can begin that the change completes. Runs of white space, which a match may hold between its
/// pieces, are stepped over as one. No replacement makes more matches than it uses up characters, so the cost
/// of all rounds together is that of the changes.
class Replacer {
public:
    explicit Replacer(QStringView text)
        : m_sets(headCount, IndexSet(static_cast<std::size_t>(text.size())))
        , m_lastBrace(static_cast<Node>(text.size()) - 1)
    {
        const auto size = static_cast<std::size_t>(text.size());
        m_nodes.reserve(size);
        for (const QChar character : text)
            append(character.unicode());
        linkInOrder();
        for (Node node = 0; node < static_cast<Node>(size); ++node)
            renewHeads(node);
    }

    QString run()
    {
        bool changed = true;
        while (changed) {
            changed = false;
            for (unsigned pattern = 0; pattern < patternCount; ++pattern)
                changed |= replaceAll(static_cast<Pattern>(pattern));
        }
        return text();
    }

private:
    /// The index of a character. Those of the original text are in the order of the text, whatever is
    /// removed.
    using Node = qint32;
    static constexpr Node none = -1;

    struct Character {
        char16_t unit = 0;
        quint16 heads = 0; ///< a bit for each set that holds this node
        Node previous = none;
        Node next = none;
        Node otherEnd = none; ///< at both ends of a run of white space: its other end
    };

    struct Match {
        Node first = none;
        Node last = none;
    };

    const Character& at(Node node) const { return m_nodes[static_cast<std::size_t>(node)]; }
    Character& at(Node node) { return m_nodes[static_cast<std::size_t>(node)]; }

    bool is(Node node, char16_t unit) const { return node != none && at(node).unit == unit; }
    bool isSpace(Node node) const { return node != none && QChar::isSpace(at(node).unit); }

    Node append(char16_t unit)
    {
        m_nodes.emplace_back().unit = unit;
        return static_cast<Node>(m_nodes.size()) - 1;
    }

    void linkInOrder()
    {
        const auto size = static_cast<Node>(m_nodes.size());
        m_front = size > 0 ? 0 : none;
        Node runStart = none;
        for (Node node = 0; node < size; ++node) {
            at(node).previous = node - 1;
            at(node).next = node + 1 < size ? node + 1 : none;
            if (!isSpace(node)) {
                runStart = none;
                continue;
            }
            if (runStart == none)
                runStart = node;
            if (node + 1 == size || !isSpace(node + 1))
                joinRun(runStart, node);
        }
    }

    void joinRun(Node first, Node last)
    {
        at(first).otherEnd = last;
        at(last).otherEnd = first;
    }

    /// The node, or where it begins a run of white space, the one behind the run.
    Node behindSpace(Node node) const { return isSpace(node) ? at(at(node).otherEnd).next : node; }

    /// The last node of the word that begins here; none where another text stands here. `word` is in lower
    /// case.
    Node endOfWord(Node node, QLatin1StringView word) const
    {
        Node last = none;
        for (const char letter : word) {
            if (node == none || lowered(at(node).unit) != static_cast<uchar>(letter))
                return none;
            last = node;
            node = at(node).next;
        }
        return last;
    }

    /// The last node of the fixed pieces of a pattern that begins here, none where it doesn't.
    Node endOfHead(Pattern pattern, Node node) const
    {
        const Rule& rule = rules[pattern];
        const Node wordEnd = endOfWord(node, rule.word);
        if (wordEnd == none || rule.follower == 0)
            return wordEnd;
        const Node follower = behindSpace(at(wordEnd).next);
        if (!is(follower, rule.follower))
            return none;
        return pattern == position ? endOfPosition(behindSpace(at(follower).next)) : follower;
    }

    Node endOfPosition(Node value) const
    {
        for (const QLatin1StringView word : unflowedPositions) {
            if (const Node end = endOfWord(value, word); end != none)
                return end;
        }
        return none;
    }

    /// The sets that the node belongs to, as bits.
    quint16 headsAt(Node node) const
    {
        if (is(node, u'/'))
            return is(at(node).next, u'*') ? bit(comment) : 0;
        if (is(node, u'*'))
            return is(at(node).next, u'/') ? bit(commentEnd) : 0;
        for (const Pattern pattern : candidatesFor(at(node).unit)) {
            if (pattern != headCount && endOfHead(pattern, node) != none)
                return bit(pattern);
        }
        return 0;
    }

    static constexpr quint16 bit(Pattern pattern) { return static_cast<quint16>(1U << pattern); }

    void renewHeads(Node node) { setHeads(node, headsAt(node)); }

    void setHeads(Node node, quint16 heads)
    {
        const auto changes = static_cast<unsigned>(heads ^ at(node).heads);
        if (changes == 0)
            return;
        at(node).heads = heads;
        for (unsigned pattern = 0; pattern < headCount; ++pattern) {
            if ((changes >> pattern & 1U) == 0)
                continue;
            if ((heads >> pattern & 1U) != 0)
                m_sets[pattern].insert(static_cast<std::size_t>(node));
            else
                m_sets[pattern].erase(static_cast<std::size_t>(node));
        }
    }

    /// The first node of a set behind `node` in the order of the text; the first of all behind none, which
    /// wraps to 0.
    Node nextHead(Pattern pattern, Node node) const
    {
        return static_cast<Node>(m_sets[pattern].next(static_cast<std::size_t>(node) + 1));
    }

    bool replaceAll(Pattern pattern)
    {
        m_matches.clear();
        if (pattern == comment)
            collectComments();
        else
            collect(pattern);
        for (const Match& match : m_matches)
            replace(match, rules[pattern].replacement);
        return !m_matches.empty();
    }

    void collectComments()
    {
        Node start = nextHead(comment, none);
        while (start != none) {
            // The star that opens a comment can't close it as well.
            const Node end = nextHead(commentEnd, at(start).next);
            if (end == none)
                return;
            m_matches.push_back({start, at(end).next});
            start = nextHead(comment, m_matches.back().last);
        }
    }

    void collect(Pattern pattern)
    {
        for (Node start = nextHead(pattern, none); start != none;
             start = nextHead(pattern, m_matches.back().last)) {
            const Node last = endOfMatch(pattern, start);
            if (last == none)
                return;
            m_matches.push_back({start, last});
        }
    }

    /// The last node of a match that begins here. None for a font face that isn't closed: then no later one
    /// is either.
    Node endOfMatch(Pattern pattern, Node start)
    {
        Node last = endOfHead(pattern, start);
        const char16_t end = rules[pattern].end;
        if (end == 0)
            return last;
        if (pattern == fontFace && lastBrace() < last)
            return none;
        while (at(last).next != none) {
            last = at(last).next;
            if (at(last).unit == end)
                break;
        }
        return last;
    }

    /// The last "}" of the text. Braces are only ever removed, so it only moves to the left.
    Node lastBrace()
    {
        while (m_lastBrace != none && at(m_lastBrace).unit != u'}')
            --m_lastBrace;
        return m_lastBrace;
    }

    void replace(Match match, QLatin1StringView replacement)
    {
        const Node before = at(match.first).previous;
        const Node after = at(match.last).next;
        Node reused = match.first;
        Node last = before;
        for (const char character : replacement) {
            Node node = reused;
            if (node == after) {
                // "position:static" can be one longer than what it replaces. The node added for it stands out
                // of order, but no match begins in it.
                node = append(0);
            } else {
                reused = at(reused).next;
                setHeads(node, 0);
            }
            at(node).unit = static_cast<uchar>(character);
            link(last, node);
            last = node;
        }
        while (reused != after) {
            setHeads(reused, 0);
            at(reused).unit = 0;
            reused = at(reused).next;
        }
        link(last, after);
        if (last == before && isSpace(before) && isSpace(after)) {
            const Node runStart = at(before).otherEnd;
            joinRun(runStart, at(after).otherEnd);
            last = at(runStart).previous;
        }
        renewHeadsUpTo(last, static_cast<int>(replacement.size()) + reachOfHeads);
    }

    void link(Node left, Node right)
    {
        if (left == none)
            m_front = right;
        else
            at(left).next = right;
        if (right != none)
            at(right).previous = left;
    }

    /// Looks again at the last nodes up to this one, `count` of them that are no white space. The node must
    /// not stand within a run of white space.
    void renewHeadsUpTo(Node node, int count)
    {
        while (node != none && count > 0) {
            if (isSpace(node)) {
                node = at(at(node).otherEnd).previous;
                continue;
            }
            renewHeads(node);
            node = at(node).previous;
            --count;
        }
    }

    QString text() const
    {
        QString result;
        result.reserve(static_cast<qsizetype>(m_nodes.size()));
        for (Node node = m_front; node != none; node = at(node).next)
            result += QChar(at(node).unit);
        return result;
    }

    std::vector<Character> m_nodes;
    std::vector<IndexSet> m_sets; ///< for each pattern where its fixed pieces begin, and where "*/" stands
    std::vector<Match> m_matches;
    Node m_front = none;
    Node m_lastBrace;
};

} // namespace

QString sanitizeCSS(const QString& css)
{
    QString text = withoutEscapes(css);
    if (UnitScan::holds<u'<'>(text))
        text.remove(u'<');
    // Honest styles need one round that changes something, if any, and a plain string is ten times as fast.
    constexpr int plainRounds = 3;
    for (int round = 0; round < plainRounds; ++round) {
        if (!replaceOnce(text))
            return text;
    }
    return Replacer(text).run();
}

} // namespace Larkhaven::HTMLSanitizer
