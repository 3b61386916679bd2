#include "model/Writing.h"

#include "domain/FileName.h"
#include "domain/MailError.h"
#include "domain/ShownText.h"
#include "domain/Text.h"
#include "format/AddressParser.h"
#include "format/MIMEParser.h"
#include "format/MessageComposer.h"
#include "format/RecipientField.h"
#include "format/SenderReader.h"
#include "model/DraftGate.h"
#include "model/QuotedText.h"
#include "model/RecipientFields.h"
#include "safety/HTMLSanitizer.h"
#include "safety/VisibleText.h"

#include <QCoreApplication>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::Writing {

namespace {

using DraftGate::Passed;

constexpr qsizetype longestPiece = 200; ///< of a text that a failure names

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Writing)
};

ComposeDraft emptyDraft(const Setting& setting)
{
    ComposeDraft draft;
    draft.id = QUuid::createUuid();
    draft.accountID = setting.accountID;
    draft.originAccountID = setting.accountID;
    draft.originMailbox = setting.mailbox;
    draft.isRichText = setting.isRichText;
    return draft;
}

/// The attachments of a message that came, to go out again.
QList<OutgoingAttachment> outgoingAttachments(const ParsedMessage& message)
{
    QList<OutgoingAttachment> attachments;
    for (const MailAttachment& attachment : message.attachments) {
        const QString name = FileName::shown(attachment.filename);
        attachments.append({QUuid::createUuid(), name, attachment.mimeType, attachment.data});
    }
    return attachments;
}

/// The text of a stored draft.
QString storedText(const ParsedMessage& message)
{
    const bool isBlank = !message.textBody || Text::trimmedSpaceAndLineEnds(*message.textBody).isEmpty();
    if (!message.htmlBody || !isBlank)
        return message.textBody.value_or(QString());
    // More than the gate lets through, so that it says that there was more. It doesn't count line ends.
    constexpr qsizetype enough = DraftGate::mostCharacters + DraftGate::mostLines + 1;
    return VisibleText::ofSanitized(HTMLSanitizer::sanitize(*message.htmlBody, {}).document, enough);
}

/// Sets the subject, as much of it as a draft takes up.
void setSubject(ComposeDraft& draft, const QString& text)
{
    const DraftGate::Passed subject = DraftGate::line(text, DraftGate::longestSubject);
    draft.subject = subject.text;
    if (!subject.isWhole())
        draft.notices.append(
            Texts::tr("The subject was too long or had too many marks, and a part of it was left out."));
}

/// Sets the subject with "Re: " or "Fwd: " before it.
void setSubject(ComposeDraft& draft, const ParsedMessage& message, QString (*marked)(const QString&))
{
    setSubject(draft, message.headers.subject());
    draft.subject = marked(draft.subject);
}

/// Whether the names of the sender may stand in a text of the user, where nothing hidden is left of them.
bool areNamesShown(const Sender& sender)
{
    return sender.names != Sender::Names::lookLikeAnotherAddress;
}

bool hasName(const EmailAddress& address)
{
    return address.name && ShownText::hasInk(*address.name);
}

/// Addresses in the words of a forward.
QString addressesText(const QList<EmailAddress>& addresses, bool areNamed)
{
    QStringList texts;
    for (const EmailAddress& address : addresses) {
        const bool isNamed = areNamed && hasName(address);
        texts.append(isNamed ? u"%1 <%2>"_s.arg(*address.name, address.address) : address.address);
    }
    return texts.join(u", "_s);
}

/// What a forwarded message says of itself, each line as long as an editor can take it.
QString forwardHead(const MIMEHeaders& headers)
{
    const Sender sender = SenderReader::read(headers);
    const QString from = addressesText(sender.addresses, areNamesShown(sender));
    const QString to = addressesText(RecipientFields::addresses(headers, u"To"), true);
    const QString head = MessageComposer::forwardBody(headers, from, to, QString());
    QStringList lines;
    for (const QStringView line : QStringView(head).tokenize(u'\n'))
        lines.append(ShownText::line(line, DraftGate::longestLine));
    return DraftGate::text(lines.join(u'\n'), {}).text;
}

