#include "support/TemporaryKeychain.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {

KeychainBackend::ReadResult TemporaryKeychain::read(const QString& service, const QString& account)
{
    calls.append(u"read"_s);
    if (m_answer)
        return {*m_answer, std::nullopt};
    const auto item = items.constFind({service, account});
    if (item == items.cend())
        return {KeychainStatus::itemNotFound, std::nullopt};
    return {KeychainStatus::success, item->data};
}

KeychainStatus TemporaryKeychain::update(const QString& service, const QString& account,
                                         const QByteArray& data)
{
    calls.append(u"update"_s);
    if (m_answer)
        return *m_answer;
    const auto item = items.find({service, account});
    if (item == items.end())
        return KeychainStatus::itemNotFound;
    item->data = data;
    return KeychainStatus::success;
}

KeychainStatus TemporaryKeychain::add(const QString& service, const QString& account, const QByteArray& data,
                                      const QString& label)
{
    calls.append(u"add"_s);
    if (m_answer)
        return *m_answer;
    items.insert({service, account}, {data, label});
    return KeychainStatus::success;
}

KeychainStatus TemporaryKeychain::remove(const QString& service, const QString& account)
{
    calls.append(u"remove"_s);
    if (m_answer)
        return *m_answer;
    return items.remove({service, account}) ? KeychainStatus::success : KeychainStatus::itemNotFound;
}

} // namespace Larkhaven
