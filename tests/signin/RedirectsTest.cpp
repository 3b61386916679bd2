#include "app/signin/Redirects.h"

#include "app/signin/SignInService.h"
#include "app/signin/WebAuthenticator.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const Info info({{InfoKey::googleClientID, u"12-ab.apps.example.com"_s},
                 {InfoKey::microsoftClientID, u"x"_s}});
const QString google = u"com.example.apps.12-ab:/oauthredirect?code=secret&state=s"_s;
const QString microsoft = u"MSAUTH.com.tundra42.larkhaven://auth?code=secret&state=s"_s;

Task<std::shared_ptr<BrowserSession>> open(QByteArray, std::stop_token)
{
    co_return std::make_shared<BrowserSession>();
}

TEST(Redirects, AreKnownByTheSchemesOfTheBuild)
{
    EXPECT_TRUE(SignInService::isRedirect(google, info));
    EXPECT_TRUE(SignInService::isRedirect(microsoft, info));
    for (const QString& other :
         {u"https://x"_s, u"com.example.apps.12-ab"_s, u"com.example.apps.12-abc:/"_s, u":"_s, u""_s, u"x"_s})
        EXPECT_FALSE(SignInService::isRedirect(other, info)) << qPrintable(other);
    EXPECT_FALSE(SignInService::isRedirect(google, Info()));
    EXPECT_TRUE(SignInService::isRedirect(microsoft, Info())) << "the desktop brings it here in any case";
}

TEST(Redirects, AreWipedOffTheListOfArguments)
{
    QByteArrayList words{"larkhaven", google.toUtf8(), "--platform", microsoft.toUtf8()};
    QList<char*> arguments;
    for (QByteArray& word : words)
        arguments.append(word.data());
    EXPECT_EQ(Redirects::takeFrom(4, arguments.data(), info), QStringList({google, microsoft}));
    EXPECT_EQ(words, (QByteArrayList{"larkhaven", QByteArray(google.size(), '\0'), "--platform",
                                     QByteArray(microsoft.size(), '\0')}));
}

TEST(Redirects, GoToTheSignInUnderWayAndShowNoWindow)
{
    WebAuthenticator authenticator(open);
    EXPECT_FALSE(Redirects::deliver({google}, info, authenticator)) << "nobody waits for it";
    Begun<QByteArray> signIn(authenticator.authenticate("https://x/?state=s", u"com.example.apps.12-ab"_s));
    EXPECT_FALSE(Redirects::deliver({microsoft}, info, authenticator)) << "another service's";
    EXPECT_TRUE(authenticator.isUnderWay());
    EXPECT_FALSE(Redirects::deliver({google}, info, authenticator));
    EXPECT_EQ(signIn.get(), google.toUtf8());
}

TEST(Redirects, ShowTheProgramWhereAnythingElseIsAskedFor)
{
    WebAuthenticator authenticator(open);
    EXPECT_TRUE(Redirects::deliver({}, info, authenticator));
    EXPECT_TRUE(Redirects::deliver({u"file"_s}, info, authenticator));
    EXPECT_TRUE(Redirects::deliver({google, u"file"_s}, info, authenticator));
}

} // namespace
} // namespace Larkhaven
