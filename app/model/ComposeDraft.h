#pragma once

#include "domain/Message.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>

namespace Larkhaven {

/// The state of one message that is being written; `id` is the identity of its window.
struct ComposeDraft {
    QUuid id;
    QUuid accountID; ///< the account that sends
    /// The account that `threadID` and `draftMessageID` mean something to, where another one sends than the
    /// one that the window opened with; null for the one that sends.
    QUuid originAccountID;
    /// The mailbox of that account, as `Account::mailboxIdentity`, in which they do; empty for any.
    QByteArray originMailbox;
    // Addresses as the user edits them, joined by ", ".
    QString to;
    QString cc;
    QString bcc;
    QString subject;
    QString body;                     ///< plain text; for rich text the editor's text
    std::optional<QString> inReplyTo; ///< Message-ID of the original
    QList<QString> references;
    std::optional<QString> threadID;
    bool isRichText = false;
    std::optional<QString> draftMessageID; ///< the provider's id of the stored draft that this replaces
    /// The rich body: what the editor loads at first, and what it holds when the draft is sent, stored or
    /// kept.
    std::optional<QString> initialHTML;
    QList<OutgoingAttachment> attachments;
    /// What the window says of the draft: what was left out of it, and why. One line each, translated.
    QStringList notices;
    /// One sending of the text, to be recognised by.
    struct Attempt {
        QString messageID;  ///< under which it goes out, without angle brackets
        QUuid accountID;    ///< by which
        QByteArray content; ///< a digest of what goes out

        bool operator==(const Attempt&) const = default;
    };
    std::optional<Attempt> attempt; ///< the last one
    /// The last attempt may have gone out: the program ended during it, or the server never confirmed it.
    bool wasSending = false;

    bool operator==(const ComposeDraft& other) const { return id == other.id; }
};
size_t qHash(const ComposeDraft& draft, size_t seed = 0);

} // namespace Larkhaven
