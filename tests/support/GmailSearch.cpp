#include "support/GmailSearch.h"

#include "support/RawHeaders.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QStringList names{u"from"_s, u"to"_s, u"subject"_s, u"rfc822msgid"_s, u"in"_s, u"is"_s, u"label"_s};

/// The terms as they stand, without their quotes.
QStringList split(const QString& query)
{
    QStringList terms;
    QString term;
    bool isQuoted = false;
    for (const QChar unit : query) {
        if (unit == u'"') {
            isQuoted = !isQuoted;
        } else if (unit.isSpace() && !isQuoted) {
            terms.append(term);
            term.clear();
        } else {
            term += unit;
        }
    }
    terms.append(term);
    terms.removeAll(QString());
    return terms;
}

bool contains(const QString& text, const QString& value)
{
    return text.contains(value, Qt::CaseInsensitive);
}

} // namespace

GmailSearch::GmailSearch(const QString& query, const GmailMailbox& mailbox)
    : m_mailbox(mailbox)
{
    for (QString text : split(query)) {
        Term term{text.size() > 1 && text.startsWith(u'-'), {}, {}};
        if (term.isNegative)
            text.remove(0, 1);
        const QString name = text.section(u':', 0, 0).toLower();
        const bool isNamed = text.contains(u':') && names.contains(name);
        term.name = isNamed ? name : QString();
        term.value = isNamed ? text.section(u':', 1) : text;
        m_terms.append(term);
    }
}

bool GmailSearch::matches(const GmailMailbox::Message& message) const
{
    return std::ranges::all_of(m_terms,
                               [&](const Term& term) { return holds(term, message) != term.isNegative; });
}

bool GmailSearch::reachesSpamAndTrash() const
{
    return std::ranges::any_of(m_terms, [](const Term& term) {
        return term.name == u"in"_s && !term.isNegative &&
               QStringList{u"anywhere"_s, u"spam"_s, u"trash"_s}.contains(term.value.toLower());
    });
}

bool GmailSearch::holds(const Term& term, const GmailMailbox::Message& message) const
{
    if (term.name == u"rfc822msgid"_s) {
        const QString wanted = QString(term.value).remove(u'<').remove(u'>');
        return RawHeaders::value(message.raw, u"Message-ID"_s).remove(u'<').remove(u'>') == wanted;
    }
    if (term.name == u"in"_s || term.name == u"is"_s)
        return isIn(term.value.toLower(), message);
    if (term.name == u"label"_s) {
        const GmailMailbox::Label* const label = m_mailbox.labelNamed(term.value);
        return label && message.labelIds.contains(label->id);
    }
    if (!term.name.isEmpty())
        return contains(RawHeaders::value(message.raw, term.name), term.value);
    return contains(RawHeaders::value(message.raw, u"Subject"_s), term.value) ||
           contains(RawHeaders::value(message.raw, u"From"_s), term.value) ||
           contains(RawHeaders::value(message.raw, u"To"_s), term.value) ||
           contains(RawHeaders::text(message.raw), term.value);
}

bool GmailSearch::isIn(const QString& place, const GmailMailbox::Message& message) const
{
    if (place == u"anywhere"_s)
        return true;
    if (place == u"read"_s)
        return !message.labelIds.contains(u"UNREAD"_s);
    const QString id = place == u"drafts"_s ? u"DRAFT"_s : place.toUpper();
    return message.labelIds.contains(id);
}

} // namespace Larkhaven
