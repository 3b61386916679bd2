#pragma once

#include "domain/Account.h"

#include <QJsonValue>
#include <QString>

#include <array>
#include <optional>
#include <variant>

namespace Larkhaven {

/// The system roles of mailboxes, in the order in which they are shown.
enum class Mailbox { inbox, starred, sent, drafts, archive, spam, trash };
inline constexpr std::array allMailboxes{Mailbox::inbox,   Mailbox::starred, Mailbox::sent, Mailbox::drafts,
                                         Mailbox::archive, Mailbox::spam,    Mailbox::trash};
/// The roles into which a message can be moved from the menus, in their order there.
inline constexpr std::array moveTargets{Mailbox::inbox, Mailbox::archive, Mailbox::spam, Mailbox::trash};
QString storedText(Mailbox role);
/// The role's name for accounts of the given kind.
QString name(Mailbox role, ProviderKind provider);

/// A label (Gmail) or folder (IMAP) of the user.
struct MailLabel {
    QString id; ///< the service's identifier: Gmail's label id, or the folder's wire name on the IMAP server
    QString path; ///< the full name with "/" between levels

    /// The last component of `path`; the whole path where it has none.
    QString name() const;
    /// How deep the label is nested: components of `path` less one, at least 0.
    int depth() const;

    /// Fails with `DecodingError`.
    static MailLabel fromJSON(const QJsonObject& object);
    QJsonObject toJSON() const;

    bool operator==(const MailLabel&) const = default;
};
size_t qHash(const MailLabel& label, size_t seed = 0);

/// The order in which labels are shown: by `path`, level by level, as the user's locale sorts words; then by
/// `id`.
bool isOrderedBefore(const MailLabel& left, const MailLabel& right);

/// What the sidebar selects and what a listing is asked for: a system role or a label.
class MailboxRef {
public:
    static MailboxRef system(Mailbox role) { return MailboxRef(role); }
    static MailboxRef label(MailLabel label) { return MailboxRef(std::move(label)); }

    /// Stable text, "system:inbox" or "label:Label_12". It keys unread counts and listings.
    QString id() const;
    QString name(ProviderKind provider) const;
    /// The role of a system reference; absent for a label.
    std::optional<Mailbox> role() const;
    /// The label of a label reference; null for a role.
    const MailLabel* label() const { return std::get_if<MailLabel>(&m_value); }

    /// Fails with `DecodingError`.
    static MailboxRef fromJSON(const QJsonValue& value);
    QJsonObject toJSON() const;

    bool operator==(const MailboxRef&) const = default;

private:
    explicit MailboxRef(std::variant<Mailbox, MailLabel> value)
        : m_value(std::move(value))
    {}

    std::variant<Mailbox, MailLabel> m_value;
};
size_t qHash(const MailboxRef& ref, size_t seed = 0);

} // namespace Larkhaven
