#include "format/MessageComposer.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstdlib>
#include <random>

// composeMessages FOLDER COUNT
//
// Writes messages that have everything in them that a user or a stranger may come up with, for other parsers
// to read: {number}.eml is what was composed and {number}.json what it was composed of, unscrubbed. They are
// the same in each run but for what the composer draws at random.

using namespace Qt::StringLiterals;
using namespace Larkhaven;

namespace {

const QStringList& phrases()
{
    static const QStringList some{
        u"Hello"_s,
        u"Ann Example"_s,
        u"Re: the minutes of our last meeting, and what is left to do"_s,
        u"Grüße aus Köln"_s,
        u"Čeština není těžká"_s,
        u"Żółć"_s,
        u"Þórður Ægisson"_s,
        u"Türkçe ığdır İSTANBUL"_s,
        u"Tiếng Việt có dấu"_s,
        u"Γειά σου Κόσμε"_s,
        u"Привет, мир"_s,
        u"Доброго дня, Їжаче"_s,
        u"Բարեւ աշխարհ"_s,
        u"გამარჯობა"_s,
        u"שלום עולם"_s,
        u"مرحبا بالعالم"_s,
        u"سلام دنیا"_s,
        u"नमस्ते दुनिया"_s,
        u"বাংলা ভাষা"_s,
        u"தமிழ் மொழி"_s,
        u"ภาษาไทยไม่มีช่องว่าง"_s,
        u"မြန်မာ"_s,
        u"ខ្មែរ"_s,
        u"አማርኛ"_s,
        u"日本語の件名です"_s,
        u"ﾊﾝｶｸ カタカナ"_s,
        u"山田太郎"_s,
        u"简体中文邮件"_s,
        u"繁體中文郵件"_s,
        u"한국어 메일"_s,
        u"👨‍👩‍👧‍👦 👍🏽 🇩🇪 🏳️‍🌈"_s,
        u"𝔘𝔫𝔦𝔠𝔬𝔡𝔢 𐍈 𠜎"_s,
        u"e\u0301a\u0308 Z\u0336a\u0335l\u0337g\u0338o\u0334"_s,
        u"no-break\u00a0space and\u2003wide ones\u3000here"_s,
        u"zero\u200bwidth\u200d and soft\u00adhyphen"_s,
        u"\u202eright to left\u202c"_s,
    };
    return some;
}

/// What may stand between two phrases, some of it to do harm.
const QStringList& joints()
{
    static const QStringList some{
        u" "_s,
        u" "_s,
        u", "_s,
        u"\""_s,
        u"\\"_s,
        u"\\\""_s,
        u"; "_s,
        u"\t"_s,
        u"\r\n"_s,
        u"\n"_s,
        u"\r\nBcc: evil@z.example\r\n"_s,
        u" <evil@z.example>, "_s,
        u" (comment) "_s,
        u"\r\n "_s,
        u"@"_s,
        u": "_s,
        u"\x7f"_s,
        u"\x01"_s,
        u"'"_s,
        u"%0D%0A"_s,
    };
    return some;
}

const QStringList& addresses()
{
    static const QStringList some{
        u"ann@x.example"_s,
        u"b@y.example"_s,
        u"first.last+tag@sub.domain.example"_s,
        u"o'neil@x.example"_s,
        u"a!#$%&'*+-/=?^_`{|}~b@x.example"_s,
        u"UPPER.Case@Example.ORG"_s,
        u"xn--bcher-kva@xn--mnchen-3ya.example"_s,
        u"1@2.example"_s,
        u"<ann@x.example>"_s,
        u" ann@x.example "_s,
        u"ann@x.example\r\n"_s,
        u"an\"n@x.example"_s,
        u"ann,@x.example"_s,
        u"(ann)@x.example"_s,
        u"an\\n@x.example;"_s,
        u"ann@[x].example"_s,
        u"ann@\r\nx.example>"_s,
    };
    return some;
}

const QStringList& fileNames()
{
    static const QStringList some{
        u"report.pdf"_s,
        u"résumé.pdf"_s,
        u"Übersicht 2026.xlsx"_s,
        u"отчёт.docx"_s,
        u"請求書.pdf"_s,
        u"קובץ.txt"_s,
        u"👍🏽.png"_s,
        u"a b;c=d.txt"_s,
        u"100%.txt"_s,
        u"quote\"quote.txt"_s,
        u"back\\slash.txt"_s,
        u"../../etc/passwd"_s,
        u"C:\\Windows\\win.ini"_s,
        u"line\r\nBcc: evil@z.example.txt"_s,
        u"gpj\u202eexe.ü"_s,
        u" . "_s,
        u""_s,
        u"x'y''z.txt"_s,
        u"a*b?.txt"_s,
        u"a\u0000b.txt"_s,
        u"tab\there.ü"_s,
    };
    return some;
}

const QStringList& types()
{
    // Containers are left out: RFC 2045, 6.4 wants them unencoded, and no other parser looks into them here.
    static const QStringList some{
        u"application/pdf"_s,
        u"IMAGE/PNG"_s,
        u"text/plain"_s,
        u"text/html"_s,
        u"text/calendar"_s,
        u"application/vnd.openxmlformats-officedocument.wordprocessingml.document"_s,
        u"application/octet-stream"_s,
        u"text/plain; charset=evil"_s,
        u"a/b\r\nBcc: evil@z.example"_s,
        u"nonsense"_s,
        u""_s,
        u"x-a!#$&^_.+-/b"_s,
    };
    return some;
}

class Generator {
public:
    OutgoingMessage message()
    {
        OutgoingMessage message;
        message.from = address();
        message.from.address = u"ann@x.example"_s; // the account's own
        message.to = someAddresses(1);
        message.cc = someAddresses(0);
        message.bcc = someAddresses(0);
        message.subject = text(4);
        message.body = body();
        if (chance(50))
            message.htmlBody = chance(10) ? QString() : u"<p>"_s + body() + u"</p>"_s;
        const int count = chance(60) ? 0 : number(1, 4);
        for (int index = 0; index < count; ++index)
            message.attachments.append({QUuid(), pick(fileNames()), pick(types()), data()});
        if (chance(40)) {
            message.inReplyTo = messageID();
            for (int index = number(0, 20); index > 0; --index)
                message.references.append(chance(5) ? QString() : messageID());
        }
        return message;
    }

private:
    // The distributions of the library differ between its versions.
    int number(int least, int most)
    {
        return least + static_cast<int>(m_random() % static_cast<unsigned>(most - least + 1));
    }
    bool chance(int percent) { return number(1, 100) <= percent; }
    const QString& pick(const QStringList& choices)
    {
        return choices[number(0, static_cast<int>(choices.size()) - 1)];
    }

