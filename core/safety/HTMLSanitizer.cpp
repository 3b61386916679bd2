#include "safety/HTMLSanitizer.h"

#include "domain/Text.h"
#include "safety/Bodies.h"
#include "safety/DocumentShell.h"
#include "safety/HTMLReader.h"
#include "safety/HTMLVocabulary.h"
#include "safety/LinkCleaner.h"
#include "safety/PlainValue.h"
#include "safety/TrackerTest.h"
#include "safety/URLParts.h"
#include "safety/UTF8.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven::HTMLSanitizer {
namespace {

using HTMLReader::RawAttributes;
using HTMLVocabulary::Tag;

constexpr std::array allowedDataPrefixes{"data:image/png"_L1, "data:image/gif"_L1, "data:image/jpeg"_L1,
                                         "data:image/jpg"_L1, "data:image/webp"_L1};

constexpr std::array allowedInlineTypes{"image/png"_L1, "image/gif"_L1,  "image/jpeg"_L1,
                                        "image/jpg"_L1, "image/webp"_L1, "image/heic"_L1};

/// What the rules of links, images and hidden elements read.
namespace Known {

const HTMLVocabulary::Tag link = HTMLVocabulary::allowedTag("a");
const HTMLVocabulary::Tag image = HTMLVocabulary::allowedTag("img");
const HTMLVocabulary::Attribute classes = HTMLVocabulary::knownAttribute("class");
const HTMLVocabulary::Attribute height = HTMLVocabulary::knownAttribute("height");
const HTMLVocabulary::Attribute hidden = HTMLVocabulary::knownAttribute("hidden");
const HTMLVocabulary::Attribute href = HTMLVocabulary::knownAttribute("href");
const HTMLVocabulary::Attribute src = HTMLVocabulary::knownAttribute("src");
const HTMLVocabulary::Attribute style = HTMLVocabulary::knownAttribute("style");
const HTMLVocabulary::Attribute title = HTMLVocabulary::knownAttribute("title");
const HTMLVocabulary::Attribute width = HTMLVocabulary::knownAttribute("width");

} // namespace Known

/// The text without what may hide a scheme: controls and space, DEL, zero-width characters and byte order
/// marks.
QString cleanedForURL(QString text)
{
    const auto isHiding = [](QChar character) {
        const char16_t unit = character.unicode();
        return unit < 33 || unit == 127 || (unit >= 0x200b && unit <= 0x200d) || unit == 0xfeff;
    };
    return std::ranges::any_of(std::as_const(text), isHiding) ? text.removeIf(isHiding) : text;
}

/// The source with its host in ASCII, all else as it stands; absent where it is no URL.
std::optional<QString> withASCIIHost(const QString& source)
{
    const std::optional<URLParts> parts = URLParts::read(source);
    if (!parts)
        return std::nullopt;
    return source.first(parts->hostStart) + bracketedHost(parts->host) + source.sliced(parts->hostEnd);
}

/// Decodes percent-encoding; a text in which that fails stays.
QString percentDecodedOrAsIs(const QString& text)
{
    return UTF8::percentDecoded(text).value_or(text);
}

struct OutputAttribute {
    HTMLVocabulary::Attribute attribute = HTMLVocabulary::noAttribute; ///< none: the mark of a blocked image
    QByteArray value;     ///< UTF-8, where it is plain a view of the message
    bool isPlain = false; ///< nothing in it must become a character reference
};

using OutputAttributes = std::vector<OutputAttribute>;

QByteArray valueOf(const OutputAttributes& attributes, HTMLVocabulary::Attribute wanted)
{
    const auto found = std::ranges::find(attributes, wanted, &OutputAttribute::attribute);
    return found == attributes.end() ? QByteArray() : found->value;
}

void removeTitle(OutputAttributes& attributes)
{
    std::erase_if(attributes,
                  [](const OutputAttribute& attribute) { return attribute.attribute == Known::title; });
}

/// Whether what stands before and behind the tag isn't one word on the page.
bool partsText(Tag tag, const OutputAttributes& attributes)
{
    const QString style = Text::asciiLowered(Text::fromRepairedUTF8(valueOf(attributes, Known::style)));
    const bool isInline = style.contains("inline"_L1) || style.contains("contents"_L1);
    return HTMLVocabulary::isPhrase(tag) ? !isInline && style.contains("block"_L1) : !isInline;
}

/// What becomes of an image.
enum class ImageFate {
    dropped, ///< no tag is written
    blocked, ///< the tag is written without a source, and hidden
    kept,    ///< the tag is written with a source
};

struct ImageDecision {
    ImageFate fate = ImageFate::dropped;
    QString source;
};

/// An element whose end tag is to come.
struct OpenElement {
    HTMLVocabulary::Tag tag = HTMLVocabulary::noTag;
    bool isHidden = false; ///< by its attribute
    QByteArray style;      ///< as it is written
    QByteArray classes;
    std::optional<bool> hidesContent; ///< it or one around it; absent until somebody asks
};

/// The working state of one pass over a message.
class Pass {
public:
    /// Links, counts, rules and what is left for inline images go on in `sum`.
    Pass(QByteArrayView html, const SanitizerOptions& options, Bodies::Sum& sum, bool keepsStyleSheets)
        : m_html(html)
        , m_options(options)
        , m_result(sum.result)
        , m_inlineImageBytes(sum.inlineImageBytes)
        , m_rules(sum.rules)
        , m_keepsStyleSheets(keepsStyleSheets)
    {
        m_output.reserve(static_cast<std::size_t>(html.size() + html.size() / 8));
    }

