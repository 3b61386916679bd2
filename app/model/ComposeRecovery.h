#pragma once

#include "model/ComposeDraft.h"
#include "store/MailCache.h"

#include <QHash>
#include <QUuid>

#include <functional>
#include <memory>

namespace Larkhaven {

/// Keeps the texts of open compose windows, sealed in the cache of their account, so that a crash or a kill
/// loses nothing. A text is kept from its first change until its window closes on purpose.
///
/// Each text has two snapshots: its fields, and its attachments, which are written only when they change. A
/// third one lists what is kept. An account without a cache keeps nothing. Main thread; an operation under
/// way keeps the object alive.
class ComposeRecovery : public std::enable_shared_from_this<ComposeRecovery> {
public:
    /// Gives the cache of an account, or null.
    using Caches = std::function<std::shared_ptr<MailCache>(const QUuid&)>;

    explicit ComposeRecovery(Caches caches)
        : m_caches(std::move(caches))
    {}

    /// The most texts that are read again for one account.
    static constexpr qsizetype maxDrafts = 100;

    void keep(const ComposeDraft& draft);
    void forget(const QUuid& draftID);
    /// The account is gone, and its cache with it.
    void forgetAccount(const QUuid& accountID);
    /// Writes all that is kept anew, after the caches were emptied.
    void rewrite();
    /// What an earlier run kept and never forgot; it counts as kept from now on.
    Task<QList<ComposeDraft>> recovered(QUuid accountID);

private:
    void writeList(const QUuid& accountID);
    void write(const ComposeDraft& draft, bool withAttachments);
    void erase(const ComposeDraft& draft);

    Caches m_caches;
    QHash<QUuid, ComposeDraft> m_kept; ///< by the draft's id
};

} // namespace Larkhaven
