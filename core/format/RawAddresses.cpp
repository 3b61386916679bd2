#include "format/RawAddresses.h"

#include "domain/ShownText.h"
#include "domain/Text.h"
#include "format/AddressConstructs.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <unicode/uidna.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven::RawAddresses {

namespace {

bool isSpace(QChar character)
{
    return Text::isSpace(character) || Text::isLineEnd(character);
}

// --- Constructs

/// Where the comments, quoted strings, angle brackets, domain literals and encoded words of a text end (RFC
/// 5322, 3.2.2 to 3.4.1). Each search either passes over what it has read or is the last of its kind, so that
/// all of them together are linear.
class Constructs {
public:
    explicit Constructs(QStringView text)
        : m_text(text)
    {}

    /// The position behind what begins here; absent where nothing does, or where it is never closed.
    std::optional<qsizetype> endOf(qsizetype start)
    {
        switch (m_text[start].unicode()) {
        case u'"':
            return ended(start, m_openQuote, &Constructs::endOfQuote);
        case u'(':
            return ended(start, m_openComment, &Constructs::endOfComment);
        case u'<':
            return ended(start, m_openAngle, &Constructs::endOfAngle);
        case u'[':
            return ended(start, m_openLiteral, &Constructs::endOfLiteral);
        case u'=':
            return endOfWord(start);
        default:
            return std::nullopt;
        }
    }

private:
    using Search = std::optional<qsizetype> (Constructs::*)(qsizetype);

    /// A search that fails has gone to the end: none of its kind behind it can succeed.
    std::optional<qsizetype> ended(qsizetype start, bool& isOver, Search search)
    {
        if (isOver)
            return std::nullopt;
        const std::optional<qsizetype> end = (this->*search)(start);
        isOver = !end;
        return end;
    }

    std::optional<qsizetype> endOfQuote(qsizetype start)
    {
        return AddressConstructs::endOfQuotedString(m_text, start);
    }

    std::optional<qsizetype> endOfComment(qsizetype start)
    {
        return AddressConstructs::endOfComment(m_text, start);
    }

    /// An encoded word (RFC 2047, 2) is one piece, whatever stands in it: "=?charset?encoding?text?=".
    std::optional<qsizetype> endOfWord(qsizetype start)
    {
        constexpr qsizetype longestWord = 1'000;
        qsizetype mark = start + 1;
        if (mark == m_text.size() || m_text[mark] != u'?')
            return std::nullopt;
        for (int marks = 1; marks < 3; ++marks) {
            mark = m_text.indexOf(u'?', mark + 1);
            if (mark < 0)
                return std::nullopt;
        }
        // A text that is full of beginnings has one end, and one space, for many of them: neither is looked
        // for again.
        if (m_wordEnd <= mark) {
            const qsizetype found = m_text.indexOf(QStringView(u"?="), mark + 1);
            m_wordEnd = found < 0 ? m_text.size() : found;
        }
        if (m_space < start) {
            const auto found = std::find_if(m_text.begin() + start, m_text.end(), isSpace);
            m_space = found - m_text.begin();
        }
        constexpr qsizetype endSize = 2;
        const qsizetype end = m_wordEnd + endSize;
        const bool isWord = m_wordEnd < m_text.size() && m_wordEnd < m_space && end - start <= longestWord;
        return isWord ? std::optional(end) : std::nullopt;
    }

    std::optional<qsizetype> endOfLiteral(qsizetype start)
    {
        const qsizetype end = m_text.indexOf(u']', start);
        return end < 0 ? std::nullopt : std::optional(end + 1);
    }

    std::optional<qsizetype> endOfAngle(qsizetype start)
    {
        qsizetype index = start + 1;
        while (index < m_text.size()) {
            if (m_text[index] == u'>')
                return index + 1;
            const bool mayNest = m_text[index] == u'"' || m_text[index] == u'(';
            const std::optional<qsizetype> end = mayNest ? endOf(index) : std::nullopt;
            index = end.value_or(index + 1);
        }
        return std::nullopt;
    }

