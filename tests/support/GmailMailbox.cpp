#include "support/GmailMailbox.h"

#include "support/RawHeaders.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// 2026-01-01 00:00:00 UTC, in ms.
constexpr qint64 beginning = 1'767'225'600'000;
constexpr qsizetype snippetLength = 200;

const QStringList systemLabels{u"CHAT"_s,
                               u"SENT"_s,
                               u"INBOX"_s,
                               u"IMPORTANT"_s,
                               u"TRASH"_s,
                               u"DRAFT"_s,
                               u"SPAM"_s,
                               u"CATEGORY_FORUMS"_s,
                               u"CATEGORY_UPDATES"_s,
                               u"CATEGORY_PERSONAL"_s,
                               u"CATEGORY_PROMOTIONS"_s,
                               u"CATEGORY_SOCIAL"_s,
                               u"STARRED"_s,
                               u"UNREAD"_s};

QString beginningOf(const QByteArray& raw)
{
    return RawHeaders::text(raw).first(std::min(RawHeaders::text(raw).size(), snippetLength)).simplified();
}

} // namespace

GmailMailbox::GmailMailbox(QString address)
    : m_address(std::move(address))
{
    for (const QString& id : systemLabels)
        m_labels.append({id, id, true, {}, {}});
}

// --- Messages

QString GmailMailbox::nextId()
{
    return QString::number(0x19a0000000000000 + m_nextNumber * 0x1001, 16);
}

QString GmailMailbox::insert(const NewMessage& message)
{
    Message added;
    added.id = message.id.isEmpty() ? nextId() : message.id;
    added.threadId = message.threadId.isEmpty() ? added.id : message.threadId;
    added.labelIds = message.labelIds;
    added.internalDate = message.internalDate;
    if (added.internalDate == 0)
        added.internalDate =
            m_messages.empty() ? beginning : std::max(beginning, m_messages.begin()->first.date) + 1000;
    added.raw = message.raw;
    added.snippet = message.snippet ? *message.snippet : beginningOf(message.raw);
    const Place place{added.internalDate, m_nextNumber++};
    m_places.insert(added.id, place);
    Message& stored = m_messages.emplace(place, std::move(added)).first->second;
    ++m_threads[stored.threadId];
    index(place, stored, 1);
    record(Change::messageAdded, stored, {});
    return stored.id;
}

const GmailMailbox::Message* GmailMailbox::message(const QString& id) const
{
    const auto place = m_places.constFind(id);
    return place == m_places.cend() ? nullptr : &m_messages.at(*place);
}

QList<GmailMailbox::Message> GmailMailbox::messages() const
{
    QList<Message> all;
    all.reserve(messageCount());
    for (const auto& [place, message] : m_messages)
        all.append(message);
    return all;
}

/// Takes the message into the indices of its labels (`step` 1), or out of them (-1).
void GmailMailbox::index(const Place& place, const Message& message, int step)
{
    const bool isUnread = message.labelIds.contains(u"UNREAD"_s);
    for (const QString& label : message.labelIds) {
        if (step > 0)
            m_labelled[label].insert(place);
        else
            m_labelled[label].erase(place);
        if (isUnread)
            m_unread[label] += step;
    }
}

void GmailMailbox::record(Change change, Message& message, const QSet<QString>& labelIds)
{
    message.historyId = ++m_historyId;
    m_history.push_back({m_historyId, change, message.id, message.threadId, labelIds, message.labelIds});
}

bool GmailMailbox::modify(const QString& id, const QSet<QString>& add, const QSet<QString>& remove)
{
    const auto place = m_places.constFind(id);
    if (place == m_places.cend())
        return false;
    Message& message = m_messages.at(*place);
    const QSet<QString> removed = message.labelIds & remove;
    const QSet<QString> added = add - message.labelIds;
    index(*place, message, -1);
    message.labelIds = (message.labelIds - removed) | added;
    index(*place, message, 1);
    if (!added.isEmpty())
        record(Change::labelAdded, message, added);
    if (!removed.isEmpty())
        record(Change::labelRemoved, message, removed);
    return !added.isEmpty() || !removed.isEmpty();
}

bool GmailMailbox::trash(const QString& id)
{
    return modify(id, {u"TRASH"_s}, {u"INBOX"_s, u"SPAM"_s});
}

