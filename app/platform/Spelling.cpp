#include "app/platform/Spelling.h"

#include "app/platform/SpellChecker.h"

#include <QCoreApplication>
#include <QPointer>

namespace Larkhaven {

/// One checker for each language in use.
struct Spelling::Dictionaries {
    SpellChecker& of(const QString& language)
    {
        std::shared_ptr<SpellChecker>& checker = byLanguage[language];
        if (!checker) {
            checker = std::make_shared<SpellChecker>();
            checker->setLanguage(language);
        }
        return *checker;
    }

    QHash<QString, std::shared_ptr<SpellChecker>> byLanguage;
};

Spelling& Spelling::shared()
{
    // The application owns it: its worker must have ended before the libraries go.
    static QPointer<Spelling> spelling;
    if (!spelling)
        spelling = new Spelling(QCoreApplication::instance());
    return *spelling;
}

Spelling::Spelling(QObject* parent)
    : QObject(parent)
    , m_dictionaries(std::make_shared<Dictionaries>())
{
    m_worker.setMaxThreadCount(1);
    m_soon.setSingleShot(true);
    connect(&m_soon, &QTimer::timeout, this, qOverload<>(&Spelling::lookUp));
    spawn(load(), dropFailure);
}

Spelling::~Spelling()
{
    m_worker.clear();
    m_worker.waitForDone();
}

Task<> Spelling::load()
{
    const QPointer<Spelling> self(this);
    const auto work = [] { return SpellChecker().languages(); };
    const QStringList languages = co_await runOn(&m_worker, work);
    if (!self)
        co_return;
    m_languages = languages;
    m_isLoaded = true;
    Q_EMIT languagesChanged();
}

bool Spelling::noteMissing(const QString& locale)
{
    const qsizetype before = m_missing.size();
    m_missing.insert(locale);
    return m_missing.size() > before;
}

Spelling::Verdict Spelling::verdict(const QString& language, const QString& word)
{
    if (language.isEmpty())
        return Verdict::right;
    const QHash<QString, bool>& known = m_known[language];
    if (const auto found = known.constFind(word); found != known.constEnd())
        return *found ? Verdict::right : Verdict::wrong;
    QSet<QString>& asked = m_asked[language];
    if (!asked.contains(word)) {
        asked.insert(word);
        m_waiting[language].append(word);
        m_soon.start(0);
    }
    return Verdict::unknown;
}

void Spelling::lookUp()
{
    const QHash<QString, QStringList> waiting = std::exchange(m_waiting, {});
    for (auto words = waiting.cbegin(); words != waiting.cend(); ++words)
        spawn(lookUp(words.key(), words.value()), dropFailure);
}

Task<> Spelling::lookUp(QString language, QStringList words)
{
    const QPointer<Spelling> self(this);
    const auto work = [dictionaries = m_dictionaries, language, words] {
        const SpellChecker& checker = dictionaries->of(language);
        QList<bool> areRight;
        for (const QString& word : words)
            areRight.append(checker.isCorrect(word));
        return areRight;
    };
    const QList<bool> areRight = co_await runOn(&m_worker, work);
    if (!self)
        co_return;
    for (qsizetype index = 0; index < words.size(); ++index) {
        // What was asked before a word was taught is out of date.
        if (m_asked[language].remove(words[index]))
            learn(language, words[index], areRight[index]);
    }
    Q_EMIT learned(language);
}

void Spelling::learn(const QString& language, const QString& word, bool isRight)
{
    QHash<QString, bool>& known = m_known[language];
    if (known.size() >= mostKnownWords)
        known.clear();
    known.insert(word, isRight);
}

Task<QStringList> Spelling::suggestions(QString language, QString word)
{
    QStringList none;
    if (language.isEmpty() || word.size() > longestSuggestedWord)
        co_return none;
    const auto work = [dictionaries = m_dictionaries, language, word] {
        return dictionaries->of(language).suggestions(word);
    };
    QStringList found = co_await runOn(&m_worker, work);
    co_return found;
}

void Spelling::add(const QString& language, const QString& word)
{
    spawn(teach(language, word, true), dropFailure);
}

void Spelling::ignore(const QString& language, const QString& word)
{
    spawn(teach(language, word, false), dropFailure);
}

Task<> Spelling::teach(QString language, QString word, bool isForGood)
{
    m_asked[language].remove(word);
    learn(language, word, true);
    Q_EMIT learned(language);
    const auto work = [dictionaries = m_dictionaries, language, word, isForGood] {
        SpellChecker& checker = dictionaries->of(language);
        isForGood ? checker.add(word) : checker.ignore(word);
    };
    co_await runOn(&m_worker, work);
}

} // namespace Larkhaven