/// As much of the text as an answer takes up.
Passed quotable(const QString& text)
{
    return DraftGate::text(text, Texts::tr("[The rest of the message is left out.]"));
}

/// The text of a message for an answer or a forward.
QuotedText::Quoted quoted(const ParsedMessage& message, const QString& snippet)
{
    return QuotedText::of(message, snippet, [](const MIMEHeaders& headers) {
        return forwardHead(headers).split(u'\n', Qt::SkipEmptyParts);
    });
}

/// The name under which the message is saved as a file.
QString savedName(const QString& subject)
{
    constexpr qsizetype mostCharacters = 80;
    const QString name = MIMEParser::safeFilename(subject.isEmpty() ? Texts::tr("Message") : subject);
    return FileName::shown(Text::prefix(ShownText::line(name, mostCharacters * 4), mostCharacters) +
                           u".eml"_s);
}

std::optional<QString> trimmedHeader(const MIMEHeaders& headers, QStringView name)
{
    const std::optional<QString> value = headers.value(name);
    return value ? std::optional(Text::trimmedSpace(*value).toString()) : std::nullopt;
}

// --- Whom an answer goes to

/// The addresses of a field, by `read` of which an answer goes. Where names pretend something they are left
/// out, and the addresses are those of before the decoding.
QList<EmailAddress> addressesOf(const MIMEHeaders& headers, QStringView name, const Sender& read)
{
    const auto isSendable = [](const EmailAddress& address) {
        return AddressParser::isSendable(address.address);
    };
    if (read.names == Sender::Names::holdHiddenCharacters)
        return read.addresses;
    if (areNamesShown(read) && headers.values(name).size() <= 1) {
        const QList<EmailAddress> decoded = RecipientFields::addresses(headers, name);
        const bool isReadBetter = !read.addresses.isEmpty() && !std::ranges::all_of(decoded, isSendable) &&
                                  std::ranges::all_of(read.addresses, isSendable);
        return isReadBetter ? read.addresses : decoded;
    }
    QList<EmailAddress> bare;
    for (const EmailAddress& address : read.addresses)
        bare.append(EmailAddress(std::nullopt, address.address));
    return bare;
}

/// Where the message asks for answers to; empty where it doesn't.
QList<EmailAddress> wantedBy(const MIMEHeaders& headers)
{
    const std::optional<QString> value = headers.value(u"Reply-To");
    if (!value)
        return {};
    const Sender read = SenderReader::readField(*value);
    QList<EmailAddress> wanted = addressesOf(headers, u"Reply-To", read);
    wanted.removeIf([](const EmailAddress& address) { return address.address.isEmpty(); });
    return wanted;
}

/// The addresses of other domains than the sender's.
QStringList elsewhere(const QList<EmailAddress>& wanted, const Sender& sender)
{
    QSet<QString> domains;
    for (const EmailAddress& address : sender.addresses)
        domains.insert(SenderReader::domainOf(address.address));
    QStringList found;
    for (const EmailAddress& address : wanted) {
        if (!domains.isEmpty() && !domains.contains(SenderReader::domainOf(address.address)))
            found.append(address.address);
    }
    return found;
}

/// What the window says where an answer goes to somebody else than the sender; empty where it doesn't.
QString elsewhereNotice(const QStringList& addresses)
{
    constexpr qsizetype mostNamed = 3;
    if (addresses.isEmpty())
        return {};
    QStringList named;
    for (const QString& address : addresses.first(std::min(addresses.size(), mostNamed)))
        named.append(ShownText::line(address, longestPiece / mostNamed));
    if (addresses.size() > mostNamed)
        named.append(u"…"_s);
    return Texts::tr("Replies go to %1, not to the sender.").arg(named.join(u", "_s));
}

bool isSame(const QString& left, const QString& right)
{
    return Text::lowered(left) == Text::lowered(right);
}

