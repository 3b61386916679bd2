#include "model/RecipientFields.h"

#include "domain/ShownText.h"
#include "format/AddressParser.h"
#include "format/MailEncoding.h"
#include "format/MessageComposer.h"
#include "format/RecipientField.h"
#include "model/DraftGate.h"

#include <QCoreApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr qsizetype mostNamed = 5;      ///< of those who are left out
constexpr qsizetype longestPiece = 200; ///< of a text that a notice names
/// As much is looked at of what a link brings; most of it may be escapes, or text that goes.
constexpr qsizetype longestGiven = 4 * DraftGate::mostFieldEffort;

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(RecipientFields)
};

/// The addresses of a list of which all can be read without a guess; absent for any other.
std::optional<QList<EmailAddress>> exactAddresses(const QString& list)
{
    QList<EmailAddress> addresses;
    for (const RecipientField::Piece& piece : RecipientField::read(list)) {
        const bool isExact = piece.address && AddressParser::isSendable(piece.address->address);
        if (!isExact || addresses.size() == AddressParser::maxAddresses)
            return std::nullopt;
        addresses.append(*piece.address);
    }
    return addresses;
}

} // namespace

bool RecipientFields::takesRoom(const QString& piece)
{
    const qsizetype effort = DraftGate::effort(piece) + 2;
    const bool hasRoom =
        m_count < DraftGate::mostAddresses && m_effort + effort <= DraftGate::mostFieldEffort;
    if (!hasRoom) {
        ++m_tooMany;
        return false;
    }
    ++m_count;
    m_effort += effort;
    return true;
}

QString RecipientFields::addressText(const EmailAddress& address)
{
    // A name that can't be seen isn't written by a user either.
    if (!address.name || !ShownText::hasInk(*address.name))
        return MessageComposer::editableAddress(EmailAddress(std::nullopt, address.address));
    const DraftGate::Passed name = DraftGate::line(*address.name, DraftGate::longestName);
    m_hasCutNames = m_hasCutNames || !name.isWhole();
    return MessageComposer::editableAddress(
        EmailAddress(name.isWhole() ? std::optional(name.text) : std::nullopt, address.address));
}

QString RecipientFields::written(const QList<EmailAddress>& addresses)
{
    QStringList texts;
    for (const EmailAddress& address : addresses) {
        if (!AddressParser::isSendable(address.address)) {
            if (m_refused.size() < mostNamed)
                m_refused.append(ShownText::line(address.address, longestPiece));
            else
                ++m_refusedBeyond;
            continue;
        }
        const QString text = m_count < DraftGate::mostAddresses ? addressText(address) : QString();
        if (takesRoom(text))
            texts.append(text);
    }
    return texts.join(u", "_s);
}

QString RecipientFields::resumed(const QString& header, const QString& unread)
{
    QStringList texts;
    QList<RecipientField::Piece> pieces = RecipientField::read(header);
    pieces += RecipientField::read(unread);
    for (const RecipientField::Piece& piece : pieces) {
        const bool isAddress = piece.address && AddressParser::isSendable(piece.address->address);
        QString text;
        if (isAddress) {
            const QString name = MailEncoding::decodeHeader(piece.address->name.value_or(QString()));
            text = addressText(EmailAddress(name, piece.address->address));
        } else {
            const DraftGate::Passed passed =
                DraftGate::line(MailEncoding::decodeHeader(piece.text), DraftGate::mostFieldEffort);
            text = passed.text;
            m_tooMany += passed.isWhole() ? 0 : 1;
            if (!passed.isWhole())
                continue;
        }
        if (takesRoom(text))
            texts.append(text);
    }
    return texts.join(u", "_s);
}

QString RecipientFields::given(const QString& text)
{
    const DraftGate::Passed whole = DraftGate::line(text, DraftGate::mostFieldEffort);
    QList<RecipientField::Piece> pieces =
        RecipientField::read(QStringView(text).first(std::min(text.size(), longestGiven)));
    if (text.size() > longestGiven) {
        // The last one may be cut.
        if (!pieces.isEmpty())
            pieces.removeLast();
        ++m_tooMany;
    }
    const bool fits = whole.isWhole() && pieces.size() <= DraftGate::mostAddresses &&
                      DraftGate::effort(whole.text) <= DraftGate::mostFieldEffort;
    if (fits)
        return whole.text;
    QStringList texts;
    for (const RecipientField::Piece& piece : pieces) {
        const DraftGate::Passed passed = DraftGate::line(piece.text, DraftGate::mostFieldEffort);
        if (!passed.isWhole())
            ++m_tooMany;
        else if (takesRoom(passed.text))
            texts.append(passed.text);
    }
    return texts.join(u", "_s);
}

QStringList RecipientFields::notices() const
{
    QStringList notices;
    for (const QString& address : m_refused)
        notices.append(Texts::tr("“%1” isn’t a valid email address, and was left out.").arg(address));
    if (m_refusedBeyond > 0)
        notices.append(Texts::tr("Further addresses that aren’t valid were left out: %1.")
                           .arg(QString::number(m_refusedBeyond)));
    if (m_tooMany > 0)
        notices.append(Texts::tr("A window doesn’t take that many recipients. Left out: %1.")
                           .arg(QString::number(m_tooMany)));
    if (m_hasCutNames)
        notices.append(Texts::tr("Names of recipients that were too long were left out."));
    return notices;
}

QList<EmailAddress> RecipientFields::addresses(const MIMEHeaders& headers, QStringView name)
{
    const QString raw = headers.value(name).value_or(QString());
    const std::optional<QList<EmailAddress>> exact = exactAddresses(raw);
    // A name is decoded by itself: decoded as a whole, a name could hold further addresses.
    QList<EmailAddress> addresses = exact ? *exact : AddressParser::parseList(raw);
    for (EmailAddress& address : addresses) {
        if (address.name)
            address = EmailAddress(MailEncoding::decodeHeader(*address.name), address.address);
        // No address is encoded (RFC 2047, 5). In brackets it is none, and is named among those left out.
        if (address.address.contains("=?"_L1))
            address.address = u'<' + MailEncoding::decodeHeader(address.address) + u'>';
    }
    return addresses;
}

} // namespace Larkhaven
