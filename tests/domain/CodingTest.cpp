#include "domain/Coding.h"

#include "support/QtPrinters.h"

#include <functional>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

QString failureOf(const std::function<void()>& read)
{
    try {
        read();
    } catch (const DecodingError& error) {
        return error.localizedText();
    }
    return {};
}

TEST(Coding, RefusesWhatIsNoJSON)
{
    for (const QByteArray text : {"", "{", "{\"a\":}", "[1,]", "{} x"})
        EXPECT_EQ(failureOf([&text] { Coding::parse(text); }), u"The stored data isn't valid JSON.")
            << text.toStdString();
    EXPECT_TRUE(Coding::parse("[1]").isArray());
    EXPECT_TRUE(Coding::parse("{}").isObject());
}

TEST(Coding, TakesNullForAMissingValue)
{
    const QJsonObject stored{{u"a"_s, QJsonValue::Null}};
    for (const auto key : {"a"_L1, "b"_L1}) {
        const QString missing = u"The stored value “%1” is missing."_s.arg(key);
        EXPECT_EQ(failureOf([&] { Coding::string(stored, key); }), missing);
        EXPECT_EQ(failureOf([&] { Coding::integer(stored, key); }), missing);
        EXPECT_EQ(failureOf([&] { Coding::boolean(stored, key); }), missing);
        EXPECT_EQ(Coding::optionalString(stored, key), std::nullopt);
    }
    EXPECT_EQ(failureOf([] {
                  Coding::string({{u"a"_s, 1}}, "a"_L1);
              }),
              u"The stored value “a” can't be read.");
}

} // namespace
} // namespace Larkhaven
