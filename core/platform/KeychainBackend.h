#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

namespace Larkhaven {

/// What a keychain answers to an operation. The named values mean the same for every backend; any other is
/// the backend's own.
enum class KeychainStatus : qint32 {
    success = 0,
    itemNotFound = -25300,
    notAvailable = -34018, ///< this backend isn't there: no service, or none that this process may reach
    interactionNotAllowed = -25308, ///< the keychain is locked and the user declined to open it
    failed = -25291,                ///< any other refusal
};

/// One secret store of the desktop, which keeps bytes by service and account name, unsynchronised, readable
/// only while the user's session is unlocked. Calls block for the length of a call to the store, and may be
/// made from any thread.
class KeychainBackend {
public:
    virtual ~KeychainBackend() = default;

    struct ReadResult {
        KeychainStatus status = KeychainStatus::success;
        std::optional<QByteArray> data; ///< absent although successful: what is stored isn't bytes
    };
    virtual ReadResult read(const QString& service, const QString& account) = 0;
    /// Changes the data of an item that is there; `itemNotFound` if it isn't. The label stays.
    virtual KeychainStatus update(const QString& service, const QString& account, const QByteArray& data) = 0;
    /// Makes a new item.
    virtual KeychainStatus add(const QString& service, const QString& account, const QByteArray& data,
                               const QString& label) = 0;
    virtual KeychainStatus remove(const QString& service, const QString& account) = 0;

    /// The backend's words for a status; absent where it has none.
    virtual std::optional<QString> message(KeychainStatus status) const;
};

/// The keychains of this system in the order in which they are asked: Secret Service, then KWallet.
QList<std::shared_ptr<KeychainBackend>> systemKeychainBackends();

} // namespace Larkhaven
