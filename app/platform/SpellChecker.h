#pragma once

#include <QString>
#include <QStringList>

#include <memory>

namespace Larkhaven {

/// The desktop's dictionaries, through enchant. Reads files of this machine only. One thread at a time;
/// loading a dictionary and asking for suggestions take up to a second (see `Spelling`).
///
/// Without a dictionary for the language every word counts as right.
class SpellChecker {
public:
    SpellChecker();
    ~SpellChecker();
    SpellChecker(const SpellChecker&) = delete;
    SpellChecker& operator=(const SpellChecker&) = delete;

    /// Longer words are never looked up.
    static constexpr qsizetype longestWord = 64;
    static constexpr qsizetype mostSuggestions = 6;

    /// The tags of the installed dictionaries, such as "en_US", in order.
    const QStringList& languages() const { return m_languages; }
    /// Empty where none is in use.
    const QString& language() const { return m_language; }
    /// Takes another dictionary; none with an empty or unknown tag.
    void setLanguage(const QString& tag);

    /// The installed language that fits the first of the wanted locales ("de_AT") that any fits: the same
    /// country, or another of the same language. Empty where none fits.
    static QString bestLanguage(const QStringList& installed, const QStringList& wanted);

    bool isCorrect(const QString& word) const;
    QStringList suggestions(const QString& word) const;
    /// Adds the word to the user's own dictionary of the language.
    void add(const QString& word);
    /// Takes the word for right until the program ends.
    void ignore(const QString& word);

private:
    struct Broker;
    bool canBeLookedUp(const QByteArray& word) const;

    std::unique_ptr<Broker> m_broker;
    QStringList m_languages;
    QString m_language;
};

} // namespace Larkhaven
