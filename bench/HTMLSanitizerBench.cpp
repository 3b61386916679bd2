#include "safety/HTMLSanitizer.h"

#include <QString>

#include <benchmark/benchmark.h>

// What stands between a message and the screen: the sanitizer on newsletters, and the CSS filter on texts
// made to exhaust it. The hostile texts come in two sizes each: bytes per second must not fall with the size.

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// One article of a newsletter as the marketing tools write them: nested tables, inline styles, an image,
/// tracked links.
const QString& article()
{
    static const QString html = uR"html(
<table width="600" cellpadding="0" cellspacing="0" border="0" align="center" style="max-width:600px;margin:0 auto;">
<tr><td valign="top" style="padding:18px 24px;font-family:Helvetica,Arial,sans-serif;font-size:15px;line-height:150%;color:#333">
<!--[if mso]><table><tr><td width="280"><![endif]-->
<a href="https://news.example/c/8f3a?utm_source=letter&amp;utm_medium=email&amp;id=42" target="_blank" style="color:#1a73e8">
<img alt="Picture of the week" src="https://images.example/2024/05/header-600.jpg" width="552" style="display:block;border:0"></a>
<h2 style="margin:0 0 12px;font-weight:bold">Ten gardens to see &amp; three to plant</h2>
<p style="margin:0 0 16px">The first warm days are here, and with them the open gardens: from the walled orchards of the north to
the terraces by the sea, we have walked them all.&nbsp;Here is what is in bloom <b>now</b>, and what is worth the
<i>longer</i> trip in June. <a href="https://news.example/c/8f3b?utm_source=letter">Read more &raquo;</a></p>
</td></tr></table>
)html"_s;
    return html;
}

QString newsletter(qsizetype size)
{
    const QString head =
        u"<!DOCTYPE html><html><head><title>News</title><style>body{margin:0;padding:0}@media only screen "
        u"and "
        "(max-width:480px){.w{width:100%!important}}.b{background:url(https://x/y.png)}</style></head><body>"_s;
    return head + article().repeated(size / article().size() + 1) + u"</body></html>"_s;
}

void sanitizeNewsletter(benchmark::State& state)
{
    const QString html = newsletter(state.range(0));
    SanitizerOptions options;
    options.indirectLinks = true;
    while (state.KeepRunning())
        benchmark::DoNotOptimize(HTMLSanitizer::sanitize(html, options));
    state.SetBytesProcessed(state.iterations() * html.size());
}
BENCHMARK(sanitizeNewsletter)->Arg(100'000)->Arg(5'000'000)->Unit(benchmark::kMillisecond);

void filterCSS(benchmark::State& state, const QString& css)
{
    while (state.KeepRunning())
        benchmark::DoNotOptimize(HTMLSanitizer::sanitizeCSS(css));
    state.SetBytesProcessed(state.iterations() * css.size());
}

void filterInlineStyle(benchmark::State& state)
{
    filterCSS(
        state,
        u"padding:18px 24px;font-family:Helvetica,Arial,sans-serif;font-size:15px;line-height:150%;color:#333"_s);
}
BENCHMARK(filterInlineStyle);

void filterStyleSheet(benchmark::State& state)
{
    const QString rule =
        u".a > .b { background: url(https://x/y.png) no-repeat; position: relative; color: #333 } /* note */\n"_s;
    filterCSS(state, rule.repeated(state.range(0) / rule.size()));
}
BENCHMARK(filterStyleSheet)->Arg(10'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

void filterNestedWords(benchmark::State& state)
{
    const qsizetype depth = state.range(0) / 11;
    filterCSS(state, u"java"_s.repeated(depth) + u"script:"_s.repeated(depth));
}
BENCHMARK(filterNestedWords)->Arg(100'000)->Arg(10'000'000)->Unit(benchmark::kMillisecond);

void filterUnclosedFontFaces(benchmark::State& state)
{
    const qsizetype count = state.range(0) / 21;
    filterCSS(state, u"@font-face{"_s.repeated(count) + u"javascript:"_s.repeated(count));
}
BENCHMARK(filterUnclosedFontFaces)->Arg(100'000)->Arg(10'000'000)->Unit(benchmark::kMillisecond);

void filterJoinedComments(benchmark::State& state)
{
    const QString piece = u"/javascript:* *javascript:/ "_s;
    filterCSS(state, piece.repeated(state.range(0) / piece.size()));
}
BENCHMARK(filterJoinedComments)->Arg(100'000)->Arg(10'000'000)->Unit(benchmark::kMillisecond);

void renderPlainText(benchmark::State& state)
{
    const QString line =
        u"> On Monday it was said that https://news.example/a?utm_source=b is <worth> a look.\r\n"_s;
    const QString text = line.repeated(state.range(0) / line.size());
    while (state.KeepRunning())
        benchmark::DoNotOptimize(HTMLSanitizer::plainText(text));
    state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(renderPlainText)->Arg(100'000)->Arg(5'000'000)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace Larkhaven

BENCHMARK_MAIN();
