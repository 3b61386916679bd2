#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"

#include <QByteArrayView>
#include <QRegularExpression>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// A plain text comes out as it went in, with some of it within links.

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const QString opening = u"<body><div class=\"lh-plain\">"_s;
    static const QString closing = u"</div></body></html>"_s;
    static const QRegularExpression linkTag(
        u"<a href=\"larkhaven-link:([0-9]+)\" title=\"[^\"<>']*\">([^<>\"']*)</a>"_s);

    const QString text = Text::fromRepairedUTF8(QByteArrayView(data, static_cast<qsizetype>(size)));
    const SanitizedHTML result = HTMLSanitizer::plainText(text);
    const qsizetype start = result.document.indexOf(opening) + opening.size();
    require(result.document.endsWith(closing) && result.blockedRemoteImages == 0 && result.trackers == 0);
    QString body = result.document.sliced(start, result.document.size() - closing.size() - start);

    qsizetype count = 0;
    for (const QRegularExpressionMatch& match : linkTag.globalMatch(body)) {
        require(match.captured(1) == QString::number(count));
        require(HTMLSanitizer::decodeEntities(match.captured(2)) == result.links[count].text);
        require(MailURL::parse(result.links[count].text) == result.links[count].url);
        ++count;
    }
    require(count == result.links.size());
    body.replace(linkTag, u"\\2"_s);
    require(!body.contains(u'<') && !body.contains(u'>'));
    require(HTMLSanitizer::decodeEntities(body) == text);
    return 0;
}
