#include "domain/MailError.h"
#include "model/AppModel.h"
#include "platform/Tasks.h"
#include "support/Await.h"
#include "support/GoogleServices.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"

#include <atomic>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// The model over the real sign-in, tokens and Gmail provider, which speak to doubles of the services.

namespace Larkhaven {
namespace {

/// Counts what reaches the keyring.
class CountingStore final : public SecretStore {
public:
    std::optional<Credential> load(const QUuid& accountID) override { return items.load(accountID); }
    void save(const Credential& credential, const QUuid& accountID) override
    {
        ++saves;
        items.save(credential, accountID);
    }
    void remove(const QUuid& accountID) override { items.remove(accountID); }

    InMemorySecretStore items;
    std::atomic<int> saves = 0;
};

class ModelServicesTest : public testing::Test {
protected:
    ModelServicesTest()
    {
        for (const char* subject : {"One", "Two", "Three"})
            services.mailbox().insert(
                {.raw = "From: Ann <ann@example.org>\r\nSubject: " + QByteArray(subject) +
                        "\r\nContent-Type: text/plain\r\n\r\nText\r\n",
                 .labelIds = {u"INBOX"_s, u"UNREAD"_s}});
        fixture.setInfo(ModelFixture::info());
        fixture.setSecrets(secrets);
        fixture.setSignIn(
            [this](ProviderKind provider, const QUuid& accountID, const std::optional<QString>& hint,
                   const std::stop_token& stop) { return signIn(provider, accountID, hint, stop); });
        fixture.setRevocation([this] {
            return SignInService::revoke(fixture.revocations().last().first,
                                         fixture.revocations().last().second);
        });
        fixture.restart();
    }
    void TearDown() override { EXPECT_EQ(services.violations(), QStringList()); }

    Task<SignInService::SignedIn> signIn(ProviderKind provider, const QUuid& accountID,
                                         const std::optional<QString>& hint, const std::stop_token& stop)
    {
        services.google().setExpectedHint(hint);
        const auto browse = [this](const QByteArray& url, const QString&, const std::stop_token&) {
            return redirect(url);
        };
        const auto nobody = [](const QString&, int, bool) { return noServer(); };
        return SignInService::signIn(provider, {ModelFixture::info(), browse, nobody}, accountID, hint, stop);
    }
    Task<QByteArray> redirect(QByteArray url) { co_return services.authorize(url); }
    static Task<std::shared_ptr<MailTransport>> noServer()
    {
        throw MailError::connectionClosed();
        co_return std::shared_ptr<MailTransport>();
    }

    AppModel& model() { return fixture.model(); }
    /// Adds the account by a sign-in, and waits for its Inbox.
    void addAccount()
    {
        await(model().signIn(ProviderKind::google));
        ASSERT_EQ(model().accounts().size(), 1);
        id = model().accounts().first().id;
        ASSERT_TRUE(waitUntil([this] { return isQuiet() && model().messages().size() == 3; }));
    }
    bool isQuiet() { return !model().isLoading() && services.inFlight() == 0; }
    QString storedToken()
    {
        const std::optional<Credential> stored = secrets->items.load(id);
        return stored && stored->tokens() ? stored->tokens()->accessToken : QString();
    }
    /// Handles events for as long.
    static void pass(std::chrono::milliseconds time)
    {
        waitUntil([] { return false; }, time);
    }
    /// All that the model asks a service for by itself.
    void askForAll()
    {
        await(model().refresh());
        await(model().load(0, true));
        await(model().loadLabels(id));
        await(model().loadCounts(id));
    }

