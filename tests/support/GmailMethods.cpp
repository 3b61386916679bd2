#include "support/GmailMethods.h"

#include "support/MultipartUpload.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QByteArray root("/gmail/v1/users/");
const QByteArray uploadRoot("/upload/gmail/v1/users/");

QMap<QString, QString> texts(const QJsonObject& object)
{
    QMap<QString, QString> result;
    for (auto entry = object.begin(); entry != object.end(); ++entry)
        result.insert(entry.key(), entry.value().toString());
    return result;
}

bool isNumber(const QString& text)
{
    bool isOne = false;
    text.toUInt(&isOne);
    return isOne;
}

/// The characters of a request target (RFC 3986, 3.3 and 3.4), with whole percent-encodings.
bool isTarget(const QByteArray& target)
{
    for (qsizetype at = 0; at < target.size(); ++at) {
        const char unit = target[at];
        if (unit == '%') {
            if (at + 2 >= target.size() || !isxdigit(static_cast<unsigned char>(target[at + 1])) ||
                !isxdigit(static_cast<unsigned char>(target[at + 2])))
                return false;
        } else if (!isalnum(static_cast<unsigned char>(unit)) &&
                   !QByteArray("-._~!$&'()*+,;=:@/?").contains(unit)) {
            return false;
        }
    }
    return true;
}

QString decoded(QByteArray text)
{
    return QString::fromUtf8(QByteArray::fromPercentEncoding(text.replace('+', ' ')));
}

} // namespace

// --- Errors

GoogleError GoogleError::badRequest(const QString& message)
{
    return {400, message, u"INVALID_ARGUMENT"_s, u"invalidArgument"_s};
}

GoogleError GoogleError::notFound()
{
    return {404, u"Requested entity was not found."_s, u"NOT_FOUND"_s, u"notFound"_s};
}

WebReply GoogleError::reply() const
{
    QJsonObject error{{u"code"_s, code}, {u"message"_s, message}, {u"status"_s, status}};
    if (!reason.isEmpty())
        error.insert(u"errors"_s,
                     QJsonArray{QJsonObject{
                         {u"message"_s, message}, {u"domain"_s, u"global"_s}, {u"reason"_s, reason}}});
    return {.status = code,
            .body = QJsonDocument(QJsonObject{{u"error"_s, error}}).toJson(),
            .headers = {{"Content-Type", "application/json; charset=UTF-8"}}};
}

bool GmailCall::wants(const QString& field) const
{
    return !fields || fields->children().contains(field) || fields->children().contains(u"*"_s);
}

// --- Checks

/// What one request is held against. A fault is noted and thrown.
class GmailMethods::Check {
public:
    Check(const GmailMethods& methods, const WebRequest& request, QStringList& violations)
        : m_methods(methods)
        , m_request(request)
        , m_violations(violations)
    {}

    [[noreturn]] void refuse(const GoogleError& error)
    {
        m_violations.append(QString::fromUtf8(m_request.method + ' ' + m_request.target) + u": "_s +
                            error.message);
        throw error;
    }

    [[noreturn]] void refuse(const QString& message) { refuse(GoogleError::badRequest(message)); }

    /// The decoded segments of the path, behind that of the user.
    QStringList segments(const QByteArray& path, const QByteArray& start)
    {
        if (!isTarget(m_request.target))
            refuse(u"The target isn't percent-encoded"_s);
        if (!path.startsWith(start))
            refuse({404, u"Not Found"_s, u"NOT_FOUND"_s});
        QStringList segments;
        for (const QByteArray& segment : path.sliced(start.size()).split('/'))
            segments.append(QString::fromUtf8(QByteArray::fromPercentEncoding(segment)));
        if (segments.takeFirst() != u"me"_s)
            refuse({403, u"Delegation denied"_s, u"PERMISSION_DENIED"_s, u"forbidden"_s});
        return segments;
    }

