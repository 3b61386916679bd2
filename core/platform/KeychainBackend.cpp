#include "platform/KeychainBackend.h"

#include "platform/KWalletBackend.h"
#include "platform/SecretServiceBackend.h"

#include <QCoreApplication>

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(KeychainBackend)
};

} // namespace

std::optional<QString> KeychainBackend::message(KeychainStatus status) const
{
    switch (status) {
    case KeychainStatus::itemNotFound:
        return Texts::tr("The item isn't in the keyring.");
    case KeychainStatus::notAvailable:
        return Texts::tr("No keyring is running in this session.");
    case KeychainStatus::interactionNotAllowed:
        return Texts::tr("The keyring is locked.");
    case KeychainStatus::success:
    case KeychainStatus::failed:
        break;
    }
    return std::nullopt;
}

QList<std::shared_ptr<KeychainBackend>> systemKeychainBackends()
{
    return {std::make_shared<SecretServiceBackend>(), std::make_shared<KWalletBackend>()};
}

} // namespace Larkhaven
