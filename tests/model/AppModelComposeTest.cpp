#include "AppModelCompose.h"

#include "domain/MailError.h"
#include "format/MIMEParser.h"
#include "model/AppModel.h"
#include "model/DraftGate.h"
#include "support/Await.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QByteArray original = "From: Ada <ada@example.com>\r\n"
                            "To: mia@example.org, Bo <bo@example.com>\r\n"
                            "Cc: CARL@example.com, ADA@example.com, Mia <MIA@Example.ORG>\r\n"
                            "Subject: Plans\r\n"
                            "Date: Fri, 15 Mar 2024 11:00:00 +0000\r\n"
                            "Message-ID:  <m3@example.com> \r\n"
                            "References: <m1@example.com> <m2@example.com>\r\n"
                            "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
                            "--b\r\n\r\nFirst line\r\nSecond\r\n"
                            "--b\r\nContent-Type: application/pdf; name=a.pdf\r\n"
                            "Content-Disposition: attachment\r\n\r\nPDF\r\n--b--\r\n";

// --- New messages

TEST_F(AppModelCompose, WritesFromTheAccountThatTheUserChose)
{
    model().defaults().set(DefaultsKey::defaultAccountID,
                           fixture.account(1).id.toString(QUuid::WithoutBraces).toUpper());
    model().newMessage(u"a@x"_s);
    EXPECT_EQ(opened().accountID, fixture.account(1).id);
    EXPECT_EQ(opened().to, u"a@x");
}

TEST_F(AppModelCompose, WritesFromTheSelectedAccountWhereTheChosenOneIsGone)
{
    model().defaults().set(DefaultsKey::defaultAccountID,
                           QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper());
    model().select(SidebarItem{fixture.account(1).id, MailboxRef::system(Mailbox::inbox)});
    model().newMessage({});
    EXPECT_EQ(opened().accountID, fixture.account(1).id);
}

TEST_F(AppModelCompose, WritesFromTheFirstAccountOnceTheSelectedOneIsGone)
{
    model().select(SidebarItem{fixture.account(1).id, MailboxRef::system(Mailbox::inbox)});
    await(model().removeAccount(fixture.account(1).id));
    EXPECT_EQ(model().composeAccount()->id, fixture.account(0).id);
}

TEST(AppModelComposeWithoutAccounts, OpensNoWindow)
{
    ModelFixture fixture(QList<Account>{});
    fixture.model().newMessage(u"a@x"_s);
    EXPECT_FALSE(fixture.model().pendingCompose());
}

TEST_F(AppModelCompose, OpensAWindowWithWhatAMailtoURLAsksForAndSendsNothing)
{
    model().defaults().set(DefaultsKey::signature, u"Mia"_s);
    const std::optional<MailtoURL> url = MailtoURL::parse(
        u"mailto:a@x.example?cc=b@x.example&bcc=c@x.example&subject=Hello&body=One%0ATwo&attach=/etc/passwd"
        "&In-Reply-To=%3Cx@y%3E"_s);
    ASSERT_TRUE(url);
    EXPECT_TRUE(model().newMessageFor(*url));
    const ComposeDraft draft = opened();
    EXPECT_EQ(draft.accountID, fixture.account(0).id);
    EXPECT_EQ(draft.to, u"a@x.example");
    EXPECT_EQ(draft.cc, u"b@x.example");
    EXPECT_EQ(draft.bcc, u"c@x.example");
    EXPECT_EQ(draft.subject, u"Hello");
    EXPECT_EQ(draft.body, u"One\nTwo\n\n-- \nMia");
    EXPECT_TRUE(draft.attachments.isEmpty());
    EXPECT_FALSE(draft.inReplyTo);
    EXPECT_TRUE(draft.notices.isEmpty());
    settle();
    EXPECT_TRUE(fixture.provider(0).sent().isEmpty());
}

