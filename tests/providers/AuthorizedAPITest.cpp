#include "providers/AuthorizedAPI.h"

#include "domain/Coding.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/TokensInTurn.h"
#include "support/WebServer.h"

#include <deque>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

/// A clock that never waits and notes what it was asked for.
struct Clock {
    QList<std::chrono::milliseconds> slept;
    bool isStopped = false;

    Task<bool> sleep(std::chrono::milliseconds time)
    {
        slept.append(time);
        co_return !isStopped;
    }
};

/// Tokens as a manager has them: the one that is known, and a new one where it is forced.
class Tokens final : public TokenSource {
public:
    Task<QString> validToken(bool forceRefresh) override
    {
        asked.append(forceRefresh);
        if (forceRefresh && isGone)
            throw MailError::notSignedIn();
        if (forceRefresh)
            ++number;
        co_return u"t%1"_s.arg(number);
    }

    QList<bool> asked;
    int number = 1;
    bool isGone = false;
};

class AuthorizedAPITest : public testing::Test {
protected:
    using Request = AuthorizedAPI::Request;

    Task<QByteArray> request(Request request, std::stop_token stop = {})
    {
        return api.request(std::move(request), std::move(stop));
    }

    QByteArray target(Request wanted)
    {
        await(request(std::move(wanted)));
        return server.requests().last().target;
    }

    QList<QByteArray> bearers() const
    {
        QList<QByteArray> bearers;
        for (const WebRequest& sent : server.requests())
            bearers.append(sent.header("authorization").value_or(QByteArray()));
        return bearers;
    }

    void answerInTurn(std::initializer_list<int> statuses) { statusesLeft = statuses; }

    std::deque<int> statusesLeft;
    QByteArray body = R"({"a":1})";
    WebServer server{[this](const WebRequest&) {
        const int status = statusesLeft.empty() ? 200 : statusesLeft.front();
        if (!statusesLeft.empty())
            statusesLeft.pop_front();
        return WebReply{status, body};
    }};
    Clock clock;
    const std::shared_ptr<Tokens> tokens = std::make_shared<Tokens>();
    const AuthorizedAPI api{
        "https://gmail.googleapis.com/base", tokens,
        [this](std::chrono::milliseconds time, const std::stop_token&) { return clock.sleep(time); }};
};

// --- URLs

TEST_F(AuthorizedAPITest, AsksBelowItsBaseWithABearer)
{
    EXPECT_EQ(await(request({.path = "messages/a%2Fb"})), R"({"a":1})");
    const WebRequest sent = server.requests().last();
    EXPECT_EQ(sent.method, "GET");
    EXPECT_EQ(sent.target, "/base/messages/a%2Fb");
    EXPECT_EQ(sent.header("authorization"), "Bearer t1");
    EXPECT_EQ(sent.header("accept"), "application/json");
    EXPECT_EQ(sent.header("content-type"), std::nullopt);
    EXPECT_EQ(sent.body, "");
}

TEST_F(AuthorizedAPITest, WritesAPlusOfAQueryAsItsCode)
{
    EXPECT_EQ(target({.path = "messages", .query = {{u"q"_s, u"from:a+b"_s}}}),
              "/base/messages?q=from:a%2Bb");
}

TEST_F(AuthorizedAPITest, WritesABlankOfAQueryAsItsCode)
{
    EXPECT_EQ(target({.path = "m", .query = {{u"q"_s, u"a b&c=d%"_s}, {u"q"_s, u"ä"_s}}}),
              "/base/m?q=a%20b%26c%3Dd%25&q=%C3%A4");
}

TEST_F(AuthorizedAPITest, LeavesDotsInAPathAsTheyAre)
{
    EXPECT_EQ(target({.path = "messages/../labels"}), "/base/messages/../labels");
}

TEST_F(AuthorizedAPITest, TakesAnAbsolutePathOnItsHostAsItIs)
{
    EXPECT_EQ(target({.path = "https://gmail.googleapis.com/upload/x?uploadType=multipart",
                      .query = {{u"dropped"_s, u"1"_s}}}),
              "/upload/x?uploadType=multipart");
}

TEST_F(AuthorizedAPITest, RefusesAnAbsolutePathOnAnotherHostBeforeItAsksForAToken)
{
    for (const QByteArray path :
         {"https://evil.example/x", "https://GMAIL.googleapis.com/x",
          "https://gmail.googleapis.com@evil.example/", "https://gmail.googleapis.com.evil.example/",
          "https://", "https:///x", "https://evil.example#@gmail.googleapis.com",
          "https://gmail.googleapis.com/a b", "https://evil.example\\@gmail.googleapis.com/"})
        expectProtocolError(request({.path = path}), u"Unexpected host"_s);
    EXPECT_EQ(tokens->asked, QList<bool>());
    EXPECT_EQ(server.attempts(), 0);
}

