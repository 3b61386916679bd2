#include "app/signin/WebAuthenticator.h"

#include "domain/MailError.h"
#include "platform/Wakeup.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

const QByteArray page = "https://x.example/authorize?client_id=c&state=one&code_challenge=h";
const QByteArray redirect = "com.example.app:/oauthredirect?state=one&code=secret";
const QString refusal = u"Could not open the sign-in window."_s;

class FakeBrowser final : public BrowserSession {
public:
    explicit FakeBrowser(int& open)
        : m_open(open)
    {
        ++m_open;
    }
    ~FakeBrowser() override { --m_open; }

private:
    int& m_open;
};

class WebAuthenticatorTest : public testing::Test {
protected:
    Begun<QByteArray> begin(const QByteArray& url = page, std::stop_token stop = {})
    {
        return Begun<QByteArray>(authenticator->authenticate(url, u"com.example.APP"_s, stop));
    }
    Task<std::shared_ptr<BrowserSession>> openBrowser(QByteArray url, std::stop_token stop)
    {
        urls.append(url);
        if (isSlow)
            co_await slowness.wait(10s);
        wasStopped = stop.stop_requested();
        if (cannotOpen)
            throw MailError::authFailed(refusal);
        const auto made = std::make_shared<FakeBrowser>(openBrowsers);
        browser = made;
        co_return std::shared_ptr<BrowserSession>(made);
    }
    void expectCancelled(Begun<QByteArray>& signIn)
    {
        try {
            signIn.get();
            ADD_FAILURE() << "it should have been cancelled";
        } catch (const MailError& error) {
            EXPECT_EQ(error.kind(), MailError::Kind::cancelled);
        }
        EXPECT_EQ(openBrowsers, 0);
        EXPECT_FALSE(authenticator->isUnderWay());
    }
    void expectNoWindow(Begun<QByteArray>& signIn)
    {
        try {
            signIn.get();
            ADD_FAILURE() << "it should have failed";
        } catch (const MailError& error) {
            EXPECT_EQ(error.kind(), MailError::Kind::authFailed);
            EXPECT_EQ(error.text(), refusal);
        }
        EXPECT_EQ(openBrowsers, 0);
    }

    QByteArrayList urls;
    int openBrowsers = 0;
    bool cannotOpen = false;
    bool isSlow = false;
    bool wasStopped = false;
    Wakeup slowness;
    std::weak_ptr<FakeBrowser> browser;
    std::unique_ptr<WebAuthenticator> authenticator = std::make_unique<WebAuthenticator>(
        [this](const QByteArray& url, const std::stop_token& stop) { return openBrowser(url, stop); });
};

TEST_F(WebAuthenticatorTest, GivesTheRedirectAndClosesTheBrowser)
{
    Begun<QByteArray> signIn = begin();
    EXPECT_EQ(urls, QByteArrayList{page});
    EXPECT_TRUE(authenticator->isUnderWay());
    EXPECT_EQ(openBrowsers, 1);
    EXPECT_TRUE(authenticator->takeRedirect(redirect));
    EXPECT_EQ(signIn.get(), redirect);
    EXPECT_EQ(openBrowsers, 0);
    EXPECT_FALSE(authenticator->isUnderWay());
}

TEST_F(WebAuthenticatorTest, IsCancelledWhereTheUserClosesTheBrowser)
{
    Begun<QByteArray> signIn = begin();
    Q_EMIT browser.lock()->closed();
    EXPECT_FALSE(authenticator->takeRedirect(redirect)) << "the first outcome counts";
    expectCancelled(signIn);
}

TEST_F(WebAuthenticatorTest, IsCancelledWhereTheUserGivesUp)
{
    std::stop_source user;
    Begun<QByteArray> signIn = begin(page, user.get_token());
    user.request_stop();
    EXPECT_FALSE(authenticator->takeRedirect(redirect));
    expectCancelled(signIn);
}

TEST_F(WebAuthenticatorTest, OpensNothingWhereTheUserHasGivenUpBefore)
{
    std::stop_source user;
    user.request_stop();
    Begun<QByteArray> signIn = begin(page, user.get_token());
    expectCancelled(signIn);
    EXPECT_TRUE(urls.isEmpty());
}

TEST_F(WebAuthenticatorTest, IsCancelledWhereNoRedirectEverComes)
{
    authenticator = std::make_unique<WebAuthenticator>(
        [this](const QByteArray& url, const std::stop_token& stop) { return openBrowser(url, stop); }, 20ms);
    Begun<QByteArray> signIn = begin();
    expectCancelled(signIn);
    EXPECT_EQ(WebAuthenticator::longestWait, 10min);
}

TEST_F(WebAuthenticatorTest, KeepsTheRedirectWhereTheUserGivesUpBehindIt)
{
    std::stop_source user;
    Begun<QByteArray> signIn = begin(page, user.get_token());
    EXPECT_TRUE(authenticator->takeRedirect(redirect));
    user.request_stop();
    Q_EMIT browser.lock()->closed();
    EXPECT_EQ(signIn.get(), redirect);
}

TEST_F(WebAuthenticatorTest, IsCancelledWhereTheProgramEnds)
{
    Begun<QByteArray> signIn = begin();
    authenticator.reset();
    EXPECT_EQ(openBrowsers, 0) << "at once: there may be no event loop any more";
    EXPECT_THROW(signIn.get(), MailError);
}