bool GmailMailbox::remove(const QString& id)
{
    // It may be the message's own.
    const QString removed = id;
    const auto place = m_places.constFind(id);
    if (place == m_places.cend())
        return false;
    const auto stored = m_messages.find(*place);
    Message& message = stored->second;
    index(*place, message, -1);
    if (--m_threads[message.threadId] == 0) {
        m_threads.remove(message.threadId);
        m_gone.insert(message.threadId);
    }
    m_gone.insert(removed);
    record(Change::messageDeleted, message, {});
    m_messages.erase(stored);
    m_places.erase(place);
    for (const QString& draft : m_drafts.keys(removed)) {
        m_drafts.remove(draft);
        m_gone.insert(draft);
    }
    return true;
}

void GmailMailbox::setSnippet(const QString& id, const QString& snippet)
{
    m_messages.at(m_places.value(id)).snippet = snippet;
}

// --- Listings

void GmailMailbox::visit(const QSet<QString>& labelIds, const std::optional<Place>& behind,
                         const std::function<bool(const Place&, const Message&)>& visit) const
{
    if (labelIds.isEmpty()) {
        auto next = behind ? m_messages.upper_bound(*behind) : m_messages.begin();
        while (next != m_messages.end() && visit(next->first, next->second))
            ++next;
        return;
    }
    const QString rarest = *std::ranges::min_element(
        labelIds, [this](const QString& one, const QString& other) { return total(one) < total(other); });
    const auto places = m_labelled.constFind(rarest);
    if (places == m_labelled.cend())
        return;
    for (auto next = behind ? places->upper_bound(*behind) : places->begin(); next != places->end(); ++next) {
        const Message& message = m_messages.at(*next);
        if (message.labelIds.contains(labelIds) && !visit(*next, message))
            return;
    }
}

// --- Labels

const GmailMailbox::Label* GmailMailbox::label(const QString& id) const
{
    const auto found = std::ranges::find(m_labels, id, &Label::id);
    return found == m_labels.cend() ? nullptr : &*found;
}

const GmailMailbox::Label* GmailMailbox::labelNamed(const QString& name) const
{
    const auto found = std::ranges::find_if(
        m_labels, [&](const Label& label) { return label.name.compare(name, Qt::CaseInsensitive) == 0; });
    return found == m_labels.cend() ? nullptr : &*found;
}

QString GmailMailbox::createLabel(const QString& name, const QString& labelListVisibility,
                                  const QString& messageListVisibility, const QString& id)
{
    const QString used = id.isEmpty() ? u"Label_"_s + QString::number(m_nextLabel++) : id;
    m_labels.append({used, name, false, labelListVisibility, messageListVisibility});
    return used;
}

void GmailMailbox::updateLabel(const Label& label)
{
    *std::ranges::find(m_labels, label.id, &Label::id) = label;
}

void GmailMailbox::deleteLabel(const QString& id)
{
    const std::set<Place> places = m_labelled.value(id);
    for (const Place& place : places)
        modify(m_messages.at(place).id, {}, {id});
    m_labelled.remove(id);
    m_unread.remove(id);
    m_labels.removeIf([&](const Label& label) { return label.id == id; });
    m_gone.insert(id);
}

qsizetype GmailMailbox::total(const QString& labelId) const
{
    const auto places = m_labelled.constFind(labelId);
    return places == m_labelled.cend() ? 0 : static_cast<qsizetype>(places->size());
}

// --- Drafts

QString GmailMailbox::createDraft(const QByteArray& raw, const QString& threadId)
{
    const QString id = u"r-"_s + QString::number(7'000'000 + m_nextDraft++);
    m_drafts.insert(id, insert({.raw = raw, .labelIds = {u"DRAFT"_s}, .threadId = threadId}));
    return id;
}

void GmailMailbox::updateDraft(const QString& draftId, const QByteArray& raw, const QString& threadId)
{
    const Message old = *message(m_drafts.value(draftId));
    const QString added = insert(
        {.raw = raw, .labelIds = old.labelIds, .threadId = threadId.isEmpty() ? old.threadId : threadId});
    m_drafts.insert(draftId, added);
    remove(old.id);
}

QString GmailMailbox::sendDraft(const QString& draftId)
{
    const Message old = *message(m_drafts.value(draftId));
    const QString sent =
        insert({.raw = old.raw, .labelIds = {u"SENT"_s}, .threadId = old.threadId, .snippet = old.snippet});
    remove(old.id);
    return sent;
}

void GmailMailbox::removeDraft(const QString& draftId)
{
    remove(m_drafts.value(draftId));
}

// --- History

void GmailMailbox::expireHistory()
{
    m_forgotten = ++m_historyId;
    m_history.clear();
}

} // namespace Larkhaven
