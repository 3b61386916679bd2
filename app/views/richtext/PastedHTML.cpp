#include "views/richtext/PastedHTML.h"

#include "model/DraftGate.h"
#include "safety/HTMLSanitizer.h"
#include "views/richtext/ComposeHTML.h"
#include "views/richtext/QuietDocument.h"
#include "views/richtext/TextRuns.h"

#include <QTextCursor>

namespace Larkhaven::PastedHTML {

namespace {

/// Colours that come with pasted text are those of another page: black on ours may be black on black. Only
/// what is clearly a colour is kept.
void dropGroundColors(QTextCharFormat& format)
{
    constexpr int leastSaturation = 60;
    format.clearProperty(QTextFormat::BackgroundBrush);
    if (format.hasProperty(QTextFormat::ForegroundBrush) &&
        format.foreground().color().hsvSaturation() < leastSaturation)
        format.clearProperty(QTextFormat::ForegroundBrush);
}

} // namespace

QString harmless(const QString& html)
{
    SanitizerOptions options;
    options.keepsOnlyWordsOfImages = true;
    return DraftGate::pastedHTML(HTMLSanitizer::sanitize(html, options).document);
}

QTextDocumentFragment fragment(const QString& harmless, const QFont& font, const ComposeFormat::Sizes& sizes)
{
    QuietDocument pasted;
    pasted.setDefaultFont(font);
    ComposeHTML::read(harmless, pasted, sizes);
    QTextCursor everything(&pasted);
    everything.select(QTextCursor::Document);
    // As one edit, or each of them reads its whole paragraph anew.
    everything.beginEditBlock();
    for (const TextRun& run : textRuns(everything)) {
        QTextCharFormat format = run.format;
        dropGroundColors(format);
        selectedText(&pasted, run.start, run.end).setCharFormat(format);
    }
    everything.endEditBlock();
    return pasted.isEmpty() ? QTextDocumentFragment() : QTextDocumentFragment(&pasted);
}

QString plainText(const QString& harmless, const ComposeFormat::Sizes& sizes)
{
    QuietDocument pasted;
    ComposeHTML::read(harmless, pasted, sizes);
    return pasted.toPlainText();
}

} // namespace Larkhaven::PastedHTML
