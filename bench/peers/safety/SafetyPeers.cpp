#include "Paired.h"
#include "safety/HTMLSanitizer.h"
#include "safety/LinkCleaner.h"
#include "safety/MailURL.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QUrlQuery>

#include <cstdio>
#include <gumbo.h>
#include <libxml/HTMLparser.h>
#include <memory>

// What makes a message harmless, beside parsers that only read it.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {
namespace {

/// One article of a newsletter as the tools of marketing write them: nested tables, styles at each element,
/// an image, links that count clicks, and some text beyond ASCII.
QString article(int number)
{
    return uR"html(
<table width="600" cellpadding="0" cellspacing="0" border="0" align="center" style="max-width:600px;margin:0 auto;">
<tr><td valign="top" style="padding:18px 24px;font-family:Helvetica,Arial,sans-serif;font-size:15px;line-height:150%;color:#333">
<!--[if mso]><table><tr><td width="280"><![endif]-->
<a href="https://news.example/c/%1?utm_source=letter&amp;utm_medium=email&amp;id=42" target="_blank" style="color:#1a73e8">
<img alt="Bild der Woche" src="https://images.example/2026/05/header-%1.jpg" width="552" style="display:block;border:0"></a>
<h2 style="margin:0 0 12px;font-weight:bold">Zehn Gärten &amp; drei zum Anlegen</h2>
<p style="margin:0 0 16px">The first warm days are here, and with them the open gardens: from the walled orchards of the north to
the terraces by the sea, we have walked them all.&nbsp;Here is what is in bloom <b>now</b>, and what is worth the
<i>longer</i> trip in June. <a href="https://news.example/d/%1?utm_source=letter">Weiterlesen &raquo;</a></p>
</td></tr></table>
)html"_s.arg(number);
}

QString newsletter(qsizetype size)
{
    QString html =
        u"<!DOCTYPE html><html><head><title>News</title><style>body{margin:0;padding:0}@media only screen "
        u"and "
        u"(max-width:480px){.w{width:100%!important}}.b{background:url(https://x/y.png)}</style></head><body>"_s;
    for (int number = 1; html.size() < size; ++number)
        html += article(number);
    return html + u"</body></html>"_s;
}

struct FreeDocument {
    void operator()(htmlDocPtr document) const { xmlFreeDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, FreeDocument>;

Document parsedByLibXML(const QByteArray& html)
{
    return Document(
        htmlReadMemory(html.constData(), static_cast<int>(html.size()), nullptr, "UTF-8",
                       HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET));
}

std::uint64_t linksOf(const xmlNode* node)
{
    std::uint64_t count = 0;
    for (; node; node = node->next) {
        if (node->type == XML_ELEMENT_NODE && xmlStrEqual(node->name, BAD_CAST "a"))
            ++count;
        count += linksOf(node->children);
    }
    return count;
}

std::uint64_t linksOf(const GumboNode& node)
{
    if (node.type != GUMBO_NODE_ELEMENT)
        return 0;
    std::uint64_t count = node.v.element.tag == GUMBO_TAG_A ? 1 : 0;
    const GumboVector& children = node.v.element.children;
    for (unsigned int index = 0; index < children.length; ++index)
        count += linksOf(*static_cast<const GumboNode*>(children.data[index]));
    return count;
}

std::uint64_t linksByUs(const QString& html)
{
    SanitizerOptions options;
    options.indirectLinks = true;
    return static_cast<std::uint64_t>(HTMLSanitizer::sanitize(html, options).links.size());
}

/// Both read the message as it comes, in UTF-16 for us and in UTF-8 for them, and are asked how many links it
/// has.
std::vector<Case> newsletterCases()
{
    const QString html = newsletter(100'000);
    const QByteArray bytes = html.toUtf8();
    const auto ours = [html] { return linksByUs(html); };
    const auto gumbo = [bytes] {
        GumboOutput* const output = gumbo_parse_with_options(&kGumboDefaultOptions, bytes.constData(),
                                                             static_cast<size_t>(bytes.size()));
        const std::uint64_t links = linksOf(*output->root);
        gumbo_destroy_output(&kGumboDefaultOptions, output);
        return links;
    };
    const auto libXML = [bytes] { return linksOf(xmlDocGetRootElement(parsedByLibXML(bytes).get())); };
    return {{"newsletter of 100 kB made harmless", "gumbo, parsing alone", 25, ours, gumbo},
            {"newsletter of 100 kB made harmless", "libxml2, parsing alone", 8, ours, libXML}};
}

Case styleCase()
{
    const QString rule =
        u".a > .b { padding: 18px 24px; font-family: Helvetica, Arial, sans-serif; color: #333; position: relative }\n"_s;
    const QString css = rule.repeated(100'000 / rule.size());
    QByteArray html = newsletter(css.size()).toUtf8();
    html.truncate(css.size());
    const std::uint64_t size = static_cast<std::uint64_t>(css.size());
    return {"style sheet of 100 kB filtered", "libxml2, HTML of as many bytes", 7,
            [css, size] { return size + (HTMLSanitizer::safeStyle(css).isEmpty() ? 1 : 0); },
            [html, size] { return size + (parsedByLibXML(html) ? 0 : 1); }};
}

Case linkCase()
{
    QStringList links;
    for (int number = 0; number < 200; ++number) {
        links +=
            u"https://news.example/articles/2026/%1?utm_source=letter&utm_medium=email&id=%1&utm_campaign=spring#top"_s
                .arg(number);
        links += u"https://shop.example/p/%1?ref=a%20b&pk_campaign=letter"_s.arg(number);
        links += u"https://www.example.org/"_s;
    }
    return {"links without what tracks the click", "QUrl and QUrlQuery", 5,
            [links] {
                std::uint64_t size = 0;
                for (const QString& link : links)
                    size += static_cast<std::uint64_t>(
                        LinkCleaner::clean(*MailURL::parse(link)).absoluteString().size());
                return size;
            },
            [links] {
                std::uint64_t size = 0;
                for (const QString& link : links) {
                    QUrl url(link);
                    const QUrlQuery query(url);
                    QUrlQuery kept;
                    for (const auto& [name, value] : query.queryItems(QUrl::FullyEncoded)) {
                        if (!name.startsWith("utm_"_L1) && !name.startsWith("pk_"_L1) &&
                            !name.startsWith("mtm_"_L1))
                            kept.addQueryItem(name, value);
                    }
                    url.setQuery(kept.isEmpty() ? QString() : kept.toString(QUrl::FullyEncoded));
                    size += static_cast<std::uint64_t>(url.toString(QUrl::FullyEncoded).size());
                }
                return size;
            }};
}

} // namespace
} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven::Bench;
    std::vector<Case> cases = newsletterCases();
    cases.push_back(styleCase());
    cases.push_back(linkCase());
    return compare(argc, argv, cases);
}
