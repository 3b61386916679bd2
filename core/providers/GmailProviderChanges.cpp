#include "domain/MailError.h"
#include "domain/Text.h"
#include "platform/TaskGroup.h"
#include "providers/GmailMessage.h"
#include "providers/GmailProvider.h"
#include "providers/GmailRequest.h"

#include <QCoreApplication>
#include <QJsonArray>

#include <algorithm>

using namespace Qt::StringLiterals;

// What the provider of a Google account does to labels, and to those of messages.

namespace Larkhaven {

namespace SystemLabel = GmailMessage::SystemLabel;

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(GmailProvider)
};

/// The name without blanks around its components, and without empty ones.
QString normalizedLabelName(const QString& name)
{
    QStringList components;
    for (const QStringView piece : QStringView(name).split(u'/')) {
        const QStringView trimmed = Text::trimmedSpace(piece);
        if (!trimmed.isEmpty())
            components.append(trimmed.toString());
    }
    if (components.isEmpty())
        throw MailError::unsupported(Texts::tr("Please enter a name."));
    return components.join(u'/');
}

} // namespace

// --- Labels of messages

Task<> GmailProvider::modify(QList<QString> ids, QList<QString> add, QList<QString> remove)
{
    const auto self = shared_from_this();
    if (ids.isEmpty())
        co_return;
    co_await m_state.load();
    // The service must see the changes in the order in which the user made them.
    const Turnstile::Turn turn = co_await m_changeTurn.enter();
    co_await modifyInTurn(ids, add, remove);
}

Task<> GmailProvider::modifyInTurn(QList<QString> ids, QList<QString> add, QList<QString> remove)
{
    Outcome<QByteArray> outcome;
    for (qsizetype start = 0; start < ids.size() && !outcome.failure; start += batchLimit) {
        const QList<QString> piece = ids.mid(start, batchLimit);
        const QJsonObject json{{u"ids"_s, QJsonArray::fromStringList(piece)},
                               {u"addLabelIds"_s, QJsonArray::fromStringList(add)},
                               {u"removeLabelIds"_s, QJsonArray::fromStringList(remove)}};
        const SyncState::Look look(m_state, piece);
        outcome =
            co_await settled(m_api.request(GmailRequest::withJSON("POST", "messages/batchModify", json)));
        if (outcome.value)
            m_state.apply(piece, add, remove, look);
    }
    if (outcome.failure)
        std::rethrow_exception(outcome.failure);
}

Task<> GmailProvider::setRead(bool read, QList<QString> ids)
{
    const QList<QString> unread{SystemLabel::unread};
    return read ? modify(ids, {}, unread) : modify(ids, unread, {});
}

Task<> GmailProvider::setStarred(bool starred, QList<QString> ids)
{
    const QList<QString> star{SystemLabel::starred};
    return starred ? modify(ids, star, {}) : modify(ids, {}, star);
}

Task<> GmailProvider::archive(QList<QString> ids)
{
    return relocate(ids, {}, {SystemLabel::inbox, SystemLabel::spam, SystemLabel::trash});
}

Task<> GmailProvider::moveToInbox(QList<QString> ids)
{
    return relocate(ids, {SystemLabel::inbox}, {SystemLabel::trash, SystemLabel::spam});
}

Task<> GmailProvider::markSpam(QList<QString> ids)
{
    return relocate(ids, {SystemLabel::spam}, {SystemLabel::inbox});
}

Task<> GmailProvider::moveToLabel(QList<QString> ids, MailLabel label)
{
    return relocate(ids, {label.id}, {SystemLabel::inbox, SystemLabel::spam, SystemLabel::trash});
}

Task<> GmailProvider::setLabel(MailLabel label, bool applied, QList<QString> ids)
{
    const QList<QString> changed{label.id};
    return applied ? modify(ids, changed, {}) : modify(ids, {}, changed);
}

Task<> GmailProvider::trash(QList<QString> ids)
{
    const auto self = shared_from_this();
    if (ids.isEmpty())
        co_return;
    co_await m_state.load();
    const Turnstile::Turn turn = co_await m_changeTurn.enter();
    const QList<QString> add{SystemLabel::trash};
    const QList<QString> remove{SystemLabel::inbox, SystemLabel::spam};
    const std::optional<GmailPutBack> back = puttingBack(ids, add, remove);
    m_putBack.reset();
    const SyncState::Look look(m_state, ids);
    const auto trashEach = [this](QString id, std::stop_token stop) { return trashOne(id, std::move(stop)); };
    co_await inGroup(ids, trashingWidth, trashEach);
    m_state.apply(ids, add, remove, look);
    m_putBack = back;
}

Task<> GmailProvider::trashOne(QString id, std::stop_token stop)
{
    const AuthorizedAPI::Request request{.method = "POST",
                                         .path = "messages/" + GmailRequest::escaped(id) + "/trash"};
    co_await m_api.request(request, stop);
}

// --- Changes of place, and back

Task<> GmailProvider::relocate(QList<QString> ids, QList<QString> add, QList<QString> remove)
{
    const auto self = shared_from_this();
    if (ids.isEmpty())
        co_return;
    co_await m_state.load();
    const Turnstile::Turn turn = co_await m_changeTurn.enter();
    const std::optional<GmailPutBack> back = puttingBack(ids, add, remove);
    m_putBack.reset();
    co_await modifyInTurn(ids, add, remove);
    m_putBack = back;
}