    /// The decoded parameters, from a text that begins with "?" or is empty.
    QMap<QString, QStringList> query(const Method& method, const QByteArray& text, bool isUpload)
    {
        QMap<QString, QStringList> parameters;
        for (const QByteArray& item : text.isEmpty() ? QByteArrayList() : text.sliced(1).split('&')) {
            const qsizetype sign = item.indexOf('=');
            if (sign < 0)
                refuse(u"A query item without a value: "_s + QString::fromUtf8(item));
            parameters[decoded(item.first(sign))].append(decoded(item.sliced(sign + 1)));
        }
        if (isUpload && parameters.take(u"uploadType"_s) != QStringList{u"multipart"_s})
            refuse(u"The upload type isn't multipart"_s);
        for (const auto& [name, values] : parameters.asKeyValueRange())
            parameter(method, name, values);
        return parameters;
    }

    void upload(const Method& method, GmailCall& call)
    {
        const std::optional<MultipartUpload> upload = MultipartUpload::parse(contentType(), m_request.body);
        if (!upload)
            refuse(u"The upload is no multipart/related of JSON and a message"_s);
        call.message = upload->message;
        call.body = object(upload->metadata);
        body(method.body, call.body);
    }

    void json(const Method& method, GmailCall& call)
    {
        const QByteArray type = contentType();
        if (method.body.isEmpty()) {
            if (!m_request.body.isEmpty() || !type.isEmpty())
                refuse(u"The request has a body"_s);
            return;
        }
        if (type != "application/json" && !type.startsWith("application/json;"))
            refuse(u"The body isn't of the type application/json"_s);
        call.body = object(m_request.body);
        body(method.body, call.body);
    }

    void parameter(const Method& method, const QString& name, const QStringList& values)
    {
        QString type = method.query.value(name, m_methods.m_standard.value(name));
        if (type.isEmpty())
            refuse(u"Invalid JSON payload received. Unknown name \"%1\": Cannot bind query parameter."_s.arg(
                name));
        if (type.endsWith(u"[]"))
            type.chop(2);
        else if (values.size() > 1)
            refuse(u"The parameter %1 stands there twice"_s.arg(name));
        for (const QString& value : values) {
            if ((type == u"number"_s && !isNumber(value)) ||
                (type == u"boolean"_s && value != u"true"_s && value != u"false"_s) ||
                (m_methods.m_values.contains(type) && !isOneOf(type, value)))
                refuse(u"Invalid value at '%1' : \"%2\""_s.arg(name, value));
        }
    }

    void body(const QString& schema, const QJsonObject& object)
    {
        const QJsonObject known = m_methods.m_schemas.value(schema).toObject();
        for (auto entry = object.begin(); entry != object.end(); ++entry) {
            const QString type = known.value(entry.key()).toString();
            if (type.isEmpty())
                refuse(u"Invalid JSON payload received. Unknown name \"%1\": Cannot find field."_s.arg(
                    entry.key()));
            value(type, entry.key(), entry.value());
        }
    }

    /// All fields of the mask are fields of the answer.
    void mask(const FieldMask& mask, const QString& schema)
    {
        const QJsonObject known = m_methods.m_schemas.value(schema).toObject();
        for (const auto& [name, child] : mask.children().asKeyValueRange()) {
            QString type = known.value(name).toString();
            if (type.isEmpty() && name != u"*"_s)
                refuse(u"Invalid field selection "_s + name);
            if (type.endsWith(u"[]"))
                type.chop(2);
            if (!child.children().isEmpty() && !m_methods.m_schemas.contains(type))
                refuse(u"Invalid field selection "_s + name);
            this->mask(child, type);
        }
    }

private:
    QByteArray contentType() const { return m_request.header("content-type").value_or(QByteArray()); }

    QJsonObject object(const QByteArray& json)
    {
        const QJsonDocument document = QJsonDocument::fromJson(json);
        if (!document.isObject())
            refuse(u"Invalid JSON payload received."_s);
        return document.object();
    }

    bool isOneOf(const QString& type, const QString& value) const
    {
        return m_methods.m_values.value(type).toArray().contains(value);
    }

