#include "http/SecureHTTP.h"

#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WebServer.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class SecureHTTPTest : public testing::Test {
protected:
    static HTTPRequest get() { return {"https://api.example/a"}; }

    static HTTPRequest post()
    {
        return {"https://api.example/a",
                "POST",
                {{"Authorization", "Bearer t"}, {"Content-Type", "text/plain"}},
                "text"};
    }

    /// The requests that followed the first one.
    QList<WebRequest> after(HTTPRequest request, const WebReply& redirect, const QByteArray& target = "/a")
    {
        server.forget();
        server.setHandler([=](const WebRequest& asked) {
            return asked.target == target ? redirect : WebReply{200, "arrived"};
        });
        last = await(SecureHTTP::send(std::move(request)));
        return server.requests().sliced(1);
    }

    void answer(int status, const QByteArray& body)
    {
        server.setHandler([=](const WebRequest&) { return WebReply{status, body}; });
    }

    WebServer server{[](const WebRequest&) { return WebReply(); }};
    HTTPResponse last;
};

TEST_F(SecureHTTPTest, RefusesAnythingButHTTPSAsItIsWritten)
{
    for (const QByteArray url : {"", "http://api.example/a", "HTTPS://api.example/a", "Https://api.example/a",
                                 "//api.example/a", "https", "ftp://api.example/a", " https://api.example/a"})
        expectProtocolError(SecureHTTP::send({url}), u"Refusing non-HTTPS request"_s);
    EXPECT_EQ(server.attempts(), 0);
}

// --- Redirects

TEST_F(SecureHTTPTest, FollowsARedirectToTheSameHost)
{
    for (const int status : {301, 302, 303, 307, 308}) {
        const QList<WebRequest> followed =
            after(get(), WebReply::redirect(status, "https://API.example/b?c"));
        ASSERT_EQ(followed.size(), 1) << status;
        EXPECT_EQ(followed[0].target, "/b?c");
        EXPECT_EQ(last.body, "arrived");
    }
    EXPECT_EQ(after(get(), WebReply::redirect(302, "c"))[0].target, "/c") << "relative to the last";
}

TEST_F(SecureHTTPTest, GoesOnWithAGetAfterAPostThatWasDone)
{
    for (const int status : {301, 302, 303}) {
        const QList<WebRequest> followed = after(post(), WebReply::redirect(status, "/b"));
        ASSERT_EQ(followed.size(), 1);
        EXPECT_EQ(followed[0].method, "GET");
        EXPECT_EQ(followed[0].body, "");
        EXPECT_EQ(followed[0].header("content-type"), std::nullopt);
        EXPECT_EQ(followed[0].header("authorization"), "Bearer t");
    }
}

TEST_F(SecureHTTPTest, KeepsMethodAndBodyWhereTheServerAsksForIt)
{
    for (const int status : {307, 308}) {
        const QList<WebRequest> followed = after(post(), WebReply::redirect(status, "/b"));
        ASSERT_EQ(followed.size(), 1);
        EXPECT_EQ(followed[0].method, "POST");
        EXPECT_EQ(followed[0].body, "text");
        EXPECT_EQ(followed[0].header("content-type"), "text/plain");
    }
    HTTPRequest put = post();
    put.method = "PUT";
    EXPECT_EQ(after(put, WebReply::redirect(301, "/b"))[0].method, "PUT");
    EXPECT_EQ(after(put, WebReply::redirect(303, "/b"))[0].method, "GET");
}

TEST_F(SecureHTTPTest, FollowsNoRedirectToAnotherHostOrFromHTTPS)
{
    for (const QByteArray location :
         {"https://other.example/b", "http://api.example/b", "HTTPS://api.example/b",
          "https://api.example.other.example/b", "https://api.example@other.example/b", "//other.example/b",
          "ftp://api.example/b", "https://", "data:,x", ""}) {
        const WebReply redirect = WebReply::redirect(302, location);
        EXPECT_TRUE(after(post(), redirect).isEmpty()) << location.toStdString();
        EXPECT_EQ(last.status, 302);
        expectMailError(SecureHTTP::checked(post()), MailError::Kind::http, u""_s);
    }
}