std::optional<GmailPutBack> GmailProvider::puttingBack(const QList<QString>& ids, const QList<QString>& add,
                                                       const QList<QString>& remove) const
{
    SyncState::Summaries known = m_state.summaries(ids);
    known.removeIf([this](auto row) { return m_state.isUnconfirmed(row.key()); });
    return GmailPutBack::of(ids, known, add, remove);
}

bool GmailProvider::isLastRelocation(const QList<QString>& ids) const
{
    return m_putBack && m_putBack->ids == QSet<QString>(ids.cbegin(), ids.cend());
}

Task<bool> GmailProvider::canPutBack(QList<QString> ids)
{
    co_return isLastRelocation(ids);
}

Task<> GmailProvider::putBack(QList<QString> ids)
{
    const auto self = shared_from_this();
    if (!isLastRelocation(ids)) {
        co_await MailProvider::putBack(ids);
        co_return;
    }
    const QList<GmailPutBack::Step> steps = m_putBack->steps;
    m_putBack.reset();
    const Turnstile::Turn turn = co_await m_changeTurn.enter();
    for (const GmailPutBack::Step& step : steps)
        co_await restore(step);
}

Task<> GmailProvider::restore(GmailPutBack::Step step)
{
    const QString trash = SystemLabel::trash;
    Outcome<void> outcome;
    if (step.remove.removeAll(trash) > 0) {
        const auto done = std::make_shared<QSet<QString>>();
        const SyncState::Look look(m_state, step.ids);
        const auto untrashEach = [this, done](QString id, std::stop_token stop) {
            return untrashOne(id, done, std::move(stop));
        };
        outcome = co_await settled(inGroup(step.ids, trashingWidth, untrashEach));
        step.ids.removeIf([&done](const QString& id) { return !done->contains(id); });
        m_state.apply(step.ids, {}, {trash}, look);
    }
    // What is out of the trash gets its place, also where others couldn't be had.
    if (!step.ids.isEmpty() && !(step.add.isEmpty() && step.remove.isEmpty()))
        co_await modifyInTurn(step.ids, step.add, step.remove);
    if (outcome.failure)
        std::rethrow_exception(outcome.failure);
}

Task<> GmailProvider::untrashOne(QString id, std::shared_ptr<QSet<QString>> done, std::stop_token stop)
{
    const AuthorizedAPI::Request request{.method = "POST",
                                         .path = "messages/" + GmailRequest::escaped(id) + "/untrash"};
    co_await m_api.request(request, stop);
    done->insert(id);
}

// --- Labels

Task<QJsonObject> GmailProvider::postLabel(QString name)
{
    const QJsonObject json{{u"name"_s, name},
                           {u"labelListVisibility"_s, u"labelShow"_s},
                           {u"messageListVisibility"_s, u"show"_s}};
    QJsonObject answer = co_await m_api.requestJSON(GmailRequest::withJSON("POST", "labels", json));
    co_return answer;
}

Task<MailLabel> GmailProvider::createLabel(QString name)
{
    const auto self = shared_from_this();
    const QString path = normalizedLabelName(name);
    const Turnstile::Turn turn = co_await m_changeTurn.enter();
    const QList<MailLabel> labels = co_await allLabels();
    // A label is shown as nested only where those above it exist.
    for (qsizetype slash = path.indexOf(u'/'); slash >= 0; slash = path.indexOf(u'/', slash + 1)) {
        const QString ancestor = path.first(slash);
        if (std::ranges::find(labels, ancestor, &MailLabel::path) == labels.end())
            co_await postLabel(ancestor);
    }
    const QJsonObject made = co_await postLabel(path);
    MailLabel label{made["id"_L1].toString(), path};
    if (label.id.isEmpty())
        throw MailError::protocolError(Texts::tr("Gmail didn't return the new label."));
    m_labelNames.insert(label.id, label.path);
    co_return label;
}

Task<> GmailProvider::patchLabel(QString id, QString name)
{
    const QJsonObject json{{u"name"_s, name}};
    co_await m_api.request(GmailRequest::withJSON("PATCH", "labels/" + GmailRequest::escaped(id), json));
    m_labelNames.insert(id, name);
}

Task<MailLabel> GmailProvider::renameLabel(MailLabel label, QString newName)
{
    const auto self = shared_from_this();
    const QString path = normalizedLabelName(newName);
    const Turnstile::Turn turn = co_await m_changeTurn.enter();
    const QList<MailLabel> labels = co_await allLabels();
    const QString prefix = label.path + u'/';
    co_await patchLabel(label.id, path);
    for (const MailLabel& child : labels) {
        if (child.path.startsWith(prefix))
            co_await patchLabel(child.id, path + child.path.sliced(label.path.size()));
    }
    co_return MailLabel{label.id, path};
}

Task<> GmailProvider::deleteLabel(MailLabel label)
{
    const auto self = shared_from_this();
    const Turnstile::Turn turn = co_await m_changeTurn.enter();
    const AuthorizedAPI::Request request{.method = "DELETE",
                                         .path = "labels/" + GmailRequest::escaped(label.id)};
    co_await m_api.request(request);
}

} // namespace Larkhaven