TEST_F(WebAuthenticatorTest, SaysSoWhereNoBrowserCanBeOpened)
{
    cannotOpen = true;
    Begun<QByteArray> signIn = begin();
    expectNoWindow(signIn);
}

TEST_F(WebAuthenticatorTest, SaysSoWhereTheBrowserFailsAtOnce)
{
    Begun<QByteArray> signIn = begin();
    Q_EMIT browser.lock()->failed();
    expectNoWindow(signIn);
}

TEST_F(WebAuthenticatorTest, ClosesABrowserThatComesUpTooLate)
{
    isSlow = true;
    std::stop_source user;
    Begun<QByteArray> signIn = begin(page, user.get_token());
    user.request_stop();
    expectCancelled(signIn);
    slowness.notify();
    settle();
    EXPECT_TRUE(wasStopped);
    EXPECT_EQ(openBrowsers, 0);
}

TEST_F(WebAuthenticatorTest, TakesARedirectBeforeTheBrowserIsUp)
{
    isSlow = true;
    Begun<QByteArray> signIn = begin();
    EXPECT_TRUE(authenticator->takeRedirect(redirect));
    EXPECT_EQ(signIn.get(), redirect);
    slowness.notify();
    settle();
    EXPECT_EQ(openBrowsers, 0);
}

// --- What isn't taken

TEST_F(WebAuthenticatorTest, TakesNoRedirectWhileNoSignInIsUnderWay)
{
    EXPECT_FALSE(authenticator->takeRedirect(redirect));
    Begun<QByteArray> signIn = begin();
    EXPECT_FALSE(signIn.isDone());
    EXPECT_TRUE(authenticator->takeRedirect(redirect));
    signIn.get();
    EXPECT_FALSE(authenticator->takeRedirect(redirect));
}

TEST_F(WebAuthenticatorTest, TakesNoSecondRedirectOfTheSameState)
{
    Begun<QByteArray> signIn = begin();
    EXPECT_TRUE(authenticator->takeRedirect(redirect));
    EXPECT_FALSE(authenticator->takeRedirect("com.example.app:/oauthredirect?state=one&code=other"));
    EXPECT_EQ(signIn.get(), redirect);
}

TEST_F(WebAuthenticatorTest, TakesNoRedirectOfASignInThatHasEnded)
{
    Begun<QByteArray> first = begin();
    Q_EMIT browser.lock()->closed();
    expectCancelled(first);
    Begun<QByteArray> second = begin("https://x.example/authorize?state=two");
    EXPECT_FALSE(authenticator->takeRedirect(redirect));
    EXPECT_FALSE(authenticator->takeRedirect("com.example.app:/?code=x&state=%6Fne#state=two"));
    EXPECT_TRUE(authenticator->takeRedirect("com.example.app:/?state=two"));
    second.get();
}

TEST_F(WebAuthenticatorTest, HandsAStrangeStateOnToWhoeverValidatesIt)
{
    Begun<QByteArray> signIn = begin();
    EXPECT_TRUE(authenticator->takeRedirect("com.example.app:/?state=strange&code=x"));
    EXPECT_EQ(signIn.get(), "com.example.app:/?state=strange&code=x");
}

TEST_F(WebAuthenticatorTest, TakesNoErrorFromWhoeverDoesNotKnowTheState)
{
    Begun<QByteArray> signIn = begin();
    for (const char* url : {"com.example.app:/?error=access_denied",
                            "com.example.app:/?error=x&error_description=Call+us&state=two",
                            "com.example.app:/?code=c&%65rror=x", "com.example.app:/?error"})
        EXPECT_FALSE(authenticator->takeRedirect(url)) << url;
    EXPECT_TRUE(authenticator->takeRedirect("com.example.app:/?error=access_denied&state=one"));
    EXPECT_EQ(signIn.get(), "com.example.app:/?error=access_denied&state=one");
}

TEST_F(WebAuthenticatorTest, TakesNothingOfAnotherSchemeAndNothingTooLong)
{
    Begun<QByteArray> signIn = begin();
    for (const char* url : {"https://x/?state=one", "com.example.app", ":com.example.app:", "",
                            "com.example.app2:/?state=one", "\xFF:/?state=one"})
        EXPECT_FALSE(authenticator->takeRedirect(url)) << url;
    const QByteArray longest = (redirect + QByteArray(8192, 'x')).first(8192);
    EXPECT_FALSE(authenticator->takeRedirect(longest + 'x'));
    EXPECT_TRUE(authenticator->takeRedirect(longest));
    EXPECT_EQ(signIn.get(), longest);
}

TEST_F(WebAuthenticatorTest, RunsOneSignInAtATime)
{
    Begun<QByteArray> first = begin();
    Begun<QByteArray> second = begin("https://x.example/authorize?state=two");
    EXPECT_TRUE(second.isDone());
    EXPECT_THROW(second.get(), MailError);
    EXPECT_EQ(urls.size(), 1);
    EXPECT_TRUE(authenticator->takeRedirect(redirect));
    EXPECT_EQ(first.get(), redirect);
}

} // namespace
} // namespace Larkhaven