TEST_F(SecureHTTPTest, FollowsNoRedirectFromTheHostOfTheLastOne)
{
    // The host of the first request counts, also behind others.
    server.setHandler([](const WebRequest& request) {
        return request.target == "/a" ? WebReply::redirect(307, "/b")
                                      : WebReply::redirect(307, "https://other.example/c");
    });
    EXPECT_EQ(await(SecureHTTP::send(post())).status, 307);
    EXPECT_EQ(server.requests().size(), 2);
}

TEST_F(SecureHTTPTest, FollowsSixteenRedirectsAndNoMore)
{
    server.setHandler([](const WebRequest& request) {
        return WebReply::redirect(302, "/" + QByteArray::number(request.target.sliced(1).toInt() + 1));
    });
    EXPECT_EQ(await(SecureHTTP::send(get())).status, 302);
    EXPECT_EQ(server.requests().size(), 17);
}

TEST_F(SecureHTTPTest, TakesNoOtherStatusForARedirect)
{
    for (const int status : {200, 201, 300, 304, 305, 306, 401}) {
        EXPECT_TRUE(after(get(), WebReply::redirect(status, "/b")).isEmpty());
        EXPECT_EQ(last.status, status);
    }
}

// --- Statuses

TEST_F(SecureHTTPTest, GivesTheBodyOfASuccess)
{
    for (const int status : {200, 201, 299}) {
        answer(status, "body");
        EXPECT_EQ(await(SecureHTTP::checked(get())), "body");
    }
}

TEST_F(SecureHTTPTest, TellsFailuresApart)
{
    answer(401, "no");
    expectMailError(SecureHTTP::checked(get()), MailError::Kind::notSignedIn);
    answer(429, "slow down");
    expectMailError(SecureHTTP::checked(get()), MailError::Kind::rateLimited);
    answer(403, R"({"error":{"errors":[{"reason":"userRateLimitExceeded"}]}})");
    expectMailError(SecureHTTP::checked(get()), MailError::Kind::rateLimited);
    answer(403, R"({"error":{"status":"PERMISSION_DENIED"}})");
    expectMailError(SecureHTTP::checked(get()), MailError::Kind::http, u""_s);
    answer(300, "choose");
    expectMailError(SecureHTTP::checked(get()), MailError::Kind::http, u"choose"_s);
    answer(500, "oh");
    try {
        await(SecureHTTP::checked(get()));
        ADD_FAILURE() << "nothing failed";
    } catch (const MailError& error) {
        EXPECT_EQ(error.status(), 500);
    }
}

TEST_F(SecureHTTPTest, NeverRepeatsTheTokenOfItsRequestInAText)
{
    HTTPRequest request = get();
    request.headers = {{"authorization", "Bearer S3CRET"}};
    answer(400, "It said S3CRET.");
    expectMailError(SecureHTTP::checked(request), MailError::Kind::http, u"It said …."_s);
}

TEST(SecureHTTP, KnowsARateLimitByStatusAndWord)
{
    EXPECT_TRUE(SecureHTTP::isRateLimited(429, ""));
    for (const QByteArray word :
         {"rateLimitExceeded", "userRateLimitExceeded", "quotaExceeded", "RESOURCE_EXHAUSTED"}) {
        EXPECT_TRUE(SecureHTTP::isRateLimited(403, "{\"x\":\"" + word + "\"}"));
        EXPECT_FALSE(SecureHTTP::isRateLimited(400, word));
        EXPECT_FALSE(SecureHTTP::isRateLimited(503, word));
    }
    EXPECT_FALSE(SecureHTTP::isRateLimited(403, "resource_exhausted"));
    EXPECT_FALSE(SecureHTTP::isRateLimited(403, ""));
}