    QString run()
    {
        while (m_position < m_html.size())
            step();
        finishLink();
        closeDownTo(0);
        return Text::fromRepairedUTF8(m_output);
    }

    /// Whether a style sheet hides something, and stands behind what it may hide: all of it holds for all of
    /// the document.
    bool hasLateRules() const { return m_hasLateRules; }

private:
    void step();
    void copyText();
    void skipComment();
    void readEndTag();
    void readStartTag();
    void writeStyle(qsizetype contentStart);
    void write(QByteArrayView bytes)
    {
        m_output.append(bytes.data(), static_cast<std::size_t>(bytes.size()));
    }
    void writeEscaped(QByteArrayView value);

    void startTag(Tag tag, const RawAttributes& raw);
    void open(Tag tag, const RawAttributes& raw, const OutputAttributes& attributes);
    bool isWithinHidden();
    ImageLook lookOf(const QByteArray& style);
    ImageLook lookByRules(QByteArrayView tag, const QByteArray& classes) const;
    static void readValues(const RawAttributes& raw, OutputAttributes& attributes);
    void writeStartTag(Tag tag, const OutputAttributes& attributes);
    void endTag(Tag tag);
    void writeEndTag(Tag tag);
    void closeDownTo(std::size_t depth);

    void applyLinkRule(const RawAttributes& raw, OutputAttributes& attributes);
    void partLinkText();
    void finishLink();

    bool applyImageRule(const RawAttributes& raw, OutputAttributes& attributes);
    ImageDecision decideImage(const RawAttributes& raw, const OutputAttributes& attributes);
    ImageDecision decideInlineImage(const QString& source);
    ImageDecision decideRemoteImage(const QString& source, const RawAttributes& raw,
                                    const OutputAttributes& attributes);
    bool isReporting(const QString& source, const RawAttributes& raw, const OutputAttributes& attributes);

    bool hasOpenLink() const { return m_currentLink >= 0; }

