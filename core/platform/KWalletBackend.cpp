#include "platform/KWalletBackend.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QStringList>
#include <QVariant>

#include <array>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// Long enough for a user to type the wallet's password.
constexpr int openTimeout = 120'000;
constexpr int callTimeout = 10'000;

const QString& applicationName()
{
    static const QString name = u"Larkhaven"_s;
    return name;
}

/// An open wallet of one generation of the wallet service; closed with its object.
class Wallet {
public:
    /// `generation` is 6 or 5, as in "kwalletd6".
    explicit Wallet(int generation)
        : m_service(u"org.kde.kwalletd%1"_s.arg(generation))
        , m_path(u"/modules/kwalletd%1"_s.arg(generation))
    {
        const QDBusMessage enabled = ask(u"isEnabled"_s, {}, callTimeout);
        if (!isAnswer(enabled)) {
            m_status = statusOf(QDBusError(enabled));
            return;
        }
        if (!enabled.arguments().constFirst().toBool())
            return;
        const QString network = call(u"networkWallet"_s).toString();
        const QVariant handle = call(u"open"_s, {network, qlonglong{0}, applicationName()}, openTimeout);
        m_status = handle.isValid() && handle.toInt() >= 0 ? KeychainStatus::success
                                                           : KeychainStatus::interactionNotAllowed;
        m_handle = handle.toInt();
    }
    ~Wallet()
    {
        if (m_status == KeychainStatus::success)
            call(u"close"_s, {m_handle, false, applicationName()});
    }
    Wallet(const Wallet&) = delete;
    Wallet& operator=(const Wallet&) = delete;

    KeychainStatus status() const { return m_status; }

    /// Whether the item is there: `success` or `itemNotFound`. No answer is neither.
    KeychainStatus find(const QString& key) const
    {
        const QVariant answer = call(u"hasEntry"_s, {m_handle, applicationName(), key, applicationName()});
        if (!answer.isValid())
            return KeychainStatus::failed;
        return answer.toBool() ? KeychainStatus::success : KeychainStatus::itemNotFound;
    }
    QVariant readEntry(const QString& key) const
    {
        return call(u"readEntry"_s, {m_handle, applicationName(), key, applicationName()});
    }
    KeychainStatus writeEntry(const QString& key, const QByteArray& data) const
    {
        call(u"createFolder"_s, {m_handle, applicationName(), applicationName()});
        return statusOf(call(u"writeEntry"_s, {m_handle, applicationName(), key, data, applicationName()}));
    }
    KeychainStatus removeEntry(const QString& key) const
    {
        return statusOf(call(u"removeEntry"_s, {m_handle, applicationName(), key, applicationName()}));
    }

private:
    /// What it means that the service didn't answer its first call.
    static KeychainStatus statusOf(const QDBusError& error)
    {
        switch (error.type()) {
        case QDBusError::ServiceUnknown:
        case QDBusError::Disconnected: // No bus at all.
        case QDBusError::AccessDenied:
            return KeychainStatus::notAvailable;
        default:
            // A service that is there but gives no answer in time must not be taken for one without the item.
            return error.name().startsWith("org.freedesktop.DBus.Error.Spawn."_L1)
                       ? KeychainStatus::notAvailable
                       : KeychainStatus::failed;
        }
    }
    static KeychainStatus statusOf(const QVariant& answer)
    {
        return answer.isValid() && answer.toInt() == 0 ? KeychainStatus::success : KeychainStatus::failed;
    }

    /// The first value of the answer; invalid where the call failed.
    QVariant call(const QString& method, const QVariantList& arguments = {}, int timeout = callTimeout) const
    {
        const QDBusMessage answer = ask(method, arguments, timeout);
        return isAnswer(answer) ? answer.arguments().constFirst() : QVariant();
    }
    static bool isAnswer(const QDBusMessage& message)
    {
        return message.type() == QDBusMessage::ReplyMessage && !message.arguments().isEmpty();
    }
    QDBusMessage ask(const QString& method, const QVariantList& arguments, int timeout) const
    {
        QDBusMessage message =
            QDBusMessage::createMethodCall(m_service, m_path, u"org.kde.KWallet"_s, method);
        message.setArguments(arguments);
        return QDBusConnection::sessionBus().call(message, QDBus::Block, timeout);
    }

    QString m_service;
    QString m_path;
    KeychainStatus m_status = KeychainStatus::notAvailable;
    int m_handle = -1;
};

QString entryKey(const QString& service, const QString& account)
{
    return service + u'/' + account;
}

/// Runs `operation` on the newest wallet service that is there.
template <typename Operation>
KeychainStatus withWallet(Operation operation)
{
    for (const int generation : std::array{6, 5}) {
        const Wallet wallet(generation);
        if (wallet.status() == KeychainStatus::success)
            return operation(wallet);
        if (wallet.status() != KeychainStatus::notAvailable)
            return wallet.status();
    }
    return KeychainStatus::notAvailable;
}

} // namespace

KeychainBackend::ReadResult KWalletBackend::read(const QString& service, const QString& account)
{
    ReadResult result;
    result.status = withWallet([&](const Wallet& wallet) {
        const QString key = entryKey(service, account);
        const KeychainStatus found = wallet.find(key);
        if (found != KeychainStatus::success)
            return found;
        const QVariant entry = wallet.readEntry(key);
        if (!entry.isValid())
            return KeychainStatus::failed;
        if (entry.metaType() == QMetaType::fromType<QByteArray>())
            result.data = entry.toByteArray();
        return KeychainStatus::success;
    });
    return result;
}

KeychainStatus KWalletBackend::update(const QString& service, const QString& account, const QByteArray& data)
{
    return withWallet([&](const Wallet& wallet) {
        const QString key = entryKey(service, account);
        const KeychainStatus found = wallet.find(key);
        return found == KeychainStatus::success ? wallet.writeEntry(key, data) : found;
    });
}

KeychainStatus KWalletBackend::add(const QString& service, const QString& account, const QByteArray& data,
                                   const QString&)
{
    return withWallet(
        [&](const Wallet& wallet) { return wallet.writeEntry(entryKey(service, account), data); });
}

KeychainStatus KWalletBackend::remove(const QString& service, const QString& account)
{
    return withWallet([&](const Wallet& wallet) {
        const QString key = entryKey(service, account);
        const KeychainStatus found = wallet.find(key);
        return found == KeychainStatus::success ? wallet.removeEntry(key) : found;
    });
}

} // namespace Larkhaven
