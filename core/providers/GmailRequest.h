#pragma once

#include "providers/AuthorizedAPI.h"

#include <QByteArray>
#include <QString>

#include <exception>

/// Small pieces of requests to the Gmail API, and what their failures mean.
namespace Larkhaven::GmailRequest {

/// An id as a component of a path.
QByteArray escaped(const QString& component);

AuthorizedAPI::Request get(const QByteArray& path, const QList<SecureHTTP::QueryItem>& query = {});
AuthorizedAPI::Request withJSON(const QByteArray& method, const QByteArray& path, const QJsonObject& json);

/// Whether the service knows nothing under this path. `failure` must not be null.
bool isNotFound(const std::exception_ptr& failure);
/// Whether other requests would fail so too: no token is to be had, or their rate is limited.
bool isOfAllRequests(const std::exception_ptr& failure);
/// Whether the service may have done what it was asked for all the same.
bool mayHaveArrived(const std::exception_ptr& failure);

} // namespace Larkhaven::GmailRequest
