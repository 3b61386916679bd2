#include "format/MIMEParser.h"
#include "support/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace Qt::StringLiterals;

// Whole messages: fixtures/x.eml is read, with LF and with CR LF as its line ends, and must give what
// fixtures/x.json tells:
//
// - subject, date (ISO 8601 in UTC or null) and messageID
// - from, to, cc, replyTo: lists of [name or null, address]
// - textBody, htmlBody (or null), with LF as line ends
// - attachments: filename, mimeType, contentID (or null), isInline, listed, and the data, either as "base64"
//   or, with LF as line ends, as "text"

namespace Larkhaven {
namespace {

QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

QJsonValue text(std::optional<QString> text)
{
    return text ? QJsonValue(text->replace("\r\n"_L1, "\n"_L1)) : QJsonValue(QJsonValue::Null);
}

QJsonArray addresses(const QList<EmailAddress>& list)
{
    QJsonArray array;
    for (const EmailAddress& address : list)
        array.append(QJsonArray{text(address.name), address.address});
    return array;
}

/// `form` tells by its keys how the data is to be given.
QJsonObject described(const MailAttachment& attachment, const ParsedMessage& message, const QJsonObject& form)
{
    QJsonObject object{{u"filename"_s, attachment.filename},
                       {u"mimeType"_s, attachment.mimeType},
                       {u"contentID"_s, text(attachment.contentID)},
                       {u"isInline"_s, attachment.isInline},
                       {u"listed"_s, message.listedAttachments().contains(attachment)}};
    if (form.contains("text"_L1))
        object.insert(u"text"_s, text(QString::fromUtf8(attachment.data)));
    else
        object.insert(u"base64"_s, QString::fromLatin1(attachment.data.toBase64()));
    return object;
}

QJsonObject described(const ParsedMessage& message, const QJsonObject& form)
{
    const std::optional<QDateTime> date = message.headers.date();
    QJsonArray attachments;
    for (const MailAttachment& attachment : message.attachments)
        attachments.append(described(attachment, message,
                                     form.value("attachments"_L1).toArray().at(attachment.id).toObject()));
    return {{u"subject"_s, message.headers.subject()},
            {u"date"_s, text(date ? std::optional(date->toString(Qt::ISODate)) : std::nullopt)},
            {u"messageID"_s, text(message.headers.messageID())},
            {u"from"_s, addresses(message.headers.from())},
            {u"to"_s, addresses(message.headers.to())},
            {u"cc"_s, addresses(message.headers.cc())},
            {u"replyTo"_s, addresses(message.headers.replyTo())},
            {u"textBody"_s, text(message.textBody)},
            {u"htmlBody"_s, text(message.htmlBody)},
            {u"attachments"_s, attachments}};
}

QByteArray written(const QJsonObject& object)
{
    return QJsonDocument(object).toJson();
}

QStringList fixtureNames()
{
    QStringList names;
    const QStringList files = QDir(QStringLiteral(FIXTURES)).entryList({u"*.eml"_s}, QDir::Files, QDir::Name);
    for (const QString& file : files)
        names.append(file.chopped(4));
    return names;
}

class GoldenMessages : public testing::TestWithParam<std::string> {};

TEST_P(GoldenMessages, ReadAsToldWithEitherLineEnd)
{
    const QString base = QStringLiteral(FIXTURES) + u'/' + QString::fromStdString(GetParam());
    const QByteArray withLF = contentsOf(base + u".eml"_s).replace("\r\n", "\n");
    const QByteArray withCRLF = QByteArray(withLF).replace("\n", "\r\n");
    QJsonParseError error;
    const QJsonObject expected = QJsonDocument::fromJson(contentsOf(base + u".json"_s), &error).object();
    ASSERT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    EXPECT_EQ(written(described(MIMEParser::parse(withLF), expected)), written(expected));
    EXPECT_EQ(written(described(MIMEParser::parse(withCRLF), expected)), written(expected));
}

std::vector<std::string> fixtureParameters()
{
    std::vector<std::string> names;
    for (const QString& name : fixtureNames())
        names.push_back(name.toStdString());
    return names;
}

std::string caseName(const testing::TestParamInfo<std::string>& info)
{
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Fixtures, GoldenMessages, testing::ValuesIn(fixtureParameters()), caseName);

TEST(GoldenMessagesFolder, HoldsFixturesThatAllRan)
{
    const QDir folder(QStringLiteral(FIXTURES));
    EXPECT_GE(fixtureNames().size(), 12);
    EXPECT_EQ(folder.entryList({u"*.json"_s}, QDir::Files).size(), fixtureNames().size());
}

} // namespace
} // namespace Larkhaven
