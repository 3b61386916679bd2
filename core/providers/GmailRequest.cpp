#include "providers/GmailRequest.h"

#include "domain/MailError.h"

namespace Larkhaven::GmailRequest {

QByteArray escaped(const QString& component)
{
    return component.toUtf8().toPercentEncoding("=");
}

AuthorizedAPI::Request get(const QByteArray& path, const QList<SecureHTTP::QueryItem>& query)
{
    return {.path = path, .query = query};
}

AuthorizedAPI::Request withJSON(const QByteArray& method, const QByteArray& path, const QJsonObject& json)
{
    return {.method = method, .path = path, .json = json};
}

bool isNotFound(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const MailError& error) {
        return error.kind() == MailError::Kind::http && error.status() == 404;
    } catch (...) {
        return false;
    }
}

bool isOfAllRequests(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const MailError& error) {
        return error.kind() == MailError::Kind::notSignedIn || error.kind() == MailError::Kind::rateLimited;
    } catch (...) {
        return false;
    }
}

bool mayHaveArrived(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const HTTPError& error) {
        return error.mayHaveArrived();
    } catch (const MailError& error) {
        // A service that fails may have failed behind the deed.
        return error.kind() == MailError::Kind::http && error.status() >= 500;
    } catch (...) {
        return false;
    }
}

} // namespace Larkhaven::GmailRequest