TEST_F(AppModelCompose, AMailtoURLPassesTheBoundsOfDrafts)
{
    MailtoURL url;
    url.subject = QString(DraftGate::longestSubject + 1, u's');
    url.to = QStringList(DraftGate::mostAddresses + 1, u"a@x.example"_s).join(u", "_s);
    url.body = u"line\n"_s.repeated(DraftGate::mostLines + 10);
    EXPECT_TRUE(model().newMessageFor(url));
    const ComposeDraft draft = opened();
    EXPECT_EQ(draft.subject.size(), DraftGate::longestSubject + 1);
    EXPECT_EQ(draft.subject.back(), u'…');
    EXPECT_EQ(draft.to.count(u'@'), DraftGate::mostAddresses);
    EXPECT_TRUE(draft.body.contains("[The rest of the text is left out.]"_L1));
    EXPECT_EQ(draft.notices.size(), 2);
}

TEST(AppModelComposeWithoutAccounts, SaysThatNobodyCanSendWhatAMailtoURLAsksFor)
{
    ModelFixture fixture(QList<Account>{});
    EXPECT_FALSE(fixture.model().newMessageFor({u"a@x"_s, {}, {}, {}, {}}));
    EXPECT_FALSE(fixture.model().pendingCompose());
}

TEST_F(AppModelCompose, AddsNothingForAnEmptySignature)
{
    model().defaults().set(DefaultsKey::signature, u" \n "_s);
    EXPECT_EQ(model().signatureBlock(), u"");
}

TEST_F(AppModelCompose, SetsASignatureOffByTwoDashesAfterOneEmptyLine)
{
    model().defaults().set(DefaultsKey::signature, u"\n Mia\nBerlin \n"_s);
    model().newMessage({});
    EXPECT_EQ(opened().body, u"\n\n-- \nMia\nBerlin");
}

TEST_F(AppModelCompose, KeepsASeedUntilItsWindowCloses)
{
    model().newMessage({});
    const QUuid id = opened().id;
    model().clearPendingCompose();
    EXPECT_TRUE(model().takeSeed(id));
    EXPECT_TRUE(model().takeSeed(id));
    model().closeCompose(id);
    EXPECT_FALSE(model().takeSeed(id));
}

// --- Replies

TEST_F(AppModelCompose, RepliesToTheSenderAndQuotesTheText)
{
    await(model().reply(message(original), false));
    const ComposeDraft draft = opened();
    EXPECT_EQ(draft.to, u"\"Ada\" <ada@example.com>");
    EXPECT_EQ(draft.cc, u"");
    EXPECT_EQ(draft.subject, u"Re: Plans");
    EXPECT_TRUE(draft.body.startsWith(u"\n\nOn "_s));
    EXPECT_TRUE(draft.body.endsWith(u"Ada <ada@example.com> wrote:\n> First line\n> Second"_s))
        << draft.body.toStdString();
    EXPECT_TRUE(draft.attachments.isEmpty());
}

TEST_F(AppModelCompose, RepliesWhereTheMessageAsksForReplies)
{
    await(model().reply(message("From: a@x\r\nReply-To: list@x, b@x\r\n\r\nHi"), false));
    EXPECT_EQ(opened().to, u"list@x, b@x");
}

TEST_F(AppModelCompose, LeavesTheOwnAddressInWhateverCaseOutOfAReplyToAll)
{
    await(model().reply(message(original), true));
    EXPECT_EQ(opened().to, u"\"Ada\" <ada@example.com>");
    EXPECT_EQ(opened().cc, u"\"Bo\" <bo@example.com>, CARL@example.com");
}

TEST_F(AppModelCompose, KeepsTheWholeChainOfReferencesWithTheAnsweredMessageAtItsEnd)
{
    await(model().reply(message(original), false));
    EXPECT_EQ(opened().inReplyTo, u"<m3@example.com>"_s);
    EXPECT_EQ(opened().references,
              QStringList({u"<m1@example.com>"_s, u"<m2@example.com>"_s, u"<m3@example.com>"_s}));
}

TEST_F(AppModelCompose, QuotesThePreviewWhereAMessageHasNoText)
{
    await(model().reply(message("From: a@x\r\nContent-Type: application/pdf\r\n\r\nx"), false));
    EXPECT_TRUE(opened().body.endsWith(u"> Preview of 7"_s)) << opened().body.toStdString();
}

