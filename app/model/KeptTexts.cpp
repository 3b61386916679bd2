#include "model/KeptTexts.h"

#include "model/KeptTextFiles.h"
#include "platform/RandomBytes.h"

#include <QDir>

#include <algorithm>

namespace Larkhaven {

namespace {

/// The account's key, made where there was none; nothing where it can't be had for certain.
std::optional<QByteArray> keyOf(KeychainStore& keys, const QString& directory, const QUuid& accountID)
{
    try {
        std::optional<QByteArray> key = keys.findData(accountID);
        if (!key && !KeptTextFiles::holdsTexts(directory, accountID)) {
            key = randomBytes(AESGCMCipher::keySize);
            if (key)
                keys.saveData(*key, accountID);
        }
        return key && key->size() == AESGCMCipher::keySize ? key : std::nullopt;
    } catch (const LocalizedError&) {
        return std::nullopt;
    }
}

} // namespace

KeptTexts::KeptTexts(QString directory, std::shared_ptr<KeychainStore> keys)
    : m_directory(std::move(directory))
    , m_keys(std::move(keys))
{
    m_files.setMaxThreadCount(1);
    m_keyring.setMaxThreadCount(1);
}

KeptTexts::~KeptTexts()
{
    m_files.waitForDone();
}

// --- Keys

Task<> KeptTexts::unlock(QList<QUuid> accounts)
{
    const auto self = shared_from_this();
    if (m_directory.isEmpty())
        co_return;
    const auto isToBeAsked = [this](const QUuid& accountID) {
        return !m_ciphers.value(accountID) && !m_heirs.contains(accountID);
    };
    accounts.removeIf([&](const QUuid& accountID) { return !isToBeAsked(accountID); });
    const QSet<QUuid> underWay = m_asking & QSet<QUuid>(accounts.cbegin(), accounts.cend());
    accounts.removeIf([&](const QUuid& accountID) { return underWay.contains(accountID); });
    m_asking += QSet<QUuid>(accounts.cbegin(), accounts.cend());
    for (const QUuid& accountID : std::as_const(accounts)) {
        const auto work = [keys = m_keys, directory = m_directory, accountID] {
            return keyOf(*keys, directory, accountID);
        };
        const std::optional<QByteArray> key = co_await runOn(&m_keyring, work);
        m_asking.remove(accountID);
        if (!isToBeAsked(accountID))
            continue;
        m_ciphers.insert(accountID, key ? std::make_shared<AESGCMCipher>(*key) : Cipher());
        Q_EMIT troubleChanged();
    }
    const auto nothing = [] {};
    while (m_asking.intersects(underWay))
        co_await runOn(&m_keyring, nothing);
    writeWaiting();
}

Task<KeptTexts::Cipher> KeptTexts::cipher(QUuid accountID)
{
    const QList<QUuid> one(1, accountID);
    if (!m_ciphers.contains(accountID))
        co_await unlock(one);
    Cipher known = m_ciphers.value(accountID);
    co_return known;
}

bool KeptTexts::hasTrouble(const QUuid& accountID) const
{
    const auto known = m_ciphers.constFind(accountID);
    return m_unwritable.contains(accountID) || m_unreadable.contains(accountID) ||
           (known != m_ciphers.cend() && !*known);
}

void KeptTexts::setTrouble(QSet<QUuid>& accounts, const QUuid& accountID, bool isThere)
{
    if (accounts.contains(accountID) == isThere)
        return;
    if (isThere)
        accounts.insert(accountID);
    else
        accounts.remove(accountID);
    Q_EMIT troubleChanged();
}

QUuid KeptTexts::keeper(QUuid accountID) const
{
    // An heir may be removed in its turn. Nobody is the heir of one that was removed before.
    for (auto heir = m_heirs.constFind(accountID); heir != m_heirs.cend() && *heir;
         heir = m_heirs.constFind(accountID))
        accountID = **heir;
    return accountID;
}

// --- Writing

void KeptTexts::keep(const ComposeDraft& draft)
{
    if (m_directory.isEmpty())
        return;
    m_seen.insert(draft.id);
    Text& text = m_texts[draft.id];
    text.draft = draft;
    text.draft.accountID = keeper(draft.accountID);
    ++text.version;
    if (!text.isWriting)
        spawn(writeUntilNewest(draft.id), dropFailure);
}

Task<> KeptTexts::writeUntilNewest(QUuid draftID)
{
    const auto self = shared_from_this();
    m_texts[draftID].isWriting = true;
    // While one state is written the next ones come; only the newest of them is written then.
    for (bool goesOn = true; goesOn;) {
        const Text state = m_texts.value(draftID);
        const QUuid accountID = state.draft.accountID;
        const Cipher seal = co_await cipher(accountID);
        if (!m_texts.contains(draftID))
            co_return;
        if (m_texts.value(draftID).version != state.version)
            continue;
        bool isWritten = false;
        if (seal) {
            const auto work = [directory = m_directory, draft = state.draft, seal] {
                return KeptTextFiles::write(directory, draft, *seal);
            };
            isWritten = co_await runOn(&m_files, work);
            setTrouble(m_unwritable, accountID, !isWritten);
        }
        const auto text = m_texts.find(draftID);
        if (text == m_texts.end())
            co_return;
        if (isWritten)
            text->written = state.version;
        // What can't be written waits for the next change, or for the key.
        goesOn = text->version != state.version;
        text->isWriting = goesOn;
    }
}

void KeptTexts::writeWaiting()
{
    for (auto text = m_texts.cbegin(); text != m_texts.cend(); ++text) {
        if (!text->isWriting && text->written != text->version && m_ciphers.value(text->draft.accountID))
            spawn(writeUntilNewest(text.key()), dropFailure);
    }
}

void KeptTexts::forget(const QUuid& draftID)
{
    // What an earlier run kept and couldn't be read was never given, and has no window.
    if (!m_texts.remove(draftID))
        return;
    const auto work = [directory = m_directory, draftID] { KeptTextFiles::erase(directory, draftID); };
    spawn(runOn(&m_files, work), dropFailure);
}

Task<> KeptTexts::settle()
{
    const auto self = shared_from_this();
    const auto isBusy = [this] {
        return std::ranges::any_of(m_texts, [](const Text& text) { return text.isWriting; });
    };
    const auto nothing = [] {};
    do {
        // The keyring first: what waits for a key is written after that.
        co_await runOn(&m_keyring, nothing);
        co_await runOn(&m_files, nothing);
    } while (isBusy());
}

void KeptTexts::flush()
{
    for (const Text& text : std::as_const(m_texts)) {
        const Cipher seal = m_ciphers.value(text.draft.accountID);
        if (text.written == text.version || !seal)
            continue;
        const auto work = [directory = m_directory, draft = text.draft, seal] {
            KeptTextFiles::write(directory, draft, *seal);
        };
        m_files.start(work);
    }
    m_files.waitForDone();
}

// --- Reading

Task<QList<ComposeDraft>> KeptTexts::recover(QUuid accountID)
{
    const auto self = shared_from_this();
    if (m_directory.isEmpty())
        co_return QList<ComposeDraft>();
    const Cipher seal = co_await cipher(accountID);
    if (!seal)
        co_return QList<ComposeDraft>();
    const auto work = [directory = m_directory, accountID, seal] {
        return KeptTextFiles::read(directory, accountID, *seal);
    };
    KeptTextFiles::Found found = co_await runOn(&m_files, work);
    // A text whose window is open, or has closed while the files were read, has come back already.
    found.drafts.removeIf([this](const ComposeDraft& draft) { return m_seen.contains(draft.id); });
    for (const ComposeDraft& draft : std::as_const(found.drafts)) {
        m_seen.insert(draft.id);
        m_texts.insert(draft.id, {draft, 1, 1, false});
    }
    setTrouble(m_unreadable, accountID, found.hasUnreadable);
    co_return found.drafts;
}

Task<QList<QUuid>> KeptTexts::strayAccounts(QList<QUuid> known)
{
    const auto self = shared_from_this();
    if (m_directory.isEmpty())
        co_return QList<QUuid>();
    const auto work = [directory = m_directory] { return KeptTextFiles::accounts(directory); };
    QList<QUuid> strays = co_await runOn(&m_files, work);
    strays.removeIf([&](const QUuid& id) { return known.contains(id) || m_heirs.contains(id); });
    co_return strays;
}

// --- The end of an account

QSet<QUuid> KeptTexts::unwrittenOf(const QSet<QUuid>& open) const
{
    QSet<QUuid> unwritten;
    for (auto text = m_texts.cbegin(); text != m_texts.cend(); ++text) {
        if (open.contains(text.key()) && text->written != text->version)
            unwritten.insert(text.key());
    }
    return unwritten;
}

Task<> KeptTexts::removeAccount(QUuid accountID, std::optional<QUuid> heir, QSet<QUuid> open)
{
    const auto self = shared_from_this();
    m_heirs.insert(accountID, heir);
    m_ciphers.remove(accountID);
    m_texts.removeIf([&](const auto& text) {
        return text.value().draft.accountID == accountID && !open.contains(text.key());
    });
    for (Text& text : m_texts) {
        if (heir && text.draft.accountID == accountID) {
            text.draft.accountID = keeper(accountID);
            ++text.version;
        }
    }
    QSet<QUuid> spared;
    if (heir && !m_directory.isEmpty()) {
        co_await cipher(keeper(accountID));
        writeWaiting();
        co_await settle();
        // Nothing is erased before its successor is written.
        spared = unwrittenOf(open);
    }
    const auto erase = [directory = m_directory, accountID, spared] {
        return KeptTextFiles::eraseAccount(directory, accountID, spared);
    };
    bool isEmpty = true;
    if (!m_directory.isEmpty())
        isEmpty = co_await runOn(&m_files, erase);
    const auto removeKey = [keys = m_keys, accountID] {
        try {
            keys->remove(accountID);
        } catch (const LocalizedError&) {
            // A key without texts opens nothing.
        }
    };
    if (isEmpty)
        co_await runOn(&m_keyring, removeKey);
    setTrouble(m_unwritable, accountID, false);
    setTrouble(m_unreadable, accountID, false);
}

} // namespace Larkhaven