    void value(const QString& type, const QString& name, const QJsonValue& value)
    {
        if (type.endsWith(u"[]")) {
            if (!value.isArray())
                refuse(u"Invalid value at '%1', a list is expected"_s.arg(name));
            for (const QJsonValue& entry : value.toArray())
                this->value(type.chopped(2), name, entry);
        } else if (m_methods.m_schemas.contains(type)) {
            if (!value.isObject())
                refuse(u"Invalid value at '%1', an object is expected"_s.arg(name));
            body(type, value.toObject());
        } else if (type == u"integer"_s ? !value.isDouble() : !value.isString()) {
            refuse(u"Invalid value at '%1' (%2)"_s.arg(name, type));
        } else if (m_methods.m_values.contains(type) && !isOneOf(type, value.toString())) {
            refuse(u"Invalid value at '%1' (%2), \"%3\""_s.arg(name, type, value.toString()));
        }
    }

    const GmailMethods& m_methods;
    const WebRequest& m_request;
    QStringList& m_violations;
};

// --- Reading

GmailMethods::GmailMethods()
{
    QFile file(QStringLiteral(GMAIL_METHODS));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << file.fileName().toStdString();
    const QJsonObject facts = QJsonDocument::fromJson(file.readAll()).object();
    m_standard = texts(facts.value(u"standard"_s).toObject());
    m_values = facts.value(u"values"_s).toObject();
    m_schemas = facts.value(u"schemas"_s).toObject();
    for (const QJsonValue& entry : facts.value(u"methods"_s).toArray())
        m_methods.append({entry[u"id"_s].toString(), entry[u"verb"_s].toString().toLatin1(),
                          entry[u"path"_s].toString().split(u'/'), texts(entry[u"query"_s].toObject()),
                          entry[u"body"_s].toString(), entry[u"answer"_s].toString(),
                          entry[u"upload"_s].toBool()});
    EXPECT_FALSE(m_methods.isEmpty()) << "GmailMethods.json can't be read";
}

const GmailMethods::Method* GmailMethods::find(const QByteArray& verb, const QStringList& segments,
                                               QMap<QString, QString>& path) const
{
    const Method* found = nullptr;
    for (const Method& method : m_methods) {
        if (method.verb != verb || method.path.size() != segments.size())
            continue;
        QMap<QString, QString> places;
        bool fits = true;
        for (qsizetype at = 0; at < segments.size() && fits; ++at) {
            const QString& known = method.path[at];
            if (known.startsWith(u'{'))
                places.insert(known.sliced(1).chopped(1), segments[at]);
            else
                fits = known == segments[at];
            fits = fits && !segments[at].isEmpty();
        }
        // "drafts/send" before "drafts/{id}".
        if (fits && (!found || places.size() < path.size())) {
            found = &method;
            path = places;
        }
    }
    return found;
}

GmailCall GmailMethods::read(const WebRequest& request, QStringList& violations) const
{
    Check check(*this, request, violations);
    const QByteArray path = request.target.first(request.target.contains('?') ? request.target.indexOf('?')
                                                                              : request.target.size());
    const bool isUpload = path.startsWith(uploadRoot);
    QStringList segments = check.segments(path, isUpload ? uploadRoot : root);

    GmailCall call;
    const Method* const method = find(request.method, segments, call.path);
    if (!method || (isUpload && !method->takesUpload))
        check.refuse({404, u"Not Found"_s, u"NOT_FOUND"_s});
    call.method = method->id;
    call.query = check.query(*method, request.target.sliced(path.size()), isUpload);
    if (call.has(u"fields"_s)) {
        call.fields = FieldMask::parse(call.value(u"fields"_s));
        if (!call.fields)
            check.refuse(u"Invalid field selection "_s + call.value(u"fields"_s));
        check.mask(*call.fields, method->answer);
    }
    if (isUpload)
        check.upload(*method, call);
    else
        check.json(*method, call);
    return call;
}

} // namespace Larkhaven
