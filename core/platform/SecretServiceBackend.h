#pragma once

#include "platform/KeychainBackend.h"

namespace Larkhaven {

/// The desktop's Secret Service (freedesktop.org), which GNOME, KDE and KeePassXC offer. Items lie in the
/// default collection under the attributes "service" and "account". A locked collection is unlocked by the
/// service's own prompt.
class SecretServiceBackend final : public KeychainBackend {
public:
    ReadResult read(const QString& service, const QString& account) override;
    KeychainStatus update(const QString& service, const QString& account, const QByteArray& data) override;
    KeychainStatus add(const QString& service, const QString& account, const QByteArray& data,
                       const QString& label) override;
    KeychainStatus remove(const QString& service, const QString& account) override;
};

} // namespace Larkhaven
