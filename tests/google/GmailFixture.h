#pragma once

#include "auth/TokenManager.h"
#include "providers/GmailProvider.h"
#include "store/MailCache.h"
#include "support/GoogleServices.h"

#include <QTemporaryDir>

#include <chrono>
#include <memory>
#include <optional>

namespace Larkhaven {

/// A Google account whose provider reaches the doubles through the real HTTP stack, with tokens that a real
/// sign-in would have left, a sealed cache, and a clock that nobody waits for.
class GmailFixture {
public:
    GmailFixture();

    /// The provider of a program that starts anew, over the same cache.
    void restart();

    GmailProvider& provider() { return *m_provider; }
    GmailMailbox& mailbox() { return services.mailbox(); }
    const Account& account() const { return m_account; }
    /// How long requests have waited before they were sent again.
    const QList<std::chrono::milliseconds>& sleeps() const { return *m_sleeps; }

    static QByteArray raw(const QByteArray& subject, const QByteArray& from = "Ann <ann@example.org>",
                          const QByteArray& text = "Text");
    QString receive(const QByteArray& subject,
                    const QSet<QString>& labelIds = {QStringLiteral("INBOX"), QStringLiteral("UNREAD")});

    // --- What is so on the server
    /// The messages of a listing, newest first.
    QList<GmailMailbox::Message> listed(const MailboxRef& ref, const std::optional<QString>& query);
    /// The row that a message has to have.
    MessageSummary row(const GmailMailbox::Message& message) const;
    qint64 total(const MailboxRef& ref);

    GoogleServices services;

private:
    QTemporaryDir m_folder;
    Account m_account;
    std::shared_ptr<TokenManager> m_tokens;
    std::shared_ptr<QList<std::chrono::milliseconds>> m_sleeps;
    std::shared_ptr<GmailProvider> m_provider;
};

} // namespace Larkhaven
