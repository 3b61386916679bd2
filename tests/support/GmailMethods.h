#pragma once

#include "support/FieldMask.h"
#include "support/WebServer.h"

#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>

#include <optional>

namespace Larkhaven {

/// How a service of Google refuses a request.
struct GoogleError {
    int code;
    QString message;
    QString status;      ///< "NOT_FOUND"
    QString reason = {}; ///< of the list of errors

    static GoogleError badRequest(const QString& message);
    static GoogleError notFound();

    WebReply reply() const;
};

/// A request of the Gmail API that agrees with its description.
struct GmailCall {
    QString method;                   ///< "messages.list"
    QMap<QString, QString> path;      ///< decoded segments by the names of their places
    QMap<QString, QStringList> query; ///< decoded
    QJsonObject body;
    std::optional<QByteArray> message; ///< what an upload carries
    std::optional<FieldMask> fields;

    QString value(const QString& parameter) const { return query.value(parameter).value(0); }
    bool has(const QString& parameter) const { return query.contains(parameter); }
    /// Whether the answer is to hold this field of its own.
    bool wants(const QString& field) const;
};

/// The methods of the Gmail API as they are described in GmailMethods.json. What isn't described, or is
/// described otherwise, is refused with a `GoogleError` and noted as a violation.
class GmailMethods {
public:
    GmailMethods();

    /// Violations are appended. Throws `GoogleError`.
    GmailCall read(const WebRequest& request, QStringList& violations) const;

private:
    struct Method {
        QString id;
        QByteArray verb;
        QStringList path;
        QMap<QString, QString> query; ///< types by name
        QString body;                 ///< schema; empty: none
        QString answer;
        bool takesUpload;
    };
    class Check;

    const Method* find(const QByteArray& verb, const QStringList& segments,
                       QMap<QString, QString>& path) const;

    QList<Method> m_methods;
    QMap<QString, QString> m_standard;
    QJsonObject m_values;
    QJsonObject m_schemas;
};

} // namespace Larkhaven