/// Those of the addresses that aren't known yet, each once; they are known from then on.
QList<EmailAddress> unknown(const QList<EmailAddress>& addresses, QSet<QString>& known)
{
    QList<EmailAddress> others;
    for (const EmailAddress& address : addresses) {
        const qsizetype before = known.size();
        known.insert(Text::lowered(address.address));
        if (known.size() > before)
            others.append(address);
    }
    return others;
}

struct Answered {
    QList<EmailAddress> to;
    QList<EmailAddress> cc;
    QString notice; ///< on whom it goes to; may be empty
};

Answered answeredTo(const MIMEHeaders& headers, const Sender& sender)
{
    const QList<EmailAddress> wanted = wantedBy(headers);
    if (wanted.isEmpty())
        return {addressesOf(headers, u"From", sender), {}, {}};
    return {wanted, {}, elsewhereNotice(elsewhere(wanted, sender))};
}

/// Whom a message of one's own went to.
Answered formerRecipients(const MIMEHeaders& headers, const QString& ownAddress)
{
    QSet<QString> known{Text::lowered(ownAddress)};
    Answered answered;
    answered.to = unknown(RecipientFields::addresses(headers, u"To"), known);
    answered.cc = unknown(RecipientFields::addresses(headers, u"Cc"), known);
    return answered;
}

Answered answered(const MIMEHeaders& headers, const Sender& sender, const QString& ownAddress,
                  Recipients recipients)
{
    if (recipients == Recipients::sender)
        return answeredTo(headers, sender);
    const bool isOwn = !sender.addresses.isEmpty() && isSame(sender.addresses.first().address, ownAddress);
    if (isOwn) {
        const Answered former = formerRecipients(headers, ownAddress);
        if (!former.to.isEmpty() || !former.cc.isEmpty())
            return former;
    }
    QSet<QString> known{Text::lowered(ownAddress)};
    Answered answered = answeredTo(headers, sender);
    for (const EmailAddress& address : std::as_const(answered.to))
        known.insert(Text::lowered(address.address));
    answered.cc = unknown(
        RecipientFields::addresses(headers, u"To") + RecipientFields::addresses(headers, u"Cc"), known);
    return answered;
}

// --- The conversation

/// The identifier as far as a header line can hold it.
/// Whether it can stand in a header of ours; letters beyond ASCII there need a server that takes them.
bool isUsableID(const QString& id)
{
    return id.size() <= DraftGate::longestReference &&
           std::ranges::all_of(id, [](QChar unit) { return unit >= u' ' && unit <= u'~'; });
}

std::optional<QString> boundedID(const std::optional<QString>& id)
{
    return id && isUsableID(*id) ? id : std::nullopt;
}

/// The beginning of the conversation and its latest messages (RFC 5322, 3.6.4).
QList<QString> boundedReferences(QList<QString> references)
{
    references.removeIf([](const QString& reference) { return !isUsableID(reference); });
    const qsizetype excess = references.size() - DraftGate::mostReferences;
    if (excess > 0)
        references.remove(1, excess);
    return references;
}

// --- Leaving

[[noreturn]] void refuse(const QString& piece)
{
    throw MailError::unsupported(
        Texts::tr("“%1” isn’t a valid email address.").arg(ShownText::line(piece, longestPiece)));
}

void expectRecipients(const QList<RecipientField::Piece>& pieces)
{
    const bool hasAny = std::ranges::any_of(
        pieces, [](const RecipientField::Piece& piece) { return piece.address.has_value(); });
    if (!hasAny)
        throw MailError::unsupported(Texts::tr("Please specify at least one recipient."));
    for (const RecipientField::Piece& piece : pieces) {
        if (!piece.address || piece.address->address.isEmpty())
            refuse(piece.text);
        if (!AddressParser::isSendable(piece.address->address))
            refuse(piece.address->address);
    }
}

/// Cuts what was read of a field into those to whom mail can go, and the rest.
QList<EmailAddress> recipients(const QList<RecipientField::Piece>& pieces, QString& unread)
{
    QList<EmailAddress> addresses;
    QStringList rest;
    for (const RecipientField::Piece& piece : pieces) {
        if (piece.address && AddressParser::isSendable(piece.address->address))
            addresses.append(*piece.address);
        else
            rest.append(piece.text);
    }
    unread = rest.join(u", "_s);
    return addresses;
}

} // namespace

