#include "Hostile.h"
#include "safety/HTMLSanitizer.h"
#include "safety/LinkCleaner.h"
#include "safety/LinkWarnings.h"
#include "safety/MailURL.h"
#include "safety/PublicSuffixes.h"
#include "safety/ShownHosts.h"
#include "safety/URLHost.h"

// Links, hosts and trackers.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {

namespace {

/// What begins so, again and again behind it.
Made<QString> behind(const QString& start, const QString& piece)
{
    const Made<QString> repeated = many(piece);
    return {many(start).name + u" and "_s + repeated.name,
            [=](qsizetype size) { return start + filled(piece, size - start.size()); }};
}

std::vector<Made<QString>> urls()
{
    std::vector<Made<QString>> texts{
        {u"parameters"_s,
         [](qsizetype size) {
             return u"https://x.example/?"_s +
                    numberedText(size - 20, [](int number) { return u"utm_%1=a&b%1=c&"_s.arg(number); });
         }},
        {u"a scheme without end"_s, [](qsizetype size) { return QString(size, u'a'); }},
        {u"an address of zeros"_s,
         [](qsizetype size) { return u"https://["_s + filled(u"0:"_s, size - 12) + u"]/"_s; }},
        {u"a port without end"_s,
         [](qsizetype size) { return u"https://x.example:"_s + QString(size - 20, u'0') + u"/"_s; }},
        {u"layers of percent"_s,
         [](qsizetype size) { return u"https://x.example/?u=%"_s + filled(u"25"_s, size - 30) + u"3D"_s; }},
    };
    for (const QString& piece :
         {u"a"_s,        u"."_s,      u"a."_s,     u"-"_s,      u"xn--"_s,   u"xn--a."_s, u"\u00e4"_s,
          u"\u00e4."_s,  u"\u0130"_s, u"\u0301"_s, u"%"_s,      u"%25"_s,    u"%2"_s,     u"%c3%a4"_s,
          u"%2e"_s,      u"@"_s,      u"a@"_s,     u":"_s,      u"a:b@"_s,   u"["_s,      u"[:"_s,
          u"0."_s,       u"0x"_s,     u"1"_s,      u"\u3002"_s, u"\u00ad"_s, u"\u200d"_s, u"\u05d0"_s,
          u"a\u05d0."_s, u"\\"_s,     u" "_s})
        texts.push_back(behind(u"https://"_s, piece));
    for (const QString& piece :
         {u"/"_s,      u"%"_s,       u"%25"_s,  u"?"_s,   u"#"_s,         u"&"_s,        u"="_s,
          u"utm_a&"_s, u"utm_a=&"_s, u"a=b;"_s, u"%26"_s, u"%75tm_a=&"_s, u"\u0130=&"_s, u"\u00e4"_s,
          u"["_s,      u"'"_s,       u"\\"_s,   u"../"_s, u"https://"_s,  u"/open"_s,    u"pixel"_s})
        texts.push_back(behind(u"https://a.b@x.example/?"_s, piece));
    for (const QString& piece : {u"?"_s, u"@"_s, u"%40"_s, u"&to="_s})
        texts.push_back(behind(u"mailto:"_s, piece));
    return texts;
}

std::vector<Made<QString>> linkTexts()
{
    std::vector<Made<QString>> texts{
        {u"hosts of one owner"_s,
         [](qsizetype size) {
             return numberedText(size, [](int number) { return u"a%1.x.example "_s.arg(number); });
         }},
        {u"names that are no host"_s,
         [](qsizetype size) {
             return numberedText(size, [](int number) { return u"a%1.b%1.invalid "_s.arg(number); });
         }},
        {u"names of umlauts"_s,
         [](qsizetype size) {
             return numberedText(size, [](int number) { return u"\u00e4%1.invalid "_s.arg(number); });
         }},
    };
    for (const QString& piece :
         {u"a"_s,          u"."_s,          u"a."_s,       u"a.b."_s,     u"\u00e4."_s,    u"\u00e4.b "_s,
          u"\u3002"_s,     u"https:"_s,     u"//"_s,       u"https://"_s, u"www."_s,       u"@"_s,
          u"a@b."_s,       u"a@"_s,         u"main.rs "_s, u"here.It "_s, u"\u200b"_s,     u"a\u200b."_s,
          u"\u0301"_s,     u"\u0130"_s,     u"\u0130."_s,  u"\u6f22."_s,  u"\u6f22.com"_s, u"x.example/"_s,
          u"x.example "_s, u"x.example:"_s, u"&amp;"_s,    u"xn--a."_s,   u"1."_s,         u"%2e"_s,
          u"a-."_s,        u"\u202e."_s,    u"(a.b)"_s,    u"co.uk."_s,   u"a.co.uk "_s})
        texts.push_back(many(piece));
    return texts;
}

qsizetype sizeOf(const QList<LinkCleaner::Warning>& warnings)
{
    qsizetype size = 0;
    for (const LinkCleaner::Warning& warning : warnings)
        size += warning.message().size();
    return size;
}

} // namespace

} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven;
    using namespace Larkhaven::Bench;
    Families families;
    const std::vector<Made<QString>> hostile = urls();
    families.addText(
        u"MailURL, LinkCleaner::clean"_s,
        [](const QString& text) {
            const std::optional<MailURL> url = MailURL::parse(text);
            return url ? LinkCleaner::clean(*url).absoluteString().size() : 0;
        },
        hostile);
    families.addText(
        u"LinkWarnings::of, the link"_s,
        [](const QString& text) {
            const std::optional<MailURL> url = MailURL::parse(text);
            return url ? sizeOf(LinkWarnings::of({*url, u"bank.example"_s, {}})) : 0;
        },
        hostile);
    families.addText(
        u"HTMLSanitizer::leadsToTracker"_s,
        [](const QString& text) { return qsizetype{HTMLSanitizer::leadsToTracker(text) ? 1 : 0}; }, hostile);
    const std::vector<Made<QString>> texts = linkTexts();
    families.addText(
        u"LinkWarnings::of, its text"_s,
        [](const QString& text) {
            const MailURL url = *MailURL::parse(u"https://x.example/"_s);
            return sizeOf(LinkWarnings::of({url, text, {text, text}}));
        },
        texts);
    families.addText(
        u"ShownHosts::firstOfAnotherOwner"_s,
        [](const QString& text) {
            return ShownHosts::firstOfAnotherOwner(text, u"x.example"_s).value_or(QString()).size();
        },
        texts);
    families.addText(
        u"URLHost, PublicSuffixes"_s,
        [](const QString& text) {
            const QString name = URLHost::asciiName(text).value_or(QString());
            return PublicSuffixes::registrableDomain(name).size() +
                   URLHost::addressOf(name).value_or(QString()).size() +
                   (URLHost::isIPv6Address(text) ? 1 : 0);
        },
        texts);
    return measure(argc, argv, families);
}
