#pragma once

#include "support/GmailMailbox.h"

#include <QList>
#include <QString>

namespace Larkhaven {

/// What `q` of a listing asks for: words and "quoted phrases", from:, to:, subject:, rfc822msgid:, in:, is:
/// and label:, each with "-" before it for its opposite. All of them must hold.
class GmailSearch {
public:
    GmailSearch(const QString& query, const GmailMailbox& mailbox);

    bool matches(const GmailMailbox::Message& message) const;
    /// Whether a term names the place where spam or trash lies, or all places.
    bool reachesSpamAndTrash() const;

private:
    struct Term {
        bool isNegative;
        QString name; ///< in lower case; empty for a word
        QString value;
    };

    bool holds(const Term& term, const GmailMailbox::Message& message) const;
    bool isIn(const QString& place, const GmailMailbox::Message& message) const;

    QList<Term> m_terms;
    const GmailMailbox& m_mailbox;
};

} // namespace Larkhaven
