#include "safety/HTMLSanitizer.h"

#include "domain/Text.h"

#include <QByteArrayView>
#include <QSet>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

// Whatever the sanitizer is given, a second, much stricter reader must find nothing in its output but text,
// allowed tags with allowed attributes, links and images as the options allow them. The first byte of the
// input chooses the options.

using namespace Larkhaven;
using namespace Qt::StringLiterals;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

QSet<QString> words(QStringView list)
{
    QSet<QString> result;
    for (const QStringView word : list.split(u' '))
        result.insert(word.toString());
    return result;
}

const QSet<QString>& allowedTags()
{
    static const QSet<QString> tags = words(u"a abbr address article aside b bdi bdo big blockquote br "
                                            u"caption center cite code col colgroup dd del details "
                                            u"dfn div dl dt em figcaption figure font footer h1 h2 h3 h4 h5 "
                                            u"h6 header hr i img ins kbd li main mark nav ol p "
                                            u"pre q s samp section small span strike strong sub summary sup "
                                            u"table tbody td tfoot th thead tr tt u ul var wbr");
    return tags;
}

const QSet<QString>& allowedAttributes()
{
    static const QSet<QString> attributes =
        words(u"style class align valign width height bgcolor color border cellpadding cellspacing colspan "
              u"rowspan dir lang "
              u"title alt face size start type nowrap span abbr headers scope reversed open");
    return attributes;
}

/// Reads a body that must be well formed to the byte, and keeps the targets of its links.
class StrictReader {
public:
    StrictReader(QStringView body, const SanitizerOptions& options)
        : m_rest(body)
        , m_options(options)
    {
        while (!m_rest.isEmpty()) {
            const QChar next = take(1).front();
            require(next != u'>');
            if (next == u'<')
                readTag();
        }
    }

    const QStringList& targets() const { return m_targets; }

private:
    QStringView take(qsizetype count)
    {
        require(count >= 0 && count <= m_rest.size());
        const QStringView taken = m_rest.first(count);
        m_rest = m_rest.sliced(count);
        return taken;
    }

    bool takes(QStringView text)
    {
        if (!m_rest.startsWith(text))
            return false;
        take(text.size());
        return true;
    }

    QString takeName()
    {
        qsizetype length = 0;
        while (length < m_rest.size() &&
               ((m_rest[length] >= u'a' && m_rest[length] <= u'z') ||
                (m_rest[length] >= u'0' && m_rest[length] <= u'9') || m_rest[length] == u'-'))
            ++length;
        return take(length).toString();
    }

    void readTag()
    {
        if (takes(u"style>"))
            return readStyle();
        if (takes(u"/")) {
            require(allowedTags().contains(takeName()) && takes(u">"));
            return;
        }
        const QString tag = takeName();
        require(allowedTags().contains(tag));
        QSet<QString> seen;
        while (!takes(u">")) {
            require(takes(u" "));
            const QString name = takeName();
            require(!seen.contains(name) && takes(u"=\""));
            seen.insert(name);
            checkAttribute(tag, name, takeValue());
        }
        require(tag != u"img" || seen.contains(u"src"_s) != seen.contains(u"data-lh-blocked"_s));
    }

    QString takeValue()
    {
        const QString raw = take(m_rest.indexOf(u'"')).toString();
        take(1);
        require(!raw.contains(u'<') && !raw.contains(u'>') && !raw.contains(u'\''));
        QString value = HTMLSanitizer::decodeEntities(raw);
        require(HTMLSanitizer::escapeHTML(value) == raw);
        return value;
    }

    void checkAttribute(const QString& tag, const QString& name, const QString& value)
    {
        if (tag == u"a" && name == u"href")
            return checkTarget(value);
        if (tag == u"img" && name == u"src")
            return checkSource(value);
        if (tag == u"img" && name == u"data-lh-blocked")
            return require(value.isEmpty());
        require(allowedAttributes().contains(name));
        require(name != u"style" || HTMLSanitizer::safeStyle(value) == value);
    }

    void checkTarget(const QString& target)
    {
        m_targets += target;
        if (m_options.indirectLinks)
            return require(target == u"larkhaven-link:"_s + QString::number(m_targets.size() - 1));
        const QString lowered = target.toLower();
        require(lowered.startsWith(u"http://") || lowered.startsWith(u"https://") ||
                lowered.startsWith(u"mailto:"));
    }

    void checkSource(const QString& source) const
    {
        const QString lowered = source.toLower();
        const bool isRemote = lowered.startsWith(u"https://");
        require(isRemote || lowered.startsWith(u"data:image/"));
        require(!isRemote || m_options.allowRemoteImages);
        require(!lowered.startsWith(u"data:image/svg"));
    }

    void readStyle()
    {
        const qsizetype end = m_rest.indexOf(u'<');
        require(end >= 0);
        const QString css = take(end).toString();
        require(takes(u"</style>"));
        require(HTMLSanitizer::safeStyle(css) == css);
    }

    QStringView m_rest;
    const SanitizerOptions& m_options;
    QStringList m_targets;
};

QString bodyOf(const SanitizedHTML& result, const SanitizerOptions& options)
{
    static const QString marker = u"MARKER"_s;
    const QString shell = HTMLSanitizer::sanitize(marker, options).document;
    const qsizetype start = shell.lastIndexOf(marker);
    const QString closing = shell.sliced(start + marker.size());
    require(result.document.startsWith(QStringView(shell).first(start)) && result.document.endsWith(closing));
    return result.document.sliced(start, result.document.size() - start - closing.size());
}

void checkLinks(const SanitizedHTML& result, const QStringList& targets, const SanitizerOptions& options)
{
    require(targets.size() == result.links.size());
    for (qsizetype i = 0; i < targets.size(); ++i) {
        const MailURL& url = result.links[i].url;
        const QString scheme = url.scheme();
        require(scheme == u"mailto" || ((scheme == u"http" || scheme == u"https") && !url.host().isEmpty()));
        require(options.indirectLinks || targets[i] == url.absoluteString());
        require(MailURL::parse(url.absoluteString()) == url);
    }
}

QString sanitizedBody(const QString& html, const SanitizerOptions& options)
{
    return bodyOf(HTMLSanitizer::sanitize(html, options), options);
}

/// Once its elements are nested properly, a message is not changed again.
void checkStability(const QString& body)
{
    SanitizerOptions options;
    options.allowRemoteImages = true;
    const QString once = sanitizedBody(body, options);
    require(sanitizedBody(once, options) == once);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    SanitizerOptions options;
    options.allowRemoteImages = (data[0] & 1) != 0;
    options.indirectLinks = (data[0] & 2) != 0;
    options.inlineImages.insert(u"a"_s, {u"image/png"_s, "x"});
    options.inlineImages.insert(u"<b>"_s, {u"image/HEIC"_s, "\"'<>"});
    options.inlineImages.insert(u"c"_s, {u"image/svg+xml"_s, "x"});
    const QString html = Text::fromRepairedUTF8(QByteArrayView(data + 1, static_cast<qsizetype>(size) - 1));

    const SanitizedHTML result = HTMLSanitizer::sanitize(html, options);
    const QString body = bodyOf(result, options);
    const StrictReader reader(body, options);
    checkLinks(result, reader.targets(), options);
    require(result.trackers >= 0 && result.blockedRemoteImages >= 0);
    require(!options.allowRemoteImages || result.blockedRemoteImages == 0);
    checkStability(sanitizedBody(body, options));
    return 0;
}
