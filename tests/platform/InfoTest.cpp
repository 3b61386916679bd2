#include "app/platform/Info.h"

#include "support/QtPrinters.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

Info with(const QString& value)
{
    return Info({{QString(InfoKey::googleClientID), value}});
}

TEST(Info, TakesAVariableThatNobodyFilledInForNothing)
{
    EXPECT_FALSE(with(u"$(GOOGLE_CLIENT_ID)"_s).configured(InfoKey::googleClientID));
    EXPECT_FALSE(with(u"x$(y)"_s).configured(InfoKey::googleClientID));
}

TEST(Info, TakesBlanksForNothing)
{
    EXPECT_FALSE(with(u""_s).configured(InfoKey::googleClientID));
    EXPECT_FALSE(with(u" \t "_s).configured(InfoKey::googleClientID));
    EXPECT_FALSE(Info().configured(InfoKey::googleClientID));
}

TEST(Info, GivesAValueAsItStands)
{
    EXPECT_EQ(with(u" a.b "_s).configured(InfoKey::googleClientID), u" a.b "_s);
    EXPECT_EQ(with(u"$a(b)"_s).configured(InfoKey::googleClientID), u"$a(b)"_s);
}

TEST(Info, ReadsNothingButTexts)
{
    const Info info = Info::fromJSON(R"({"LHGoogleClientID": 5, "LHMicrosoftClientID": "m"})");
    EXPECT_FALSE(info.configured(InfoKey::googleClientID));
    EXPECT_EQ(info.configured(InfoKey::microsoftClientID), u"m"_s);
    EXPECT_FALSE(Info::fromJSON(R"(["LHGoogleClientID"])").configured(InfoKey::googleClientID));
    EXPECT_FALSE(Info::fromJSON("{").configured(InfoKey::googleClientID));
}

TEST(Info, NamesTheApplicationWhereTheBuildDoesNot)
{
    EXPECT_EQ(Info().bundleIdentifier(), u"com.tundra42.larkhaven");
    EXPECT_EQ(Info({{u"LHBundleIdentifier"_s, u"org.example.fork"_s}}).bundleIdentifier(),
              u"org.example.fork");
}

TEST(Info, IsPartOfTheProgram)
{
    EXPECT_EQ(Info::ofProgram().configured(InfoKey::bundleIdentifier), u"com.tundra42.larkhaven"_s);
}

/// What a build reads from a file of these lines.
Info built(const QByteArray& secrets)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"Secrets.xcconfig"_s));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(secrets);
    file.close();
    const QString output = folder.filePath(u"Info.json"_s);
    EXPECT_EQ(QProcess::execute(u"cmake"_s, {u"-DSECRETS="_s + file.fileName(), u"-DOUTPUT="_s + output,
                                             u"-P"_s, QStringLiteral(SECRETS_SCRIPT)}),
              0);
    QFile info(output);
    EXPECT_TRUE(info.open(QIODevice::ReadOnly));
    return Info::fromJSON(info.readAll());
}

TEST(Info, IsBuiltFromTheFileOfSecrets)
{
    const Info info = built("// GOOGLE_CLIENT_ID = no\n"
                            "GOOGLE_CLIENT_ID = earlier\n"
                            "  GOOGLE_CLIENT_ID = 123-abc.apps.example // mine\n"
                            "MICROSOFT_CLIENT_ID=0f3a;\"\\\r\n"
                            "OTHER = x\n");
    EXPECT_EQ(info.configured(InfoKey::googleClientID), u"123-abc.apps.example"_s);
    EXPECT_EQ(info.configured(InfoKey::microsoftClientID), u"0f3a;\"\\"_s);
}

TEST(Info, HasNoClientWhereTheFileOfSecretsIsTheSample)
{
    QFile sample(QStringLiteral(SECRETS_SAMPLE));
    ASSERT_TRUE(sample.open(QIODevice::ReadOnly));
    const Info info = built(sample.readAll());
    EXPECT_FALSE(info.configured(InfoKey::googleClientID));
    EXPECT_FALSE(info.configured(InfoKey::microsoftClientID));
    EXPECT_EQ(info.configured(InfoKey::bundleIdentifier), u"com.tundra42.larkhaven"_s);
}

} // namespace
} // namespace Larkhaven
