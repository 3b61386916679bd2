#include "platform/KeychainBackend.h"

#include "platform/KWalletBackend.h"
#include "platform/SecretServiceBackend.h"

#include <QCoreApplication>

namespace Larkhaven {

std::optional<QString> KeychainBackend::message(KeychainStatus status) const
{
    const auto tr = [](const char* text) { return QCoreApplication::translate("KeychainBackend", text); };
    switch (status) {
    case KeychainStatus::itemNotFound:
        return tr("The item isn't in the keyring.");
    case KeychainStatus::notAvailable:
        return tr("No keyring is running in this session.");
    case KeychainStatus::interactionNotAllowed:
        return tr("The keyring is locked.");
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