    QByteArrayView m_html;
    const SanitizerOptions& m_options;
    qsizetype m_position = 0;
    std::string m_output; ///< a byte array takes several times as long for each of the many small pieces
    RawAttributes m_raw;  ///< of the tag that is read
    OutputAttributes m_attributes; ///< of the tag that is written
    SanitizedHTML& m_result;
    qint64& m_inlineImageBytes;
    ImageLookRules& m_rules;
    bool m_keepsStyleSheets;
    bool m_hasLooked = false; ///< at the rules so far
    bool m_hasLateRules = false;
    std::vector<OpenElement> m_openElements;
    std::array<int, HTMLVocabulary::tagCount> m_openCounts{}; ///< how often each tag is on the stack
    qsizetype m_currentLink = -1;                             ///< index of the open link, or -1
    QByteArray m_linkText;
    QByteArray m_partedLinkText;          ///< with blanks between blocks
    QByteArray m_seenLinkText;            ///< likewise, and without what is hidden
    QHash<QByteArray, ImageLook> m_looks; ///< of styles that were looked at, which newsletters repeat
};

void Pass::step()
{
    const QByteArrayView rest = m_html.sliced(m_position);
    const char second = rest.size() > 1 ? rest[1] : '\0';
    if (rest[0] != '<') {
        copyText();
    } else if (HTMLReader::isLetterAt(rest, 1)) {
        readStartTag();
    } else if (second == '/' && HTMLReader::isLetterAt(rest, 2)) {
        readEndTag();
    } else if (rest.startsWith("<!--")) {
        skipComment();
    } else if (second == '?' || second == '!') {
        m_position = HTMLReader::behindNextBracket(m_html, m_position);
    } else {
        write("&lt;");
        ++m_position;
    }
}

void Pass::copyText()
{
    const qsizetype bracket = m_html.indexOf('<', m_position);
    const qsizetype end = bracket < 0 ? m_html.size() : bracket;
    QByteArrayView run = m_html.sliced(m_position, end - m_position);
    m_position = end;
    if (hasOpenLink()) {
        m_linkText += run;
        m_partedLinkText += run;
        if (!isWithinHidden())
            m_seenLinkText += run;
    }
    for (qsizetype index = run.indexOf('>'); index >= 0; index = run.indexOf('>')) {
        write(run.first(index));
        write("&gt;");
        run = run.sliced(index + 1);
    }
    write(run);
}

void Pass::skipComment()
{
    constexpr qsizetype openingSize = 4;
    constexpr qsizetype closingSize = 3;
    const qsizetype closing = m_html.indexOf("-->", m_position + openingSize);
    m_position = closing < 0 ? m_html.size() : closing + closingSize;
}

void Pass::readEndTag()
{
    const qsizetype start = m_position + 2;
    const qsizetype end = HTMLReader::endOfName(m_html, start);
    m_position = HTMLReader::behindNextBracket(m_html, end);
    const HTMLReader::Name name(m_html.sliced(start, end - start));
    const Tag tag = HTMLVocabulary::allowedTag(name.view());
    if (tag != HTMLVocabulary::noTag && !HTMLVocabulary::isVoid(tag))
        endTag(tag);
}

void Pass::readStartTag()
{
    const qsizetype start = m_position + 1;
    const qsizetype end = HTMLReader::endOfName(m_html, start);
    const HTMLReader::Name name(m_html.sliced(start, end - start));
    m_raw.clear();
    m_position = HTMLReader::readAttributes(m_html, end, m_raw);
    if (const Tag tag = HTMLVocabulary::allowedTag(name.view()); tag != HTMLVocabulary::noTag)
        startTag(tag, m_raw);
    else if (HTMLVocabulary::isDroppedWithContent(name.view()))
        m_position = HTMLReader::endOfRawText(m_html, m_position, name.view()).next;
    else if (name.view() == "style")
        writeStyle(m_position);
}

void Pass::writeStyle(qsizetype contentStart)
{
    const HTMLReader::RawTextEnd end = HTMLReader::endOfRawText(m_html, contentStart, "style");
    const QString css = Text::fromRepairedUTF8(m_html.sliced(contentStart, end.contentEnd - contentStart));
    m_position = end.next;
    if (!m_keepsStyleSheets)
        return;
    const QString safe = safeStyle(css);
    write("<style>" + safe.toUtf8() + "</style>");
    if (m_rules.addSheet(safe) && m_hasLooked)
        m_hasLateRules = true;
}

void Pass::startTag(Tag tag, const RawAttributes& raw)
{
    const bool isVoid = HTMLVocabulary::isVoid(tag);
    if (!isVoid && m_openElements.size() >= maximumOpenElements)
        return;
    OutputAttributes& attributes = m_attributes;
    readValues(raw, attributes);
    if (tag == Known::link)
        applyLinkRule(raw, attributes);
    else if (tag == Known::image && !applyImageRule(raw, attributes))
        return;
    // It would take the place of the link's own, which says where it leads.
    if (tag != Known::link && hasOpenLink())
        removeTitle(attributes);
    writeStartTag(tag, attributes);
    if (hasOpenLink() && partsText(tag, attributes))
        partLinkText();
    if (!isVoid)
        open(tag, raw, attributes);
}

void Pass::open(Tag tag, const RawAttributes& raw, const OutputAttributes& attributes)
{
    m_openElements.push_back({tag, raw.value(Known::hidden).has_value(), valueOf(attributes, Known::style),
                              valueOf(attributes, Known::classes), std::nullopt});
    ++m_openCounts[static_cast<std::size_t>(tag)];
}

bool Pass::isWithinHidden()
{
    m_hasLooked = true;
    const auto asked =
        std::find_if(m_openElements.rbegin(), m_openElements.rend(),
                     [](const OpenElement& element) { return element.hidesContent.has_value(); });
    bool isHidden = asked != m_openElements.rend() && *asked->hidesContent;
    for (auto element = asked.base(); element != m_openElements.end(); ++element) {
        if (!isHidden) {
            ImageLook look = lookOf(element->style);
            look.add(lookByRules(HTMLVocabulary::nameOf(element->tag), element->classes));
            isHidden = element->isHidden || look.hidesContent();
        }
        element->hidesContent = isHidden;
    }
    return isHidden;
}

ImageLook Pass::lookOf(const QByteArray& style)
{
    constexpr qsizetype mostLooks = 1000;
    if (style.isEmpty())
        return {};
    if (const auto known = m_looks.constFind(style); known != m_looks.constEnd())
        return *known;
    const ImageLook look = ImageLook::ofStyle(Text::fromRepairedUTF8(style));
    if (m_looks.size() < mostLooks)
        m_looks.insert(style, look);
    return look;
}

ImageLook Pass::lookByRules(QByteArrayView tag, const QByteArray& classes) const
{
    if (m_rules.isEmpty())
        return {};
    return m_rules.of(QString::fromLatin1(tag), Text::fromRepairedUTF8(classes));
}

void Pass::readValues(const RawAttributes& raw, OutputAttributes& attributes)
{
    attributes.clear();
    for (const HTMLReader::RawAttribute& attribute : raw) {
        if (!HTMLVocabulary::isAllowed(attribute.attribute))
            continue;
        const bool isStyle = attribute.attribute == Known::style;
        if (isPlainValue(attribute.value) && (!isStyle || isPlainStyle(attribute.value))) {
            attributes.push_back({attribute.attribute,
                                  QByteArray::fromRawData(attribute.value.data(), attribute.value.size()),
                                  true});
            continue;
        }
        const QString value = decodeEntities(Text::fromRepairedUTF8(attribute.value));
        attributes.push_back({attribute.attribute, (isStyle ? safeStyle(value) : value).toUtf8()});
    }
}

void Pass::writeEscaped(QByteArrayView value)
{
    qsizetype written = 0;
    for (qsizetype index = 0; index < value.size(); ++index) {
        const QLatin1StringView reference = referenceFor(static_cast<uchar>(value[index]));
        if (reference.isEmpty())
            continue;
        write(value.sliced(written, index - written));
        write(QByteArrayView(reference.data(), reference.size()));
        written = index + 1;
    }
    write(value.sliced(written));
}

void Pass::writeStartTag(Tag tag, const OutputAttributes& attributes)
{
    m_output += '<';
    write(HTMLVocabulary::nameOf(tag));
    for (const OutputAttribute& attribute : attributes) {
        m_output += ' ';
        write(attribute.attribute == HTMLVocabulary::noAttribute
                  ? QByteArrayView("data-lh-blocked")
                  : HTMLVocabulary::nameOfAttribute(attribute.attribute));
        m_output += "=\"";
        if (attribute.isPlain)
            write(attribute.value);
        else
            writeEscaped(attribute.value);
        m_output += '"';
    }
    m_output += '>';
}

void Pass::endTag(Tag tag)
{
    if (m_openCounts[static_cast<std::size_t>(tag)] == 0)
        return;
    if (tag == Known::link)
        finishLink();
    if (hasOpenLink() && partsText(tag, {}))
        partLinkText();
    const auto found = std::find_if(m_openElements.rbegin(), m_openElements.rend(),
                                    [tag](const OpenElement& element) { return element.tag == tag; });
    closeDownTo(static_cast<std::size_t>(m_openElements.rend() - found) - 1);
}

void Pass::writeEndTag(Tag tag)
{
    m_output += "</";
    write(HTMLVocabulary::nameOf(tag));
    m_output += '>';
}

void Pass::closeDownTo(std::size_t depth)
{
    while (m_openElements.size() > depth) {
        const Tag tag = m_openElements.back().tag;
        writeEndTag(tag);
        --m_openCounts[static_cast<std::size_t>(tag)];
        m_openElements.pop_back();
    }
}

void Pass::applyLinkRule(const RawAttributes& raw, OutputAttributes& attributes)
{
    if (hasOpenLink()) {
        finishLink();
        writeEndTag(Known::link);
        std::erase_if(m_openElements, [](const OpenElement& element) { return element.tag == Known::link; });
        m_openCounts[static_cast<std::size_t>(Known::link)] = 0;
    }
    const QString target = cleanedForURL(
        decodeEntities(Text::fromRepairedUTF8(raw.value(Known::href).value_or(QByteArrayView()))));
    const QString scheme = schemeOf(target).value_or(QString());
    if (scheme != "http"_L1 && scheme != "https"_L1 && scheme != "mailto"_L1)
        return;
    const std::optional<MailURL> url = MailURL::parse(target);
    if (!url)
        return;
    m_currentLink = m_result.links.size();
    m_result.links.append({*url, {}});
    removeTitle(attributes);
    if (m_options.indirectLinks) {
        const QString index = linkPrefix + QString::number(m_currentLink);
        attributes.insert(attributes.begin(), {Known::href, index.toUtf8(), true});
        attributes.push_back({Known::title, LinkCleaner::clean(*url).absoluteString().toUtf8()});
    } else {
        attributes.insert(attributes.begin(), {Known::href, url->absoluteString().toUtf8()});
    }
}

void Pass::partLinkText()
{
    m_partedLinkText += ' ';
    m_seenLinkText += ' ';
}

void Pass::finishLink()
{
    if (!hasOpenLink())
        return;
    const auto textOf = [](const QByteArray& bytes) {
        const QString text = decodeEntities(Text::fromRepairedUTF8(bytes));
        return Text::trimmedSpaceAndLineEnds(text).toString();
    };
    LinkRecord& link = m_result.links[m_currentLink];
    link.text = textOf(m_linkText);
    if (m_partedLinkText != m_linkText || m_seenLinkText != m_linkText) {
        link.readings = {textOf(m_partedLinkText), textOf(m_seenLinkText)};
        link.readings.removeDuplicates();
        if (link.readings == QStringList(link.text))
            link.readings.clear();
    }
    m_currentLink = -1;
    m_linkText.clear();
    m_partedLinkText.clear();
    m_seenLinkText.clear();
}

/// Gives whether the tag is written.
bool Pass::applyImageRule(const RawAttributes& raw, OutputAttributes& attributes)
{
    if (m_options.keepsOnlyWordsOfImages)
        return true;
    const ImageDecision decision = decideImage(raw, attributes);
    switch (decision.fate) {
    case ImageFate::dropped:
        return false;
    case ImageFate::blocked:
        attributes.push_back({HTMLVocabulary::noAttribute, {}, true});
        return true;
    case ImageFate::kept:
        attributes.insert(attributes.begin(), {Known::src, decision.source.toUtf8()});
        return true;
    }
    return false;
}

ImageDecision Pass::decideImage(const RawAttributes& raw, const OutputAttributes& attributes)
{
    const QString source = cleanedForURL(
        decodeEntities(Text::fromRepairedUTF8(raw.value(Known::src).value_or(QByteArrayView()))));
    const QString scheme = schemeOf(source).value_or(QString());
    if (scheme == "cid"_L1)
        return decideInlineImage(source);
    if (scheme == "data"_L1) {
        constexpr qsizetype longestPrefix = 15;
        const QString start = Text::lowered(source.first(std::min(source.size(), longestPrefix)));
        const auto isOfType = [&](QLatin1StringView prefix) {
            // "image/png+xml" is another type.
            const QChar behind = source.size() > prefix.size() ? source[prefix.size()] : u',';
            return start.startsWith(prefix) && (behind == u';' || behind == u',');
        };
        const bool isAllowed = std::ranges::any_of(allowedDataPrefixes, isOfType);
        return isAllowed ? ImageDecision{ImageFate::kept, source} : ImageDecision{};
    }
    if (scheme == "http"_L1 || scheme == "https"_L1)
        return decideRemoteImage(source, raw, attributes);
    return {};
}

ImageDecision Pass::decideInlineImage(const QString& source)
{
    const QString id = percentDecodedOrAsIs(source.sliced("cid:"_L1.size()));
    auto image = m_options.inlineImages.constFind(id);
    if (image == m_options.inlineImages.constEnd())
        image = m_options.inlineImages.constFind(u'<' + id + u'>');
    if (image == m_options.inlineImages.constEnd())
        return {};
    const QString type = Text::asciiLowered(image->mimeType);
    if (std::ranges::none_of(allowedInlineTypes, [&](QLatin1StringView allowed) { return type == allowed; }))
        return {};
    m_inlineImageBytes += image->data.size();
    if (m_inlineImageBytes > maximumInlineImageBytes)
        return {ImageFate::blocked, {}};
    return {ImageFate::kept,
            "data:"_L1 + image->mimeType + ";base64,"_L1 + QString::fromLatin1(image->data.toBase64())};
}

/// Whether the image tracks: as it is written, and as the page gets it.
bool Pass::isReporting(const QString& source, const RawAttributes& raw, const OutputAttributes& attributes)
{
    const auto written = [&raw](HTMLVocabulary::Attribute attribute) {
        return Text::fromRepairedUTF8(raw.value(attribute).value_or(QByteArrayView()));
    };
    const ImageTag tag{written(Known::width), written(Known::height), written(Known::style)};
    if (tag.isTracker(source) || (source.contains(u'%') && leadsToTracker(source)))
        return true;
    const QByteArray safe = valueOf(attributes, Known::style);
    const ImageTag shown{Text::fromRepairedUTF8(valueOf(attributes, Known::width)),
                         Text::fromRepairedUTF8(valueOf(attributes, Known::height)),
                         Text::fromRepairedUTF8(safe)};
    // Of the source all is known by now.
    if ((shown != tag && shown.isTracker({})) || raw.value(Known::hidden))
        return true;
    ImageLook look = lookOf(safe);
    look.add(ImageLook::ofAttributes(shown.width, shown.height));
    look.add(lookByRules("img", valueOf(attributes, Known::classes)));
    return look.hidesImage() || isWithinHidden();
}

ImageDecision Pass::decideRemoteImage(const QString& source, const RawAttributes& raw,
                                      const OutputAttributes& attributes)
{
    m_hasLooked = true;
    if (isReporting(source, raw, attributes)) {
        ++m_result.trackers;
        return {};
    }
    const std::optional<QString> kept = withASCIIHost(source);
    if (!kept)
        return {};
    if (!m_options.allowRemoteImages) {
        ++m_result.blockedRemoteImages;
        return {ImageFate::blocked, {}};
    }
    constexpr auto insecure = "http:"_L1;
    if (!Text::isSameKeyword(QStringView(*kept).first(std::min(kept->size(), insecure.size())), u"http:"))
        return {ImageFate::kept, *kept};
    return {ImageFate::kept, "https:"_L1 + kept->sliced(insecure.size())};
}

} // namespace

QString Bodies::ofHTML(const QString& html, const SanitizerOptions& options, Sum& sum, bool keepsStyleSheets)
{
    const QByteArray bytes = UTF8::encoded(html);
    const Sum before = sum;
    Pass pass(bytes, options, sum, keepsStyleSheets);
    QString body = pass.run();
    if (!pass.hasLateRules())
        return body;
    sum.result = before.result;
    sum.inlineImageBytes = before.inlineImageBytes;
    return Pass(bytes, options, sum, keepsStyleSheets).run();
}

SanitizedHTML sanitize(const QString& html, const SanitizerOptions& options)
{
    Bodies::Sum sum;
    sum.result.document = documentAround(Bodies::ofHTML(html, options, sum, true), options.allowRemoteImages);
    return sum.result;
}

} // namespace Larkhaven::HTMLSanitizer