    QStringView m_text;
    qsizetype m_wordEnd = -1; ///< of encoded words: the "?=" that was found last
    qsizetype m_space = -1;   ///< that was found last
    bool m_openQuote = false;
    bool m_openComment = false;
    bool m_openAngle = false;
    bool m_openLiteral = false;
};

// --- One address

/// The words of an addr-spec: space and comments beside an "@" or a full stop don't cut (RFC 5322, 4.4).
QStringList wordsOf(QStringView text)
{
    QStringList words;
    QString word;
    bool isCut = false;
    const auto add = [&](QStringView piece) {
        const bool isJoint =
            piece.front() == u'@' || piece.front() == u'.' || word.endsWith(u'@') || word.endsWith(u'.');
        if (isCut && !isJoint && !word.isEmpty()) {
            words.append(word);
            word.clear();
        }
        isCut = false;
        word += piece;
    };
    Constructs constructs(text);
    for (qsizetype index = 0; index < text.size();) {
        const QChar character = text[index];
        const std::optional<qsizetype> end = constructs.endOf(index);
        if (isSpace(character) || (end && character == u'(')) {
            isCut = true;
        } else {
            add(text.sliced(index, end.value_or(index + 1) - index));
        }
        index = end.value_or(index + 1);
    }
    if (!word.isEmpty())
        words.append(word);
    return words;
}

/// Whether an "@" with something beside it stands outside of quoted strings.
bool isAddress(const QString& word)
{
    if (word.size() == 1)
        return false;
    Constructs constructs(word);
    for (qsizetype index = 0; index < word.size();) {
        if (word[index] == u'@')
            return true;
        index = constructs.endOf(index).value_or(index + 1);
    }
    return false;
}

/// Without the hosts that it once had to go through: "@a,@b:real@c" (RFC 5322, 4.4).
QStringView withoutRoute(QStringView text)
{
    const QStringView trimmed = Text::trimmedSpaceAndLineEnds(text);
    const qsizetype colon = trimmed.indexOf(u':');
    return trimmed.startsWith(u'@') && colon > 0 ? trimmed.sliced(colon + 1) : trimmed;
}

/// What stands within angle brackets.
QString angleAddress(QStringView content)
{
    const QStringList words = wordsOf(withoutRoute(content));
    // Of several words the last address counts; without any they are shown as they stand.
    const auto address = std::find_if(words.crbegin(), words.crend(), isAddress);
    return address == words.crend() ? words.join(u' ') : *address;
}

/// What stands between two separators.
class Mailbox {
public:
    void addCharacter(QChar character) { addPiece(QStringView(&character, 1)); }

    void addConstruct(QStringView construct)
    {
        if (construct.front() == u'<')
            return addAngle(construct);
        if (construct.front() == u'(') {
            m_comments.append(AddressConstructs::contentOf(construct));
            // Behind the address it is no part of a name.
            if (m_hasAngle)
                return;
        }
        if (construct.front() == u'"') {
            m_bare += construct;
            m_phrase += AddressConstructs::contentOf(construct);
            return;
        }
        addPiece(construct);
    }

    /// The phrase was the name of a group.
    void forgetPhrase() { *this = Mailbox(); }

    void finish(QList<EmailAddress>& addresses)
    {
        // Addresses behind brackets are pieces of their own.
        addBare(addresses, !m_hasAngle);
        *this = Mailbox();
    }

    /// The address that the brackets give, with what stood before them as its name.
    std::optional<EmailAddress> takenAngle() { return std::exchange(m_taken, std::nullopt); }

private:
    void addPiece(QStringView piece)
    {
        m_bare += piece;
        m_phrase += piece;
    }

    void addAngle(QStringView construct)
    {
        const QString address = angleAddress(construct.sliced(1).chopped(1));
        if (!address.isEmpty())
            m_taken = EmailAddress(m_phrase, address);
        m_hasAngle = true;
        m_phrase.clear();
        m_bare.clear();
    }

    void addBare(QList<EmailAddress>& addresses, bool mayHaveName) const
    {
        QStringList words = wordsOf(m_bare);
        const qsizetype count = std::ranges::count_if(words, isAddress);
        if (count == 0)
            return;
        // Nobody can say which of several is meant.
        for (const QString& word : std::as_const(words)) {
            if (count > 1 && isAddress(word))
                addresses.append(EmailAddress(std::nullopt, word));
        }
        if (count > 1)
            return;
        const auto address = std::find_if(words.crbegin(), words.crend(), isAddress);
        QStringView found = *address;
        // Brackets that have lost their other half.
        while (found.startsWith(u'<') || found.startsWith(u'>'))
            found = found.sliced(1);
        while (found.endsWith(u'<') || found.endsWith(u'>'))
            found.chop(1);
        const QString bare = found.toString();
        QString name;
        if (mayHaveName) {
            words.removeAt(words.crend() - address - 1);
            name = words.isEmpty() ? m_comments.join(u' ') : words.join(u' ');
        }
        addresses.append(EmailAddress(name, bare));
    }

    QString m_phrase; ///< what may be the name: quoted strings as what they hold
    QString m_bare;   ///< the same as it stands
    QStringList m_comments;
    std::optional<EmailAddress> m_taken;
    bool m_hasAngle = false;
};

} // namespace

QList<EmailAddress> read(QStringView value, qsizetype most)
{
    QList<EmailAddress> addresses;
    Mailbox mailbox;
    Constructs constructs(value);
    const qsizetype lastGroupEnd = value.lastIndexOf(u';');
    for (qsizetype index = 0; index < value.size() && addresses.size() < most;) {
        if (const std::optional<qsizetype> end = constructs.endOf(index)) {
            mailbox.addConstruct(value.sliced(index, *end - index));
            if (const std::optional<EmailAddress> address = mailbox.takenAngle())
                addresses.append(*address);
            index = *end;
            continue;
        }
        const QChar character = value[index++];
        if (character == u',' || character == u';')
            mailbox.finish(addresses);
        else if (character == u':' && index <= lastGroupEnd)
            mailbox.forgetPhrase();
        else
            mailbox.addCharacter(character);
    }
    mailbox.finish(addresses);
    return addresses.first(std::min(addresses.size(), most));
}

