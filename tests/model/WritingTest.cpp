#include "model/Writing.h"

#include "domain/MailError.h"
#include "format/AddressParser.h"
#include "format/MIMEParser.h"
#include "format/MessageComposer.h"
#include "format/RecipientField.h"
#include "model/DraftGate.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QUuid accountID = QUuid::createUuid();
const QString signature = u"\n\n-- \nMia"_s;
const QString snippet = u"Preview"_s;

Writing::Setting setting(bool isRichText = false)
{
    return {accountID, {}, u"mia@example.org"_s, signature, isRichText};
}

ComposeDraft replied(const QByteArray& raw, Writing::Recipients recipients = Writing::Recipients::sender)
{
    return Writing::reply(setting(), MIMEParser::parse(raw), snippet, recipients);
}

ComposeDraft repliedToAll(const QByteArray& raw)
{
    return replied(raw, Writing::Recipients::all);
}

/// To whom the text of a field goes.
QStringList addressesIn(const QString& field)
{
    QStringList addresses;
    for (const RecipientField::Piece& piece : RecipientField::read(field))
        addresses.append(piece.address ? piece.address->address : piece.text);
    return addresses;
}

ComposeDraft forwarded(const QByteArray& raw)
{
    const ParsedMessage message = MIMEParser::parse(raw);
    return Writing::forward(setting(), message, snippet, raw);
}

ComposeDraft resumed(const QByteArray& raw)
{
    return Writing::storedDraft(setting(), MIMEParser::parse(raw), u"7:Drafts"_s);
}

Account account()
{
    Account account;
    account.id = accountID;
    account.displayName = u"Mia"_s;
    account.email = u"mia@example.org"_s;
    return account;
}

OutgoingMessage outgoing(const QString& to, Writing::Purpose purpose)
{
    ComposeDraft draft = Writing::newMessage(setting(), {});
    draft.to = to;
    return Writing::outgoing(draft, account(), purpose);
}

QString refusal(const QString& to)
{
    try {
        outgoing(to, Writing::Purpose::send);
    } catch (const MailError& error) {
        return error.text();
    }
    return u"accepted"_s;
}

QStringList addressesOf(const QList<EmailAddress>& list)
{
    QStringList addresses;
    for (const EmailAddress& address : list)
        addresses.append(address.address);
    return addresses;
}

/// What is stored of the draft, and resumed.
ComposeDraft storedAndResumed(const ComposeDraft& draft)
{
    return resumed(MessageComposer::build(Writing::outgoing(draft, account(), Writing::Purpose::store),
                                          QDateTime::currentDateTimeUtc()));
}

// --- What a draft begins with

TEST(Writing, BeginsEveryTextButThatOfAStoredDraftWithTheSignature)
{
    const QByteArray raw = "From: a@x\r\n\r\nHi";
    EXPECT_EQ(Writing::newMessage(setting(), {}).body, signature);
    EXPECT_TRUE(replied(raw).body.startsWith(signature + u"\n\nOn "_s));
    EXPECT_TRUE(forwarded(raw).body.startsWith(signature + u"\n\n---------- Forwarded message"_s));
    EXPECT_EQ(resumed(raw).body, u"Hi");
}

TEST(Writing, WritesInTheFormThatTheUserChose)
{
    const ParsedMessage message = MIMEParser::parse("From: a@x\r\n\r\nHi");
    for (const bool isRich : {false, true}) {
        EXPECT_EQ(Writing::newMessage(setting(isRich), {}).isRichText, isRich);
        EXPECT_EQ(Writing::reply(setting(isRich), message, {}, Writing::Recipients::all).isRichText, isRich);
        EXPECT_EQ(Writing::forward(setting(isRich), message, {}).isRichText, isRich);
        EXPECT_EQ(Writing::storedDraft(setting(isRich), message, u"7"_s).isRichText, isRich);
    }
    EXPECT_TRUE(resumed("Content-Type: text/html\r\n\r\n<b>x</b>").isRichText) << "whatever was chosen";
}

TEST(Writing, NamesTheAccountThatWrites)
{
    const ComposeDraft draft = replied("From: a@x\r\n\r\nHi");
    EXPECT_EQ(draft.accountID, accountID);
    EXPECT_EQ(draft.originAccountID, accountID);
    EXPECT_FALSE(draft.id.isNull());
    EXPECT_NE(draft.id, replied("From: a@x\r\n\r\nHi").id);
    EXPECT_FALSE(draft.draftMessageID);
}

TEST(Writing, QuotesASenderWithoutADisplayName)
{
    EXPECT_TRUE(replied("From: ada@x.example\r\n\r\nHi").body.endsWith(u"On , ada@x.example wrote:\n> Hi"_s));
    EXPECT_TRUE(replied("Subject: x\r\n\r\nHi").body.endsWith(u"On , someone wrote:\n> Hi"_s));
}

TEST(Writing, LetsNoLineEndOfANameOrASubjectIntoTheText)
{
    const QByteArray raw = "From: =?UTF-8?Q?A=0AB=E2=80=A8C=C2=85D?= <a@x>\r\n"
                           "Subject: =?UTF-8?Q?S=0D=0AT=E2=80=A9U?=\r\n\r\nHi";
    EXPECT_TRUE(replied(raw).body.contains(u"On , A B C D <a@x> wrote:\n> Hi"_s));
    EXPECT_EQ(replied(raw).subject, u"Re: S T U");
    EXPECT_EQ(replied(raw).to, u"\"A B C D\" <a@x>");
    EXPECT_TRUE(forwarded(raw).body.contains(u"From: A B C D <a@x>\nSubject: S  T U\nTo: "_s))
        << forwarded(raw).body.toStdString();
    EXPECT_EQ(forwarded(raw).subject, u"Fwd: S T U");
}

// --- What is quoted

