#pragma once

#include "domain/Account.h"
#include "domain/Message.h"
#include "format/MailtoURL.h"
#include "format/ParsedMessage.h"
#include "model/ComposeDraft.h"

#include <QByteArray>
#include <QString>

#include <optional>

/// How drafts come from messages, and outgoing messages from drafts. Pure functions, callable from any
/// thread, linear in their input. Whatever a message brings passes `DraftGate`; what is left out is said in
/// the text of the draft, or in its `notices`.
namespace Larkhaven::Writing {

/// What a draft has that doesn't come from a message.
struct Setting {
    QUuid accountID;    ///< the account that writes
    QByteArray mailbox; ///< of this account, as `Account::mailboxIdentity`
    QString ownAddress; ///< of this account
    QString signature;  ///< what goes below a new text, with what sets it off; may be empty
    bool isRichText = false;
};

enum class Recipients { sender, all };

/// An empty draft to the addresses, which may come from a link.
ComposeDraft newMessage(const Setting& setting, const QString& to);

/// A draft of what a "mailto:" URL asks for. Nothing of it leaves before the user has seen it and sends it.
ComposeDraft messageFor(const Setting& setting, const MailtoURL& url);

/// An answer to where the message asks for answers, or else to whom it is from, with all others who have it
/// in Cc for `Recipients::all`. One's own message is answered to those whom it went to. What the names
/// pretend is no matter (`SenderReader`), and an answer to another domain than the sender's has a notice.
ComposeDraft reply(const Setting& setting, const ParsedMessage& message, const QString& snippet,
                   Recipients recipients);

/// The message to somebody else, with its attachments. `raw` are its bytes, which go with it where `isCut`.
ComposeDraft forward(const Setting& setting, const ParsedMessage& message, const QString& snippet,
                     const std::optional<QByteArray>& raw = std::nullopt);

/// Whether a forward shows only a part of the message: its text is cut, or parts of it can't be read.
bool isCut(const ParsedMessage& message, const QString& snippet);

/// A stored draft to be written on. Where the gate changes it, it is a copy: `draftMessageID` is absent, so
/// that what is stored stays.
ComposeDraft storedDraft(const Setting& setting, const ParsedMessage& message, const QString& messageID);

enum class Purpose { send, store };

/// The message that the draft stands for. To be sent it needs a recipient, and every piece of its fields must
/// be one address that mail can go to; stored, it keeps what is none beside the recipients, and has one
/// Message-ID whenever it is stored, which nothing that is sent has. Fails with `MailError`.
OutgoingMessage outgoing(const ComposeDraft& draft, const Account& account, Purpose purpose);

/// Whether the sender's mailbox is another than the one that the draft came from: that of another account, or
/// of other servers of the same account.
bool isForeign(const ComposeDraft& draft, const Account& sender);

} // namespace Larkhaven::Writing