    QString text(int most)
    {
        QString result;
        for (int count = number(0, most); count > 0; --count) {
            if (!result.isEmpty() || chance(10))
                result += pick(joints());
            result += pick(phrases());
        }
        return result;
    }

    EmailAddress address()
    {
        EmailAddress result;
        if (chance(80))
            result.name = text(3);
        result.address = pick(addresses());
        return result;
    }

    QList<EmailAddress> someAddresses(int least)
    {
        QList<EmailAddress> result;
        for (int count = chance(5) ? 60 : number(least, 4); count > 0; --count)
            result.append(address());
        return result;
    }

    QString body()
    {
        static const QStringList lines{u"."_s,
                                       u".."_s,
                                       u"From the beginning"_s,
                                       u"--=_lh_0--"_s,
                                       u"--"_s,
                                       u""_s,
                                       u"> > quoted"_s,
                                       u"Content-Type: text/evil"_s,
                                       u"-- "_s,
                                       u"x"_s.repeated(2000),
                                       u"trailing   "_s,
                                       u"\t"_s,
                                       u"\r"_s,
                                       u"a\u0000b"_s};
        QString result;
        for (int count = number(0, 12); count > 0; --count)
            result += (chance(50) ? pick(lines) : text(6)) + (chance(70) ? u"\n"_s : u"\r\n"_s);
        if (chance(30))
            result.chop(1);
        return result;
    }

    QByteArray data()
    {
        static constexpr int sizes[]{0, 1, 56, 57, 58, 1000, 100'000};
        QByteArray bytes(sizes[number(0, 6)], Qt::Uninitialized);
        for (char& byte : bytes)
            byte = static_cast<char>(m_random());
        return bytes;
    }

    QString messageID() { return u"<%1.%2@x.example>"_s.arg(m_random()).arg(m_random()); }

    std::mt19937 m_random{20'260'303};
};

QJsonArray described(const QList<EmailAddress>& addresses)
{
    QJsonArray array;
    for (const EmailAddress& address : addresses)
        array.append(QJsonArray{address.name ? QJsonValue(*address.name) : QJsonValue(), address.address});
    return array;
}

QJsonObject described(const OutgoingMessage& message)
{
    QJsonArray attachments;
    for (const OutgoingAttachment& attachment : message.attachments)
        attachments.append(QJsonObject{{u"filename"_s, attachment.filename},
                                       {u"type"_s, attachment.mimeType},
                                       {u"data"_s, QString::fromLatin1(attachment.data.toBase64())}});
    return {{u"from"_s, described(QList<EmailAddress>{message.from})},
            {u"to"_s, described(message.to)},
            {u"cc"_s, described(message.cc)},
            {u"bcc"_s, described(message.bcc)},
            {u"subject"_s, message.subject},
            {u"text"_s, message.body},
            {u"html"_s, message.htmlBody.value_or(QString())},
            {u"attachments"_s, attachments},
            {u"inReplyTo"_s, message.inReplyTo ? QJsonValue(*message.inReplyTo) : QJsonValue()},
            {u"references"_s, QJsonArray::fromStringList(message.references)}};
}

bool write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return EXIT_FAILURE;
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    const int count = QByteArray(argv[2]).toInt();
    const QDateTime start(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC);
    Generator generator;
    for (int number = 0; number < count; ++number) {
        const OutgoingMessage message = generator.message();
        const QDateTime date = start.addSecs(number * 100'003LL);
        QJsonObject told = described(message);
        told.insert(u"date"_s, date.toSecsSinceEpoch());
        const QString path = folder.filePath(QString::number(number));
        if (!write(path + u".eml"_s, MessageComposer::build(message, date)) ||
            !write(path + u".json"_s, QJsonDocument(told).toJson()))
            return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