TEST_F(AppModelCompose, TakesTheOpenMessageWithoutAskingForItAgain)
{
    const MessageSummary row = message("From: x@x\r\n\r\nOther");
    model().open(row);
    ParsedMessage shown;
    shown.textBody = u"Shown"_s;
    model().setOpenParsed(shown);
    await(model().reply(row, false));
    EXPECT_TRUE(opened().body.endsWith(u"> Shown"_s));
    EXPECT_TRUE(fixture.provider().calls(u"fetchRaw"_s).isEmpty());
}

TEST_F(AppModelCompose, TellsTheConversationOfAReplyAndDoesWithoutItWhereItCannotBeHad)
{
    fixture.provider().setThreadID(u"7"_s, u"t1"_s);
    await(model().reply(message(original), false));
    EXPECT_EQ(opened().threadID, u"t1"_s);
    fixture.provider().failNext(u"threadID"_s, MailError::rateLimited());
    await(model().reply(message(original), false));
    EXPECT_FALSE(opened().threadID);
}

TEST_F(AppModelCompose, OpensNoWindowWhereTheMessageCannotBeHad)
{
    fixture.provider().failNext(u"fetchRaw"_s, MailError::unsupported(u"Gone."_s));
    await(model().reply(message(original), false));
    EXPECT_FALSE(model().pendingCompose());
    EXPECT_EQ(model().errorMessage(), u"Gone."_s);
}

TEST_F(AppModelCompose, KeepsANameThatIsNotASCIIReadableInTheField)
{
    await(model().reply(message("From: =?UTF-8?Q?J=C3=B6rg_M=C3=BCller?= <j@x>\r\n\r\nHi"), false));
    EXPECT_EQ(opened().to, u"\"Jörg Müller\" <j@x>");
    const OutgoingMessage out = model().outgoing(opened(), true);
    ASSERT_EQ(out.to.size(), 1);
    EXPECT_EQ(out.to.first(), EmailAddress(u"Jörg Müller"_s, u"j@x"_s));
}

// --- Forwards and drafts

TEST_F(AppModelCompose, ForwardsTheAttachmentsUnderNewIdentities)
{
    await(model().forward(message(original)));
    const ComposeDraft first = opened();
    EXPECT_EQ(first.subject, u"Fwd: Plans");
    EXPECT_EQ(first.to, u"");
    EXPECT_FALSE(first.inReplyTo || first.threadID);
    EXPECT_TRUE(first.references.isEmpty());
    EXPECT_TRUE(
        first.body.contains(u"---------- Forwarded message ---------\nFrom: Ada <ada@example.com>\n"_s));
    ASSERT_EQ(first.attachments.size(), 1);
    EXPECT_EQ(first.attachments[0].filename, u"a.pdf");
    EXPECT_EQ(first.attachments[0].data, "PDF");
    await(model().forward(message(original)));
    EXPECT_NE(opened().attachments[0].id, first.attachments[0].id);
}

TEST_F(AppModelCompose, ResumesADraftAsItWasStored)
{
    await(model().editDraft(message("From: mia@example.org\r\nTo: a@x\r\nCc: b@x\r\nBcc: Cy <c@x>\r\n"
                                    "Subject: =?UTF-8?Q?caf=C3=A9?=\r\nIn-Reply-To: <m1@x> \r\n"
                                    "References: <m0@x> <m1@x>\r\n\r\nSo far")));
    const ComposeDraft draft = opened();
    EXPECT_EQ(draft.to, u"a@x");
    EXPECT_EQ(draft.cc, u"b@x");
    EXPECT_EQ(draft.bcc, u"\"Cy\" <c@x>");
    EXPECT_EQ(draft.subject, u"café");
    EXPECT_EQ(draft.body, u"So far");
    EXPECT_EQ(draft.inReplyTo, u"<m1@x>"_s);
    EXPECT_EQ(draft.references, QStringList({u"<m0@x>"_s, u"<m1@x>"_s}));
    EXPECT_EQ(draft.draftMessageID, u"7"_s);
    EXPECT_FALSE(draft.isRichText);
}

