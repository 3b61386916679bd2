#include "safety/Bodies.h"
#include "safety/DocumentShell.h"
#include "safety/HTMLSanitizer.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::HTMLSanitizer {
namespace {

// All of it is important, and stands at the elements themselves: no style sheet of a message outdoes that.
constexpr auto frameStyle =
    "all:initial!important;display:block!important;clear:both!important;contain:paint!important;overflow:"
    "auto!important;"
    "margin:16px 0 0!important;border:1px solid #cbc7d6!important;border-radius:8px!important;"
    "background:#fff!important;color:#202124!important;"
    "font:14px -apple-system,BlinkMacSystemFont,'Helvetica Neue',sans-serif!important;"
    "overflow-wrap:anywhere!important"_L1;
constexpr auto headingStyle =
    "all:unset!important;display:block!important;padding:8px 12px!important;"
    "border-bottom:1px solid #e3e0ea!important;background:#f6f5f9!important;line-height:1.5!important"_L1;
constexpr auto lineStyle = "all:unset!important;display:block!important"_L1;
constexpr auto labelStyle = "all:unset!important;color:#625d70!important"_L1;
constexpr auto valueStyle = "all:unset!important"_L1;
constexpr auto bodyStyle =
    "all:unset!important;display:block!important;padding:8px 12px!important;contain:paint!important;"
    "overflow:auto!important"_L1;

void writeOpening(DocumentWriter& page, QStringView tag, QLatin1StringView style)
{
    page.write(u'<');
    page.write(tag);
    page.write(" style=\""_L1 + style + "\">"_L1);
}

void writeHeading(DocumentWriter& page, const Section& section)
{
    writeOpening(page, u"div", headingStyle);
    for (const Section::Line& line : section.heading) {
        writeOpening(page, u"div", lineStyle);
        writeOpening(page, u"span", labelStyle);
        page.writeEscaped(line.label);
        page.write(u"</span> ");
        writeOpening(page, u"bdi", valueStyle);
        page.writeEscaped(line.value);
        page.write(u"</bdi></div>");
    }
    page.write(u"</div>");
}

} // namespace

SanitizedHTML sections(const QList<Section>& messages, const SanitizerOptions& options)
{
    Bodies::Sum sum;
    DocumentWriter& page = sum.page;
    page.write(documentHead(options.allowRemoteImages));
    int open = 0;
    const auto closeTo = [&](int depth) {
        for (; open > depth; --open)
            page.write(u"</div></div>");
    };
    for (const Section& section : messages) {
        const bool isForwarded = section.depth > 0;
        closeTo(std::max(0, section.depth - 1));
        if (isForwarded) {
            page.write(u"<div role=\"group\" aria-label=\"");
            page.writeEscaped(section.name);
            page.write("\" style=\""_L1 + frameStyle + "\">"_L1);
            writeHeading(page, section);
            writeOpening(page, u"div", bodyStyle);
            ++open;
        }
        if (section.html)
            Bodies::addHTML(*section.html, options, sum, !isForwarded);
        else
            Bodies::addText(section.text, sum);
    }
    closeTo(0);
    page.write(documentEnd);
    sum.result.document = page.taken();
    return std::move(sum.result);
}

} // namespace Larkhaven::HTMLSanitizer
