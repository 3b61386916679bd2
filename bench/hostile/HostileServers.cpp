#include "Canned.h"
#include "Hostile.h"
#include "protocols/IMAPClient.h"
#include "protocols/IMAPMailboxName.h"
#include "protocols/SMTPClient.h"
#include "protocols/UIDSet.h"

#include <QCoreApplication>
#include <qcorotask.h>

// What servers of IMAP and SMTP answer.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {

namespace {

qsizetype sizeOf(const IMAPValues& values)
{
    qsizetype size = 0;
    for (const IMAPValue& value : values) {
        if (const std::optional<IMAPValues> list = value.list())
            size += sizeOf(*list);
        else
            size += value.text().value_or(QString()).size();
    }
    return size;
}

Made<QByteArray> behind(const QString& name, const QByteArray& start, const QByteArray& piece)
{
    return {name, [=](qsizetype size) { return start + filled(piece, size - start.size()); }};
}

std::vector<Made<QByteArray>> responses()
{
    std::vector<Made<QByteArray>> texts{
        {u"lists in lists"_s,
         [](qsizetype size) { return "* " + QByteArray(size / 2, '(') + QByteArray(size / 2, ')'); }},
        {u"brackets in brackets"_s,
         [](qsizetype size) { return "* OK " + QByteArray(size / 2, '[') + QByteArray(size / 2, ']'); }},
        behind(u"numbers of SEARCH"_s, "* SEARCH", " 1"),
        behind(u"numbers of SEARCH, too large"_s, "* SEARCH", " 99999999999"),
        {u"numbers of SEARCH, an atom at the end"_s,
         [](qsizetype size) { return "* SEARCH" + filled(" 17"_ba, size - 10) + " x"; }},
        {u"SEARCH and a number without end"_s,
         [](qsizetype size) { return "* SEARCH " + QByteArray(size - 9, '1'); }},
        behind(u"SEARCH, SEARCH"_s, "*", " SEARCH 1"),
        behind(u"items of FETCH"_s, "* 1 FETCH (", "FLAGS () "),
        behind(u"bodies of FETCH"_s, "* 1 FETCH (", "BODY[] x "),
        behind(u"escaped names in FETCH"_s, "* 1 FETCH (", "\"\\B\\O\\D\\Y\" x "),
        {u"one escaped string"_s,
         [](qsizetype size) { return "* 1 FETCH (\"" + filled("\\a"_ba, size - 16) + "\" x)"; }},
        {u"a literal of spaces"_s,
         [](qsizetype size) {
             return "* X {" + QByteArray::number(size - 30) + "}\r\n" + QByteArray(size - 30, ' ');
         }},
    };
    for (const QByteArray& piece :
         {"("_ba,          ")"_ba,          "()"_ba,    "(x)(("_ba,  "(("_ba,   "() "_ba,     "\""_ba,
          "\"\" "_ba,      "\\"_ba,         "\"\\"_ba,  "{"_ba,      "{0}"_ba,  "{0}\r\n"_ba, "{1}\r\nx"_ba,
          "{1+}\r\nx "_ba, "{99999999}"_ba, "{9"_ba,    "}"_ba,      "["_ba,    "]"_ba,       "[("_ba,
          "NIL "_ba,       "x "_ba,         "x"_ba,     " "_ba,      "\r\n"_ba, "\t"_ba,      "%"_ba,
          "*"_ba,          "\xff"_ba,       "\xff "_ba, "(\xff)"_ba, "+ "_ba}) {
        Made<QByteArray> made = many(piece);
        texts.push_back({made.name, [=](qsizetype size) { return "* " + made.make(size - 2); }});
    }
    return texts;
}

// --- Dialogues

/// Runs the task, which may have work done on a worker, and gives its result.
template <typename Start>
qsizetype ended(Start start)
{
    static int count = 0;
    static QCoreApplication application(count, nullptr);
    return QCoro::waitFor(start());
}

Task<qsizetype> readLines(std::shared_ptr<LineReader> reader)
{
    qsizetype size = 0;
    try {
        for (;;) {
            const QByteArray line = co_await reader->readLine();
            size += line.size();
            if (const std::optional<qint64> length = IMAPResponse::literalLength(line)) {
                const QByteArray block = co_await reader->readBytes(*length);
                size += block.size();
            }
        }
    } catch (const MailError&) {
        // The end.
    }
    co_return size;
}

qsizetype readInChunks(const QByteArray& bytes, qsizetype chunk)
{
    return ended(
        [&] { return readLines(std::make_shared<LineReader>(std::make_shared<Canned>(bytes, chunk))); });
}

std::vector<Made<QByteArray>> lines()
{
    return {{u"one line"_s, [](qsizetype size) { return QByteArray(size - 1, 'x') + '\n'; }},
            {u"a line without end"_s, [](qsizetype size) { return QByteArray(size, 'x'); }},
            {u"one literal"_s,
             [](qsizetype size) {
                 return '{' + QByteArray::number(size - 20) + "}\r\n" + QByteArray(size - 20, 'x');
             }},
            {u"lines of 64 KiB"_s,
             [](qsizetype size) { return filled(QByteArray(65'535 + 1, 'x') + '\n', size + 16); }},
            {u"literals of 64 KiB"_s,
             [](qsizetype size) { return filled("{65600}\n" + QByteArray(65'600, 'x'), size + 16 * 80); }},
            many("\n"_ba),
            many("\r\n"_ba),
            many("\r"_ba),
            many("x\n"_ba),
            many("{0}\n"_ba),
            many("{1}\nx"_ba),
            many("{0}"_ba)};
}

using Operation = Task<qsizetype> (*)(std::shared_ptr<IMAPClient> client);

Task<std::shared_ptr<MailTransport>> opened(std::shared_ptr<MailTransport> transport)
{
    co_return transport;
}

/// What the server says while the client signs in, and then.
Task<qsizetype> talk(QByteArray answers, Operation operation)
{
    const QByteArray signedIn = "* OK\r\nP1 OK\r\nP2 OK\r\n* CAPABILITY UIDPLUS\r\nP3 OK\r\n";
    const std::shared_ptr<MailTransport> transport =
        std::make_shared<Canned>(signedIn + answers + "P4 OK\r\n");
    const TransportFactory factory = [transport](const QString&, int, bool) { return opened(transport); };
    try {
        const MailAuth auth = MailAuth::password(u"x"_s);
        const std::shared_ptr<IMAPClient> client = co_await IMAPClient::connect({}, auth, factory);
        const qsizetype size = co_await operation(client);
        co_return size;
    } catch (const MailError&) {
        // A refusal, or the end.
    }
    co_return 0;
}

Task<qsizetype> list(std::shared_ptr<IMAPClient> client)
{
    const QList<IMAPClient::ListedMailbox> mailboxes = co_await client->listMailboxes();
    qsizetype size = 0;
    for (const IMAPClient::ListedMailbox& mailbox : mailboxes)
        size += mailbox.name.size() + mailbox.attributes.size();
    co_return size;
}

Task<qsizetype> namespaces(std::shared_ptr<IMAPClient> client)
{
    const IMAPClient::Namespaces told = co_await client->namespaces();
    co_return told.personal.size() + told.foreign.size();
}

Task<qsizetype> capabilities(std::shared_ptr<IMAPClient> client)
{
    co_await client->refreshCapabilities();
    co_return client->capabilities().size();
}

Task<qsizetype> selected(std::shared_ptr<IMAPClient> client)
{
    co_await client->select(u"INBOX"_s, true);
    co_return client->uidValidity().value_or(0) > 0 ? 1 : 0;
}

Task<qsizetype> searched(std::shared_ptr<IMAPClient> client)
{
    const QList<IMAPArg> all{IMAPArg::text(u"ALL"_s)};
    const QList<qint64> uids = co_await client->search(all);
    co_return uids.size();
}

Task<qsizetype> fetched(std::shared_ptr<IMAPClient> client)
{
    const QList<qint64> uids{1};
    const QList<IMAPFetch> fetches = co_await client->fetch(uids, u"FLAGS"_s);
    qsizetype size = 0;
    for (const IMAPFetch& fetch : fetches)
        size += fetch.flags.size() + fetch.body().value_or(QByteArray()).size();
    co_return size;
}

Task<qsizetype> copied(std::shared_ptr<IMAPClient> client)
{
    const QList<qint64> uids{1};
    const std::optional<IMAPCopyUID> copies = co_await client->copy(uids, u"Trash"_s);
    co_return copies ? copies->copies.size() : 0;
}

Task<qsizetype> counted(std::shared_ptr<IMAPClient> client)
{
    const IMAPClient::Status status = co_await client->status(u"INBOX"_s);
    co_return status.messages > 0 ? 1 : 0;
}

void addDialogue(Families& families, const QString& name, Operation operation,
                 const std::vector<Made<QByteArray>>& answers)
{
    families.add(
        u"IMAPClient, "_s + name,
        [operation](const QByteArray& bytes) { return ended([&] { return talk(bytes, operation); }); },
        answers);
}

void addDialogues(Families& families)
{
    const std::vector<Made<QByteArray>> any{
        many("* OK\r\n"_ba),
        many("*\r\n"_ba),
        many("\r\n"_ba),
        many("+\r\n"_ba),
        many("P1 OK\r\n"_ba),
        many("* 1 EXISTS\r\n"_ba),
        many("* X {1}\r\nx\r\n"_ba),
        many("* OK [X] {0}\r\n"_ba),
        {u"one line"_s, [](qsizetype size) { return "* OK " + QByteArray(size - 8, 'x') + "\r\n"; }},
        {u"one literal"_s,
         [](qsizetype size) {
             return "* X {" + QByteArray::number(size - 30) + "}\r\n" + QByteArray(size - 30, 'x') + "\r\n";
         }},
        {u"refused with a million words"_s,
         [](qsizetype size) { return "P4 NO" + filled(" x"_ba, size - 8) + "\r\n"; }}};
    addDialogue(families, u"select"_s, selected, any);
    addDialogue(
        families, u"list"_s, list,
        {many("* LIST () \"/\" a\r\n"_ba),
         many("* LIST (\\A \\B \\C) \"/\" {1}\r\na\r\n"_ba),
         {u"attributes"_s,
          [](qsizetype size) {
              return "* LIST (" +
                     numbered(size - 30,
                              [](int number) { return "\\a" + QByteArray::number(number) + ' '; }) +
                     ") \"/\" x\r\n";
          }},
         {u"a name of levels"_s,
          [](qsizetype size) { return "* LIST () \"/\" \"" + filled("a/"_ba, size - 20) + "\"\r\n"; }},
         {u"mailboxes"_s, [](qsizetype size) {
              return numbered(size, [](int number) {
                  return "* LIST () \".\" INBOX.m" + QByteArray::number(number) + "\r\n";
              });
          }}});
    addDialogue(families, u"namespaces"_s, namespaces,
                {{u"namespaces"_s,
                  [](qsizetype size) {
                      return "* NAMESPACE (" + filled("(\"a.\" \".\")"_ba, size - 30) + ") NIL NIL\r\n";
                  }},
                 many("* NAMESPACE ((\"a\" \".\")) NIL NIL\r\n"_ba)});
    addDialogue(families, u"capabilities"_s, capabilities,
                {{u"capabilities"_s,
                  [](qsizetype size) {
                      return "* CAPABILITY" +
                             numbered(size - 20,
                                      [](int number) { return " A" + QByteArray::number(number); }) +
                             "\r\n";
                  }},
                 many("* CAPABILITY A B C\r\n"_ba)});
    addDialogue(families, u"search"_s, searched,
                {{u"numbers"_s,
                  [](qsizetype size) {
                      return "* SEARCH" +
                             numbered(size - 20,
                                      [](int number) { return ' ' + QByteArray::number(number + 1); }) +
                             "\r\n";
                  }},
                 {u"ranges"_s,
                  [](qsizetype size) {
                      return "* ESEARCH (TAG \"P4\") UID ALL 1" +
                             numbered(size - 40,
                                      [](int number) { return ',' + QByteArray::number(2 * number + 3); }) +
                             "\r\n";
                  }},
                 many("* SEARCH 1\r\n"_ba),
                 many("* ESEARCH (TAG \"P4\") UID ALL 1:5\r\n"_ba),
                 many("* ESEARCH (TAG \"P4\") UID ALL 1:4000000000\r\n"_ba)});
    addDialogue(families, u"fetch"_s, fetched,
                {many("* 1 FETCH (UID 1 FLAGS (\\Seen))\r\n"_ba),
                 many("* 1 FETCH (UID 1 BODY[] {1}\r\nx)\r\n"_ba),
                 {u"flags"_s,
                  [](qsizetype size) {
                      return "* 1 FETCH (UID 1 FLAGS (" +
                             numbered(size - 40,
                                      [](int number) { return " f" + QByteArray::number(number); }) +
                             "))\r\n";
                  }},
                 {u"bodies"_s, [](qsizetype size) {
                      return "* 1 FETCH (UID 1 " + filled("BODY[1] x "_ba, size - 40) + ")\r\n";
                  }}});
    addDialogue(families, u"copy"_s, copied,
                {many("* OK [COPYUID 1 1 1]\r\n"_ba),
                 {u"ranges of COPYUID"_s,
                  [](qsizetype size) {
                      return "* OK [COPYUID 1 1" + filled(",2"_ba, size / 2 - 20) + " 1" +
                             filled(",2"_ba, size / 2 - 20) + "]\r\n";
                  }},
                 {u"COPYUID without end"_s,
                  [](qsizetype size) { return "* OK [COPYUID " + filled("1 "_ba, size - 20) + "\r\n"; }}});
    addDialogue(families, u"status"_s, counted,
                {many("* STATUS INBOX (MESSAGES 1)\r\n"_ba),
                 {u"counts"_s, [](qsizetype size) {
                      return "* STATUS INBOX (" + filled("MESSAGES 1 UNSEEN 2 "_ba, size - 30) + ")\r\n";
                  }}});
}

Task<qsizetype> readReplies(std::shared_ptr<SMTPClient::Session> session)
{
    qsizetype size = 0;
    try {
        for (;;) {
            const SMTPClient::Reply reply = co_await session->readReply();
            for (const QString& line : reply.lines)
                size += line.size();
        }
    } catch (const MailError&) {
        // The end, or no reply.
    }
    co_return size;
}

Task<qsizetype> submit(QByteArray answers)
{
    const std::shared_ptr<MailTransport> transport = std::make_shared<Canned>(answers);
    const TransportFactory factory = [transport](const QString&, int, bool) { return opened(transport); };
    ServerSettings settings;
    settings.username = u"ann"_s;
    settings.smtpHost = u"x"_s;
    settings.smtpSecurity = ConnectionSecurity::tls;
    qsizetype size = 0;
    try {
        co_await SMTPClient::verify(settings, MailAuth::password(u"secret"_s), factory);
    } catch (const MailError& error) {
        size = error.text().size();
    }
    co_return size;
}

void addSMTP(Families& families)
{
    const auto replies = [](const QByteArray& bytes, qsizetype chunk) {
        return ended([&] {
            return readReplies(std::make_shared<SMTPClient::Session>(std::make_shared<Canned>(bytes, chunk)));
        });
    };
    const std::vector<Made<QByteArray>> texts{
        many("250 x\r\n"_ba),
        many("250 \n"_ba),
        many("250\n"_ba),
        many("250-x\r\n"_ba),
        {u"replies of replyLineLimit"_s,
         [](qsizetype size) {
             return filled("250-x\n"_ba.repeated(SMTPClient::replyLineLimit - 1) + "250 x\n", size);
         }},
        {u"one line"_s, [](qsizetype size) { return "250 " + QByteArray(size - 6, '\xff') + "\r\n"; }}};
    families.add(
        u"SMTPClient::Session::readReply"_s,
        [replies](const QByteArray& bytes) { return replies(bytes, Canned::usualChunk); }, texts);
    families.add(
        u"SMTPClient::Session::readReply, a byte at a time"_s,
        [replies](const QByteArray& bytes) { return replies(bytes, 1); }, texts);
    families.add(u"SMTPClient::verify"_s,
                 [](const QByteArray& bytes) { return ended([&] { return submit(bytes); }); },
                 {{u"offers"_s,
                   [](qsizetype size) {
                       const QByteArray offer =
                           "250-" + QByteArray(size / SMTPClient::replyLineLimit - 10, 'A') + "\r\n";
                       return "220 x\r\n" + offer.repeated(SMTPClient::replyLineLimit - 2) +
                              "250 AUTH PLAIN\r\n235 x\r\n";
                   }},
                  {u"mechanisms"_s,
                   [](qsizetype size) {
                       return "220 x\r\n250 AUTH" + filled(" X"_ba, size - 40) + " PLAIN\r\n235 x\r\n";
                   }},
                  {u"refused with a long text"_s, [](qsizetype size) {
                       return "220 x\r\n250 AUTH PLAIN\r\n535 " + filled("\xcc\x81"_ba, size - 40) + "\r\n";
                   }}});
    families.add(u"SMTPClient::stuffedMessage"_s,
                 [](const QByteArray& bytes) { return SMTPClient::stuffedMessage(bytes).size(); },
                 {many("."_ba), many(".\n"_ba), many("\n"_ba), many("\r"_ba), many("\r\n"_ba),
                  many(".\r\n"_ba), many("x"_ba)});
    families.addText(u"SMTPClient::validateAddress"_s,
                     [](const QString& text) {
                         try {
                             return SMTPClient::validateAddress(text).size();
                         } catch (const MailError& error) {
                             return error.text().size();
                         }
                     },
                     {many(u"a"_s), many(u"@"_s), many(u"a@b"_s)});
}

void addNames(Families& families)
{
    const std::vector<Made<QString>> texts{many(u"&"_s),        many(u"&-"_s),  many(u"-"_s),
                                           many(u"&AOQ-"_s),    many(u"&A-"_s), many(u"&AAAA"_s),
                                           many(u"&2D3eAA-"_s), many(u","_s),   many(u"\u00e4"_s),
                                           many(u"\u00e4a"_s),  many(u"a"_s)};
    families.addText(
        u"decodeMailboxName"_s, [](const QString& text) { return decodeMailboxName(text).size(); }, texts);
    families.addText(
        u"encodeMailboxName"_s, [](const QString& text) { return encodeMailboxName(text).size(); }, texts);
    families.addText(u"UIDSet, IMAPCopyUID"_s,
                     [](const QString& text) {
                         return UIDSet::size(text).value_or(0) > 0
                                    ? 1
                                    : qsizetype{IMAPCopyUID::parse(u"[COPYUID "_s + text + u']') ? 1 : 0};
                     },
                     {many(u"1,"_s), many(u"1:2,"_s), many(u":"_s), many(u","_s), many(u"1 "_s), many(u"0"_s),
                      many(u"1"_s)});
    families.add(
        u"IMAPResponse::literalLength"_s,
        [](const QByteArray& bytes) { return qsizetype{IMAPResponse::literalLength(bytes) ? 1 : 0}; },
        {many("{"_ba), many("}"_ba), many("{1}"_ba), many("1}"_ba)});
}

} // namespace

} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven;
    using namespace Larkhaven::Bench;
    Families families;
    families.add(
        u"IMAPResponse::parse"_s,
        [](const QByteArray& bytes) {
            try {
                const IMAPResponse response = IMAPResponse::parse(bytes);
                qsizetype size =
                    sizeOf(response.values) + response.numbers.size() + response.statusText().size();
                if (const auto items = response.values.size() > 2 ? response.values[2].list() : std::nullopt)
                    size += IMAPFetch(*items).flags.size();
                return size;
            } catch (const MailError& error) {
                return error.text().size();
            }
        },
        responses());
    families.add(
        u"LineReader"_s, [](const QByteArray& bytes) { return readInChunks(bytes, Canned::usualChunk); },
        lines());
    families.add(
        u"LineReader, a byte at a time"_s, [](const QByteArray& bytes) { return readInChunks(bytes, 1); },
        lines());
    addDialogues(families);
    addSMTP(families);
    addNames(families);
    return measure(argc, argv, families);
}