TEST_F(AppModelCompose, ResumesARichDraftWithNothingThatLoads)
{
    await(model().editDraft(message("To: a@x\r\nContent-Type: text/html\r\n\r\n"
                                    "<b>Hi</b><img src=\"https://t.example/x.png\"><script>x()</script>")));
    ASSERT_TRUE(opened().initialHTML);
    EXPECT_TRUE(opened().isRichText);
    EXPECT_TRUE(opened().initialHTML->contains(u"<b>Hi</b>"_s));
    EXPECT_FALSE(opened().initialHTML->contains(u"t.example"_s));
    EXPECT_FALSE(opened().initialHTML->contains(u"x()"_s));
}

// --- Leaving

TEST_F(AppModelCompose, SendsNothingWithoutRecipientsButSavesIt)
{
    EXPECT_EQ(refusal(draftTo({}), true), u"Please specify at least one recipient.");
    EXPECT_EQ(refusal(draftTo({}), false), u"accepted");
    await(model().saveDraft(draftTo({})));
    EXPECT_EQ(fixture.provider().savedDrafts().size(), 1);
}

TEST_F(AppModelCompose, NamesTheWholeAddressThatHoldsASpace)
{
    EXPECT_EQ(refusal(draftTo(u"ok@x, Ann <an n@x>"_s), true), u"“an n@x” isn’t a valid email address.");
}

TEST_F(AppModelCompose, RefusesEveryAddressThatIsNone)
{
    for (const QString& bad : {u"a@b@c"_s, u"Ann <a>"_s, u"Ann <a@>"_s, u"Ann <@x>"_s, u"a;b@x"_s}) {
        EXPECT_TRUE(refusal(draftTo(bad), true).endsWith(u"isn’t a valid email address."_s))
            << bad.toStdString();
    }
    EXPECT_EQ(refusal(draftTo(u"a@host-without-dot"_s), true), u"accepted");
}

TEST_F(AppModelCompose, BuildsTheMessageOfADraft)
{
    ComposeDraft draft = draftTo(u"Ann <a@x>, b@x"_s);
    draft.cc = u"c@x"_s;
    draft.bcc = u"d@x"_s;
    draft.subject = u"S"_s;
    draft.body = u"B"_s;
    draft.initialHTML = u"<p>B</p>"_s;
    draft.attachments = {{QUuid::createUuid(), u"f"_s, u"text/plain"_s, "x"}};
    draft.inReplyTo = u"<1>"_s;
    draft.references = {u"<1>"_s};
    draft.threadID = u"t"_s;
    OutgoingMessage out = model().outgoing(draft, true);
    EXPECT_EQ(out.from, EmailAddress(std::nullopt, u"mia@example.org"_s));
    EXPECT_EQ(out.to.size(), 2);
    EXPECT_EQ(out.cc.size() + out.bcc.size(), 2);
    EXPECT_FALSE(out.htmlBody) << "a plain draft has none";
    EXPECT_EQ(out.attachments, draft.attachments);
    EXPECT_EQ(out.inReplyTo, draft.inReplyTo);
    EXPECT_EQ(out.references, draft.references);
    EXPECT_EQ(out.threadID, draft.threadID);
    draft.isRichText = true;
    EXPECT_EQ(model().outgoing(draft, true).htmlBody, u"<p>B</p>"_s);
}

TEST_F(AppModelCompose, ReplacesTheStoredDraftThatIsSent)
{
    ComposeDraft draft = draftTo(u"a@x"_s);
    draft.draftMessageID = u"9:Drafts"_s;
    await(model().send(draft));
    ASSERT_EQ(fixture.provider().sent().size(), 1);
    EXPECT_EQ(fixture.provider().sent()[0].draftID, u"9:Drafts"_s);
    settle();
    EXPECT_EQ(fixture.provider().calls(u"counts"_s).size(), 1);
    EXPECT_TRUE(fixture.provider().calls(u"listMessages"_s).isEmpty());
}