TEST_F(AuthorizedAPITest, RefusesAPathThatIsNoneBeforeItAsksForAToken)
{
    for (const QByteArray path : {"a b", "a%zz", "a\nb", "a\"b"})
        expectProtocolError(request({.path = path}), u"Bad request path"_s);
    EXPECT_EQ(tokens->asked, QList<bool>());
}

// --- Bodies and headers

TEST_F(AuthorizedAPITest, SendsJSONInPlaceOfABody)
{
    await(request({.method = "POST", .path = "x", .json = QJsonObject{{u"b"_s, 1}}, .body = "no"}));
    EXPECT_EQ(server.requests().last().method, "POST");
    EXPECT_EQ(server.requests().last().body, R"({"b":1})");
    EXPECT_EQ(server.requests().last().header("content-type"), "application/json");
}

TEST_F(AuthorizedAPITest, SendsABodyUnderItsType)
{
    await(request({.method = "PUT", .path = "x", .body = "abc"}));
    EXPECT_EQ(server.requests().last().header("content-type"), "application/octet-stream");
    await(request({.method = "PUT", .path = "x", .body = "abc", .contentType = "text/plain"}));
    EXPECT_EQ(server.requests().last().header("content-type"), "text/plain");
    EXPECT_EQ(server.requests().last().body, "abc");
}

TEST_F(AuthorizedAPITest, LetsAHeaderReplaceItsOwn)
{
    await(request({.path = "x", .headers = {{"accept", "text/html"}, {"X-More", "1"}}}));
    EXPECT_EQ(server.requests().last().header("accept"), "text/html");
    EXPECT_EQ(server.requests().last().header("x-more"), "1");
}

// --- Tokens

TEST_F(AuthorizedAPITest, RenewsTheTokenOnceAfterARefusal)
{
    answerInTurn({401, 200});
    EXPECT_EQ(await(request({.path = "x"})), body);
    EXPECT_EQ(bearers(), (QList<QByteArray>{"Bearer t1", "Bearer t2"}));
    EXPECT_EQ(tokens->asked, (QList<bool>{false, false, true}));
}

TEST_F(AuthorizedAPITest, FailsWhereARenewedTokenIsRefusedToo)
{
    answerInTurn({401, 401, 200});
    expectMailError(request({.path = "x"}), MailError::Kind::notSignedIn);
    EXPECT_EQ(bearers(), (QList<QByteArray>{"Bearer t1", "Bearer t2"}));
}

