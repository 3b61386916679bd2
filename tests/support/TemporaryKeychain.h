#pragma once

#include "platform/KeychainBackend.h"

#include <QHash>
#include <QList>
#include <QPair>

#include <optional>

namespace Larkhaven {

/// A keychain in memory. Every call is noted in `calls` as its operation; an answer can be scripted in place
/// of the keychain's own.
class TemporaryKeychain final : public KeychainBackend {
public:
    struct Item {
        std::optional<QByteArray> data; ///< absent: what is stored isn't bytes
        QString label;
    };
    using Key = QPair<QString, QString>; ///< service and account

    ReadResult read(const QString& service, const QString& account) override;
    KeychainStatus update(const QString& service, const QString& account, const QByteArray& data) override;
    KeychainStatus add(const QString& service, const QString& account, const QByteArray& data,
                       const QString& label) override;
    KeychainStatus remove(const QString& service, const QString& account) override;

    /// The answer of every later call, which then does nothing; absent: the keychain's own.
    void answerWith(std::optional<KeychainStatus> status) { m_answer = status; }

    QHash<Key, Item> items;
    QList<QString> calls;

private:
    std::optional<KeychainStatus> m_answer;
};

} // namespace Larkhaven
