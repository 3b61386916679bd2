#include "Hostile.h"
#include "auth/OAuthClient.h"
#include "domain/Coding.h"
#include "domain/MailError.h"
#include "providers/GmailHistory.h"
#include "providers/GmailMessage.h"
#include "providers/IMAPMailboxes.h"
#include "providers/IMAPSnapshot.h"
#include "providers/PackedRow.h"
#include "providers/RowBoxes.h"
#include "providers/SummaryFields.h"

#include <QCoreApplication>
#include <QJsonObject>

// What services tell as JSON, what becomes of it as rows, and mailboxes by their names.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {

namespace {

qsizetype sizeOf(const MessageSummary& row)
{
    qsizetype size = row.subject.size() + row.snippet.size() + row.mailbox.size();
    for (const EmailAddress& address : row.to)
        size += address.address.size();
    for (const QString& label : row.labelIDs)
        size += label.size();
    return size;
}

Made<QByteArray> between(const QString& name, const QByteArray& start, const QByteArray& piece,
                         const QByteArray& end)
{
    return {name,
            [=](qsizetype size) { return start + filled(piece, size - start.size() - end.size()) + end; }};
}

std::vector<Made<QByteArray>> messages()
{
    return {
        between(u"headers"_s, "{\"payload\":{\"headers\":[", "{\"name\":\"From\",\"value\":\"a@b\"},",
                "{}]}}"),
        between(u"headers in any case"_s, "{\"payload\":{\"headers\":[",
                "{\"name\":\"tO\",\"value\":\"a@b\"},", "{}]}}"),
        between(u"addresses"_s, "{\"payload\":{\"headers\":[{\"name\":\"To\",\"value\":\"", "a@b,", "\"}]}}"),
        between(u"a sender of comments"_s, "{\"payload\":{\"headers\":[{\"name\":\"From\",\"value\":\"", "((",
                "\"}]}}"),
        between(u"a sender of encoded words"_s, "{\"payload\":{\"headers\":[{\"name\":\"From\",\"value\":\"",
                "=?a?q?b", "\"}]}}"),
        between(u"a subject of encoded words"_s,
                "{\"payload\":{\"headers\":[{\"name\":\"Subject\",\"value\":\"", "=?utf-8?q?a?= ", "\"}]}}"),
        between(u"a snippet of references"_s, "{\"snippet\":\"", "&#0", "\"}"),
        between(u"a snippet of marks"_s, "{\"snippet\":\"a", "\xcc\x81", "\"}"),
        between(u"escapes"_s, "{\"snippet\":\"", "\\u0130", "\"}"),
        between(u"the same label"_s, "{\"labelIds\":[", "\"Label_1\",", "\"UNREAD\"]}"),
        {u"labels, to mostLabels and beyond"_s,
         [](qsizetype size) {
             return "{\"labelIds\":[" +
                    numbered(size - 40,
                             [](int number) { return "\"Label_" + QByteArray::number(number) + "\","; }) +
                    "\"UNREAD\"]}";
         }},
        {u"keys"_s,
         [](qsizetype size) {
             return '{' +
                    numbered(size - 20,
                             [](int number) { return "\"k" + QByteArray::number(number) + "\":1,"; }) +
                    "\"z\":1}";
         }},
        between(u"the same key"_s, "{", "\"id\":\"a\",", "\"id\":\"b\"}"),
        between(u"arrays in arrays"_s, {}, "[", {}),
        between(u"objects in objects"_s, {}, "{\"a\":", {}),
        between(u"digits"_s, "{\"sizeEstimate\":", "1", "}"),
        between(u"white space"_s, "{", " ", "}"),
    };
}

MessageSummary rowOf(const QString& text)
{
    MessageSummary row;
    row.id = u"1"_s;
    row.subject = SummaryFields::subject(text);
    row.to = SummaryFields::addresses(text);
    SummaryFields::setSender(row, {text});
    row.snippet = SummaryFields::cut(text, SummaryFields::snippetLimit);
    return row;
}

std::vector<Made<QString>> fields()
{
    return {many(u"a@b,"_s),
            many(u"<a@b>"_s),
            many(u"("_s),
            many(u"\""_s),
            many(u"=?utf-8?q?a?= "_s),
            many(u"=?a?q?b"_s),
            many(u"\u0130"_s),
            many(u"\u0301"_s),
            many(u"\u202e"_s),
            many(u"\u00e4@\u00e4.de,"_s),
            many(u"g:a@b;"_s),
            many(u"<[\"("_s),
            many(u"a @ b "_s),
            many(u"\U0001f468\u200d"_s)};
}

/// Rows in one box, each with its own key.
QByteArray records(qsizetype size)
{
    RowBox box;
    MessageSummary row;
    row.subject = u"a"_s;
    const PackedRow packed = PackedRow::of(row);
    const qsizetype sizeOfRow = packed.content.size() + packed.state.size() + 16;
    for (qsizetype number = 0; number < size / sizeOfRow; ++number)
        box.rows.insert(QByteArray::number(number), packed);
    return RowRecords::whole({{u"INBOX"_s, box}});
}

/// Half of it is labels of one message, the other half a history that names it.
QByteArray labelsAndHistory(qsizetype size)
{
    const QByteArray record = R"({"labelsAdded":[{"message":{"id":"1"},"labelIds":["Label_x"]}]},)";
    return "{\"id\":\"1\",\"labelIds\":[" +
           numbered(size / 2 - 40,
                    [](int number) { return "\"Label_" + QByteArray::number(number) + "\","; }) +
           "\"INBOX\"],\"history\":[" + filled(record, size / 2 - 40) + "{}]}";
}

qsizetype followed(const QByteArray& json)
{
    static int count = 0;
    static QCoreApplication application(count, nullptr);
    const QJsonObject object = Coding::parse(json).toObject();
    GmailSyncState state({}, nullptr);
    const Task<> loaded = state.load();
    {
        const GmailSyncState::Look look(state, {u"1"_s});
        state.store(GmailMessage::summary(object, {}), look);
        GmailHistory::apply(object["history"_L1].toArray(), state);
    }
    return loaded.isReady() ? sizeOf(state.summaries({u"1"_s}).value(u"1"_s)) : 0;
}

void addRows(Families& families)
{
    families.add(u"GmailHistory::apply"_s, followed,
                 {{u"labels of one message, and changes of them"_s, labelsAndHistory}});
    families.addText(
        u"SummaryFields, PackedRow"_s,
        [](const QString& text) {
            const PackedRow packed = PackedRow::of(rowOf(text));
            return sizeOf(packed.summary(u"1"_s, {}));
        },
        fields());
    const auto applied = [](const QByteArray& record) {
        RowBoxes boxes;
        try {
            RowRecords::apply(boxes, record);
        } catch (const DecodingError&) {
            return qsizetype{0};
        }
        return RowRecords::whole(boxes).size();
    };
    families.add(u"RowRecords::apply"_s, applied,
                 {{u"rows"_s, records},
                  {u"one row again and again"_s, [](qsizetype size) { return filled(records(100), size); }},
                  {u"boxes"_s,
                   [](qsizetype size) {
                       return numbered(size, [](int number) {
                           return RowRecords::whole({{QString::number(number), RowBox{"note", {}}}});
                       });
                   }},
                  many("\0"_ba),
                  many("\1"_ba),
                  many("\xff"_ba)});
    families.add(
        u"IMAPSnapshot::decode"_s,
        [](const QByteArray& json) {
            try {
                return RowRecords::whole(IMAPSnapshot::decode(json)).size();
            } catch (const DecodingError&) {
                return qsizetype{0};
            }
        },
        messages());
}

IMAPMailboxes::Listing mailboxes(const QString& text)
{
    IMAPMailboxes::Listing listing;
    for (const QString& name : text.split(u'\n'))
        listing.append({name, {u"\\sent"_s}, u"/"_s});
    return listing;
}

void addMailboxes(Families& families)
{
    // The shortest answer that lists a mailbox.
    constexpr qsizetype bytesOfListing = 16;
    const std::vector<Made<QString>> names{
        {u"mailboxes"_s,
         [](qsizetype size) {
             return numberedText(size, [](int number) { return u"INBOX/m%1\n"_s.arg(number); });
         }},
        {u"mailboxes in mailboxes"_s, [](qsizetype size) { return filled(u"a/b/c/d/e/f/g\n"_s, size); }},
        many(u"\n"_s),
        many(u"Sent\n"_s),
        many(u"/"_s),
        many(u"&AOQ-/"_s),
        many(u"INBOX/"_s),
        many(u"\u0130"_s)};
    IMAPMailboxes::Namespaces namespaces;
    for (int number = 0; number < IMAPClient::namespaceLimit; ++number) {
        namespaces.personal.append({u"a/b/c%1/"_s.arg(number), u"/"_s});
        namespaces.foreign.append({u"INBOX/m%1/"_s.arg(number), u"/"_s});
    }
    families.addText(
        u"IMAPMailboxes, of a listing of 1 MiB"_s,
        [namespaces](const QString& text) {
            const IMAPMailboxes::Listing listing = mailboxes(text);
            qsizetype size = 0;
            for (const MailLabel& label : IMAPMailboxes::labels(listing, namespaces))
                size += label.name().size();
            for (const Mailbox role : {Mailbox::sent, Mailbox::trash})
                size += IMAPMailboxes::find(role, listing, namespaces).value_or(QString()).size();
            return size + IMAPMailboxes::placesForNew(listing, {}, u"/"_s).size();
        },
        names, mebibyte / bytesOfListing);
}

void addRedirects(Families& families)
{
    families.add(
        u"OAuthClient::authorizationCode, to longestCallback"_s,
        [](const QByteArray& redirect) {
            static const OAuthClient client(OAuthConfig::google(u"a.b"_s));
            static const PKCE pkce(u"verifier"_s, u"state"_s);
            try {
                return client.authorizationCode("a:/?state=state&" + redirect, pkce).size();
            } catch (const MailError& error) {
                return error.text().size();
            }
        },
        {many("code=a&"_ba), many("&"_ba), many("%"_ba), many("%25"_ba), many("error=a&"_ba),
         many("verifier"_ba), many("error_description=verifier&"_ba), many("state=state&"_ba), many("#"_ba)},
        OAuthClient::longestCallback - 16);
}

} // namespace

} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven;
    using namespace Larkhaven::Bench;
    Families families;
    families.add(
        u"GmailMessage::summary"_s,
        [](const QByteArray& json) {
            try {
                const QJsonObject object = Coding::parse(json).toObject();
                return sizeOf(GmailMessage::summary(object, {}));
            } catch (const DecodingError&) {
                return qsizetype{0};
            }
        },
        messages());
    addRows(families);
    addMailboxes(families);
    addRedirects(families);
    return measure(argc, argv, families);
}
