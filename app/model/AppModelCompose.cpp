#include "domain/MailError.h"
#include "domain/Text.h"
#include "model/AppModel.h"
#include "model/Writing.h"
#include "platform/Tasks.h"
#include "providers/FetchParsed.h"

#include <QScopeGuard>

#include <algorithm>

using namespace Qt::StringLiterals;

// How messages come to be written, and how they leave.

namespace Larkhaven {

size_t qHash(const ComposeDraft& draft, size_t seed)
{
    return qHash(draft.id, seed);
}

namespace {

/// Writes a draft on a worker.
auto onWorker(const std::function<ComposeDraft(const ParsedMessage&)>& write)
{
    return [write](const std::shared_ptr<MailProvider>&, const ParsedMessage& message) {
        return runOnWorker([write, message] { return write(message); });
    };
}

} // namespace

std::optional<Account> AppModel::composeAccount() const
{
    const QUuid chosen(defaults().text(DefaultsKey::defaultAccountID));
    if (const std::optional<Account> found = m_accounts.find(chosen))
        return found;
    std::optional<Account> selected = selectedAccount();
    if (!selected && !accounts().isEmpty())
        selected = accounts().first();
    return selected;
}

QString AppModel::signatureBlock() const
{
    const QString signature = defaults().text(DefaultsKey::signature);
    const QStringView trimmed = Text::trimmedSpaceAndLineEnds(signature);
    return trimmed.isEmpty() ? QString() : u"\n\n-- \n"_s + trimmed.toString();
}

Writing::Setting AppModel::writingSetting(const QUuid& accountID) const
{
    const std::optional<Account> account = m_accounts.find(accountID);
    Writing::Setting setting;
    setting.accountID = accountID;
    setting.ownAddress = account ? account->email : QString();
    setting.mailbox = mailbox(accountID);
    setting.signature = signatureBlock();
    setting.isRichText = defaults().boolean(DefaultsKey::composeRichText);
    return setting;
}

void AppModel::openCompose(const ComposeDraft& draft, Opening opening)
{
    m_composeSeeds.insert(draft.id, draft);
    m_pendingOpening = opening;
    assign(m_pendingCompose, std::optional(draft.id), &AppModel::pendingComposeChanged);
}

std::optional<ComposeDraft> AppModel::takeSeed(const QUuid& id) const
{
    const auto seed = m_composeSeeds.constFind(id);
    return seed == m_composeSeeds.cend() ? std::nullopt : std::optional(*seed);
}

void AppModel::closeCompose(const QUuid& id)
{
    m_composeSeeds.remove(id);
    m_recoveredDrafts.remove(id);
    m_texts->forget(id);
}

void AppModel::newMessage(const QString& to)
{
    if (const std::optional<Account> account = composeAccount())
        openCompose(Writing::newMessage(writingSetting(account->id), to));
}

bool AppModel::newMessageFor(const MailtoURL& url)
{
    const std::optional<Account> account = composeAccount();
    if (account)
        openCompose(Writing::messageFor(writingSetting(account->id), url));
    return account.has_value();
}

Task<ParsedMessage> AppModel::parsed(MessageSummary row)
{
    const std::optional<MessageSummary> open = m_path.isEmpty() ? std::nullopt : message(m_path.last());
    // A copy: the open message is answered more than once.
    if (m_openParsed && open && open->id == row.id && open->accountID == row.accountID)
        co_return ParsedMessage(*m_openParsed);
    const std::shared_ptr<MailProvider> source = provider(row.accountID);
    if (!source)
        throw MailError::notSignedIn();
    ParsedMessage message = co_await fetchParsed(source, row.id);
    co_return message;
}

Task<> AppModel::prepare(Written::Kind kind, MessageSummary row, Prepare writing)
{
    const Written written{kind, row.accountID, row.id};
    // A key that is pressed twice asks for one answer, which belongs where it was pressed last.
    const auto known = std::ranges::find(m_prepared, written, &Preparation::written);
    if (known != m_prepared.end()) {
        *known->asker = asker();
        return nothing();
    }
    const Session source = session(row.accountID);
    const Preparation preparation{written, std::make_shared<QPointer<QObject>>(source.asker)};
    m_prepared.append(preparation);
    return reporting(openWritten(preparation, std::move(row), std::move(writing)), source, preparation.asker);
}

Task<> AppModel::openWritten(Preparation preparation, MessageSummary row, Prepare writing)
{
    const QPointer<AppModel> self(this);
    const Written written = preparation.written;
    const auto ending = qScopeGuard([self, written] {
        if (self)
            self->m_prepared.removeIf([&](const Preparation& one) { return one.written == written; });
    });
    const ParsedMessage message = co_await parsed(row);
    if (!self)
        co_return;
    const std::shared_ptr<MailProvider> source = provider(row.accountID);
    std::optional<QString> thread;
    if (source && written.kind != Written::Kind::forward) {
        // Without an answer the reply begins a conversation of its own.
        const Outcome<std::optional<QString>> answer = co_await settled(source->threadID(row.id));
        if (answer.value)
            thread = *answer.value;
    }
    // Untrusted senders may write at any length.
    ComposeDraft draft = co_await writing(source, message);
    draft.threadID = thread;
    if (self)
        openCompose(draft, isStillIn(*preparation.asker) ? Opening::asked : Opening::late);
}

Task<> AppModel::reply(const MessageSummary& row, bool all)
{
    const Writing::Recipients recipients = all ? Writing::Recipients::all : Writing::Recipients::sender;
    const Writing::Setting setting = writingSetting(row.accountID);
    const Written::Kind kind = all ? Written::Kind::replyToAll : Written::Kind::reply;
    return prepare(kind, row,
                   onWorker([setting, recipients, snippet = row.snippet](const ParsedMessage& message) {
                       return Writing::reply(setting, message, snippet, recipients);
                   }));
}

namespace {

/// Takes the bytes of the message along where its text doesn't fit.
Task<ComposeDraft> writeForward(Writing::Setting setting, MessageSummary row,
                                std::shared_ptr<MailProvider> source, ParsedMessage message)
{
    const auto look = [message, snippet = row.snippet] { return Writing::isCut(message, snippet); };
    const bool isCut = co_await runOnWorker(look);
    std::optional<QByteArray> raw;
    if (isCut && source)
        raw = co_await source->fetchRaw(row.id);
    const auto write = [setting, message, raw, snippet = row.snippet] {
        return Writing::forward(setting, message, snippet, raw);
    };
    ComposeDraft draft = co_await runOnWorker(write);
    co_return draft;
}

} // namespace

Task<> AppModel::forward(const MessageSummary& row)
{
    const Writing::Setting setting = writingSetting(row.accountID);
    return prepare(Written::Kind::forward, row,
                   [setting, row](const std::shared_ptr<MailProvider>& source, const ParsedMessage& message) {
                       return writeForward(setting, row, source, message);
                   });
}

Task<> AppModel::editDraft(const MessageSummary& row)
{
    const Writing::Setting setting = writingSetting(row.accountID);
    return prepare(Written::Kind::storedDraft, row,
                   onWorker([setting, id = row.id](const ParsedMessage& message) {
                       return Writing::storedDraft(setting, message, id);
                   }));
}

// --- Leaving

OutgoingMessage AppModel::outgoing(const ComposeDraft& draft, bool forSending)
{
    const std::optional<Account> account = m_accounts.find(draft.accountID);
    if (!account || !provider(draft.accountID))
        throw MailError::notSignedIn();
    return Writing::outgoing(draft, *account, forSending ? Writing::Purpose::send : Writing::Purpose::store);
}

std::optional<QString> AppModel::replacedDraft(const ComposeDraft& draft) const
{
    // The same identifier means another message in another mailbox.
    const std::optional<Account> sender = m_accounts.find(draft.accountID);
    return sender && !Writing::isForeign(draft, *sender) ? draft.draftMessageID : std::nullopt;
}

void AppModel::removeForeignDraft(const ComposeDraft& draft)
{
    const std::optional<Account> origin = m_accounts.find(draft.originAccountID);
    const bool isToGo = draft.draftMessageID && draft.originAccountID != draft.accountID && origin &&
                        !Writing::isForeign(draft, *origin);
    const std::shared_ptr<MailProvider> service = isToGo ? provider(origin->id) : nullptr;
    if (service)
        spawn(service->trash({*draft.draftMessageID}), dropFailure);
}

Task<> AppModel::send(ComposeDraft draft)
{
    const QPointer<AppModel> self(this);
    OutgoingMessage message = outgoing(draft, true);
    const std::shared_ptr<MailProvider> source = provider(draft.accountID);
    co_await source->send(std::move(message), replacedDraft(draft));
    if (!self)
        co_return;
    removeForeignDraft(draft);
    const bool isShown = shows(draft.accountID, Mailbox::sent) ||
                         (draft.draftMessageID && shows(draft.accountID, Mailbox::drafts));
    if (isShown)
        start(checkForNews(Asked::byNobody));
    start(loadCounts(draft.accountID));
}

Task<bool> AppModel::wasSent(ComposeDraft draft)
{
    const std::shared_ptr<MailProvider> source = draft.attempt ? provider(draft.attempt->accountID) : nullptr;
    if (!source)
        throw MailError::notSignedIn();
    const bool isThere = co_await source->wasSent(draft.attempt->messageID);
    co_return isThere;
}

Task<> AppModel::saveDraft(ComposeDraft draft)
{
    const QPointer<AppModel> self(this);
    OutgoingMessage message = outgoing(draft, false);
    const std::shared_ptr<MailProvider> source = provider(draft.accountID);
    co_await source->saveDraft(std::move(message), replacedDraft(draft));
    if (self)
        removeForeignDraft(draft);
    if (self && shows(draft.accountID, Mailbox::drafts))
        start(checkForNews(Asked::byNobody));
}

bool AppModel::shows(const QUuid& accountID, Mailbox role) const
{
    return m_sidebarSelection == SidebarItem{accountID, MailboxRef::system(role)};
}

// --- Recovery

void AppModel::keepForRecovery(const ComposeDraft& draft)
{
    // Of an account that is gone nothing is kept.
    if (m_accounts.find(draft.accountID))
        m_texts->keep(draft);
}

Task<> AppModel::recoverDrafts()
{
    const QPointer<AppModel> self(this);
    QList<QUuid> owners = m_accounts.ids();
    if (owners.isEmpty())
        co_return;
    // Texts outlive a list of accounts that was lost.
    const QList<QUuid> strays = co_await m_texts->strayAccounts(owners);
    if (!self)
        co_return;
    owners += strays;
    co_await m_texts->unlock(owners);
    for (const QUuid& accountID : std::as_const(owners)) {
        if (!self)
            co_return;
        const QList<ComposeDraft> drafts = co_await m_texts->recover(accountID);
        if (!self)
            co_return;
        for (const ComposeDraft& draft : drafts)
            offerAgain(draft);
    }
}

void AppModel::offerAgain(ComposeDraft draft)
{
    const std::optional<Account> account = m_accounts.find(draft.accountID);
    const std::optional<Account> heir = account ? account : composeAccount();
    if (!account && heir) {
        if (draft.originAccountID.isNull())
            draft.originAccountID = draft.accountID;
        draft.accountID = heir->id;
        m_texts->keep(draft);
    }
    m_recoveredDrafts.insert(draft.id);
    openCompose(draft, Opening::late);
}

} // namespace Larkhaven
