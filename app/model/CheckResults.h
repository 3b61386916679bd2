#pragma once

#include "domain/Account.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QObject>

#include <exception>
#include <optional>

namespace Larkhaven {

/// How the last check of each account for news went, whoever asked for it.
///
/// A failure stays until a check of the account succeeds or the account is forgotten. Main thread.
class CheckResults : public QObject {
    Q_OBJECT

public:
    /// What was asked for.
    enum class Of { listing, counts };
    struct Failure {
        QUuid accountID;
        QString text;          ///< a sentence for the user
        QDateTime lastChecked; ///< the last check that succeeded, in UTC; invalid where none is known
        Of of = Of::listing;

        bool operator==(const Failure&) const = default;
    };

    explicit CheckResults(QObject* parent = nullptr);

    /// In the order in which the accounts failed.
    const QList<Failure>& failures() const { return m_failures; }
    /// The sentence of the account's failure; absent while its last check succeeded.
    std::optional<QString> failureText(const QUuid& accountID) const;

    /// That a listing failed only an answer to one takes back.
    void succeed(const QUuid& accountID, Of of);
    /// The account's service was last heard at that time, as an earlier run of the program knows.
    void remember(const QUuid& accountID, const QDateTime& lastChecked);
    /// `failure` must not be null. A service that can't be reached is told of by its host, whatever the
    /// system says about it.
    void fail(const Account& account, Of of, const std::exception_ptr& failure);
    void forget(const QUuid& accountID);

    /// Whether the failure says that no connection to the service stood, or that it broke.
    static bool isUnreachable(const std::exception_ptr& failure);

Q_SIGNALS:
    void changed();

private:
    QList<Failure> m_failures;
    QHash<QUuid, QDateTime> m_lastChecked;
};

} // namespace Larkhaven
