#include "app/platform/SpellChecker.h"

#include "domain/Text.h"

#include <enchant.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

struct SpellChecker::Broker {
    Broker()
        : broker(enchant_broker_init())
    {}
    ~Broker()
    {
        letGo();
        enchant_broker_free(broker);
    }
    Broker(const Broker&) = delete;
    Broker& operator=(const Broker&) = delete;

    void letGo()
    {
        if (dictionary)
            enchant_broker_free_dict(broker, std::exchange(dictionary, nullptr));
    }

    EnchantBroker* broker;
    EnchantDict* dictionary = nullptr;
};

namespace {

/// Enchant's own default encoding and limits are those of C strings.
QByteArray bytesOf(const QString& word)
{
    return word.size() <= SpellChecker::longestWord ? word.toUtf8() : QByteArray();
}

void addLanguage(const char* tag, const char*, const char*, const char*, void* languages)
{
    static_cast<QStringList*>(languages)->append(QString::fromUtf8(tag));
}

QString languageOf(const QString& locale)
{
    return locale.section(u'_', 0, 0).section(u'-', 0, 0);
}

} // namespace

SpellChecker::SpellChecker()
    : m_broker(std::make_unique<Broker>())
{
    enchant_broker_list_dicts(m_broker->broker, addLanguage, &m_languages);
    m_languages.sort();
    m_languages.removeDuplicates();
}

SpellChecker::~SpellChecker() = default;

void SpellChecker::setLanguage(const QString& tag)
{
    if (tag == m_language)
        return;
    m_broker->letGo();
    m_language.clear();
    if (!m_languages.contains(tag))
        return;
    m_broker->dictionary = enchant_broker_request_dict(m_broker->broker, tag.toUtf8().constData());
    if (m_broker->dictionary)
        m_language = tag;
}

QString SpellChecker::bestLanguage(const QStringList& installed, const QStringList& wanted)
{
    for (const QString& locale : wanted) {
        QString language = languageOf(locale);
        QString tag = QString(locale).replace(u'-', u'_');
        if (installed.contains(tag))
            return tag;
        // "de_DE" is what most mean by "de".
        QString home = language + u'_' + Text::asciiUppered(language);
        if (installed.contains(home))
            return home;
        if (installed.contains(language))
            return language;
        for (const QString& other : installed) {
            if (languageOf(other) == language)
                return other;
        }
    }
    return {};
}

bool SpellChecker::canBeLookedUp(const QByteArray& word) const
{
    return m_broker->dictionary && !word.isEmpty() && !word.contains('\0');
}

bool SpellChecker::isCorrect(const QString& word) const
{
    const QByteArray bytes = bytesOf(word);
    // A negative answer is a failure of the dictionary: no mistake of the writer's.
    return !canBeLookedUp(bytes) ||
           enchant_dict_check(m_broker->dictionary, bytes.constData(), bytes.size()) <= 0;
}

QStringList SpellChecker::suggestions(const QString& word) const
{
    const QByteArray bytes = bytesOf(word);
    if (!canBeLookedUp(bytes))
        return {};
    std::size_t count = 0;
    char** const found = enchant_dict_suggest(m_broker->dictionary, bytes.constData(), bytes.size(), &count);
    if (!found)
        return {};
    QStringList suggestions;
    for (std::size_t index = 0; index < count && suggestions.size() < mostSuggestions; ++index)
        suggestions.append(QString::fromUtf8(found[index]));
    enchant_dict_free_string_list(m_broker->dictionary, found);
    return suggestions;
}

void SpellChecker::add(const QString& word)
{
    const QByteArray bytes = bytesOf(word);
    if (canBeLookedUp(bytes))
        enchant_dict_add(m_broker->dictionary, bytes.constData(), bytes.size());
}

void SpellChecker::ignore(const QString& word)
{
    const QByteArray bytes = bytesOf(word);
    if (canBeLookedUp(bytes))
        enchant_dict_add_to_session(m_broker->dictionary, bytes.constData(), bytes.size());
}

} // namespace Larkhaven
