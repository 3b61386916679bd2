#pragma once

#include "platform/KeychainBackend.h"

namespace Larkhaven {

/// KDE's wallet, asked over D-Bus where no Secret Service runs. Items lie in the network wallet's folder
/// "Larkhaven" under the key "{service}/{account}"; it has no place for a label.
class KWalletBackend final : public KeychainBackend {
public:
    ReadResult read(const QString& service, const QString& account) override;
    KeychainStatus update(const QString& service, const QString& account, const QByteArray& data) override;
    KeychainStatus add(const QString& service, const QString& account, const QByteArray& data,
                       const QString& label) override;
    KeychainStatus remove(const QString& service, const QString& account) override;
};

} // namespace Larkhaven
