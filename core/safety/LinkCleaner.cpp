#include "safety/LinkCleaner.h"

#include "domain/Text.h"
#include "safety/URLParts.h"
#include "safety/UTF8.h"
#include "safety/UnitScan.h"

#include <QCoreApplication>
#include <QVarLengthArray>

#include <algorithm>
#include <array>
#include <string_view>

using namespace Qt::StringLiterals;

namespace Larkhaven::LinkCleaner {
namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(LinkCleaner)
};

/// Sorted.
constexpr auto trackingParameters = std::to_array<std::string_view>({"__hsfp",
                                                                     "__hssc",
                                                                     "__hstc",
                                                                     "__s",
                                                                     "_hsenc",
                                                                     "_hsmi",
                                                                     "ck_subscriber_id",
                                                                     "dclid",
                                                                     "fbclid",
                                                                     "gbraid",
                                                                     "gclid",
                                                                     "gclsrc",
                                                                     "hsctatracking",
                                                                     "igshid",
                                                                     "mc_cid",
                                                                     "mc_eid",
                                                                     "mkt_tok",
                                                                     "ml_subscriber",
                                                                     "ml_subscriber_hash",
                                                                     "msclkid",
                                                                     "oly_anon_id",
                                                                     "oly_enc_id",
                                                                     "rb_clickid",
                                                                     "ref_src",
                                                                     "s_cid",
                                                                     "sc_campaign",
                                                                     "sc_channel",
                                                                     "sc_content",
                                                                     "sc_country",
                                                                     "sc_geo",
                                                                     "sc_medium",
                                                                     "sc_outcome",
                                                                     "si",
                                                                     "spm",
                                                                     "trk",
                                                                     "trkcampaign",
                                                                     "vero_conv",
                                                                     "vero_id",
                                                                     "wbraid",
                                                                     "yclid"});
static_assert(std::ranges::is_sorted(trackingParameters));

constexpr std::array<std::string_view, 3> trackingPrefixes{"utm_", "pk_", "mtm_"};

/// The label before a country's, where both together are what anybody may register below.
constexpr std::array secondLevelLabels{"co"_L1,  "com"_L1, "net"_L1, "org"_L1, "gov"_L1, "ac"_L1,
                                       "edu"_L1, "ne"_L1,  "or"_L1,  "go"_L1,  "gob"_L1, "nic"_L1};

/// Where the names of each first character begin in the table: nearly all words that aren't in it end here.
constexpr auto trackingStarts = [] {
    std::array<unsigned char, 0x81> starts{};
    for (std::size_t character = 0; character < starts.size(); ++character) {
        while (starts[character] < trackingParameters.size() &&
               static_cast<unsigned char>(trackingParameters[starts[character]].front()) < character)
            ++starts[character];
    }
    return starts;
}();

bool startsWith(QStringView name, std::string_view start)
{
    return name.size() >= static_cast<qsizetype>(start.size()) &&
           std::ranges::equal(start, name.first(static_cast<qsizetype>(start.size())),
                              [](char letter, QChar character) {
                                  return static_cast<unsigned char>(letter) == character.unicode();
                              });
}

/// `name` is in small letters.
bool isTrackingName(QStringView name)
{
    if (name.isEmpty() || name.front().unicode() >= 0x80)
        return false;
    const char16_t first = name.front().unicode();
    for (std::size_t row = trackingStarts[first]; row < trackingStarts[first + 1U]; ++row) {
        const std::string_view known = trackingParameters[row];
        if (name.size() == static_cast<qsizetype>(known.size()) && startsWith(name, known))
            return true;
    }
    return std::ranges::any_of(trackingPrefixes,
                               [&](std::string_view prefix) { return startsWith(name, prefix); });
}

/// Writes the word in small letters; false where it isn't of ASCII, or holds something encoded.
bool lowerWord(QStringView word, char16_t* lowered)
{
    for (const QChar character : word) {
        const char16_t unit = character.unicode();
        if (unit >= 0x80 || unit == u'%')
            return false;
        *lowered++ = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
    }
    return true;
}

bool isTracking(QStringView item)
{
    const QStringView encodedName = item.first(UnitScan::firstMark(item, u'='));
    // Nearly all names are short words of ASCII, which need no copy.
    constexpr qsizetype longestWord = 24;
    std::array<char16_t, longestWord> word;
    if (encodedName.size() <= longestWord && lowerWord(encodedName, word.data()))
        return isTrackingName(QStringView(word.data(), encodedName.size()));
    return isTrackingName(Text::lowered(UTF8::percentDecoded(encodedName).value_or(encodedName.toString())));
}

QList<QStringView> labelsOf(QStringView host)
{
    return host.split(u'.', Qt::SkipEmptyParts);
}

bool isLetters(QStringView label)
{
    return std::ranges::all_of(label, [](QChar character) { return character.isLetter(); });
}

