#include "domain/MailError.h"
#include "domain/Text.h"
#include "format/AddressParser.h"
#include "format/MessageComposer.h"
#include "model/AppModel.h"
#include "platform/Tasks.h"
#include "providers/FetchParsed.h"
#include "safety/HTMLSanitizer.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

// How messages come to be written, and how they leave.

namespace Larkhaven {

size_t qHash(const ComposeDraft& draft, size_t seed)
{
    return qHash(draft.id, seed);
}

namespace {

// Editors and fields lay out what they are given at once: what a stranger wrote must not stop the program.
constexpr qsizetype mostQuotedCharacters = 250'000; ///< in UTF-16 units
constexpr qsizetype mostQuotedLines = 10'000;
constexpr qsizetype mostDraftCharacters = 4'000'000; ///< of the text and of the HTML each
constexpr qsizetype longestField = 300'000;          ///< of addresses
constexpr qsizetype longestName = 1'000;             ///< of an address in a field; a longer one is left out
constexpr qsizetype longestSubject = 10'000;

QString fieldText(const QList<EmailAddress>& addresses)
{
    QStringList texts;
    for (const EmailAddress& address : addresses) {
        const bool isNamed = address.name && address.name->size() <= longestName;
        const EmailAddress shown = isNamed ? address : EmailAddress(std::nullopt, address.address);
        texts.append(MessageComposer::editableAddress(shown));
    }
    return texts.join(u", "_s);
}

/// The attachments of a message that came, to go out again.
QList<OutgoingAttachment> outgoingAttachments(const ParsedMessage& message)
{
    QList<OutgoingAttachment> attachments;
    for (const MailAttachment& attachment : message.attachments)
        attachments.append({QUuid::createUuid(), attachment.filename, attachment.mimeType, attachment.data});
    return attachments;
}

std::optional<QString> trimmedHeader(const MIMEHeaders& headers, QStringView name)
{
    const std::optional<QString> value = headers.value(name);
    return value ? std::optional(Text::trimmedSpace(*value).toString()) : std::nullopt;
}

QList<EmailAddress> replyRecipients(const MIMEHeaders& headers)
{
    const QList<EmailAddress> wanted = headers.replyTo();
    return wanted.isEmpty() ? headers.from() : wanted;
}

/// Everybody else who has the message.
QList<EmailAddress> otherRecipients(const MIMEHeaders& headers, const QString& ownAddress)
{
    QSet<QString> known{ownAddress.toLower()};
    const QList<EmailAddress> recipients = replyRecipients(headers);
    for (const EmailAddress& address : recipients)
        known.insert(address.address.toLower());
    QList<EmailAddress> others;
    const QList<EmailAddress> all = headers.to() + headers.cc();
    for (const EmailAddress& address : all) {
        const qsizetype before = known.size();
        known.insert(address.address.toLower());
        if (known.size() > before)
            others.append(address);
    }
    return others;
}

/// The text of a message, or what else is known of it, with the line ends of an editor.
QString plainText(const ParsedMessage& message, const QString& snippet)
{
    QString text = message.textBody.value_or(snippet);
    return text.replace(u"\r\n"_s, u"\n"_s);
}

/// As much of the text as an answer takes up.
QString quotable(const QString& text)
{
    qsizetype end = std::min(text.size(), mostQuotedCharacters);
    qsizetype lines = 0;
    for (qsizetype index = 0; index < end; ++index) {
        if (text[index] == u'\n' && ++lines == mostQuotedLines)
            end = index;
    }
    if (end == text.size())
        return text;
    if (end > 0 && text[end - 1].isHighSurrogate())
        --end;
    return text.first(end) + u'\n' + AppModel::tr("[The rest of the message is left out.]");
}

/// A stored draft is never cut: what is stored in its place would be all that is left.
void expectEditable(const ParsedMessage& message)
{
    const bool isTooLong = message.textBody.value_or(QString()).size() > mostDraftCharacters ||
                           message.htmlBody.value_or(QString()).size() > mostDraftCharacters ||
                           message.headers.subject().size() > longestSubject;
    if (isTooLong)
        throw MailError::unsupported(AppModel::tr("This draft is too long to be edited here."));
}

/// Nobody is cut off: what has more recipients than a window can take opens none.
void expectRoomForRecipients(const ComposeDraft& draft)
{
    for (const QString& field : {draft.to, draft.cc, draft.bcc}) {
        if (field.size() > longestField)
            throw MailError::unsupported(
                AppModel::tr("This message has more recipients than a window can take."));
    }
}

/// As much of the subject as an answer takes up.
QString subjectOf(const ParsedMessage& message)
{
    const QString subject = message.headers.subject();
    const bool splitsPair = subject.size() > longestSubject && subject[longestSubject - 1].isHighSurrogate();
    return subject.first(std::min(subject.size(), longestSubject - (splitsPair ? 1 : 0)));
}

/// What a reply quotes.
QString quoted(const ParsedMessage& message, const QString& snippet)
{
    const QList<EmailAddress> from = message.headers.from();
    const std::optional<EmailAddress> sender = from.isEmpty() ? std::nullopt : std::optional(from.first());
    return MessageComposer::quotedReply(
        quotable(plainText(message, snippet)), sender ? sender->name : std::nullopt,
        sender ? std::optional(sender->address) : std::nullopt, message.headers.date());
}

/// A stored draft's HTML as the editor may load it: nothing in it loads anything.
std::optional<QString> harmlessHTML(const ParsedMessage& message)
{
    if (!message.htmlBody)
        return std::nullopt;
    return HTMLSanitizer::sanitize(*message.htmlBody, {}).document;
}

[[noreturn]] void refuseAddress(const QString& text)
{
    throw MailError::unsupported(AppModel::tr("“%1” isn’t a valid email address.").arg(text));
}

void expectRecipients(const OutgoingMessage& message)
{
    static const QRegularExpression valid(uR"(\A[^@\s<>,;"]+@[^@\s<>,;"]+\z)"_s,
                                          QRegularExpression::UseUnicodePropertiesOption);
    const QList<EmailAddress> recipients = message.to + message.cc + message.bcc;
    if (recipients.isEmpty())
        throw MailError::unsupported(AppModel::tr("Please specify at least one recipient."));
    for (const EmailAddress& recipient : recipients) {
        if (!valid.match(recipient.address).hasMatch())
            refuseAddress(recipient.address);
    }
}

/// Whether another account sends than the one that the draft came from.
bool isForeign(const ComposeDraft& draft)
{
    return !draft.originAccountID.isNull() && draft.originAccountID != draft.accountID;
}

/// Nobody that the user named is left out without a word.
void expectNothingDropped(const ComposeDraft& draft)
{
    for (const QString& field : {draft.to, draft.cc, draft.bcc}) {
        const QStringList dropped = AddressParser::unreadablePieces(field);
        if (!dropped.isEmpty())
            refuseAddress(dropped.first());
    }
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

ComposeDraft AppModel::emptyDraft(const QUuid& accountID) const
{
    ComposeDraft draft;
    draft.id = QUuid::createUuid();
    draft.accountID = accountID;
    draft.originAccountID = accountID;
    draft.isRichText = defaults().boolean(DefaultsKey::composeRichText);
    return draft;
}

void AppModel::openCompose(const ComposeDraft& draft)
{
    m_composeSeeds.insert(draft.id, draft);
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
    const std::optional<Account> account = composeAccount();
    if (!account)
        return;
    ComposeDraft draft = emptyDraft(account->id);
    // It may come from a link.
    if (to.size() <= longestField)
        draft.to = to;
    draft.body = signatureBlock();
    openCompose(draft);
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

Task<std::optional<QString>> AppModel::threadID(MessageSummary row)
{
    const std::shared_ptr<MailProvider> source = provider(row.accountID);
    std::optional<QString> thread;
    try {
        if (source)
            thread = co_await source->threadID(row.id);
    } catch (const LocalizedError&) {
        // The reply begins a conversation of its own.
    }
    co_return thread;
}

Task<> AppModel::prepare(MessageSummary row, bool isOfThread, Writing writing)
{
    const QPointer<AppModel> self(this);
    std::exception_ptr failure;
    try {
        const ParsedMessage message = co_await parsed(row);
        ComposeDraft draft;
        if (self)
            draft = emptyDraft(row.accountID);
        if (self && isOfThread)
            draft.threadID = co_await threadID(row);
        // The texts of strangers may be long.
        const auto work = [message, draft, writing] {
            ComposeDraft written = draft;
            writing(written, message);
            expectRoomForRecipients(written);
            return written;
        };
        draft = co_await runOnWorker(work);
        if (self)
            openCompose(draft);
    } catch (...) {
        failure = std::current_exception();
    }
    if (self && failure)
        report(failure, row.accountID);
}

Task<> AppModel::reply(const MessageSummary& row, bool all)
{
    const std::optional<Account> account = m_accounts.find(row.accountID);
    const QString ownAddress = account ? account->email : QString();
    const Writing writing = [row, all, ownAddress, signature = signatureBlock()](
                                ComposeDraft& draft, const ParsedMessage& message) {
        draft.to = fieldText(replyRecipients(message.headers));
        if (all)
            draft.cc = fieldText(otherRecipients(message.headers, ownAddress));
        draft.subject = MessageComposer::replySubject(subjectOf(message));
        draft.body = signature + quoted(message, row.snippet);
        draft.inReplyTo = message.headers.messageID();
        draft.references = message.headers.references();
        if (draft.inReplyTo)
            draft.references.append(*draft.inReplyTo);
    };
    return prepare(row, true, writing);
}

Task<> AppModel::forward(const MessageSummary& row)
{
    const Writing writing = [row, signature = signatureBlock()](ComposeDraft& draft,
                                                                const ParsedMessage& message) {
        draft.subject = MessageComposer::forwardSubject(subjectOf(message));
        draft.body = signature +
                     MessageComposer::forwardBody(message.headers, quotable(plainText(message, row.snippet)));
        draft.attachments = outgoingAttachments(message);
    };
    return prepare(row, false, writing);
}

Task<> AppModel::editDraft(const MessageSummary& row)
{
    const Writing writing = [row](ComposeDraft& draft, const ParsedMessage& message) {
        expectEditable(message);
        draft.to = fieldText(message.headers.to());
        draft.cc = fieldText(message.headers.cc());
        draft.bcc = fieldText(AddressParser::parseList(message.headers.decoded(u"Bcc").value_or(QString())));
        draft.subject = message.headers.subject();
        draft.body = plainText(message, QString());
        draft.initialHTML = harmlessHTML(message);
        draft.isRichText = draft.isRichText || draft.initialHTML;
        draft.inReplyTo = trimmedHeader(message.headers, u"In-Reply-To");
        draft.references = message.headers.references();
        draft.draftMessageID = row.id;
        draft.attachments = outgoingAttachments(message);
    };
    return prepare(row, true, writing);
}

// --- Leaving

OutgoingMessage AppModel::outgoing(const ComposeDraft& draft, bool forSending)
{
    const std::optional<Account> account = m_accounts.find(draft.accountID);
    if (!account || !provider(draft.accountID))
        throw MailError::notSignedIn();
    OutgoingMessage message;
    message.to = AddressParser::parseList(draft.to);
    message.cc = AddressParser::parseList(draft.cc);
    message.bcc = AddressParser::parseList(draft.bcc);
    if (forSending) {
        expectRecipients(message);
        expectNothingDropped(draft);
    }
    message.from = EmailAddress(account->displayName, account->email);
    message.subject = draft.subject;
    message.body = draft.body;
    if (draft.isRichText)
        message.htmlBody = draft.initialHTML;
    message.attachments = draft.attachments;
    message.inReplyTo = draft.inReplyTo;
    message.references = draft.references;
    if (!isForeign(draft))
        message.threadID = draft.threadID;
    return message;
}

std::optional<QString> AppModel::replacedDraft(const ComposeDraft& draft)
{
    // The same identifier means another message to another service.
    return isForeign(draft) ? std::nullopt : draft.draftMessageID;
}

void AppModel::removeForeignDraft(const ComposeDraft& draft)
{
    const bool isToGo = draft.draftMessageID && isForeign(draft);
    const std::shared_ptr<MailProvider> origin = isToGo ? provider(draft.originAccountID) : nullptr;
    if (origin)
        spawn(origin->trash({*draft.draftMessageID}), dropFailure);
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
        start(refresh());
    start(loadCounts(draft.accountID));
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
        start(refresh());
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
    const QList<QUuid> accounts = m_accounts.ids();
    co_await m_texts->unlock(accounts);
    for (const QUuid& accountID : accounts) {
        if (!self)
            co_return;
        const QList<ComposeDraft> drafts = co_await m_texts->recover(accountID);
        if (!self)
            co_return;
        for (const ComposeDraft& draft : drafts) {
            m_recoveredDrafts.insert(draft.id);
            openCompose(draft);
        }
    }
}

} // namespace Larkhaven
