#include "views/compose/ComposeSpelling.h"

#include "app/platform/Spelling.h"
#include "platform/Tasks.h"
#include "views/compose/ComposeHighlighter.h"
#include "views/richtext/TextRuns.h"
#include "views/style/DisplayText.h"

#include <QActionGroup>
#include <QGuiApplication>
#include <QInputMethod>
#include <QLocale>
#include <QMenu>
#include <QTextDocument>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// A menu that was opened so long ago gets no suggestions any more.
constexpr std::chrono::seconds suggestionPatience(2);

/// The language as the system names it; its tag where it has no name.
QString nameOf(const QString& tag)
{
    const QLocale locale(tag);
    return locale.language() == QLocale::C ? tag
                                           : u"%1 (%2)"_s.arg(QLocale::languageToString(locale.language()),
                                                              QLocale::territoryToString(locale.territory()));
}

} // namespace

ComposeSpelling::ComposeSpelling(QObject* parent)
    : QObject(parent)
    , m_spelling(Spelling::shared())
{
    connect(QGuiApplication::inputMethod(), &QInputMethod::localeChanged, this,
            &ComposeSpelling::chooseLanguage);
    connect(&m_spelling, &Spelling::languagesChanged, this, &ComposeSpelling::chooseLanguage);
    chooseLanguage();
}

void ComposeSpelling::attach(QTextDocument& document, const ComposeFormat::Sizes& sizes,
                             std::function<int()> typingPosition)
{
    m_document = &document;
    m_highlighter = new ComposeHighlighter(&document, m_spelling, std::move(typingPosition));
    m_highlighter->setSizes(sizes);
    m_highlighter->setLanguages(m_languages);
}

void ComposeSpelling::followLooks(const ComposeFormat::Sizes& sizes)
{
    if (!m_highlighter)
        return;
    m_highlighter->setSizes(sizes);
    m_highlighter->restart();
}

void ComposeSpelling::followCursor()
{
    if (m_highlighter)
        m_highlighter->followCursor();
}

void ComposeSpelling::chooseLanguage()
{
    const QStringList wanted{QGuiApplication::inputMethod()->locale().name(), QLocale().name()};
    m_languages = SpellingLanguages(m_spelling.languages(), wanted, m_chosen);
    if (m_highlighter)
        m_highlighter->setLanguages(m_languages);
    Q_EMIT languagesChanged();
}

QString ComposeSpelling::takeMissing()
{
    const QString missing = m_languages.missing();
    if (missing.isEmpty() || !m_spelling.isLoaded() || !m_spelling.noteMissing(missing))
        return {};
    return QLocale(missing).nativeLanguageName();
}

// --- The menu

void ComposeSpelling::addTo(QMenu& menu, int position)
{
    addWord(menu, menu.actions().value(0), position);
    if (!m_spelling.languages().isEmpty())
        addLanguages(menu);
}

void ComposeSpelling::addWord(QMenu& menu, QAction* before, int position)
{
    const ComposeHighlighter::Word word =
        m_highlighter ? m_highlighter->misspelledAt(position) : ComposeHighlighter::Word();
    if (word.text.isEmpty())
        return;
    using Teach = void (*)(Spelling&, const ComposeHighlighter::Word&);
    const auto add = [this, &menu, before, word](const QString& text, Teach teach) {
        auto* const item = new QAction(text, &menu);
        connect(item, &QAction::triggered, this, [this, word, teach] {
            teach(m_spelling, word);
            if (m_highlighter)
                m_highlighter->restart();
        });
        menu.insertAction(before, item);
    };
    // A dictionary may think for a while, and the menu must not wait for it.
    if (word.text.size() <= Spelling::longestSuggestedWord) {
        auto* const place = new QAction(tr("Looking for Suggestions…"), &menu);
        place->setEnabled(false);
        menu.insertAction(before, place);
        QTimer::singleShot(suggestionPatience, place, &QObject::deleteLater);
        spawn(addSuggestions(&menu, place, word), dropFailure);
    }
    add(tr("Add to Dictionary"), [](Spelling& spelling, const ComposeHighlighter::Word& right) {
        spelling.add(right.language, right.text);
    });
    add(tr("Ignore"), [](Spelling& spelling, const ComposeHighlighter::Word& right) {
        spelling.ignore(right.language, right.text);
    });
    menu.insertSeparator(before);
}

Task<> ComposeSpelling::addSuggestions(QPointer<QMenu> menu, QPointer<QAction> place,
                                       ComposeHighlighter::Word word)
{
    const QPointer<ComposeSpelling> self(this);
    const QStringList suggestions = co_await m_spelling.suggestions(word.language, word.text);
    if (!self || !menu || !place)
        co_return;
    for (const QString& suggestion : suggestions) {
        auto* const item = new QAction(DisplayText::menuItem(suggestion), menu);
        connect(item, &QAction::triggered, this,
                [this, word, suggestion] { replace(word.position, word.text, suggestion); });
        menu->insertAction(place, item);
    }
    delete place;
}

/// Only where the word still stands there.
void ComposeSpelling::replace(int position, const QString& word, const QString& by)
{
    const int end = position + static_cast<int>(word.size());
    if (!m_document || end >= m_document->characterCount())
        return;
    QTextCursor range = selectedText(m_document, position, end);
    if (range.selectedText() == word)
        range.insertText(by, range.charFormat());
}

void ComposeSpelling::addLanguages(QMenu& menu)
{
    menu.addSeparator();
    QMenu* const languages = menu.addMenu(tr("Spelling Language"));
    auto* const group = new QActionGroup(languages);
    for (const QString& tag : m_spelling.languages()) {
        QAction* const item = languages->addAction(DisplayText::menuItem(nameOf(tag)));
        item->setCheckable(true);
        item->setChecked(tag == m_languages.main());
        group->addAction(item);
        connect(item, &QAction::triggered, this, [this, tag] {
            m_chosen = tag;
            chooseLanguage();
        });
    }
}

} // namespace Larkhaven