// --- What looks like an address

namespace {

/// What a reader takes the character for.
QChar seen(QChar character)
{
    constexpr std::array<char16_t, 4> fullStops{u'\ufe52', u'\u2024', u'\u3002', u'\uff61'};
    if (character == u'\ufe6b')
        return u'@';
    if (std::ranges::find(fullStops, character.unicode()) != fullStops.end())
        return u'.';
    const bool isFullWidth = character >= u'\uff01' && character <= u'\uff5e';
    return isFullWidth ? QChar(static_cast<char16_t>(character.unicode() - 0xfee0)) : character;
}

bool isBetweenWords(QChar character)
{
    if (character.unicode() < 0x80)
        return character.unicode() <= u' ' || character == u'\x7f' ||
               QStringView(uR"(<>()[],;:"\)").contains(character);
    switch (character.category()) {
    case QChar::Separator_Space:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
    case QChar::Other_Control:
    case QChar::Punctuation_Open:
    case QChar::Punctuation_Close:
    case QChar::Punctuation_InitialQuote:
    case QChar::Punctuation_FinalQuote:
        return true;
    default:
        return false;
    }
}

bool isPartOfWord(QChar character)
{
    return character.isLetterOrNumber() || character.isMark() || character.isSurrogate();
}

/// Without the punctuation that stands around it.
QStringView bare(QStringView text)
{
    while (!text.isEmpty() && !isPartOfWord(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && !isPartOfWord(text.back()))
        text.chop(1);
    return text;
}

UIDNA* idna()
{
    static const std::unique_ptr<UIDNA, decltype(&uidna_close)> shared = [] {
        UErrorCode status = U_ZERO_ERROR;
        return std::unique_ptr<UIDNA, decltype(&uidna_close)>(
            uidna_openUTS46(UIDNA_NONTRANSITIONAL_TO_ASCII, &status), &uidna_close);
    }();
    return shared.get();
}

} // namespace

QString domainForm(QStringView domain)
{
    constexpr qsizetype longest = 255;
    const QString lowered = Text::lowered(domain);
    const bool isASCII = std::ranges::all_of(lowered, [](QChar unit) { return unit.unicode() < 0x80; });
    if (isASCII || lowered.size() > longest)
        return lowered;
    UErrorCode status = U_ZERO_ERROR;
    UIDNAInfo info = UIDNA_INFO_INITIALIZER;
    QString form(4 * longest, Qt::Uninitialized);
    const int32_t length = uidna_nameToASCII(
        idna(), reinterpret_cast<const char16_t*>(lowered.utf16()), static_cast<int32_t>(lowered.size()),
        reinterpret_cast<char16_t*>(form.data()), static_cast<int32_t>(form.size()), &info, &status);
    return U_FAILURE(status) || info.errors != 0 ? lowered : form.first(length);
}

namespace {

/// Goes over the words of a text and collects what stands around their "@"s.
class Seen {
public:
    void add(QStringView word)
    {
        qsizetype start = 0;
        bool isFirst = true;
        for (qsizetype index = 0; index <= word.size(); ++index) {
            const bool isAt = index < word.size() && word[index] == u'@';
            if (!isAt && index < word.size())
                continue;
            take(word.sliced(start, index - start), isFirst);
            // An "@" at the end of a word waits for the next one.
            m_isOpen = isAt || (m_isOpen && index == start);
            isFirst = false;
            start = index + 1;
        }
    }

    QList<QString> taken() && { return std::move(m_found); }

private:
    /// A stretch without "@"; `isFirst` of its word.
    void take(QStringView stretch, bool isFirst)
    {
        const QStringView piece = bare(stretch);
        if (m_isOpen && !piece.isEmpty()) {
            const QString domain = domainForm(piece);
            const bool isOneWord = !isFirst && !m_last.isEmpty();
            if (isOneWord)
                m_found.append(Text::lowered(m_last) + u'@' + domain);
            else if (domain.contains(u'.'))
                m_found.append(u'@' + domain);
        }
        m_last = piece.toString();
    }

    QList<QString> m_found;
    QString m_last;        ///< the stretch before
    bool m_isOpen = false; ///< an "@" stands before the next stretch
};

} // namespace

QList<QString> seenIn(QStringView text)
{
    QString plain = ShownText::line(text, text.size());
    std::ranges::transform(plain, plain.begin(), seen);
    Seen seen;
    const QStringView whole(plain);
    qsizetype start = 0;
    for (qsizetype index = 0; index <= whole.size(); ++index) {
        if (index < whole.size() && !isBetweenWords(whole[index]))
            continue;
        if (index > start)
            seen.add(whole.sliced(start, index - start));
        start = index + 1;
    }
    return std::move(seen).taken();
}

} // namespace Larkhaven::RawAddresses
