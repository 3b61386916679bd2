#pragma once

#include "auth/SecretStore.h"
#include "domain/LocalizedError.h"
#include "platform/KeychainBackend.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>

namespace Larkhaven {

/// A refusal of the system's keychain.
class KeychainError : public LocalizedError {
public:
    explicit KeychainError(KeychainStatus status, std::optional<QString> message = std::nullopt)
        : m_status(status)
        , m_message(std::move(message))
    {}

    KeychainStatus status() const { return m_status; }
    /// The backend's own words, or "Keychain error {status}".
    QString localizedText() const override;

private:
    KeychainStatus m_status;
    std::optional<QString> m_message;
};

/// The secrets of one service name in the system's keychain; the only place where a secret reaches the disk.
///
/// Two keychains are asked in a fixed order, the preferred one first: a read takes the first item found, a
/// write goes to the first keychain that is there, a removal visits both, so that an old item can't survive
/// it. Immutable; callable from any thread.
class KeychainStore final : public SecretStore {
public:
    /// `backends` must not be empty.
    explicit KeychainStore(QString service,
                           QList<std::shared_ptr<KeychainBackend>> backends = systemKeychainBackends());

    /// Nothing also where no keychain is there. Fails with `KeychainError`, or with `DecodingError` where the
    /// item isn't a credential; the item stays.
    std::optional<Credential> load(const QUuid& accountID) override;
    /// Nothing only where a keychain states that the item is absent, as `findData`: a keyring that isn't up
    /// yet must not cost a sign-in.
    std::optional<Credential> find(const QUuid& accountID) override;
    void save(const Credential& credential, const QUuid& accountID) override;
    void remove(const QUuid& accountID) override;

    /// The raw bytes of the account's item, or nothing, also where no keychain is there. Fails with
    /// `KeychainError`.
    std::optional<QByteArray> loadData(const QUuid& accountID);
    /// As `loadData`, but fails with `KeychainError` "not available" where no keychain is there to state that
    /// the item is absent.
    std::optional<QByteArray> findData(const QUuid& accountID);
    /// Stores raw bytes. Fails with `KeychainError`.
    void saveData(const QByteArray& data, const QUuid& accountID);

private:
    struct Lookup {
        std::optional<QByteArray> data;
        bool isAnswered = false; ///< a keychain was there
    };
    Lookup lookUp(const QUuid& accountID);

    QString m_service;
    QList<std::shared_ptr<KeychainBackend>> m_backends;
};

} // namespace Larkhaven
