#include "domain/Mailbox.h"

#include "domain/Coding.h"

#include <QCollator>
#include <QCoreApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Mailbox)
};

std::optional<Mailbox> mailboxFromStoredText(const QString& text)
{
    const auto found =
        std::ranges::find_if(allMailboxes, [&](Mailbox role) { return storedText(role) == text; });
    return found == allMailboxes.end() ? std::nullopt : std::optional(*found);
}

} // namespace

QString storedText(Mailbox role)
{
    switch (role) {
    case Mailbox::inbox:
        return u"inbox"_s;
    case Mailbox::starred:
        return u"starred"_s;
    case Mailbox::sent:
        return u"sent"_s;
    case Mailbox::drafts:
        return u"drafts"_s;
    case Mailbox::archive:
        return u"archive"_s;
    case Mailbox::spam:
        return u"spam"_s;
    case Mailbox::trash:
        return u"trash"_s;
    }
    Q_UNREACHABLE();
}

QString name(Mailbox role, ProviderKind provider)
{
    const bool google = provider == ProviderKind::google;
    switch (role) {
    case Mailbox::inbox:
        return Texts::tr("Inbox");
    case Mailbox::starred:
        return google ? Texts::tr("Starred") : Texts::tr("Flagged");
    case Mailbox::sent:
        return Texts::tr("Sent");
    case Mailbox::drafts:
        return Texts::tr("Drafts");
    case Mailbox::archive:
        return google ? Texts::tr("All Mail") : Texts::tr("Archive");
    case Mailbox::spam:
        return google ? Texts::tr("Spam") : Texts::tr("Junk");
    case Mailbox::trash:
        return Texts::tr("Trash");
    }
    Q_UNREACHABLE();
}

QString MailLabel::name() const
{
    const QStringList components = path.split(u'/', Qt::SkipEmptyParts);
    return components.isEmpty() ? path : components.last();
}

int MailLabel::depth() const
{
    return std::max(0, static_cast<int>(path.split(u'/', Qt::SkipEmptyParts).size()) - 1);
}

MailLabel MailLabel::fromJSON(const QJsonObject& object)
{
    return {Coding::string(object, "id"_L1), Coding::string(object, "path"_L1)};
}

QJsonObject MailLabel::toJSON() const
{
    return {{u"id"_s, id}, {u"path"_s, path}};
}

size_t qHash(const MailLabel& label, size_t seed)
{
    return qHashMulti(seed, label.id, label.path);
}

bool isOrderedBefore(const MailLabel& left, const MailLabel& right)
{
    static const QCollator collator = [] {
        QCollator words;
        words.setNumericMode(true);
        words.setCaseSensitivity(Qt::CaseInsensitive);
        return words;
    }();
    const QStringList leftWords = left.path.split(u'/', Qt::SkipEmptyParts);
    const QStringList rightWords = right.path.split(u'/', Qt::SkipEmptyParts);
    const qsizetype common = std::min(leftWords.size(), rightWords.size());
    for (qsizetype level = 0; level < common; ++level) {
        if (const int order = collator.compare(leftWords[level], rightWords[level]); order != 0)
            return order < 0;
        // Words that the locale takes for equal still keep their subtrees apart.
        if (leftWords[level] != rightWords[level])
            return leftWords[level] < rightWords[level];
    }
    if (leftWords.size() != rightWords.size())
        return leftWords.size() < rightWords.size();
    return left.id < right.id;
}

QString MailboxRef::id() const
{
    if (const MailLabel* ownLabel = label())
        return u"label:"_s + ownLabel->id;
    return u"system:"_s + storedText(std::get<Mailbox>(m_value));
}

QString MailboxRef::name(ProviderKind provider) const
{
    if (const MailLabel* ownLabel = label())
        return ownLabel->name();
    return Larkhaven::name(std::get<Mailbox>(m_value), provider);
}

std::optional<Mailbox> MailboxRef::role() const
{
    const Mailbox* role = std::get_if<Mailbox>(&m_value);
    return role ? std::optional(*role) : std::nullopt;
}

MailboxRef MailboxRef::fromJSON(const QJsonValue& value)
{
    const Coding::Case stored = Coding::enumerationCase(value);
    if (stored.name == "label"_L1)
        return label(MailLabel::fromJSON(Coding::object(stored.payload)));
    const std::optional<Mailbox> role =
        stored.name == "system"_L1 ? mailboxFromStoredText(stored.payload.toString()) : std::nullopt;
    if (!role)
        throw Coding::unreadable(stored.name);
    return system(*role);
}

QJsonObject MailboxRef::toJSON() const
{
    if (const MailLabel* ownLabel = label())
        return Coding::fromCase(u"label"_s, ownLabel->toJSON());
    return Coding::fromCase(u"system"_s, storedText(std::get<Mailbox>(m_value)));
}

size_t qHash(const MailboxRef& ref, size_t seed)
{
    return qHash(ref.id(), seed);
}

} // namespace Larkhaven
