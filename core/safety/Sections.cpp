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

QString opening(QLatin1StringView tag, QLatin1StringView style, const QString& attributes = {})
{
    return "<"_L1 + tag + attributes + " style=\""_L1 + style + "\">"_L1;
}

QString headingOf(const Section& section)
{
    QString heading = opening("div"_L1, headingStyle);
    for (const Section::Line& line : section.heading) {
        heading += opening("div"_L1, lineStyle) + opening("span"_L1, labelStyle) + escapeHTML(line.label) +
                   "</span> "_L1 + opening("bdi"_L1, valueStyle) + escapeHTML(line.value) + "</bdi></div>"_L1;
    }
    return heading + "</div>"_L1;
}

} // namespace

SanitizedHTML sections(const QList<Section>& messages, const SanitizerOptions& options)
{
    Bodies::Sum sum;
    QString body;
    int open = 0;
    const auto closeTo = [&](int depth) {
        for (; open > depth; --open)
            body += "</div></div>"_L1;
    };
    for (const Section& section : messages) {
        const bool isForwarded = section.depth > 0;
        closeTo(std::max(0, section.depth - 1));
        if (isForwarded) {
            body += opening("div"_L1, frameStyle,
                            " role=\"group\" aria-label=\""_L1 + escapeHTML(section.name) + "\""_L1);
            body += headingOf(section) + opening("div"_L1, bodyStyle);
            ++open;
        }
        body += section.html ? Bodies::ofHTML(*section.html, options, sum, !isForwarded)
                             : Bodies::ofText(section.text, sum);
    }
    closeTo(0);
    sum.result.document = documentAround(body, options.allowRemoteImages);
    return sum.result;
}

} // namespace Larkhaven::HTMLSanitizer
