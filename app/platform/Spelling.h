#pragma once

#include "platform/Tasks.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QThreadPool>
#include <QTimer>

#include <memory>

namespace Larkhaven {

/// The spelling of all texts that are being written: one set of dictionaries for the process, which is loaded
/// and asked on a worker of its own. Main thread; what is known is answered at once, and the rest tells of
/// itself when it has been looked up.
class Spelling : public QObject {
    Q_OBJECT

public:
    enum class Verdict { unknown, right, wrong };

    /// The one of the process.
    static Spelling& shared();

    explicit Spelling(QObject* parent = nullptr);
    ~Spelling() override;

    /// Of one language; beyond these it begins to learn anew.
    static constexpr qsizetype mostKnownWords = 50'000;
    /// Nothing is suggested for longer words: a dictionary tries out every change of a letter.
    static constexpr qsizetype longestSuggestedWord = 24;

    /// The tags of the installed dictionaries, such as "en_US"; empty until they are read.
    const QStringList& languages() const { return m_languages; }
    /// Whether they are read.
    bool isLoaded() const { return m_isLoaded; }
    /// Remembers that there is no dictionary for the locale; false where that was known.
    bool noteMissing(const QString& locale);

    /// What is known of the word. Where nothing is, it is looked up, and `learned` tells when it has been.
    Verdict verdict(const QString& language, const QString& word);
    Task<QStringList> suggestions(QString language, QString word);
    /// Adds the word to the user's own dictionary of the language.
    void add(const QString& language, const QString& word);
    /// Takes the word for right until the program ends.
    void ignore(const QString& language, const QString& word);

Q_SIGNALS:
    void languagesChanged();
    /// Words of the language have got a verdict, or another one.
    void learned(const QString& language);

private:
    struct Dictionaries;

    Task<> load();
    void lookUp();
    Task<> lookUp(QString language, QStringList words);
    void learn(const QString& language, const QString& word, bool isRight);
    Task<> teach(QString language, QString word, bool isForGood);

    std::shared_ptr<Dictionaries> m_dictionaries; ///< for the worker alone
    QThreadPool m_worker;
    QStringList m_languages;
    bool m_isLoaded = false;
    QSet<QString> m_missing;                      ///< locales without a dictionary
    QHash<QString, QHash<QString, bool>> m_known; ///< whether words are right, by language
    QHash<QString, QSet<QString>> m_asked;        ///< what the worker is still to tell, or is being asked
    QHash<QString, QStringList> m_waiting;        ///< what the worker is asked next
    QTimer m_soon;
};

} // namespace Larkhaven
