#include "auth/KeychainStore.h"

#include "domain/Coding.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(KeychainError)
};

} // namespace

QString KeychainError::localizedText() const
{
    return m_message.value_or(Texts::tr("Keychain error %1").arg(static_cast<qint32>(m_status)));
}

namespace {

[[noreturn]] void fail(const KeychainBackend& backend, KeychainStatus status)
{
    throw KeychainError(status, backend.message(status));
}

std::optional<Credential> decoded(const std::optional<QByteArray>& data)
{
    return data ? std::optional(Credential::fromJSON(*data)) : std::nullopt;
}

} // namespace

KeychainStore::KeychainStore(QString service, QList<std::shared_ptr<KeychainBackend>> backends)
    : m_service(std::move(service))
    , m_backends(std::move(backends))
{
    Q_ASSERT(!m_backends.isEmpty());
}

std::optional<Credential> KeychainStore::load(const QUuid& accountID)
{
    return decoded(loadData(accountID));
}

std::optional<Credential> KeychainStore::find(const QUuid& accountID)
{
    return decoded(findData(accountID));
}

void KeychainStore::save(const Credential& credential, const QUuid& accountID)
{
    saveData(credential.toJSON(), accountID);
}

KeychainStore::Lookup KeychainStore::lookUp(const QUuid& accountID)
{
    Lookup lookup;
    for (const auto& backend : m_backends) {
        const KeychainBackend::ReadResult result = backend->read(m_service, Coding::fromUuid(accountID));
        if (result.status == KeychainStatus::notAvailable)
            continue;
        lookup.isAnswered = true;
        if (result.status == KeychainStatus::itemNotFound)
            continue;
        if (result.status != KeychainStatus::success || !result.data)
            fail(*backend, result.status);
        lookup.data = result.data;
        break;
    }
    return lookup;
}

std::optional<QByteArray> KeychainStore::loadData(const QUuid& accountID)
{
    return lookUp(accountID).data;
}

std::optional<QByteArray> KeychainStore::findData(const QUuid& accountID)
{
    Lookup lookup = lookUp(accountID);
    if (!lookup.isAnswered)
        fail(*m_backends.last(), KeychainStatus::notAvailable);
    return std::move(lookup.data);
}

void KeychainStore::saveData(const QByteArray& data, const QUuid& accountID)
{
    const QString account = Coding::fromUuid(accountID);
    for (const auto& backend : m_backends) {
        KeychainStatus status = backend->update(m_service, account, data);
        if (status == KeychainStatus::itemNotFound)
            status = backend->add(m_service, account, data, u"Larkhaven account credentials"_s);
        if (status == KeychainStatus::success)
            return;
        // Only the last keychain's absence is a failure.
        if (status != KeychainStatus::notAvailable || backend == m_backends.last())
            fail(*backend, status);
    }
}

void KeychainStore::remove(const QUuid& accountID)
{
    for (const auto& backend : m_backends) {
        const KeychainStatus status = backend->remove(m_service, Coding::fromUuid(accountID));
        if (status != KeychainStatus::success && status != KeychainStatus::itemNotFound &&
            status != KeychainStatus::notAvailable)
            fail(*backend, status);
    }
}

} // namespace Larkhaven