ComposeDraft newMessage(const Setting& setting, const QString& to)
{
    ComposeDraft draft = emptyDraft(setting);
    RecipientFields fields;
    draft.to = fields.given(to);
    draft.notices = fields.notices();
    draft.body = setting.signature;
    return draft;
}

ComposeDraft messageFor(const Setting& setting, const MailtoURL& url)
{
    ComposeDraft draft = emptyDraft(setting);
    RecipientFields fields;
    draft.to = fields.given(url.to);
    draft.cc = fields.given(url.cc);
    draft.bcc = fields.given(url.bcc);
    draft.notices = fields.notices();
    setSubject(draft, url.subject);
    draft.body =
        DraftGate::text(url.body, Texts::tr("[The rest of the text is left out.]")).text + setting.signature;
    return draft;
}

ComposeDraft reply(const Setting& setting, const ParsedMessage& message, const QString& snippet,
                   Recipients recipients)
{
    ComposeDraft draft = emptyDraft(setting);
    const MIMEHeaders& headers = message.headers;
    const Sender sender = SenderReader::read(headers);
    const Answered whom = answered(headers, sender, setting.ownAddress, recipients);
    RecipientFields fields;
    draft.to = fields.written(whom.to);
    draft.cc = fields.written(whom.cc);
    draft.notices = fields.notices();
    if (!whom.notice.isEmpty())
        draft.notices.prepend(whom.notice);
    setSubject(draft, message, MessageComposer::replySubject);
    const EmailAddress writer = sender.addresses.value(0);
    const auto shown = [](const QString& text) { return ShownText::line(text, DraftGate::longestName); };
    const bool isOne = SenderReader::distinctAddresses(sender) == 1;
    const std::optional<QString> name =
        isOne && hasName(writer) && areNamesShown(sender) ? std::optional(shown(*writer.name)) : std::nullopt;
    // Of several none writes for the others.
    const std::optional<QString> address =
        sender.addresses.isEmpty() ? std::nullopt
                                   : std::optional(shown(isOne ? writer.address : sender.addressText()));
    const QuotedText::Quoted quote = quoted(message, snippet);
    draft.body = setting.signature +
                 MessageComposer::quotedReply(quotable(quote.text).text, name, address, headers.date());
    if (quote.hasOtherText)
        draft.notices.append(
            Texts::tr("The message holds two different texts; the quote is the one that is shown."));
    draft.inReplyTo = boundedID(headers.messageID());
    draft.references = headers.references();
    if (draft.inReplyTo)
        draft.references.append(*draft.inReplyTo);
    draft.references = boundedReferences(draft.references);
    return draft;
}

bool isCut(const ParsedMessage& message, const QString& snippet)
{
    return message.isIncomplete || quotable(quoted(message, snippet).text).isCut;
}

ComposeDraft forward(const Setting& setting, const ParsedMessage& message, const QString& snippet,
                     const std::optional<QByteArray>& raw)
{
    ComposeDraft draft = emptyDraft(setting);
    setSubject(draft, message, MessageComposer::forwardSubject);
    const QuotedText::Quoted quote = quoted(message, snippet);
    const DraftGate::Passed text = quotable(quote.text);
    if (quote.hasOtherText)
        draft.notices.append(
            Texts::tr("The message holds two different texts; only the one that is shown is forwarded."));
    draft.body = setting.signature + forwardHead(message.headers) + text.text;
    draft.attachments = outgoingAttachments(message);
    if (!raw || (!text.isCut && !message.isIncomplete))
        return draft;
    const QString filename = savedName(message.headers.subject());
    draft.attachments.append({QUuid::createUuid(), filename, u"application/octet-stream"_s, *raw});
    const QString notice =
        message.isIncomplete
            ? Texts::tr("Parts of the message could not be read. It is attached as a whole: “%1”.")
            : Texts::tr("The message is too long to be shown whole, and is attached as well: “%1”.");
    draft.notices.append(notice.arg(filename));
    return draft;
}

