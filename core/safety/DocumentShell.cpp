#include "safety/DocumentShell.h"

#include "safety/HTMLSanitizer.h"

using namespace Qt::StringLiterals;

namespace Larkhaven::HTMLSanitizer {

QStringView referenceFor(char16_t character)
{
    switch (character) {
    case u'&':
        return u"&amp;";
    case u'<':
        return u"&lt;";
    case u'>':
        return u"&gt;";
    case u'"':
        return u"&quot;";
    case u'\'':
        return u"&#39;";
    default:
        return {};
    }
}

QString escapeHTML(const QString& text)
{
    QString result;
    qsizetype copied = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QStringView reference = referenceFor(text[i].unicode());
        if (reference.isEmpty())
            continue;
        result += QStringView(text).sliced(copied, i - copied);
        result += reference;
        copied = i + 1;
    }
    if (copied == 0)
        return text;
    return result += QStringView(text).sliced(copied);
}

QString contentSecurityPolicy(bool allowRemoteImages)
{
    return "default-src 'none'; img-src "_L1 + (allowRemoteImages ? "data: https:"_L1 : "data:"_L1) +
           "; style-src 'unsafe-inline'; font-src 'none'; "
           "media-src 'none'; frame-src 'none'; form-action 'none'; base-uri 'none'; script-src 'none'"_L1;
}

namespace {

QString headOf(bool allowRemoteImages)
{
    return "<!DOCTYPE html><html><head><meta charset=\"utf-8\">"
           "<meta http-equiv=\"Content-Security-Policy\" content=\""_L1 +
           contentSecurityPolicy(allowRemoteImages) +
           "\"><meta name=\"referrer\" content=\"no-referrer\">"
           "<meta http-equiv=\"x-dns-prefetch-control\" content=\"off\">"
           "<meta name=\"color-scheme\" content=\"light\">"
           "<style>html,body{margin:0;padding:0;background:#fff;color:#202124}"
           "body{font:14px -apple-system,BlinkMacSystemFont,\"Helvetica Neue\",sans-serif;padding:8px 16px;"
           "word-wrap:break-word;overflow-wrap:anywhere}"
           "img{max-width:100%;height:auto}img[data-lh-blocked]{display:none}"
           ".lh-plain{white-space:pre-wrap;font:14px -apple-system,sans-serif}"
           "blockquote{margin:0 0 0 .8ex;border-left:1px solid #ccc;padding-left:1ex}a{color:#1a73e8}</style>"
           "</head><body>"_L1;
}

} // namespace

const QString& documentHead(bool allowRemoteImages)
{
    static const QString withImages = headOf(true);
    static const QString withoutImages = headOf(false);
    return allowRemoteImages ? withImages : withoutImages;
}

} // namespace Larkhaven::HTMLSanitizer
