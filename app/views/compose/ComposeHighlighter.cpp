#include "views/compose/ComposeHighlighter.h"

#include "app/platform/SpellChecker.h"
#include "views/richtext/ComposeFormat.h"
#include "views/style/Style.h"

#include <QTextBlock>
#include <QTextBoundaryFinder>
#include <QTextDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// States of paragraphs: they say whether one waits.
constexpr int looked = 0;
constexpr int waiting = 1;
/// Words of it are being looked up.
constexpr int asked = 2;

/// Addresses of any kind are no words.
bool isAddress(QStringView piece)
{
    return piece.contains(u'@') || piece.contains("://"_L1) || piece.startsWith("www."_L1);
}

bool isChecked(QStringView word)
{
    const auto isForeign = [](QChar character) { return character.isDigit() || character == u'_'; };
    return word.size() > 1 && word.size() <= SpellChecker::longestWord &&
           std::ranges::none_of(word, isForeign);
}

} // namespace

ComposeHighlighter::ComposeHighlighter(QTextDocument* document, Spelling& spelling,
                                       std::function<int()> typingPosition)
    : QSyntaxHighlighter(document)
    , m_spelling(spelling)
    , m_typingPosition(std::move(typingPosition))
{
    m_turn.setInterval(0);
    m_turn.setSingleShot(true);
    connect(&m_turn, &QTimer::timeout, this, &ComposeHighlighter::takeTurn);
    connect(&spelling, &Spelling::learned, this, &ComposeHighlighter::followSpelling);
}

void ComposeHighlighter::restart()
{
    m_budget = textPerTurn;
    rehighlight();
}

void ComposeHighlighter::setLanguages(const SpellingLanguages& languages)
{
    if (languages == m_languages)
        return;
    m_languages = languages;
    m_asking.clear();
    restart();
}

/// What has been looked up is marked in later turns.
void ComposeHighlighter::followSpelling(const QString& language)
{
    if (!m_asking.remove(language))
        return;
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        if (block.userState() != asked)
            continue;
        block.setUserState(waiting);
        m_firstWaiting =
            m_firstWaiting < 0 ? block.blockNumber() : std::min(m_firstWaiting, block.blockNumber());
        m_turn.start();
    }
}

template <typename Visit>
void ComposeHighlighter::visitWords(const QString& text, Visit visit)
{
    // What others wrote is not the writer's to mend.
    if (text.startsWith(u'>'))
        return;
    const QStringView checked = QStringView(text).first(std::min(text.size(), longestParagraph));
    qsizetype position = 0;
    while (position < checked.size()) {
        qsizetype end = position;
        while (end < checked.size() && !checked[end].isSpace())
            ++end;
        const QStringView piece = checked.sliced(position, end - position);
        if (!piece.isEmpty() && !isAddress(piece)) {
            QTextBoundaryFinder finder(QTextBoundaryFinder::Word, piece.data(), piece.size());
            while (finder.position() >= 0 && finder.position() < piece.size()) {
                const qsizetype start = finder.position();
                const bool isWord = finder.boundaryReasons().testFlag(QTextBoundaryFinder::StartOfItem);
                const qsizetype next = finder.toNextBoundary();
                if (isWord && next > start && isChecked(piece.sliced(start, next - start)))
                    visit(position + start, next - start);
            }
        }
        position = end + 1;
    }
}

void ComposeHighlighter::highlightBlock(const QString& text)
{
    markRuns();
    if (m_languages == SpellingLanguages() || ComposeFormat::quoteLevel(currentBlock().blockFormat()) > 0) {
        setCurrentBlockState(looked);
        return;
    }
    if (m_budget <= 0) {
        const int number = currentBlock().blockNumber();
        m_firstWaiting = m_firstWaiting < 0 ? number : std::min(m_firstWaiting, number);
        setCurrentBlockState(waiting);
        m_turn.start();
        return;
    }
    // The budget comes back with the next turn.
    m_budget -= text.size() + 1;
    m_turn.start();
    setCurrentBlockState(looked);
    markSpelling(text);
}

/// Links in their colour, and runs with a size of their own in the size that it has today.
void ComposeHighlighter::markRuns()
{
    const QTextBlock block = currentBlock();
    for (auto place = block.begin(); !place.atEnd(); ++place) {
        const QTextFragment fragment = place.fragment();
        const QTextCharFormat own = fragment.charFormat();
        QTextCharFormat mark;
        if (!ComposeFormat::link(own).isEmpty()) {
            mark.setForeground(Style::shared().colors().accent);
            mark.setFontUnderline(true);
        }
        const std::optional<double> size = ComposeFormat::size(own);
        if (size && own.intProperty(QTextFormat::FontPixelSize) != m_sizes.pixels(*size))
            mark.setProperty(QTextFormat::FontPixelSize, m_sizes.pixels(*size));
        if (!mark.isEmpty())
            setFormat(fragment.position() - block.position(), fragment.length(), mark);
    }
}

void ComposeHighlighter::markSpelling(const QString& text)
{
    const int base = currentBlock().position();
    const int typingPosition = m_typingPosition();
    visitWords(text, [&](qsizetype start, qsizetype length) {
        const QString word = text.sliced(start, length);
        const QString language = m_languages.of(word);
        const Spelling::Verdict verdict = m_spelling.verdict(language, word);
        if (verdict == Spelling::Verdict::unknown) {
            m_asking.insert(language);
            setCurrentBlockState(asked);
        }
        if (verdict != Spelling::Verdict::wrong)
            return;
        const int first = static_cast<int>(start);
        const int count = static_cast<int>(length);
        if (typingPosition == base + first + count) {
            m_unmarkedBlock = currentBlock().blockNumber();
            return;
        }
        // A word may be of several runs.
        for (int place = first; place < first + count; ++place) {
            QTextCharFormat mark = format(place);
            mark.setUnderlineStyle(QTextCharFormat::SpellCheckUnderline);
            mark.setUnderlineColor(Style::shared().colors().danger);
            setFormat(place, 1, mark);
        }
    });
}

void ComposeHighlighter::takeTurn()
{
    m_budget = textPerTurn;
    if (m_firstWaiting < 0)
        return;
    QTextBlock block = document()->findBlockByNumber(std::exchange(m_firstWaiting, -1));
    for (; block.isValid() && m_budget > 0; block = block.next()) {
        // Looking for what waits costs a little as well.
        --m_budget;
        if (block.userState() == waiting)
            rehighlightBlock(block);
    }
    if (block.isValid()) {
        m_firstWaiting = block.blockNumber();
        m_turn.start();
    }
}

ComposeHighlighter::Word ComposeHighlighter::misspelledAt(int position) const
{
    const QTextBlock block = document()->findBlock(position);
    if (!block.isValid() || ComposeFormat::quoteLevel(block.blockFormat()) > 0)
        return {};
    const QString text = block.text();
    Word found;
    visitWords(text, [&](qsizetype start, qsizetype length) {
        const qsizetype first = block.position() + start;
        if (position < first || position > first + length || !found.text.isEmpty())
            return;
        const QString word = text.sliced(start, length);
        const QString language = m_languages.of(word);
        if (m_spelling.verdict(language, word) == Spelling::Verdict::wrong)
            found = {static_cast<int>(first), word, language};
    });
    return found;
}

void ComposeHighlighter::followCursor()
{
    if (m_unmarkedBlock < 0)
        return;
    const QTextBlock block = document()->findBlockByNumber(std::exchange(m_unmarkedBlock, -1));
    if (block.isValid())
        rehighlightBlock(block);
}

} // namespace Larkhaven
