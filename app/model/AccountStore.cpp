#include "model/AccountStore.h"

#include "domain/Coding.h"

#include <QJsonDocument>

#include <optional>

namespace Larkhaven::AccountStore {

namespace {

/// An element of the list, which may be no account that this version knows.
struct Lenient {
    std::optional<Account> account;

    static Lenient fromJSON(const QJsonValue& value)
    {
        try {
            return {Account::fromJSON(Coding::object(value))};
        } catch (const DecodingError&) {
            return {};
        }
    }
};

} // namespace

QList<Account> load(const UserDefaults& defaults)
{
    QList<Account> accounts;
    try {
        const QJsonArray list = Coding::array(Coding::parse(defaults.data(DefaultsKey::accounts)));
        for (const auto& element : list) {
            if (const Lenient stored = Lenient::fromJSON(element); stored.account)
                accounts.append(*stored.account);
        }
    } catch (const DecodingError&) {
        return {};
    }
    return accounts;
}

void save(const QList<Account>& accounts, UserDefaults& defaults)
{
    QJsonArray list;
    for (const Account& account : accounts)
        list.append(account.toJSON());
    defaults.set(DefaultsKey::accounts, QJsonDocument(list).toJson(QJsonDocument::Compact));
}

} // namespace Larkhaven::AccountStore
