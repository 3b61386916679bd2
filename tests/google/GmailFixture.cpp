#include "GmailFixture.h"

#include "store/AESGCMCipher.h"
#include "support/GmailSearch.h"
#include "support/RawHeaders.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// `Name <address>` or an address, as the messages of these tests have them.
EmailAddress address(const QString& text)
{
    const qsizetype angle = text.indexOf(u'<');
    if (angle < 0)
        return {std::nullopt, text};
    return {text.first(angle).trimmed(), text.sliced(angle + 1).chopped(1)};
}

QString labelOf(const MailboxRef& ref)
{
    static const QHash<Mailbox, QString> labels{
        {Mailbox::inbox, u"INBOX"_s},  {Mailbox::starred, u"STARRED"_s}, {Mailbox::sent, u"SENT"_s},
        {Mailbox::drafts, u"DRAFT"_s}, {Mailbox::spam, u"SPAM"_s},       {Mailbox::trash, u"TRASH"_s}};
    return ref.label() ? ref.label()->id : labels.value(*ref.role());
}

Task<bool> sleepNever(std::shared_ptr<QList<std::chrono::milliseconds>> sleeps,
                      std::chrono::milliseconds duration)
{
    sleeps->append(duration);
    co_return true;
}

} // namespace

GmailFixture::GmailFixture()
    : m_account{QUuid(u"6a2f41a3-c54c-fce8-32d2-0324e1c32e22"_s),
                ProviderKind::google,
                u"user@gmail.com"_s,
                {},
                {},
                {}}
    , m_sleeps(std::make_shared<QList<std::chrono::milliseconds>>())
{
    const OAuthDouble::Grant grant = services.google().grant();
    const auto store = std::make_shared<InMemorySecretStore>();
    store->save(Credential::oauth({grant.accessToken, grant.refreshToken,
                                   QDateTime::currentDateTimeUtc().addSecs(3600), std::nullopt}),
                m_account.id);
    const OAuthClient client(OAuthConfig::google(services.google().client().id));
    m_tokens = TokenManager::create(m_account.id, client, store);
    restart();
}

void GmailFixture::restart()
{
    m_provider.reset();
    const auto cipher = std::make_shared<AESGCMCipher>(QByteArray(32, 'k'));
    const auto cache = std::make_shared<MailCache>(m_folder.path(), cipher, 100'000'000);
    const auto sleep = [sleeps = m_sleeps](std::chrono::milliseconds duration, const std::stop_token&) {
        return sleepNever(sleeps, duration);
    };
    m_provider = GmailProvider::create(m_account, m_tokens, cache, sleep);
}

QByteArray GmailFixture::raw(const QByteArray& subject, const QByteArray& from, const QByteArray& text)
{
    return "From: " + from + "\r\nTo: user@gmail.com\r\nSubject: " + subject + "\r\nMessage-ID: <" + subject +
           "@example.org>\r\n\r\n" + text + "\r\n";
}

QString GmailFixture::receive(const QByteArray& subject, const QSet<QString>& labelIds)
{
    return mailbox().insert({.raw = raw(subject), .labelIds = labelIds});
}

// --- What is so

QList<GmailMailbox::Message> GmailFixture::listed(const MailboxRef& ref, const std::optional<QString>& query)
{
    const QString label = labelOf(ref);
    const bool isAll = ref.role() == Mailbox::spam || ref.role() == Mailbox::trash;
    const GmailSearch search(query.value_or(QString()), mailbox());
    QList<GmailMailbox::Message> messages;
    for (const GmailMailbox::Message& message : mailbox().messages()) {
        const bool isHidden = message.labelIds.contains(u"SPAM"_s) || message.labelIds.contains(u"TRASH"_s);
        if ((label.isEmpty() || message.labelIds.contains(label)) && (isAll || !isHidden) &&
            search.matches(message))
            messages.append(message);
    }
    return messages;
}

MessageSummary GmailFixture::row(const GmailMailbox::Message& message) const
{
    MessageSummary row;
    row.id = message.id;
    row.accountID = m_account.id;
    row.from = address(RawHeaders::value(message.raw, u"From"_s));
    for (const QString& to : RawHeaders::value(message.raw, u"To"_s).split(u", "_s, Qt::SkipEmptyParts))
        row.to.append(address(to));
    row.subject = RawHeaders::value(message.raw, u"Subject"_s);
    row.snippet = message.snippet;
    row.date = QDateTime::fromMSecsSinceEpoch(message.internalDate, Qt::UTC);
    row.isRead = !message.labelIds.contains(u"UNREAD"_s);
    row.isStarred = message.labelIds.contains(u"STARRED"_s);
    row.hasAttachments = RawHeaders::mimeType(message.raw) == u"multipart/mixed"_s;
    row.size = message.raw.size();
    row.labelIDs = message.labelIds.values();
    row.labelIDs.sort();
    static const QList<std::pair<QString, QString>> places{{u"TRASH"_s, u"Trash"_s},
                                                           {u"SPAM"_s, u"Spam"_s},
                                                           {u"DRAFT"_s, u"Drafts"_s},
                                                           {u"INBOX"_s, u"Inbox"_s},
                                                           {u"SENT"_s, u"Sent"_s}};
    for (const auto& [id, name] : places) {
        if (row.mailbox.isEmpty() && message.labelIds.contains(id))
            row.mailbox = name;
    }
    if (!row.mailbox.isEmpty())
        return row;
    QStringList names;
    for (const QString& id : row.labelIDs) {
        if (id.startsWith(u"Label_"_s))
            names.append(services.mailbox().label(id)->name);
    }
    row.mailbox = names.isEmpty() ? u"All Mail"_s : names.join(u", "_s);
    return row;
}

qint64 GmailFixture::total(const MailboxRef& ref)
{
    const QString label = labelOf(ref);
    return label.isEmpty() ? mailbox().messageCount() : mailbox().total(label);
}

} // namespace Larkhaven
