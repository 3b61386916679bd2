#pragma once

#include "auth/KeychainStore.h"
#include "model/ComposeDraft.h"
#include "platform/Tasks.h"
#include "store/AESGCMCipher.h"

#include <QHash>
#include <QObject>
#include <QThreadPool>
#include <QUuid>

#include <memory>

namespace Larkhaven {

/// Keeps the texts of open compose windows, sealed, so that a crash or a kill loses nothing. A text is kept
/// from its first change until its window closes on purpose.
///
/// Each text is one file "{directory}/{account}/{text}.{number}" that holds all of it, and is found by
/// listing the folder; nothing else says what is kept. A newer state is written under a higher number, and
/// the older one is erased only after that. Of two files of one text the higher number counts, in whichever
/// account's folder it lies.
///
/// The key of an account is made only where the keyring states that there is none and no text is there that
/// an earlier key may open. Wherever it can't be read, texts stay where they are, what is written meanwhile
/// is held in memory, and `hasTrouble` is up until a later `unlock` succeeds.
///
/// Main thread; files and keyring are touched on workers. An operation under way keeps the object alive.
class KeptTexts : public QObject, public std::enable_shared_from_this<KeptTexts> {
    Q_OBJECT

public:
    /// An empty `directory` keeps nothing.
    KeptTexts(QString directory, std::shared_ptr<KeychainStore> keys);
    ~KeptTexts() override;

    /// Reads the keys of those accounts whose key isn't known yet. The keyring may ask the user, once for
    /// each account however many calls wait for it.
    Task<> unlock(QList<QUuid> accounts);
    /// Whether texts of the account can't be read or kept at present.
    bool hasTrouble(const QUuid& accountID) const;

    /// The newest state of each text counts. The first call for an account may read its key.
    void keep(const ComposeDraft& draft);
    /// The window has closed on purpose.
    void forget(const QUuid& draftID);
    /// What an earlier run kept and never forgot; it counts as kept from now on, and is given once.
    /// `accountID` may be one that isn't known any more.
    Task<QList<ComposeDraft>> recover(QUuid accountID);
    /// Accounts other than `known` of which texts are there, because the list of accounts was lost.
    Task<QList<QUuid>> strayAccounts(QList<QUuid> known);
    /// Removes the account's texts and its key. Those that are open go over to `heir` first; one that the
    /// heir can't keep stays where it is, and so does the key.
    Task<> removeAccount(QUuid accountID, std::optional<QUuid> heir, QSet<QUuid> open);
    /// Ends when everything that can be written is.
    Task<> settle();
    /// As `settle`, at the end of the process: waits on this thread.
    void flush();

Q_SIGNALS:
    void troubleChanged();

private:
    using Cipher = std::shared_ptr<const AESGCMCipher>;
    struct Text {
        ComposeDraft draft;
        quint64 version = 0; ///< counts the states that were handed over
        quint64 written = 0; ///< the version on the disk
        bool isWriting = false;
    };

    Task<> writeUntilNewest(QUuid draftID);
    /// Null where the key can't be had.
    Task<Cipher> cipher(QUuid accountID);
    void writeWaiting();
    void setTrouble(QSet<QUuid>& accounts, const QUuid& accountID, bool isThere);
    /// The account that keeps what is kept for this one.
    QUuid keeper(QUuid accountID) const;
    /// Open texts of the heir that aren't on the disk in their newest state.
    QSet<QUuid> unwrittenOf(const QSet<QUuid>& open) const;

    const QString m_directory;
    const std::shared_ptr<KeychainStore> m_keys;
    QHash<QUuid, Cipher> m_ciphers;             ///< by account; null where the key couldn't be read
    QSet<QUuid> m_asking;                       ///< accounts whose key is being read
    QSet<QUuid> m_unwritable;                   ///< accounts whose last write failed
    QSet<QUuid> m_unreadable;                   ///< accounts with texts that their key doesn't open
    QSet<QUuid> m_seen;                         ///< texts of this run, also those that are forgotten
    QHash<QUuid, std::optional<QUuid>> m_heirs; ///< by account that is removed
    QHash<QUuid, Text> m_texts;                 ///< by the draft's id
    QThreadPool m_files;                        ///< one thread: in the order of the calls
    QThreadPool m_keyring;                      ///< one thread: a prompt doesn't hold up the files
};

} // namespace Larkhaven