TEST(Writing, QuotesTheTextOfAMessageThatIsHTMLAloneAsItIsShown)
{
    const QByteArray raw = "From: a@x\r\nContent-Type: text/html; charset=utf-8\r\n\r\n"
                           "<div style='display:none'>Hidden</div><p>Dear <b>Mia</b>,</p><p>J&ouml;rg</p>";
    EXPECT_TRUE(replied(raw).body.endsWith(u"wrote:\n> Dear Mia,\n> \n> Jörg"_s))
        << replied(raw).body.toStdString();
    EXPECT_TRUE(forwarded(raw).body.endsWith(u"\n\nDear Mia,\n\nJörg"_s));
    EXPECT_EQ(resumed(raw).body, u"Dear Mia,\n\nJörg");
    const QByteArray image =
        "Content-Type: text/html\r\n\r\n<div style='display:none'>Hidden</div><img src=cid:x>";
    EXPECT_TRUE(replied(image).body.endsWith(u"wrote:\n> "_s)) << "what is hidden comes to no light";
}

TEST(Writing, PrefersThePlainTextAndHasThePreviewWhereThereIsNeither)
{
    EXPECT_TRUE(replied("Content-Type: multipart/alternative; boundary=b\r\n\r\n--b\r\n\r\nPlain\r\n--b\r\n"
                        "Content-Type: text/html\r\n\r\n<p><b>PLAIN</b></p>\r\n--b--")
                    .body.endsWith(u"> Plain"_s));
    EXPECT_TRUE(replied("Content-Type: application/pdf\r\n\r\nx").body.endsWith(u"> Preview"_s));
}

