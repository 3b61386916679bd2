#pragma once

#include <QChar>
#include <QHash>
#include <QString>
#include <QStringList>

namespace Larkhaven {

/// Which dictionary a word is checked by: the one of its script. A text in Greek with some English words has
/// both checked, each by its own, and a language without a dictionary is never checked by that of another
/// one. A value.
class SpellingLanguages {
public:
    SpellingLanguages() = default;
    /// `installed`: the tags of the dictionaries, such as "en_US". `wanted`: the locales of the user, the one
    /// that is written in first; without any, English is. `chosen`: the dictionary that the user picked for
    /// this text; empty for none.
    SpellingLanguages(const QStringList& installed, const QStringList& wanted, const QString& chosen = {});

    /// The dictionary for most of the text; empty where there is none.
    const QString& main() const { return m_main; }
    /// The dictionary for a word; empty where it isn't checked: for its script there is none, or it mixes
    /// scripts. Linear in the word.
    QString of(QStringView word) const;
    /// The locale that is written in, where there is no dictionary for its language; empty otherwise.
    const QString& missing() const { return m_missing; }

    bool operator==(const SpellingLanguages&) const = default;

private:
    QString m_main;
    QString m_missing;
    QHash<int, QString> m_byScript; ///< of QChar::Script; an empty tag where a script is left alone
};

} // namespace Larkhaven