/// The host that the visible text of a link names, in lower case; empty where it names none.
QString hostOfText(const QString& text)
{
    QString address = Text::lowered(Text::trimmedSpaceAndLineEnds(text));
    if (address.contains(u' ') || !address.contains(u'.'))
        return {};
    if (!address.contains("://"_L1))
        address.prepend("https://"_L1);
    const std::optional<URLParts> parts = URLParts::read(address);
    if (!parts || !parts->host.contains(u'.'))
        return {};
    QString host = Text::asciiLowered(parts->host);
    const QList<QStringView> labels = labelsOf(host);
    if (labels.size() < 2 || labels.back().size() < 2 || !isLetters(labels.back()))
        return {};
    return host;
}

bool looksLikeAnIPAddress(const QString& host)
{
    const QList<QStringView> labels = labelsOf(host);
    return host.contains(u':') || (!labels.isEmpty() && !isLetters(labels.back()));
}

/// Whether the character is never seen itself, but moves, hides or breaks the text around it.
bool isInvisible(QChar character)
{
    const QChar::Category category = character.category();
    return category == QChar::Other_Control || category == QChar::Other_Format ||
           category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
}

QString readableUser(const MailURL& url)
{
    const QString encoded = url.user();
    const std::optional<QString> decoded = UTF8::percentDecoded(encoded);
    return decoded && std::ranges::none_of(*decoded, isInvisible) ? *decoded : encoded;
}

} // namespace

QString registrableDomain(const QString& host)
{
    const QString lowered = Text::asciiLowered(host);
    const QList<QStringView> labels = labelsOf(lowered);
    qsizetype kept = 2;
    if (labels.size() >= 3 && labels.back().size() == 2 &&
        std::ranges::any_of(secondLevelLabels,
                            [&](QLatin1StringView label) { return labels[labels.size() - 2] == label; }))
        kept = 3;
    QString domain;
    for (const QStringView label : labels.last(std::min(kept, labels.size()))) {
        if (!domain.isEmpty())
            domain += u'.';
        domain += label;
    }
    return domain;
}

MailURL clean(const MailURL& url)
{
    const std::optional<QStringView> query = url.query();
    if (!query)
        return url;
    QVarLengthArray<QChar, 256> kept;
    const auto keep = [&kept](QStringView text) { kept.append(text.data(), text.size()); };
    bool dropsAny = false;
    bool keepsAny = false;
    for (qsizetype start = 0; start <= query->size();) {
        const qsizetype end = UnitScan::firstMark(*query, u'&', start);
        const QStringView item = query->sliced(start, end - start);
        if (isTracking(item)) {
            // What precedes the first is kept as it stands.
            if (!dropsAny && start > 0) {
                keep(query->first(start - 1));
                keepsAny = true;
            }
            dropsAny = true;
        } else if (dropsAny) {
            if (keepsAny)
                kept.append(u'&');
            keep(item);
            keepsAny = true;
        }
        start = end + 1;
    }
    if (!dropsAny)
        return url;
    return url.withQuery(keepsAny ? std::optional(QStringView(kept.data(), kept.size())) : std::nullopt);
}

QList<Warning> warnings(const LinkRecord& link)
{
    QList<Warning> result;
    const QString scheme = link.url.scheme();
    if (scheme != "http"_L1 && scheme != "https"_L1)
        return result;
    const QString host = Text::asciiLowered(link.url.host());
    if (scheme == "http"_L1)
        result += Warning::insecure();
    const QList<QStringView> labels = labelsOf(host);
    if (std::ranges::any_of(labels, [](QStringView label) { return label.startsWith("xn--"_L1); }))
        result += Warning::punycode(host);
    if (looksLikeAnIPAddress(host))
        result += Warning::ipAddress(host);
    if (const QString user = readableUser(link.url); !user.isEmpty())
        result += Warning::mismatchedText(user, host);
    const QString shown = hostOfText(link.text);
    if (!shown.isEmpty() && registrableDomain(shown) != registrableDomain(host))
        result += Warning::mismatchedText(shown, host);
    return result;
}

Warning Warning::mismatchedText(QString shown, QString actual)
{
    return {Kind::mismatchedText, std::move(shown), std::move(actual), {}};
}

Warning Warning::punycode(QString host)
{
    return {Kind::punycode, {}, {}, std::move(host)};
}

Warning Warning::ipAddress(QString host)
{
    return {Kind::ipAddress, {}, {}, std::move(host)};
}

Warning Warning::insecure()
{
    return {Kind::insecure, {}, {}, {}};
}

QString Warning::message() const
{
    switch (kind) {
    case Kind::mismatchedText:
        return Texts::tr("The link text shows “%1” but it actually goes to “%2”.").arg(shown, actual);
    case Kind::punycode:
        return Texts::tr("The address “%1” uses international characters that can imitate another site.")
            .arg(host);
    case Kind::ipAddress:
        return Texts::tr("The link points to a raw IP address (%1) instead of a named site.").arg(host);
    case Kind::insecure:
        return Texts::tr("The link is not encrypted (http).");
    }
    return {};
}

} // namespace Larkhaven::LinkCleaner