TEST(SecureHTTP, LooksForARateLimitWithinFourThousandBytesOfUTF8)
{
    const QByteArray word = "quotaExceeded";
    const QByteArray before(4000 - word.size(), 'x');
    EXPECT_TRUE(SecureHTTP::isRateLimited(403, before + word));
    EXPECT_FALSE(SecureHTTP::isRateLimited(403, before + 'x' + word));
    // The bytes end within a character: nothing is said.
    const QByteArray padded = word + QByteArray(3999 - word.size(), 'x');
    EXPECT_FALSE(SecureHTTP::isRateLimited(403, padded + "\xc3\xa9"));
    EXPECT_TRUE(SecureHTTP::isRateLimited(403, padded.chopped(1) + "\xc3\xa9"));
    EXPECT_FALSE(SecureHTTP::isRateLimited(403, word + '\xff'));
}

TEST(SecureHTTP, TakesTheMessageOfAnErrorObject)
{
    EXPECT_EQ(SecureHTTP::message(R"({"error":{"code":404,"message":"Not Found"}})"), u"Not Found"_s);
    EXPECT_EQ(SecureHTTP::message(R"({"error":"invalid_client"})"), u"invalid_client"_s);
    EXPECT_EQ(SecureHTTP::message(QByteArray(R"({"error":{"message":")") + QByteArray(501, 'm') + "\"}}"),
              QString(500, u'm'));
}

TEST(SecureHTTP, ShowsNobodyRawJSONOrHTML)
{
    for (const QByteArray body :
         {R"({"error":{"status":"PERMISSION_DENIED"}})", R"({"error":{"message":7}})",
          R"({"error":{"message":"{\"a\":[1]}"}})", R"({"error":{"message":" <b>No</b>"}})", R"([1,2])",
          R"( {"a":1})", "{\"cut", "<html><p>Bad</p></html>", ")]}'\n{\"a\":1}", "\r\n<!DOCTYPE html>",
          "<?xml version=\"1.0\"?>"})
        EXPECT_EQ(SecureHTTP::message(body), u""_s) << body.toStdString();
}

TEST(SecureHTTP, TakesTheFirst500BytesOfAnyOtherBody)
{
    EXPECT_EQ(SecureHTTP::message("Bad gateway"), u"Bad gateway"_s);
    EXPECT_EQ(SecureHTTP::message(QByteArray(600, 'x')), QString(500, u'x'));
    EXPECT_EQ(SecureHTTP::message(QByteArray(499, 'x') + "\xc3\xa9"), u""_s);
    EXPECT_EQ(SecureHTTP::message(QByteArray(498, 'x') + "\xc3\xa9"), QString(498, u'x') + u'é');
    EXPECT_EQ(SecureHTTP::message("\xff"), u""_s);
    EXPECT_EQ(SecureHTTP::message(""), u""_s);
}

TEST(SecureHTTP, WritesAFormSortedAndWithEachBlankEncoded)
{
    EXPECT_EQ(SecureHTTP::formBody({{u"b"_s, u"x y+z"_s}, {u"a"_s, u"-._~é&="_s}, {u"c d"_s, u""_s}}),
              "a=-._~%C3%A9%26%3D&b=x%20y%2Bz&c%20d=");
    EXPECT_EQ(SecureHTTP::formBody({}), "");
}

TEST(SecureHTTP, WritesAQueryInItsOrderWithNoPlusAndNoBlank)
{
    EXPECT_EQ(SecureHTTP::query({{u"b"_s, u"x+y z"_s}, {u"a&"_s, u"=;#%"_s}, {u"b"_s, u"ä/?:@!$'()*,"_s}}),
              "b=x%2By%20z&a%26=%3D%3B%23%25&b=%C3%A4/?:@!$'()*,");
    EXPECT_EQ(SecureHTTP::query({}), "");
}

} // namespace
} // namespace Larkhaven