    GoogleServices services{u"mia@gmail.com"_s};
    std::shared_ptr<CountingStore> secrets = std::make_shared<CountingStore>();
    ModelFixture fixture{QList<Account>{}};
    QUuid id;
};

TEST_F(ModelServicesTest, ListsTheInboxOfAnAccountThatHasJustSignedIn)
{
    addAccount();
    EXPECT_EQ(model().accounts().first().email, u"mia@gmail.com");
    EXPECT_EQ(model().messages().first().subject, u"Three");
    EXPECT_EQ(secrets->saves, 1);
    EXPECT_EQ(services.google().exchanges(), 1);
    EXPECT_EQ(services.google().refreshes(), 0);
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(ModelServicesTest, ListsItAgainAfterARestartWithoutSigningIn)
{
    addAccount();
    fixture.restart();
    await(model().begin());
    EXPECT_TRUE(waitUntil([this] { return model().messages().size() == 3; }));
    EXPECT_EQ(services.google().authorizations(), 1);
    EXPECT_EQ(services.google().refreshes(), 0);
}

TEST_F(ModelServicesTest, RenewsAnExpiredTokenOnceAndStoresItBeforeItIsUsed)
{
    addAccount();
    const QString before = storedToken();
    services.expireTokens();
    services.setHook([this, before](const WebRequest& request) {
        const QByteArray token = request.header("authorization").value_or(QByteArray()).mid(7);
        if (services.google().state(token) == OAuthDouble::Token::valid) {
            EXPECT_EQ(storedToken().toUtf8(), token);
        }
        return std::optional<WebReply>();
    });
    askForAll();
    EXPECT_EQ(services.google().refreshes(), 1);
    EXPECT_NE(storedToken(), before);
    EXPECT_FALSE(model().errorMessage());
    EXPECT_TRUE(model().needsReauth().isEmpty());
}

TEST_F(ModelServicesTest, RenewsItOnceAlsoWhereCachesAreClearedMeanwhile)
{
    addAccount();
    services.expireTokens();
    Begun<void> before(model().load(0, true));
    Begun<void> clearing(model().clearCaches());
    before.get();
    clearing.get();
    askForAll();
    EXPECT_EQ(services.google().refreshes(), 1);
}

TEST_F(ModelServicesTest, MarksAnAccountWhoseGrantIsGoneAndRaisesNoAlert)
{
    addAccount();
    int alerts = 0;
    QObject::connect(&model(), &AppModel::errorMessageChanged, [&alerts] { ++alerts; });
    int marks = 0;
    QObject::connect(&model(), &AppModel::needsReauthChanged, [&marks] { ++marks; });
    services.revokeGrant();
    askForAll();
    model().toggleStarred(model().messages());
    askForAll();
    settle();
    EXPECT_TRUE(model().needsReauth().contains(id));
    EXPECT_EQ(marks, 1);
    EXPECT_EQ(alerts, 0);
    EXPECT_EQ(model().messages().size(), 3) << "what is known stays";
}

TEST_F(ModelServicesTest, ListsAgainWhereTheAccountIsSignedInAnew)
{
    addAccount();
    services.revokeGrant();
    askForAll();
    ASSERT_TRUE(model().needsReauth().contains(id));
    model().signInAgain(model().accounts().first(), [] {});
    ASSERT_TRUE(waitUntil([this] { return !model().isSigningIn(); }));
    askForAll();
    EXPECT_TRUE(model().needsReauth().isEmpty());
    EXPECT_EQ(model().messages().size(), 3);
    EXPECT_EQ(model().accounts().size(), 1);
    EXPECT_EQ(services.google().authorizations(), 2);
}

TEST_F(ModelServicesTest, StoresNoTokenOfTheOldGrantOverThatOfTheNewOne)
{
    addAccount();
    services.expireTokens();
    // The refresh of the old grant is answered when the new one is stored long ago.
    services.setAfterHook([](const WebRequest& request, WebReply reply) {
        if (request.body.contains("grant_type=refresh_token"))
            reply.delay = 1'500;
        return reply;
    });
    Begun<void> loading(model().load(0, true));
    ASSERT_TRUE(waitUntil([this] { return services.google().refreshes() == 1; }));
    await(model().signIn(ProviderKind::google));
    const QString renewed = storedToken();
    EXPECT_EQ(services.google().state(renewed.toUtf8()), OAuthDouble::Token::valid);
    EXPECT_EQ(secrets->saves, 2);
    pass(2s);
    EXPECT_EQ(storedToken(), renewed);
    EXPECT_EQ(secrets->saves, 2);
    loading.get();
    askForAll();
    EXPECT_EQ(services.google().refreshes(), 1);
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(ModelServicesTest, GoesOnWithTheOldGrantWhereARenewalIsGivenUp)
{
    addAccount();
    const QString before = storedToken();
    model().signInAgain(model().accounts().first(), [] {});
    model().cancelSignIn();
    ASSERT_TRUE(waitUntil([this] { return !model().isSigningIn(); }));
    EXPECT_EQ(storedToken(), before);
    askForAll();
    EXPECT_TRUE(model().needsReauth().isEmpty());
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(ModelServicesTest, TakesTheGrantOfARemovedAccountBack)
{
    addAccount();
    const QString token = storedToken();
    await(model().removeAccount(id));
    EXPECT_TRUE(waitUntil([this] { return services.google().revocations() == 1; }));
    EXPECT_EQ(services.google().state(token.toUtf8()), OAuthDouble::Token::expired);
    EXPECT_FALSE(secrets->items.load(id));
    EXPECT_TRUE(model().accounts().isEmpty());
}

TEST_F(ModelServicesTest, BringsNoCredentialBackByARefreshThatARemovalOvertakes)
{
    addAccount();
    services.expireTokens();
    services.setAfterHook([](const WebRequest& request, WebReply reply) {
        if (request.body.contains("grant_type=refresh_token"))
            reply.delay = 1'000;
        return reply;
    });
    Begun<void> loading(model().load(0, true));
    ASSERT_TRUE(waitUntil([this] { return services.google().refreshes() == 1; }));
    await(model().removeAccount(id));
    pass(1'500ms);
    EXPECT_FALSE(secrets->items.load(id));
    EXPECT_EQ(secrets->saves, 1);
    EXPECT_FALSE(model().errorMessage());
    loading.get();
}

TEST_F(ModelServicesTest, TellsNoSecretInAnyTextOfAFailure)
{
    addAccount();
    const QList<QByteArray> answers{R"({"error":"server_error","error_description":"no"})", "<html>no</html>",
                                    "{", R"({"access_token":5})"};
    for (const QByteArray& answer : answers) {
        services.expireTokens();
        services.setHook([answer](const WebRequest& request) {
            return request.target == "/token"
                       ? std::optional(WebReply{.status = answer.startsWith("{\"e") ? 400 : 200,
                                                .body = answer + request.body})
                       : std::nullopt;
        });
        model().clearErrorMessage();
        model().toggleStarred({model().messages().first()});
        ASSERT_TRUE(waitUntil([this] { return model().errorMessage().has_value(); })) << answer.constData();
        const QString text = model().errorMessage().value_or(QString());
        for (const QByteArray& secret : services.google().secrets())
            EXPECT_FALSE(text.contains(QString::fromUtf8(secret))) << qPrintable(text);
        EXPECT_FALSE(text.contains(u'{')) << qPrintable(text);
        EXPECT_FALSE(text.contains(u'<')) << qPrintable(text);
    }
}

} // namespace
} // namespace Larkhaven