TEST(Writing, CutsAQuoteAndCarriesTheOriginalOfACutForward)
{
    const QString note = u"[The rest of the message is left out.]"_s;
    const QByteArray raw =
        "From: a@x\r\nSubject: Long: \xc3\xa4\r\n\r\n" + QByteArray("word word\n").repeated(11'000);
    EXPECT_TRUE(replied(raw).body.endsWith(u"> "_s + note));
    EXPECT_EQ(replied(raw).body.count(u"> word word"_s), DraftGate::mostLines);
    EXPECT_TRUE(replied(raw).attachments.isEmpty());
    const ComposeDraft draft = forwarded(raw);
    EXPECT_TRUE(draft.body.endsWith(note));
    ASSERT_EQ(draft.attachments.size(), 1);
    EXPECT_EQ(draft.attachments[0].filename, u"Long_ ä.eml");
    EXPECT_EQ(draft.attachments[0].mimeType, u"application/octet-stream");
    EXPECT_EQ(draft.attachments[0].data, raw);
    EXPECT_EQ(draft.notices.size(), 1);
    EXPECT_TRUE(draft.notices.value(0).contains(u"“Long_ ä.eml”"_s));
}

TEST(Writing, ForwardsFilesUnderNamesThatHideNothing)
{
    const QByteArray raw =
        "Content-Type: application/pdf\r\nContent-Disposition: attachment; filename*=utf-8''" +
        QString(u"in\u2060voice.pdf"_s + QString(80, QChar(0x2800)) + u"\u2028.e\u3164xe"_s)
            .toUtf8()
            .toPercentEncoding() +
        "\r\n\r\nx";
    EXPECT_EQ(forwarded(raw).attachments.value(0).filename, u"invoice.pdf .exe");
    const ParsedMessage stored = MIMEParser::parse(raw);
    EXPECT_EQ(Writing::storedDraft(setting(), stored, u"1"_s).attachments.value(0).filename,
              u"invoice.pdf .exe");
}

TEST(Writing, CarriesNoOriginalOfAForwardThatIsWhole)
{
    const QByteArray raw = "From: a@x\r\n\r\n" + QByteArray(20'000, 'x');
    EXPECT_TRUE(forwarded(raw).attachments.isEmpty()) << "a line that is broken loses nothing";
    EXPECT_FALSE(Writing::isCut(MIMEParser::parse(raw), {}));
    EXPECT_TRUE(Writing::isCut(MIMEParser::parse("\r\n" + QByteArray(300'000, 'x')), {}));
    EXPECT_TRUE(forwarded(raw).notices.isEmpty());
}

TEST(Writing, NamesTheOriginalWithinTheBytesThatAFileNameHas)
{
    const QByteArray body = "\r\n\r\n" + QByteArray(300'000, 'x');
    const auto name = [&body](const QString& subject) {
        const ParsedMessage message = MIMEParser::parse("Subject: " + subject.toUtf8() + body);
        return Writing::forward(setting(), message, {}, QByteArray("raw")).attachments.value(0).filename;
    };
    EXPECT_EQ(name({}), u"Message.eml");
    EXPECT_EQ(name(QString(100, u's')), QString(QString(80, u's') + u".eml"_s));
    EXPECT_LE(name(QString(100, u'漢')).toUtf8().size(), 255);
    EXPECT_TRUE(name(QString(100, u'漢')).endsWith(u"漢.eml"_s));
}

TEST(Writing, BoundsWhatAForwardedMessageSaysOfItself)
{
    QByteArray many("z@x");
    for (int index = 0; index < 50'000; ++index)
        many += ", p" + QByteArray::number(index) + "@example.com";
    const ComposeDraft draft =
        forwarded("From: " + QByteArray(1'000'000, 'n') + " <a@x>\r\nTo: " + many + "\r\n\r\nHi");
    EXPECT_LT(draft.body.size(), 25'000);
    EXPECT_TRUE(draft.body.endsWith(u"…\n\nHi"_s));
}

// --- Recipients of an answer

TEST(Writing, AnswersOnesOwnMessageToThoseWhomItWentTo)
{
    const QByteArray own =
        "From: Mia <MIA@example.org>\r\nTo: ann@x, Mia@Example.Org, bob@x\r\nCc: carl@x, ann@x\r\n\r\nHi";
    EXPECT_EQ(repliedToAll(own).to, u"ann@x, bob@x");
    EXPECT_EQ(repliedToAll(own).cc, u"carl@x");
    EXPECT_EQ(replied(own).to, u"\"Mia\" <MIA@example.org>") << "who answers the sender alone means it";
    const ComposeDraft note = repliedToAll("From: mia@example.org\r\nTo: mia@example.org\r\n\r\nHi");
    EXPECT_EQ(note.to, u"mia@example.org") << "there is nobody else";
    EXPECT_EQ(repliedToAll("From: mia@example.org\r\nCc: carl@x\r\n\r\nHi").cc, u"carl@x");
    EXPECT_EQ(repliedToAll("From: ann@x\r\nReply-To: mia@example.org\r\nTo: bob@x\r\n\r\nHi").to,
              u"mia@example.org");
}

TEST(Writing, NamesAddressesThatWouldNotStayTheSame)
{
    const ComposeDraft draft = repliedToAll("From: \"Your Bank\"@evil.example\r\n"
                                            "To: Ann <ann@x, team: bob@x, carl@x;, dora@x\r\n"
                                            "Cc: e(x)f@y, \"q\" <g h@x>, =?UTF-8?Q?i=E2=80=AE@x?=\r\n\r\nHi");
    EXPECT_EQ(draft.to, u"");
    EXPECT_EQ(draft.cc, u"");
    const QString all = draft.notices.join(u'\n');
    EXPECT_TRUE(
        all.contains(u"“\"Your Bank\"@evil.example” isn’t a valid email address, and was left out."_s))
        << all.toStdString();
    EXPECT_TRUE(all.contains(u"“Ann <ann@x, team: bob@x, carl@x;, dora@x”"_s)) << all.toStdString();
    for (const QString& address : draft.notices)
        EXPECT_FALSE(address.contains(QChar(0x202e)));
    EXPECT_EQ(draft.notices.size(), 5);
}

TEST(Writing, AddsNobodyWhomANameHolds)
{
    struct Row {
        const char* field;
        const char* receivers;
    };
    // Each name stands before ann@x.example, which alone gets the answer.
    for (const Row& row : {
             Row{"=?utf-8?q?evil=40y.example=2C?= <ann@x.example>", "\"evil@y.example,\" <ann@x.example>"},
             Row{"=?utf-8?b?ZXZpbEB5LmV4YW1wbGUs?= <ann@x.example>", "\"evil@y.example,\" <ann@x.example>"},
             Row{"=?utf-8?q?a=2C_evil=40y.example=2C_b?= <ann@x.example>",
                 "\"a, evil@y.example, b\" <ann@x.example>"},
             Row{"=?utf-8?q?=3Cevil=40y.example=3E=2C?= <ann@x.example>",
                 "\"<evil@y.example>,\" <ann@x.example>"},
             Row{"\"evil@y.example, \" <ann@x.example>", "\"evil@y.example,\" <ann@x.example>"},
             Row{"=?utf-8?q?evil=40y.example=2C?= <ann@x.example>, \"no end",
                 "\"evil@y.example,\" <ann@x.example>"},
             Row{"=?utf-8?q?evil=40y.example=2C?= <ann@x.example>, x <",
                 "\"evil@y.example,\" <ann@x.example>"},
             Row{"=?utf-8?q?evil=40y.example?=, ann@x.example", "ann@x.example"},
             Row{"=?utf-8?q?evil=40y.example?= ann@x.example", ""},
             Row{"=?utf-8?q?evil=40y.example?= <ann@x.example> <", ""},
             Row{"ann@x.example", "ann@x.example"},
             Row{"=?utf-8?q?=E2=A0=80?= <ann@x.example>", "ann@x.example"},
             Row{"=?utf-8?q?=E3=85=A4?= <ann@x.example>", "ann@x.example"},
             Row{"=?utf-8?q?=E2=80=8B?= <ann@x.example>", "ann@x.example"},
             Row{"=?utf-8?q?J=C3=B6rg?= <ann@x.example>", "\"Jörg\" <ann@x.example>"},
             Row{"=?utf-8?q?Doe=2C_Ann?= <ann@x.example>", "\"Doe, Ann\" <ann@x.example>"},
         }) {
        const QByteArray field(row.field);
        const QByteArray raw = "From: bob@x.example\r\nTo: " + field + "\r\n\r\nHi";
        EXPECT_FALSE(addressesIn(repliedToAll(raw).cc).contains(u"evil@y.example"_s)) << row.field;
        EXPECT_EQ(repliedToAll(raw).cc, QString::fromUtf8(row.receivers)) << row.field;
        // Whoever can't be read is named.
        EXPECT_EQ(repliedToAll(raw).notices.isEmpty(), !repliedToAll(raw).cc.isEmpty()) << row.field;
        EXPECT_FALSE(addressesIn(repliedToAll("From: bob@x.example\r\nCc: " + field + "\r\n\r\nHi").cc)
                         .contains(u"evil@y.example"_s))
            << row.field;
    }
}

TEST(Writing, ForwardsTheReceiversThatTheFieldHasBeforeItIsDecoded)
{
    EXPECT_TRUE(forwarded("To: =?utf-8?q?evil=40y.example=2C?= <ann@x.example>\r\n\r\nHi")
                    .body.contains(u"\nTo: evil@y.example, <ann@x.example>\n"_s));
    EXPECT_TRUE(forwarded("To: =?utf-8?q?=E2=A0=80?= <ann@x.example>\r\n\r\nHi")
                    .body.contains(u"\nTo: ann@x.example\n"_s))
        << "the name can't be seen";
}

TEST(Writing, HasNoNameThatCannotBeSeen)
{
    for (const char* const name :
         {"=?utf-8?q?=E2=A0=80=E2=A0=80?=", "=?utf-8?q?=E3=85=A4?=", "=?utf-8?q?=E1=85=9F?=",
          "=?utf-8?q?=EF=BE=A0?=", "=?utf-8?q?=E2=80=8B?=", "=?utf-8?q?=F3=A0=81=81?="}) {
        const QByteArray raw = "From: " + QByteArray(name) + " <ann@x.example>\r\n\r\nHi";
        EXPECT_EQ(replied(raw).to, u"ann@x.example") << name;
        EXPECT_TRUE(replied(raw).body.contains(u", ann@x.example wrote:"_s)) << name;
        EXPECT_TRUE(forwarded(raw).body.contains(u"\nFrom: ann@x.example\n"_s)) << name;
    }
}

TEST(Writing, LetsNoneOfSeveralWriteForTheOthers)
{
    const QByteArray several = "From: Ceo <ceo@bank.example>, x@evil.example\r\n";
    const auto quoteOf = [&](const QByteArray& sender) { return replied(several + sender + "\r\nHi").body; };
    EXPECT_TRUE(quoteOf({}).contains(u", ceo@bank.example, x@evil.example wrote:"_s));
    EXPECT_TRUE(
        quoteOf("Sender: x@evil.example\r\n").contains(u", x@evil.example, ceo@bank.example wrote:"_s))
        << "who sent it goes first";
    EXPECT_EQ(replied(several + "Sender: x@evil.example\r\n\r\nHi").to,
              u"\"Ceo\" <ceo@bank.example>, x@evil.example");
}

TEST(Writing, NamesAGroupThatKeepsItsLabel)
{
    const ComposeDraft draft = repliedToAll("From: a@x\r\nTo: team:b@x, c@x\r\n\r\nHi");
    EXPECT_EQ(draft.cc, u"c@x");
    ASSERT_EQ(draft.notices.size(), 1);
    EXPECT_TRUE(draft.notices[0].startsWith(u"“team:b@x”"_s));
}

TEST(Writing, NamesOnlySomeOfManyAndBoundsEach)
{
    QByteArray bad;
    for (int index = 0; index < 1'000; ++index)
        bad += "a b" + QByteArray::number(index) + "@x" + QByteArray(5'000, 'y') + ",";
    const ComposeDraft draft = repliedToAll("From: a@x\r\nTo: " + bad + "\r\n\r\nHi");
    ASSERT_EQ(draft.notices.size(), 6);
    EXPECT_EQ(draft.notices[5], u"Further addresses that aren’t valid were left out: 995.");
    for (const QString& notice : draft.notices)
        EXPECT_LT(notice.size(), 300);
}

TEST(Writing, TakesAsManyRecipientsAsAWindowCan)
{
    const auto many = [](int count) {
        QByteArray list;
        for (int index = 0; index < count; ++index)
            list += "p" + QByteArray::number(index) + "@example.com,";
        return list;
    };
    const ComposeDraft most = repliedToAll("From: a@x\r\nTo: " + many(1'999) + "\r\n\r\nHi");
    EXPECT_EQ(RecipientField::read(most.cc).size(), 1'999);
    EXPECT_TRUE(most.notices.isEmpty());
    const ComposeDraft more = repliedToAll("From: a@x\r\nTo: " + many(100'000) + "\r\n\r\nHi");
    EXPECT_EQ(RecipientField::read(more.to).size(), 1);
    EXPECT_EQ(RecipientField::read(more.cc).size(), DraftGate::mostAddresses - 1);
    EXPECT_EQ(more.notices, QStringList(u"A window doesn’t take that many recipients. Left out: 98001."_s));
}

TEST(Writing, LeavesOutANameThatIsTooLongAndKeepsTheAddress)
{
    const ComposeDraft draft = replied("From: " + QByteArray(1'000'000, 'n') + " <a@x>\r\n\r\nHi");
    EXPECT_EQ(draft.to, u"a@x");
    EXPECT_EQ(draft.notices, QStringList(u"Names of recipients that were too long were left out."_s));
    EXPECT_LT(draft.body.size(), 1'000);
}

TEST(Writing, ReadsALongListOfEncodedNamesToItsEnd)
{
    QByteArray list;
    for (int index = 0; index < 1'500; ++index)
        list += "=?UTF-8?Q?J=C3=B6rg_der_Lange_aus_der_gro=C3=9Fen_Stadt?= <p" + QByteArray::number(index) +
                "@x>,";
    ASSERT_GT(list.size(), 65'536);
    const ComposeDraft draft = repliedToAll("From: a@x\r\nTo: " + list + "\r\n\r\nHi");
    EXPECT_TRUE(draft.cc.endsWith(u"\"Jörg der Lange aus der großen Stadt\" <p1499@x>"_s));
}

TEST(Writing, ShowsNamesWithoutWhatCannotBeSeen)
{
    EXPECT_EQ(replied("From: =?UTF-8?Q?Your=E2=80=8B_B=E2=80=AEank?= <a@x>\r\n\r\nHi").to,
              u"\"Your Bank\" <a@x>");
}

// --- The subject and the conversation

TEST(Writing, CutsASubjectAndSaysSo)
{
    const QByteArray raw = "From: a@x\r\nSubject: " + QByteArray(3'000, 's') + "\r\n\r\nHi";
    for (const ComposeDraft& draft : {replied(raw), forwarded(raw), resumed(raw)}) {
        EXPECT_LE(draft.subject.size(), DraftGate::longestSubject + 6);
        EXPECT_TRUE(draft.subject.endsWith(u"s…"_s));
        EXPECT_EQ(draft.notices.value(0),
                  u"The subject was too long or had too many marks, and a part of it was left out.");
    }
    EXPECT_TRUE(
        replied("Subject: " + QByteArray(DraftGate::longestSubject, 's') + "\r\n\r\nHi").notices.isEmpty());
}

TEST(Writing, KeepsTheBeginningAndTheEndOfAnEndlessConversation)
{
    QByteArray references;
    for (int index = 0; index < 100'000; ++index)
        references += " <" + QByteArray::number(index) + "@x>";
    const ComposeDraft draft = replied("References: " + references + "\r\nMessage-ID: <me@x>\r\n\r\nHi");
    ASSERT_EQ(draft.references.size(), DraftGate::mostReferences);
    EXPECT_EQ(draft.references.first(), u"<0@x>");
    EXPECT_EQ(draft.references[1], u"<99002@x>");
    EXPECT_EQ(draft.references.last(), u"<me@x>");
    const QByteArray endless = '<' + QByteArray(10'000, 'i') + "@x>";
    const ComposeDraft other =
        replied("References: <1@x> " + endless + "\r\nMessage-ID: " + endless + "\r\n\r\nHi");
    EXPECT_EQ(other.references, QList<QString>{u"<1@x>"_s});
    EXPECT_FALSE(other.inReplyTo);
}

// --- Stored drafts

TEST(Writing, ReplacesAStoredDraftThatItHasWhole)
{
    const ComposeDraft draft = resumed("To: Ann <a@x>\r\nSubject: S\r\nIn-Reply-To:  <1@x> \r\n\r\nText");
    EXPECT_EQ(draft.draftMessageID, u"7:Drafts"_s);
    EXPECT_EQ(draft.to, u"\"Ann\" <a@x>");
    EXPECT_EQ(draft.inReplyTo, u"<1@x>"_s);
    EXPECT_TRUE(draft.notices.isEmpty());
}

TEST(Writing, OpensACopyOfAStoredDraftThatItCuts)
{
    QByteArray many;
    for (int index = 0; index < 3'000; ++index)
        many += "p" + QByteArray::number(index) + "@example.com,";
    const QByteArray html = "Content-Type: text/html\r\n\r\n";
    for (const QByteArray& raw :
         {"\r\n" + QByteArray("x\n").repeated(20'000), "\r\n" + QByteArray(12'000, 'x'),
          "\r\ne" + QByteArray("\xcc\x81").repeated(100), "Subject: " + QByteArray(9'000, 's') + "\r\n\r\nHi",
          "Bcc: " + many + "\r\n\r\nHi", html + QByteArray("<p>x</p>").repeated(20'000),
          html + QByteArray("<table><tr><td>").repeated(10) + 'x', html + QByteArray(12'000, 'x')}) {
        const ComposeDraft draft = resumed(raw);
        EXPECT_FALSE(draft.draftMessageID) << raw.first(60).toStdString();
        EXPECT_EQ(draft.notices.value(draft.notices.size() - 1),
                  u"This is a copy of a draft that is more than a window can take. Saving it leaves the "
                  u"draft as it is.");
    }
    EXPECT_TRUE(resumed("\r\n" + QByteArray("x\n").repeated(20'000))
                    .body.endsWith(u"[The rest of the draft is left out.]"_s));
}

TEST(Writing, ResumesRecipientsAsTheyWereTyped)
{
    ComposeDraft draft = Writing::newMessage(setting(), {});
    draft.to = uR"("O\\Brien \"X, Y\"" <o@x>; bob, Ann <an n@x>, "Müller, Jörg" <j@x>)"_s;
    draft.cc = u"\"Carl <c@x>"_s;
    draft.bcc = u"d@x\nGrete Müller"_s;
    const OutgoingMessage stored = Writing::outgoing(draft, account(), Writing::Purpose::store);
    EXPECT_EQ(addressesOf(stored.to), QStringList({u"o@x"_s, u"j@x"_s})) << "nobody else is in To";
    EXPECT_EQ(stored.unread.to, u"bob, Ann <an n@x>");
    EXPECT_EQ(stored.unread.cc, u"\"Carl <c@x>");
    EXPECT_EQ(stored.unread.bcc, u"Grete Müller");
    const ComposeDraft again = storedAndResumed(draft);
    EXPECT_EQ(again.to, uR"("O\\Brien \"X, Y\"" <o@x>, "Müller, Jörg" <j@x>, bob, Ann <an n@x>)");
    EXPECT_EQ(again.cc, u"\"Carl <c@x>");
    EXPECT_EQ(again.bcc, u"d@x, Grete Müller");
    EXPECT_EQ(again.draftMessageID, u"7:Drafts"_s);
    EXPECT_EQ(storedAndResumed(again).to, again.to) << "and so on";
}

TEST(Writing, SaysThatMoreOfAMessageThatIsHTMLAloneFollowed)
{
    // Line ends aren't counted as characters of a text.
    const QByteArray paragraph = "<p>" + QByteArray("word ").repeated(20) + "</p>";
    const QByteArray head = "From: a@x\r\nContent-Type: text/html\r\n\r\n";
    const QString note = u"\n> [The rest of the message is left out.]"_s;
    EXPECT_TRUE(replied(head + paragraph.repeated(3'000)).body.endsWith(note));
    EXPECT_FALSE(replied(head + paragraph.repeated(2'000)).body.endsWith(note));
}

TEST(Writing, SaysThatMarksOfASubjectAreLeftOut)
{
    const QByteArray marks = QString(100, QChar(0x301)).toUtf8();
    const ComposeDraft draft = replied("From: a@x\r\nSubject: a" + marks + "\r\n\r\nHi");
    EXPECT_EQ(draft.subject, QString(u"Re: a"_s + QString(8, QChar(0x301))));
    EXPECT_EQ(draft.notices.size(), 1);
    EXPECT_TRUE(replied("From: a@x\r\nSubject: \xe2\x9d\xa4\xef\xb8\x8f caf\x65\xcc\x81\r\n\r\nHi")
                    .notices.isEmpty());
}

TEST(Writing, KeepsEveryNameFromTheFieldToTheMessageAndBack)
{
    for (const QString& name :
         {uR"(O\Brien)"_s, uR"(a\\b\)"_s, uR"("quoted")"_s, uR"(one " quote)"_s, u"Smith, Ann; and (Bob)"_s,
          u"(a) <b> [c] : @"_s, uR"(\"\\",;)"_s, u"Müller, Jörg (\\) \""_s}) {
        ComposeDraft draft = Writing::newMessage(setting(), {});
        draft.to = MessageComposer::editableAddress(EmailAddress(name, u"a@x"_s)) + u", b@x"_s;
        const OutgoingMessage message = Writing::outgoing(draft, account(), Writing::Purpose::send);
        const QList<EmailAddress> expected{EmailAddress(name, u"a@x"_s),
                                           EmailAddress(std::nullopt, u"b@x"_s)};
        EXPECT_EQ(message.to, expected) << name.toStdString();
        EXPECT_EQ(storedAndResumed(draft).to, draft.to) << name.toStdString();
        const QByteArray sent = MessageComposer::build(message, QDateTime::currentDateTimeUtc());
        EXPECT_EQ(repliedToAll(sent).to, draft.to) << "an answer to one's own: " << name.toStdString();
    }
}

TEST(Writing, KeepsTheWordsOfTheImagesOfAStoredDraft)
{
    const ComposeDraft draft =
        resumed("Content-Type: multipart/related; boundary=b\r\n\r\n--b\r\nContent-Type: text/html\r\n\r\n"
                "<p>The <img src='cid:1@x' alt='our &lt;logo&gt;'> and <IMG alt=chart "
                "src='https://t.example/a.png'> and <img src='data:image/png;base64,AAAA' alt=dot></p>\r\n"
                "--b\r\nContent-Type: image/png\r\nContent-ID: <1@x>\r\n\r\nx\r\n--b--");
    ASSERT_TRUE(draft.initialHTML);
    EXPECT_TRUE(draft.initialHTML->contains(
        u"<p>The <img alt=\"our &lt;logo&gt;\"> and <img alt=\"chart\"> and <img alt=\"dot\"></p>"_s))
        << draft.initialHTML->toStdString();
    EXPECT_TRUE(draft.draftMessageID);
}

TEST(Writing, LeavesWhatItCannotReadOfAnotherProgramsDraftInItsField)
{
    const ComposeDraft draft = resumed("To: a@x, =?UTF-8?Q?J=C3=B6rg?=, team: b@x, c@x;\r\n\r\nHi");
    EXPECT_EQ(draft.to, u"a@x, Jörg, team: b@x, c@x");
    EXPECT_TRUE(draft.draftMessageID);
}

// --- Leaving

TEST(Writing, SendsNothingWithAPieceThatIsNoAddress)
{
    EXPECT_EQ(refusal(u"Ann <ann@x.example>; Bob <bob@x.example>"_s), u"accepted");
    EXPECT_EQ(addressesOf(outgoing(u"Ann <ann@x>; Bob <bob@x>\ncarl@x"_s, Writing::Purpose::send).to),
              QStringList({u"ann@x"_s, u"bob@x"_s, u"carl@x"_s}));
    EXPECT_EQ(refusal(u"\"Ann <ann@x>, bob@x"_s), u"“\"Ann <ann@x>” isn’t a valid email address.");
    EXPECT_EQ(refusal(u"ann@x, bob"_s), u"“bob” isn’t a valid email address.");
    EXPECT_EQ(refusal(u"ann@x, Ann <an n@x>"_s), u"“an n@x” isn’t a valid email address.");
    EXPECT_EQ(refusal(u"Ann <>"_s), u"“Ann <>” isn’t a valid email address.");
    EXPECT_EQ(refusal(u"a(b@x"_s), u"“a(b@x” isn’t a valid email address.");
    EXPECT_EQ(refusal(u"bob@x <carl@x>"_s + u", a@x"_s), u"“bob@x <carl@x>” isn’t a valid email address.");
    EXPECT_EQ(refusal(u"a@x, \"x\ny\u202e"_s + QString(1'000, u'z')),
              QString(u"“\"x” isn’t a valid email address."_s));
    EXPECT_EQ(refusal(u"a@x, "_s + QString(1'000, u'z')),
              QString(u"“"_s + QString(200, u'z') + u"…” isn’t a valid email address."_s));
    EXPECT_EQ(refusal({}), u"Please specify at least one recipient.");
    EXPECT_EQ(refusal(u"bob"_s), u"Please specify at least one recipient.");
}

TEST(Writing, TestsEveryField)
{
    for (QString ComposeDraft::*field : {&ComposeDraft::to, &ComposeDraft::cc, &ComposeDraft::bcc}) {
        ComposeDraft draft = Writing::newMessage(setting(), {});
        draft.*field = u"good@x"_s;
        EXPECT_NO_THROW(Writing::outgoing(draft, account(), Writing::Purpose::send));
        draft.*field = u"good@x, bad"_s;
        EXPECT_THROW(Writing::outgoing(draft, account(), Writing::Purpose::send), MailError);
        draft.*field = u"good@x, b ad@x"_s;
        EXPECT_THROW(Writing::outgoing(draft, account(), Writing::Purpose::send), MailError);
        EXPECT_NO_THROW(Writing::outgoing(draft, account(), Writing::Purpose::store));
    }
}

TEST(Writing, StoresADraftUnderOneMessageIDThatNothingSentHas)
{
    ComposeDraft draft = Writing::newMessage(setting(), u"good@x"_s);
    const auto messageIDFor = [&](Writing::Purpose purpose) {
        return Writing::outgoing(draft, account(), purpose).messageID;
    };
    const QString own =
        draft.id.toString(QUuid::WithoutBraces) + account().email.sliced(account().email.indexOf(u'@'));
    EXPECT_EQ(messageIDFor(Writing::Purpose::store), own);
    EXPECT_EQ(messageIDFor(Writing::Purpose::send), std::nullopt);
    draft.subject = u"changed"_s;
    draft.attempt = ComposeDraft::Attempt{u"sent@x"_s, draft.accountID, {}};
    EXPECT_EQ(messageIDFor(Writing::Purpose::store), own);
    EXPECT_EQ(messageIDFor(Writing::Purpose::send), u"sent@x"_s);
    // Drafts without an identity aren't states of one draft.
    draft.id = QUuid();
    EXPECT_EQ(messageIDFor(Writing::Purpose::store), std::nullopt);
}

TEST(Writing, SendsNothingOfWhatCannotBeRead)
{
    ComposeDraft draft = Writing::newMessage(setting(), {});
    draft.to = u"good@x"_s;
    draft.cc = u"c@x"_s;
    draft.bcc = u"b@x"_s;
    const OutgoingMessage message = Writing::outgoing(draft, account(), Writing::Purpose::send);
    EXPECT_EQ(message.unread, UnreadRecipients());
    EXPECT_EQ(addressesOf(message.to + message.cc + message.bcc),
              QStringList({u"good@x"_s, u"c@x"_s, u"b@x"_s}));
    EXPECT_EQ(message.from, EmailAddress(u"Mia"_s, u"mia@example.org"_s));
}

TEST(Writing, KeepsTheThreadOfItsOwnAccountAlone)
{
    ComposeDraft draft = Writing::newMessage(setting(), u"a@x"_s);
    draft.threadID = u"t"_s;
    EXPECT_EQ(Writing::outgoing(draft, account(), Writing::Purpose::send).threadID, u"t"_s);
    draft.originAccountID = QUuid();
    EXPECT_EQ(Writing::outgoing(draft, account(), Writing::Purpose::send).threadID, u"t"_s);
    draft.originAccountID = QUuid::createUuid();
    EXPECT_TRUE(Writing::isForeign(draft, account()));
    EXPECT_FALSE(Writing::outgoing(draft, account(), Writing::Purpose::send).threadID);
}

TEST(Writing, KeepsTheThreadOfItsOwnMailboxAlone)
{
    Account sender = account();
    Writing::Setting own = setting();
    own.mailbox = sender.mailboxIdentity();
    ComposeDraft draft = Writing::newMessage(own, u"a@x"_s);
    draft.threadID = u"t"_s;
    EXPECT_FALSE(Writing::isForeign(draft, sender));
    EXPECT_EQ(Writing::outgoing(draft, sender, Writing::Purpose::send).threadID, u"t"_s);
    sender.server = ServerSettings();
    sender.server->imapHost = u"other.example"_s;
    EXPECT_TRUE(Writing::isForeign(draft, sender));
    EXPECT_FALSE(Writing::outgoing(draft, sender, Writing::Purpose::send).threadID);
}

// --- Messages that can't be read whole

const QByteArray incomplete =
    "From: a@x\r\nSubject: Plan\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
    "--b\r\n\r\nHello\r\n--b\r\nContent-Type: image/png\r\n"
    "Content-Transfer-Encoding: base64\r\n\r\n!!!!\r\n--b--\r\n";

TEST(Writing, ResumesADraftThatCannotBeReadWholeAsACopy)
{
    const ComposeDraft draft = resumed(incomplete);
    EXPECT_EQ(draft.body, u"Hello"_s);
    EXPECT_FALSE(draft.draftMessageID) << "saving it would erase what can't be read";
    ASSERT_EQ(draft.notices.size(), 2);
    EXPECT_EQ(draft.notices[0], u"Parts of the draft could not be read, and were left out."_s);
}

TEST(Writing, ForwardsAMessageThatCannotBeReadWholeAsItCame)
{
    const ParsedMessage message = MIMEParser::parse(incomplete);
    EXPECT_TRUE(Writing::isCut(message, {}));
    const ComposeDraft draft = Writing::forward(setting(), message, {}, incomplete);
    ASSERT_EQ(draft.attachments.size(), 2);
    EXPECT_EQ(draft.attachments[1].data, incomplete);
    EXPECT_EQ(draft.attachments[1].filename, u"Plan.eml"_s);
    EXPECT_EQ(draft.notices, QStringList(u"Parts of the message could not be read. It is attached as a "
                                         "whole: “Plan.eml”."_s));
}

TEST(Writing, QuotesTheHTMLWhereThePlainTextIsBlank)
{
    const QByteArray letter =
        "From: a@x\r\nContent-Type: multipart/alternative; boundary=b\r\n\r\n"
        "--b\r\n\r\n \r\n\r\n--b\r\nContent-Type: text/html\r\n\r\n<p>News</p>\r\n--b--\r\n";
    EXPECT_TRUE(replied(letter).body.endsWith(u"\n> News"_s));
    EXPECT_TRUE(forwarded(letter).body.endsWith(u"\nNews"_s));
    EXPECT_FALSE(replied("From: a@x\r\n\r\n \r\n").body.contains(snippet)) << "what it says is blank";
}

TEST(Writing, TakesNoIdentifierThatOnlySomeServersCarry)
{
    const ComposeDraft draft =
        replied("From: a@x\r\nMessage-ID: <\xc3\xbc@x>\r\nReferences: <a@x> <\xc3\xbc@y> "
                "<b\x7f@x> <c@x>\r\n\r\nHi");
    EXPECT_FALSE(draft.inReplyTo);
    EXPECT_EQ(draft.references, QStringList({u"<a@x>"_s, u"<c@x>"_s}));
}

// --- Links

TEST(Writing, TakesTheRecipientsOfALinkWithinItsBounds)
{
    EXPECT_EQ(Writing::newMessage(setting(), u"a@x"_s).to, u"a@x");
    EXPECT_EQ(Writing::newMessage(setting(), u"a@x,b@x, c"_s).to, u"a@x,b@x, c");
    EXPECT_EQ(Writing::newMessage(setting(), u"a@x\nb@x\u202e"_s).to, u"a@x b@x");
    const ComposeDraft endless = Writing::newMessage(setting(), QString(300'000, u'x') + u", a@x"_s);
    EXPECT_EQ(endless.to, u"a@x");
    EXPECT_EQ(endless.notices.size(), 1);
    for (const QChar character : {u'x', u','}) {
        const ComposeDraft longer =
            Writing::newMessage(setting(), u"a@x, "_s + QString(2'000'000, character));
        EXPECT_EQ(longer.to, character == u'x' ? u"a@x"_s : QString());
        EXPECT_EQ(longer.notices.size(), 1);
    }
    const ComposeDraft many = Writing::newMessage(setting(), u"a@x,"_s.repeated(5'000));
    EXPECT_EQ(RecipientField::read(many.to).size(), DraftGate::mostAddresses);
    EXPECT_EQ(many.notices, QStringList(u"A window doesn’t take that many recipients. Left out: 3000."_s));
}

// --- Whom a message is really from

TEST(Writing, AnswersTheRealAddressWhereTheNameIsAnotherOne)
{
    EXPECT_EQ(replied("From: =?utf-8?q?ceo=40bank=2Eexample=2C?= <service@evil.example>\r\n\r\nHi").to,
              u"service@evil.example");
    EXPECT_EQ(replied("From: \"ceo@bank.example\", <service@evil.example>\r\n\r\nHi").to,
              u"service@evil.example");
    EXPECT_EQ(replied("From: =?utf-8?q?A=E2=80=AEnn?= <a@x>\r\n\r\nHi").to, u"\"Ann\" <a@x>");
    EXPECT_EQ(replied("From: Ann <ann@x>\r\nFrom: Bob <bob@x>\r\n\r\nHi").to, u"ann@x, bob@x");
}

TEST(Writing, AnswersTheRealAddressThatAReplyToHas)
{
    const ComposeDraft draft =
        replied("From: Ann <ann@x>\r\nReply-To: =?utf-8?q?ann=40x=2C?= <mail@evil.example>"
                "\r\n\r\nHi");
    EXPECT_EQ(draft.to, u"mail@evil.example");
    EXPECT_EQ(draft.notices, QStringList{u"Replies go to mail@evil.example, not to the sender."_s});
    EXPECT_EQ(replied("From: a@x\r\nReply-To: =?utf-8?q?ceo=40bank=2Eexample?=\r\n\r\nHi").to, u"a@x")
        << "an address that only decoding makes is none";
}

TEST(Writing, SaysWhereAnAnswerGoesToAnotherDomainThanTheSenders)
{
    const auto notices = [](const QByteArray& replyTo) {
        return replied("From: Ann <ann@X.example>\r\nReply-To: " + replyTo + "\r\n\r\nHi").notices.join(u' ');
    };
    EXPECT_EQ(notices("Ann <ann@y.example>"), u"Replies go to ann@y.example, not to the sender.");
    EXPECT_EQ(notices("other@x.EXAMPLE."), u"");
    EXPECT_EQ(notices("a@x.example, b@mail.x.example"),
              u"Replies go to b@mail.x.example, not to the sender.");
    EXPECT_EQ(notices("a@1.example, a@2.example, a@3.example, a@4.example"),
              u"Replies go to a@1.example, a@2.example, a@3.example, …, not to the sender.");
    EXPECT_EQ(replied("From: Ann <ann@x>\r\n\r\nHi").notices, QStringList());
    EXPECT_EQ(repliedToAll("From: Ann <ann@x>\r\nReply-To: l@y\r\nTo: mia@example.org\r\n\r\nHi").notices,
              QStringList{u"Replies go to l@y, not to the sender."_s});
    EXPECT_EQ(repliedToAll("From: mia@example.org\r\nReply-To: l@y\r\nTo: bob@x\r\n\r\nHi").notices,
              QStringList())
        << "it goes to whom it went";
}

TEST(Writing, QuotesUnderTheRealAddressWhereTheNameCannotBeTrusted)
{
    const QString body = replied("From: ceo@bank.example <service@evil.example>\r\n\r\nHi").body;
    EXPECT_TRUE(body.contains(u"service@evil.example wrote:"_s)) << body.toStdString();
    EXPECT_FALSE(body.contains(u"bank"_s));
    const QString honest = replied("From: =?utf-8?q?Doe=2C_Ann?= <ann@x>\r\n\r\nHi").body;
    EXPECT_TRUE(honest.contains(u"Doe, Ann <ann@x> wrote:"_s)) << honest.toStdString();
}

TEST(Writing, ForwardsUnderTheRealAddressWhereTheNameCannotBeTrusted)
{
    const auto from = [](const QByteArray& value) {
        const QString body = forwarded("From: " + value + "\r\nSubject: S\r\n\r\nHi").body;
        return body.section(u"From: "_s, 1).section(u'\n', 0, 0);
    };
    EXPECT_EQ(from("ceo@bank.example <service@evil.example>"), u"service@evil.example");
    EXPECT_EQ(from("=?utf-8?q?ceo=40bank=2Eexample=2C?= <service@evil.example>"), u"service@evil.example");
    EXPECT_EQ(from("=?utf-8?q?Doe=2C_Ann?= <ann@x>, bob@x"), u"Doe, Ann <ann@x>, bob@x");
}

TEST(Writing, HasNothingHiddenInTheHeaderLinesOfAnAnswerOrAForward)
{
    const QByteArray hidden = "a\xE2\x80\xAE"
                              "b\xE2\x80\xA8"
                              "c\xE2\x80\x8B"
                              "d\xC2\x85"
                              "e";
    const QByteArray raw = "From: =?utf-8?b?" + hidden.toBase64() +
                           "?= <\xE2\x80\x8Bx@y>\r\nSubject: =?utf-8?b?" + hidden.toBase64() +
                           "?=\r\nTo: =?utf-8?b?" + hidden.toBase64() + "?= <t@y>\r\n\r\nHi";
    for (const ComposeDraft& draft : {replied(raw), forwarded(raw)}) {
        for (const QString& text : {draft.subject, draft.to, draft.body}) {
            for (const QChar character : text) {
                EXPECT_NE(character.category(), QChar::Other_Format) << text.toStdString();
                EXPECT_NE(character.category(), QChar::Separator_Line) << text.toStdString();
                EXPECT_TRUE(character == u'\n' || character.category() != QChar::Other_Control)
                    << text.toStdString();
            }
        }
    }
}

} // namespace
} // namespace Larkhaven