TEST_F(AppModelCompose, RefreshesTheMailboxOnScreenThatASentMessageChanges)
{
    const auto listingsAfterSending = [this](Mailbox role, const std::optional<QString>& draftID) {
        model().selectMailbox(MailboxRef::system(role));
        settle();
        fixture.provider().forgetCalls();
        ComposeDraft draft = draftTo(u"a@x"_s);
        draft.draftMessageID = draftID;
        await(model().send(draft));
        settle();
        return fixture.provider().calls(u"listMessages"_s).size();
    };
    EXPECT_EQ(listingsAfterSending(Mailbox::sent, std::nullopt), 1);
    EXPECT_EQ(listingsAfterSending(Mailbox::drafts, std::nullopt), 0);
    EXPECT_EQ(listingsAfterSending(Mailbox::drafts, u"9:Drafts"_s), 1);
    fixture.provider().forgetCalls();
    await(model().saveDraft(draftTo({})));
    settle();
    EXPECT_EQ(fixture.provider().calls(u"listMessages"_s).size(), 1);
}

TEST_F(AppModelCompose, GivesAFailureOfSendingToTheWindow)
{
    fixture.provider().failNext(u"send"_s, MailError::protocolError(u"no"_s));
    expectProtocolError(model().send(draftTo(u"a@x"_s)), u"no"_s);
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(AppModelCompose, SendsNothingFromAnAccountThatIsGone)
{
    const ComposeDraft draft = draftTo(u"a@x"_s);
    await(model().removeAccount(fixture.account().id));
    expectMailError(model().send(draft), MailError::Kind::notSignedIn);
}

TEST_F(AppModelCompose, SendsNothingToNobody)
{
    expectUnsupported(model().send(draftTo(u" "_s)), u"Please specify at least one recipient."_s);
    expectUnsupported(model().send(draftTo(u"bob"_s)), u"Please specify at least one recipient."_s);
    EXPECT_TRUE(fixture.provider().sent().isEmpty());
}

TEST_F(AppModelCompose, SendsAndAnswersNothingWithoutASignIn)
{
    const MessageSummary row = message(original);
    fixture.restartWithoutProviders();
    expectMailError(model().send(draftTo(u"a@x"_s)), MailError::Kind::notSignedIn);
    expectMailError(model().saveDraft(draftTo(u"a@x"_s)), MailError::Kind::notSignedIn);
    model().start(model().reply(row, false));
    settle();
    EXPECT_FALSE(model().pendingCompose());
    EXPECT_TRUE(model().needsReauth().contains(row.accountID));
}

TEST_F(AppModelCompose, AnswersTheRowThatIsMeantAndNotTheOpenOneOfAnotherAccount)
{
    fixture.provider(1).setRaw(u"7"_s, "From: Bob <bob@example.com>\r\nSubject: Other\r\n\r\nOther text");
    const MessageSummary open = message(original);
    fixture.provider().setListing(MailboxRef::system(Mailbox::inbox), {open});
    await(model().load(0, true));
    model().open(open);
    model().setOpenParsed(MIMEParser::parse(original));
    await(model().reply(ModelFixture::row(fixture.account(1), u"7"_s), false));
    EXPECT_EQ(opened().to, u"\"Bob\" <bob@example.com>"_s);
    EXPECT_TRUE(opened().body.contains(u"> Other text"_s));
}

TEST_F(AppModelCompose, CarriesAllAttachmentsOfADraftAndOfAForward)
{
    const QByteArray part = "--b\r\nContent-Type: application/pdf; name=%1.pdf\r\n"
                            "Content-Disposition: attachment\r\n\r\nPDF\r\n";
    const QByteArray raw = "From: a@x\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\nHi\r\n" +
                           QByteArray(part).replace("%1", "one") + QByteArray(part).replace("%1", "two") +
                           "--b--\r\n";
    const auto names = [this] {
        QStringList all;
        for (const OutgoingAttachment& attachment : opened().attachments)
            all.append(attachment.filename);
        return all;
    };
    await(model().editDraft(message(raw)));
    EXPECT_EQ(names(), QStringList({u"one.pdf"_s, u"two.pdf"_s}));
    await(model().forward(message(raw)));
    EXPECT_EQ(names(), QStringList({u"one.pdf"_s, u"two.pdf"_s}));
}

TEST_F(AppModelCompose, SendsToNobodyWhomANameOfTheSenderHides)
{
    for (const QByteArray& name : {QByteArray("=?UTF-8?Q?Bob=22,_victim@evil.example,_=22?="),
                                   QByteArray("=?UTF-8?Q?B=5C=22,_v@evil.example,_=22?="),
                                   QByteArray("=?UTF-8?Q?J=C3=B6=22,_v@evil.example,_=22?=")}) {
        await(model().reply(message("From: " + name + " <bob@x.example>\r\n\r\nHi"), false));
        const QList<EmailAddress> to = model().outgoing(opened(), true).to;
        for (const EmailAddress& recipient : to)
            EXPECT_FALSE(recipient.address.contains(u"evil"_s)) << name.toStdString();
    }
}

TEST_F(AppModelCompose, LeavesNobodyOutWithoutAWord)
{
    EXPECT_EQ(refusal(draftTo(u"ann@x, bob"_s), true), u"“bob” isn’t a valid email address.");
    EXPECT_EQ(refusal(draftTo(u"ann@x, , "_s), true), u"accepted");
    EXPECT_EQ(refusal(draftTo(u"bob"_s), true), u"Please specify at least one recipient.");
}

TEST_F(AppModelCompose, QuotesOnlyAsMuchAsAWindowCanTake)
{
    const QByteArray rest = "[The rest of the message is left out.]";
    await(model().reply(message("From: a@x\r\n\r\n" + QByteArray(10'000'000, 'x')), false));
    EXPECT_LT(opened().body.size(), 300'000);
    EXPECT_TRUE(opened().body.endsWith(QString::fromUtf8(rest)));
    await(model().forward(message("From: a@x\r\n\r\n" + QByteArray(5'000'000, '\n'))));
    EXPECT_LT(opened().body.count(u'\n'), 11'000);
    await(model().reply(message("From: a@x\r\n\r\nShort"), false));
    EXPECT_FALSE(opened().body.contains(QString::fromUtf8(rest)));
}

TEST_F(AppModelCompose, TakesUpOnlyAsMuchOfASubjectAndANameAsAFieldCanShow)
{
    const QByteArray endless(2'000'000, 'x');
    await(model().reply(message("From: " + endless + " <a@x>\r\nSubject: " + endless + "\r\n\r\nHi"), false));
    EXPECT_EQ(opened().to, u"a@x");
    EXPECT_LT(opened().subject.size(), 11'000);
    await(model().forward(message("From: a@x\r\nSubject: " + endless + "\r\n\r\nHi")));
    EXPECT_LT(opened().subject.size(), 11'000);
    model().newMessage(QString::fromLatin1(endless));
    EXPECT_EQ(opened().to, u"");
}

TEST_F(AppModelCompose, NamesInTheWindowWhatItLeavesOut)
{
    await(model().reply(message("From: \"Your Bank\"@evil.example\r\nTo: b@x\r\n\r\nHi"), true));
    EXPECT_EQ(opened().to, u"");
    EXPECT_EQ(opened().cc, u"b@x");
    EXPECT_EQ(opened().notices,
              QStringList(u"“\"Your Bank\"@evil.example” isn’t a valid email address, and was left out."_s));
}

TEST_F(AppModelCompose, OpensACopyOfADraftThatItHasToCut)
{
    await(model().editDraft(message("To: a@x\r\n\r\n" + QByteArray(5'000'000, 'x'))));
    EXPECT_FALSE(opened().draftMessageID);
    EXPECT_EQ(opened().notices.size(), 1);
    await(model().saveDraft(opened()));
    EXPECT_FALSE(fixture.provider().savedDrafts()[0].draftID) << "the draft stays as it is";
    EXPECT_TRUE(fixture.provider().calls(u"trash"_s).isEmpty());
}

TEST_F(AppModelCompose, AsksForTheBytesOfAMessageOnlyWhereAForwardNeedsThem)
{
    const QByteArray raw = "From: x@x\r\n\r\n" + QByteArray("word\n").repeated(20'000);
    const MessageSummary row = message(raw);
    model().open(row);
    ParsedMessage shown = MIMEParser::parse("From: x@x\r\n\r\nShort");
    model().setOpenParsed(shown);
    await(model().forward(row));
    EXPECT_TRUE(fixture.provider().calls(u"fetchRaw"_s).isEmpty());
    model().setOpenParsed(MIMEParser::parse(raw));
    await(model().forward(row));
    EXPECT_EQ(fixture.provider().calls(u"fetchRaw"_s).size(), 1);
    ASSERT_EQ(opened().attachments.size(), 1);
    EXPECT_EQ(opened().attachments[0].data, raw);
}

TEST_F(AppModelCompose, AnswersTheOpenMessageAgainAndAgain)
{
    const MessageSummary row = message("From: x@x\r\n\r\nOther");
    model().open(row);
    model().setOpenParsed(MIMEParser::parse("From: ada@x\r\n\r\nShown"));
    for (int turn = 0; turn < 3; ++turn) {
        await(model().reply(row, false));
        EXPECT_EQ(opened().to, u"ada@x");
        EXPECT_TRUE(opened().body.endsWith(u"> Shown"_s));
    }
    await(model().forward(row));
    EXPECT_TRUE(opened().body.endsWith(u"Shown"_s));
}

TEST_F(AppModelCompose, OpensOneWindowForAnAnswerThatIsAskedForTwice)
{
    const MessageSummary row = message("From: ada@example.com\r\n\r\nHello");
    fixture.provider().hold(u"fetchRaw"_s);
    QStringList subjects;
    QObject::connect(&model(), &AppModel::pendingComposeChanged, &model(), [this, &subjects] {
        if (model().pendingCompose())
            subjects.append(opened().subject);
    });
    model().start(model().reply(row, false));
    model().start(model().reply(row, false));
    model().start(model().forward(row));
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return subjects.size() == 2; }));
    settle();
    EXPECT_EQ(subjects.size(), 2) << "the reply and the forward";
    fixture.provider().stopHolding(u"fetchRaw"_s);
    fixture.provider().failNext(u"fetchRaw"_s, MailError::protocolError(u"No."_s));
    await(model().reply(row, false));
    await(model().reply(row, false));
    EXPECT_EQ(subjects.size(), 3) << "a failure leaves nothing behind";
}

TEST_F(AppModelCompose, KnowsWhetherTheUserStillWaitsForTheWindow)
{
    const MessageSummary row = message("From: ada@example.com\r\n\r\nHello");
    QObject list;
    QObject letter;
    QObject* active = &list;
    model().setAskerSource([&active] { return active; });
    await(model().reply(row, false));
    EXPECT_EQ(model().pendingOpening(), AppModel::Opening::asked);
    for (QObject* const elsewhere : {&letter, static_cast<QObject*>(nullptr)}) {
        active = &list;
        fixture.provider().hold(u"fetchRaw"_s);
        model().clearPendingCompose();
        model().start(model().reply(row, false));
        active = elsewhere;
        fixture.provider().completeAll();
        ASSERT_TRUE(waitUntil([this] { return model().pendingCompose().has_value(); }));
        EXPECT_EQ(model().pendingOpening(), AppModel::Opening::late);
    }
    model().newMessage(u"ada@example.com"_s);
    EXPECT_EQ(model().pendingOpening(), AppModel::Opening::asked);
    model().setAskerSource({});
}

TEST_F(AppModelCompose, AnswersTheWindowThatHasAskedLast)
{
    const MessageSummary row = message("From: ada@example.com\r\n\r\nHello");
    QObject list;
    QObject reader;
    QObject* active = &list;
    model().setAskerSource([&active] { return active; });
    const auto askTwice = [&] {
        active = &list;
        fixture.provider().hold(u"fetchRaw"_s);
        model().start(model().reply(row, false));
        active = &reader;
        model().start(model().reply(row, false));
    };
    askTwice();
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([this] { return model().pendingCompose().has_value(); }));
    EXPECT_EQ(model().pendingOpening(), AppModel::Opening::asked);

    // Who has asked last has gone elsewhere: the first one doesn't wait any more.
    model().clearPendingCompose();
    askTwice();
    active = &list;
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([this] { return model().pendingCompose().has_value(); }));
    EXPECT_EQ(model().pendingOpening(), AppModel::Opening::late);

    fixture.provider().failNext(u"fetchRaw"_s, MailError::protocolError(u"No."_s));
    askTwice();
    fixture.provider().completeAll();
    ASSERT_TRUE(waitUntil([this] { return model().errorMessage().has_value(); }));
    EXPECT_EQ(model().errorAsker(), &reader);
    model().setAskerSource({});
}

TEST_F(AppModelCompose, QuotesTheRowThatIsAnsweredAndNotTheOpenMessage)
{
    MessageSummary open = ModelFixture::row(fixture.account(), u"8"_s);
    model().open(open);
    model().setOpenParsed(MIMEParser::parse("From: ada@x\r\n\r\nShown"));
    await(model().reply(message("From: bo@x\r\n\r\nOther"), false));
    EXPECT_EQ(opened().to, u"bo@x");
    EXPECT_TRUE(opened().body.endsWith(u"> Other"_s));
}

TEST_F(AppModelCompose, TellsTheConversationOfAStoredDraftAndNoneOfAForward)
{
    fixture.provider().setThreadID(u"7"_s, u"t1"_s);
    await(model().editDraft(message(original)));
    EXPECT_EQ(opened().threadID, u"t1"_s);
    await(model().forward(message(original)));
    EXPECT_FALSE(opened().threadID);
}

TEST_F(AppModelCompose, WritesInTheFormAndUnderTheSignatureThatTheUserChose)
{
    for (const bool isRich : {true, false}) {
        model().defaults().set(DefaultsKey::composeRichText, isRich);
        model().defaults().set(DefaultsKey::signature, u"Mia"_s);
        model().newMessage({});
        EXPECT_EQ(opened().isRichText, isRich);
        await(model().reply(message(original), false));
        EXPECT_EQ(opened().isRichText, isRich);
        EXPECT_TRUE(opened().body.startsWith(u"\n\n-- \nMia\n\nOn "_s));
        await(model().forward(message(original)));
        EXPECT_EQ(opened().isRichText, isRich);
        EXPECT_TRUE(opened().body.startsWith(u"\n\n-- \nMia\n\n-----"_s));
        await(model().editDraft(message("To: a@x\r\n\r\nHi")));
        EXPECT_EQ(opened().isRichText, isRich);
        EXPECT_EQ(opened().body, u"Hi") << "a draft has its own";
    }
}

TEST_F(AppModelCompose, TouchesNoMessageOfAnotherAccountThatHasTheIDOfTheDraft)
{
    await(model().editDraft(message("To: a@x\r\n\r\nText")));
    ComposeDraft draft = opened();
    fixture.provider(0).setThreadID(u"7"_s, u"t"_s);
    draft.threadID = u"t"_s;
    draft.accountID = fixture.account(1).id;
    await(model().send(draft));
    await(model().saveDraft(draft));
    settle();
    ASSERT_EQ(fixture.provider(1).sent().size(), 1);
    EXPECT_FALSE(fixture.provider(1).sent()[0].draftID);
    EXPECT_FALSE(fixture.provider(1).sent()[0].message.threadID);
    EXPECT_FALSE(fixture.provider(1).savedDrafts()[0].draftID);
    EXPECT_EQ(fixture.provider(0).calls(u"trash"_s).first(), u"trash 7")
        << "the stored draft has been replaced";
}

} // namespace
} // namespace Larkhaven