TEST_F(AuthorizedAPITest, EndsWithALostSignInWhereTheGrantIsGone)
{
    answerInTurn({401});
    tokens->isGone = true;
    expectMailError(request({.path = "x"}), MailError::Kind::notSignedIn);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(AuthorizedAPITest, TriesATokenThatWasRenewedMeanwhileBeforeItAsksForAnother)
{
    server.setHandler([this](const WebRequest& sent) {
        const bool isOld = sent.header("authorization") == "Bearer t1";
        if (isOld)
            tokens->number = 2;
        return WebReply{isOld ? 401 : 200, body};
    });
    EXPECT_EQ(await(request({.path = "x"})), body);
    EXPECT_EQ(tokens->asked, (QList<bool>{false, false}));
}

TEST_F(AuthorizedAPITest, ForcesATokenWhereNoneIsKnown)
{
    const auto none = std::make_shared<TokensInTurn>(QStringList());
    const AuthorizedAPI poor("https://gmail.googleapis.com/base", none);
    expectMailError(poor.request({.path = "x"}), MailError::Kind::notSignedIn);
    EXPECT_EQ(none->asked, (QList<bool>{false, true}));
    EXPECT_EQ(server.attempts(), 0);
}

// --- Limits

TEST_F(AuthorizedAPITest, FailsAtOnceOnARefusalThatIsNoLimit)
{
    body = R"({"error":{"status":"PERMISSION_DENIED","message":"Not yours"}})";
    answerInTurn({403});
    expectMailError(request({.path = "x"}), MailError::Kind::http, u"Not yours"_s);
    EXPECT_EQ(clock.slept.size(), 0);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(AuthorizedAPITest, WaitsLongerEachTimeAndGivesUpAtTheFourth)
{
    answerInTurn({429, 403, 429, 429, 200});
    body = R"({"error":{"errors":[{"reason":"quotaExceeded"}]}})";
    expectMailError(request({.path = "x"}), MailError::Kind::rateLimited);
    EXPECT_EQ(server.requests().size(), 4);
    ASSERT_EQ(clock.slept.size(), 3);
    for (int attempt = 0; attempt < 3; ++attempt) {
        EXPECT_GE(clock.slept[attempt], std::chrono::seconds(1 << attempt));
        EXPECT_LE(clock.slept[attempt], std::chrono::seconds(1 << attempt) + 500ms);
    }
}

TEST_F(AuthorizedAPITest, WaitsByChance)
{
    QSet<qint64> waits;
    for (int turn = 0; turn < 10; ++turn) {
        answerInTurn({429, 200});
        await(request({.path = "x"}));
        waits.insert(clock.slept.last().count());
    }
    EXPECT_GT(waits.size(), 1) << "of 501 lengths";
}

TEST_F(AuthorizedAPITest, RepeatsTheSamePathWithAFreshTokenEachTime)
{
    answerInTurn({429, 429, 200});
    EXPECT_EQ(await(request({.method = "POST", .path = "x", .query = {{u"a"_s, u"b"_s}}, .body = "z"})),
              body);
    for (const WebRequest& sent : server.requests()) {
        EXPECT_EQ(sent.target, "/base/x?a=b");
        EXPECT_EQ(sent.body, "z");
    }
    EXPECT_EQ(tokens->asked, (QList<bool>{false, false, false}));
}

TEST_F(AuthorizedAPITest, GoesOnWaitingWhereALimitFollowsARefusal)
{
    answerInTurn({401, 429, 200});
    EXPECT_EQ(await(request({.path = "x"})), body);
    EXPECT_EQ(clock.slept.size(), 1);
    EXPECT_EQ(bearers(), (QList<QByteArray>{"Bearer t1", "Bearer t2", "Bearer t2"}));
}

TEST_F(AuthorizedAPITest, MayRenewATokenInEachPass)
{
    answerInTurn({401, 429, 401, 200});
    EXPECT_EQ(await(request({.path = "x"})), body);
    EXPECT_EQ(bearers(), (QList<QByteArray>{"Bearer t1", "Bearer t2", "Bearer t2", "Bearer t3"}));
}

TEST_F(AuthorizedAPITest, EndsItsWaitAsCancelledWhereItIsStopped)
{
    answerInTurn({429});
    clock.isStopped = true;
    expectMailError(request({.path = "x"}), MailError::Kind::cancelled);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(AuthorizedAPITest, RepeatsNothingElse)
{
    for (const int status : {400, 404, 409, 500, 502, 503, 302}) {
        server.forget();
        answerInTurn({status});
        expectMailError(request({.path = "x"}), MailError::Kind::http);
        EXPECT_EQ(server.requests().size(), 1) << status;
    }
    EXPECT_EQ(clock.slept.size(), 0);
}

// --- Answers

TEST_F(AuthorizedAPITest, NeverRepeatsItsTokenInAText)
{
    body = R"({"error":{"message":"Bearer t1 isn't good"}})";
    answerInTurn({400});
    expectMailError(request({.path = "x"}), MailError::Kind::http, u"Bearer … isn't good"_s);
    // Also where its end is cut off.
    body = QByteArray(499, 'x') + "t1";
    answerInTurn({400});
    expectMailError(request({.path = "x"}), MailError::Kind::http, QString());
}

TEST_F(AuthorizedAPITest, ReadsAnEmptyBodyAsAnEmptyObject)
{
    body = "";
    EXPECT_EQ(await(api.requestJSON({.path = "x"})), QJsonObject());
    body = R"({"a":1})";
    EXPECT_EQ(await(api.requestJSON({.path = "x"})), (QJsonObject{{u"a"_s, 1}}));
    body = R"({"a":")" + QByteArray(100'000, 'x') + "\"}";
    EXPECT_EQ(await(api.requestJSON({.path = "x"}))["a"_L1].toString().size(), 100'000);
}

TEST_F(AuthorizedAPITest, FailsOnABodyThatIsNoObject)
{
    for (const QByteArray& bad :
         QList<QByteArray>{"<html>", "[]", "\"a\"", "{\"a\":", QByteArray(100'000, '[')}) {
        body = bad;
        try {
            await(api.requestJSON({.path = "x"}));
            ADD_FAILURE();
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.localizedText(), u"The answer of the mail service can’t be read.");
        }
    }
}

} // namespace
} // namespace Larkhaven