ComposeDraft storedDraft(const Setting& setting, const ParsedMessage& message, const QString& messageID)
{
    ComposeDraft draft = emptyDraft(setting);
    const MIMEHeaders& headers = message.headers;
    RecipientFields fields;
    const auto field = [&](QStringView name, QLatin1StringView unread) {
        return fields.resumed(headers.value(name).value_or(QString()),
                              RecipientField::restored(headers.value(QString(unread)).value_or(QString())));
    };
    draft.to = field(u"To", MessageComposer::unreadToField);
    draft.cc = field(u"Cc", MessageComposer::unreadCcField);
    draft.bcc = field(u"Bcc", MessageComposer::unreadBccField);
    draft.notices = fields.notices();
    setSubject(draft, message, [](const QString& subject) { return subject; });
    bool isWhole = draft.notices.isEmpty() && !message.isIncomplete;
    if (message.isIncomplete)
        draft.notices.append(Texts::tr("Parts of the draft could not be read, and were left out."));

    const QString rest = Texts::tr("[The rest of the draft is left out.]");
    const DraftGate::Passed body = DraftGate::text(storedText(message), rest);
    draft.body = body.text;
    if (message.htmlBody) {
        // As the editor may load it: nothing in it loads anything.
        SanitizerOptions options;
        options.keepsOnlyWordsOfImages = true;
        const SanitizedHTML sanitized = HTMLSanitizer::sanitize(*message.htmlBody, options);
        const DraftGate::Passed html = DraftGate::html(sanitized.document, rest);
        draft.initialHTML = html.text;
        draft.isRichText = true;
        isWhole = isWhole && html.isWhole();
    } else {
        isWhole = isWhole && body.isWhole();
    }
    draft.inReplyTo = boundedID(trimmedHeader(headers, u"In-Reply-To"));
    draft.references = boundedReferences(headers.references());
    draft.attachments = outgoingAttachments(message);
    if (isWhole)
        draft.draftMessageID = messageID;
    else
        draft.notices.append(
            Texts::tr("This is a copy of a draft that is more than a window can take. Saving it leaves "
                      "the draft as it is."));
    return draft;
}

bool isForeign(const ComposeDraft& draft, const Account& sender)
{
    const bool isOfAnother = !draft.originAccountID.isNull() && draft.originAccountID != sender.id;
    return isOfAnother || (!draft.originMailbox.isEmpty() && draft.originMailbox != sender.mailboxIdentity());
}

OutgoingMessage outgoing(const ComposeDraft& draft, const Account& account, Purpose purpose)
{
    const QList<RecipientField::Piece> to = RecipientField::read(draft.to);
    const QList<RecipientField::Piece> cc = RecipientField::read(draft.cc);
    const QList<RecipientField::Piece> bcc = RecipientField::read(draft.bcc);
    if (purpose == Purpose::send)
        expectRecipients(to + cc + bcc);
    OutgoingMessage message;
    message.to = recipients(to, message.unread.to);
    message.cc = recipients(cc, message.unread.cc);
    message.bcc = recipients(bcc, message.unread.bcc);
    message.from = EmailAddress(account.displayName, account.email);
    message.subject = draft.subject;
    message.body = draft.body;
    if (draft.isRichText)
        message.htmlBody = draft.initialHTML;
    message.attachments = draft.attachments;
    message.inReplyTo = draft.inReplyTo;
    message.references = draft.references;
    if (!isForeign(draft, account))
        message.threadID = draft.threadID;
    if (purpose == Purpose::send && draft.attempt)
        message.messageID = draft.attempt->messageID;
    // What is sent never has it: a copy of the draft may stay behind.
    if (purpose == Purpose::store && !draft.id.isNull())
        message.messageID = MessageComposer::lastingMessageID(draft.id, account.email);
    return message;
}

} // namespace Larkhaven::Writing
