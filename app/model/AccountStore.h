#pragma once

#include "domain/Account.h"
#include "model/UserDefaults.h"

#include <QList>

/// The stored list of accounts: a JSON array of accounts under the key "accounts.v2".
namespace Larkhaven::AccountStore {

/// The accounts that can be read, in their order. One that can't, from a later version for example, is left
/// out and harms no other.
QList<Account> load(const UserDefaults& defaults);
void save(const QList<Account>& accounts, UserDefaults& defaults);

} // namespace Larkhaven::AccountStore
