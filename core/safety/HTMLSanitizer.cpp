#include "safety/HTMLSanitizer.h"

#include "domain/Text.h"
#include "safety/Bodies.h"
#include "safety/DocumentShell.h"
#include "safety/HTMLReader.h"
#include "safety/HTMLVocabulary.h"
#include "safety/LinkCleaner.h"
#include "safety/LinkText.h"
#include "safety/OpenElements.h"
#include "safety/PlainStyle.h"
#include "safety/TrackerTest.h"
#include "safety/URLParts.h"
#include "safety/UTF8.h"
#include "safety/UnitScan.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <deque>
#include <initializer_list>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven::HTMLSanitizer {
namespace {

using HTMLReader::RawAttributes;
using HTMLVocabulary::Tag;
namespace Known = HTMLVocabulary::Known;

constexpr std::array allowedDataPrefixes{"data:image/png"_L1, "data:image/gif"_L1, "data:image/jpeg"_L1,
                                         "data:image/jpg"_L1, "data:image/webp"_L1};

constexpr std::array allowedInlineTypes{"image/png"_L1, "image/gif"_L1,  "image/jpeg"_L1,
                                        "image/jpg"_L1, "image/webp"_L1, "image/heic"_L1};

bool isHiding(QChar character)
{
    const char16_t unit = character.unicode();
    return unit < 33 || unit == 127 || (unit >= 0x200b && unit <= 0x200d) || unit == 0xfeff;
}

/// The text with U+FFFD for each half of a surrogate pair that stands alone.
QString withoutHalves(const QString& text)
{
    const char16_t* const begin = QStringView(text).utf16();
    const char16_t* const end = begin + text.size();
    const auto next = [end](const char16_t* from) {
        return UnitScan::findFar(from, end, UnitScan::IsSurrogate{});
    };
    QString result;
    QChar* units = nullptr;
    for (const char16_t* at = next(begin); at < end; at = next(at)) {
        if (QChar::isHighSurrogate(*at) && at + 1 < end && QChar::isLowSurrogate(at[1])) {
            at += 2;
            continue;
        }
        if (!units) {
            result = text;
            units = result.data();
        }
        units[at - begin] = QChar::ReplacementCharacter;
        ++at;
    }
    return units ? result : text;
}

/// The schemes that rules know.
enum class Scheme { other, web, mail, inlineImage, data };

Scheme knownSchemeOf(QStringView text)
{
    if (UnitScan::startsWith(text, u"https:") || UnitScan::startsWith(text, u"http:"))
        return Scheme::web;
    const QString scheme = schemeOf(text).value_or(QString());
    return scheme == "http"_L1 || scheme == "https"_L1 ? Scheme::web
           : scheme == "mailto"_L1                     ? Scheme::mail
           : scheme == "cid"_L1                        ? Scheme::inlineImage
           : scheme == "data"_L1                       ? Scheme::data
                                                       : Scheme::other;
}

/// Decodes percent-encoding; a text in which that fails stays.
QString percentDecodedOrAsIs(const QString& text)
{
    return UTF8::percentDecoded(text).value_or(text);
}

struct OutputAttribute {
    HTMLVocabulary::Attribute attribute = HTMLVocabulary::noAttribute; ///< none: the mark of a blocked image
    QStringView value = {};
    bool isPlain = false; ///< nothing in it must become a character reference
};

using OutputAttributes = std::vector<OutputAttribute>;

QStringView valueOf(const OutputAttributes& attributes, HTMLVocabulary::Attribute wanted)
{
    const auto found = std::ranges::find(attributes, wanted, &OutputAttribute::attribute);
    return found == attributes.end() ? QStringView() : found->value;
}

void removeTitle(OutputAttributes& attributes)
{
    std::erase_if(attributes,
                  [](const OutputAttribute& attribute) { return attribute.attribute == Known::title; });
}

/// Whether the style has one of the words, ASCII letters in any case. `firsts` are what they begin with.
template <char16_t... firsts>
bool hasWord(QStringView style, std::initializer_list<QStringView> words)
{
    const auto next = [style](qsizetype from) {
        return UnitScan::firstOf<firsts..., (firsts - 0x20)...>(style, from);
    };
    for (qsizetype start = next(0); start < style.size(); start = next(start + 1)) {
        const QStringView rest = style.sliced(start);
        const auto isThere = [rest](QStringView word) {
            return rest.size() >= word.size() && Text::isSameKeyword(rest.first(word.size()), word);
        };
        if (std::ranges::any_of(words, isThere))
            return true;
    }
    return false;
}

/// Whether what stands before and behind the tag isn't one word on the page.
bool partsText(Tag tag, QStringView style)
{
    const bool isPhrase = HTMLVocabulary::isPhrase(tag);
    if (isPhrase && !hasWord<u'b'>(style, {u"block"}))
        return false;
    return !hasWord<u'i', u'c'>(style, {u"inline", u"contents"});
}

/// What becomes of an image.
enum class ImageFate {
    dropped, ///< no tag is written
    blocked, ///< the tag is written without a source, and hidden
    kept,    ///< the tag is written with a source
};

struct ImageDecision {
    ImageFate fate = ImageFate::dropped;
    QStringView source = {};
};

/// A start tag that was read, and what became of it.
struct KnownTag {
    QStringView text; ///< from its "<" to before its ">"
    qsizetype start = 0;
    qsizetype size = 0; ///< as it is written in the document from there
    OpenElement element;
    bool hasTitle = false;
};

/// The working state of one pass over a message.
class Pass {
public:
    /// Links, counts, rules and what is left for inline images go on in `sum`.
    Pass(QStringView html, const SanitizerOptions& options, Bodies::Sum& sum, bool keepsStyleSheets)
        : m_html(html)
        , m_options(options)
        , m_page(sum.page)
        , m_result(sum.result)
        , m_inlineImageBytes(sum.inlineImageBytes)
        , m_rules(sum.rules)
        , m_keepsStyleSheets(keepsStyleSheets)
        , m_elements(sum.rules)
    {}

    void run()
    {
        while (m_position < m_html.size())
            step();
        finishLink();
        closeDownTo(0);
    }

    /// Whether a style sheet hides something, and stands behind what it may hide: all of it holds for all of
    /// the document.
    bool hasLateRules() const { return m_hasLateRules; }

private:
    void step();
    void copyText();
    void readEndTag();
    void readStartTag();
    void writeStyle(qsizetype contentStart);

    bool repeatTag(const KnownTag& known);
    std::optional<OpenElement> startTag(Tag tag, const RawAttributes& raw);
    void open(const OpenElement& element);
    bool isWithinHidden();
    void readValues(const RawAttributes& raw, OutputAttributes& attributes);
    QStringView decoded(QStringView value);
    QStringView decodedURL(std::optional<QStringView> value);
    QStringView kept(const QString& text) { return m_kept.emplace_back(text); }
    void writeStartTag(Tag tag, const OutputAttributes& attributes);
    void endTag(Tag tag);
    void closeDownTo(std::size_t depth);

    void applyLinkRule(const RawAttributes& raw, OutputAttributes& attributes);
    QStringView addressOf(qsizetype link);
    void finishLink();

    bool applyImageRule(const RawAttributes& raw, OutputAttributes& attributes);
    ImageDecision decideImage(const RawAttributes& raw, const OutputAttributes& attributes);
    ImageDecision decideInlineImage(QStringView source);
    ImageDecision decideRemoteImage(QStringView source, const RawAttributes& raw,
                                    const OutputAttributes& attributes);
    bool isReporting(QStringView source, const std::optional<URLParts>& parts, const RawAttributes& raw,
                     const OutputAttributes& attributes);

    bool hasOpenLink() const { return m_currentLink >= 0; }

    QStringView m_html;
    const SanitizerOptions& m_options;
    qsizetype m_position = 0;
    DocumentWriter& m_page;
    RawAttributes m_raw;           ///< of the tag that is read
    OutputAttributes m_attributes; ///< of the tag that is written
    std::deque<QString> m_kept;    ///< the values that are no part of the message as it stands
    SanitizedHTML& m_result;
    qint64& m_inlineImageBytes;
    ImageLookRules& m_rules;
    bool m_keepsStyleSheets;
    bool m_hasLooked = false; ///< at the rules so far
    bool m_hasLateRules = false;
    OpenElements m_elements;
    Repeats::Table<KnownTag> m_knownTags;
    qsizetype m_currentLink = -1; ///< index of the open link, or -1
    LinkText m_linkText;
    QString m_linkAddress = linkPrefix; ///< of the link that is written
    QString m_url;                      ///< of the tag that is written, where it isn't as the message has it
};

void Pass::step()
{
    const QStringView rest = m_html.sliced(m_position);
    const QChar second = rest.size() > 1 ? rest[1] : QChar();
    if (rest[0] != u'<') {
        copyText();
    } else if (HTMLReader::isLetterAt(rest, 1)) {
        readStartTag();
    } else if (second == u'/' && HTMLReader::isLetterAt(rest, 2)) {
        readEndTag();
    } else if (UnitScan::startsWith(rest, u"<!--")) {
        m_position = HTMLReader::behindComment(m_html, m_position);
    } else if (second == u'?' || second == u'!') {
        m_position = HTMLReader::behindNextBracket(m_html, m_position);
    } else {
        m_page.write(u"&lt;");
        ++m_position;
    }
}

void Pass::copyText()
{
    const qsizetype start = m_position;
    for (qsizetype written = start;; ++m_position) {
        m_position = UnitScan::firstOf<u'<', u'>'>(m_html, m_position);
        m_page.write(m_html.sliced(written, m_position - written));
        if (m_position == m_html.size() || m_html[m_position] == u'<')
            break;
        m_page.write(u"&gt;");
        written = m_position + 1;
    }
    if (hasOpenLink())
        m_linkText.add(m_html.sliced(start, m_position - start), isWithinHidden());
}

void Pass::readEndTag()
{
    // Most end tags are written as they are here, and close the innermost element.
    if (const Tag innermost = m_elements.innermost(); innermost != HTMLVocabulary::noTag) {
        const HTMLVocabulary::Piece& closing = HTMLVocabulary::closingOf(innermost);
        const auto size = static_cast<qsizetype>(closing.size);
        if (Repeats::isSame(m_html.sliced(m_position, std::min(size, m_html.size() - m_position)),
                            QStringView(closing.units.data(), size))) {
            m_position += size;
            endTag(innermost);
            return;
        }
    }
    m_position += 2;
    const Tag tag = HTMLVocabulary::allowedTag(HTMLReader::readName(m_html, m_position));
    m_position = HTMLReader::behindNextBracket(m_html, m_position);
    if (tag != HTMLVocabulary::noTag && !HTMLVocabulary::isVoid(tag))
        endTag(tag);
}

void Pass::readStartTag()
{
    constexpr HTMLVocabulary::Name styleSheet("style");
    // Most tags of a newsletter are written as one before them, and to repeat what became of that takes a
    // tenth of the time. What ends at the first ">" depends on nothing behind it.
    constexpr qsizetype longestKnown = 512;
    const QStringView next = m_html.sliced(m_position, std::min(longestKnown, m_html.size() - m_position));
    const QStringView text = next.first(UnitScan::firstOf<u'>'>(next));
    const bool isWhole = text.size() < next.size();
    if (const KnownTag* known = isWhole ? m_knownTags.find(text) : nullptr; known && repeatTag(*known))
        return;
    const qsizetype start = m_position;
    ++m_position;
    const HTMLVocabulary::Name name = HTMLReader::readName(m_html, m_position);
    m_raw.clear();
    m_position = HTMLReader::readAttributes(m_html, m_position, m_raw);
    if (const Tag tag = HTMLVocabulary::allowedTag(name); tag != HTMLVocabulary::noTag) {
        const qsizetype written = m_page.size();
        const std::optional<OpenElement> element = startTag(tag, m_raw);
        // Links have numbers, and what becomes of an image depends on what is around it.
        const bool isAlwaysSame = tag != HTMLVocabulary::linkTag && tag != HTMLVocabulary::imageTag &&
                                  !(m_raw.has(Known::title) && hasOpenLink());
        if (element && isAlwaysSame && isWhole && m_position == start + text.size() + 1)
            m_knownTags.add({text, written, m_page.size() - written, *element, m_raw.has(Known::title)});
    } else if (const QLatin1StringView dropped = HTMLVocabulary::droppedWithContent(name);
               !dropped.isEmpty()) {
        m_position = HTMLReader::endOfRawText(m_html, m_position, dropped).next;
    } else if (name == styleSheet) {
        writeStyle(m_position);
    }
}

/// Gives whether the tag becomes what it did become before.
bool Pass::repeatTag(const KnownTag& known)
{
    const bool isVoid = HTMLVocabulary::isVoid(known.element.tag);
    if ((!isVoid && m_elements.size() >= maximumOpenElements) || (known.hasTitle && hasOpenLink()))
        return false;
    m_position += known.text.size() + 1;
    m_page.repeat(known.start, known.size);
    open(known.element);
    return true;
}

void Pass::writeStyle(qsizetype contentStart)
{
    const HTMLReader::RawTextEnd end = HTMLReader::endOfRawText(m_html, contentStart, "style"_L1);
    const QString css = m_html.sliced(contentStart, end.contentEnd - contentStart).toString();
    m_position = end.next;
    if (!m_keepsStyleSheets)
        return;
    const QString safe = safeStyle(css);
    m_page.write(u"<style>");
    m_page.write(safe);
    m_page.write(u"</style>");
    if (m_rules.addSheet(safe) && m_hasLooked)
        m_hasLateRules = true;
}

/// Gives the element, where its tag is written.
std::optional<OpenElement> Pass::startTag(Tag tag, const RawAttributes& raw)
{
    if (!HTMLVocabulary::isVoid(tag) && m_elements.size() >= maximumOpenElements)
        return std::nullopt;
    OutputAttributes& attributes = m_attributes;
    readValues(raw, attributes);
    if (tag == HTMLVocabulary::linkTag)
        applyLinkRule(raw, attributes);
    else if (tag == HTMLVocabulary::imageTag && !applyImageRule(raw, attributes))
        return std::nullopt;
    // It would take the place of the link's own, which says where it leads.
    if (tag != HTMLVocabulary::linkTag && hasOpenLink())
        removeTitle(attributes);
    writeStartTag(tag, attributes);
    const OpenElement element{tag, raw.has(Known::hidden), valueOf(attributes, Known::style),
                              valueOf(attributes, Known::classes)};
    open(element);
    return element;
}

void Pass::open(const OpenElement& element)
{
    if (hasOpenLink() && partsText(element.tag, element.style))
        m_linkText.part();
    if (!HTMLVocabulary::isVoid(element.tag))
        m_elements.open(element);
}

bool Pass::isWithinHidden()
{
    m_hasLooked = true;
    return m_elements.hideContent();
}

void Pass::readValues(const RawAttributes& raw, OutputAttributes& attributes)
{
    attributes.clear();
    for (const HTMLReader::RawAttribute& attribute : raw) {
        if (!HTMLVocabulary::isAllowed(attribute.attribute))
            continue;
        const QStringView value = attribute.isPlain ? attribute.value : decoded(attribute.value);
        attributes.push_back({attribute.attribute, value, attribute.isPlain});
        OutputAttribute& output = attributes.back();
        if (attribute.attribute == Known::style && !isPlainStyle(output.value)) {
            output.value = kept(safeStyle(output.value.toString()));
            output.isPlain = false;
        }
    }
}

QStringView Pass::decoded(QStringView value)
{
    return UnitScan::holds<u'&'>(value) ? kept(decodeEntities(value)) : value;
}

/// The value without what may hide a scheme: controls and space, DEL, zero-width characters and byte order
/// marks. Until the next call.
QStringView Pass::decodedURL(std::optional<QStringView> value)
{
    QStringView text = value.value_or(QStringView());
    if (UnitScan::holds<u'&'>(text)) {
        decodeEntities(text, m_url);
        text = m_url;
    }
    if (UnitScan::isGraphic(text) || std::ranges::none_of(text, isHiding))
        return text;
    m_url = text.toString().removeIf(isHiding);
    return m_url;
}

void Pass::writeStartTag(Tag tag, const OutputAttributes& attributes)
{
    m_page.write(HTMLVocabulary::openingOf(tag));
    for (const OutputAttribute& attribute : attributes) {
        if (attribute.attribute == HTMLVocabulary::noAttribute)
            m_page.write(u" data-lh-blocked=\"");
        else
            m_page.write(HTMLVocabulary::openingOfAttribute(attribute.attribute));
        if (attribute.isPlain)
            m_page.write(attribute.value);
        else
            m_page.writeEscaped(attribute.value);
        m_page.write(u'"');
    }
    m_page.write(u'>');
}

void Pass::endTag(Tag tag)
{
    const std::optional<std::size_t> depth = m_elements.depthOf(tag);
    if (!depth)
        return;
    if (tag == HTMLVocabulary::linkTag)
        finishLink();
    if (hasOpenLink() && partsText(tag, {}))
        m_linkText.part();
    closeDownTo(*depth);
}

void Pass::closeDownTo(std::size_t depth)
{
    while (m_elements.size() > depth)
        m_page.write(HTMLVocabulary::closingOf(m_elements.close()));
}

void Pass::applyLinkRule(const RawAttributes& raw, OutputAttributes& attributes)
{
    if (hasOpenLink()) {
        finishLink();
        m_page.write(HTMLVocabulary::closingOf(HTMLVocabulary::linkTag));
        m_elements.closeAll(HTMLVocabulary::linkTag);
    }
    const QStringView target = decodedURL(raw.value(Known::href));
    const Scheme scheme = knownSchemeOf(target);
    if (scheme != Scheme::web && scheme != Scheme::mail)
        return;
    std::optional<MailURL> url = MailURL::parse(target);
    if (!url)
        return;
    m_currentLink = m_result.links.size();
    removeTitle(attributes);
    if (m_options.indirectLinks) {
        attributes.insert(attributes.begin(), {Known::href, addressOf(m_currentLink), true});
        attributes.push_back({Known::title, kept(LinkCleaner::clean(*url).absoluteString())});
    } else {
        attributes.insert(attributes.begin(), {Known::href, kept(url->absoluteString())});
    }
    m_result.links.append({std::move(*url), {}});
}

/// As the page has it; until the next call.
QStringView Pass::addressOf(qsizetype link)
{
    std::array<char, std::numeric_limits<qsizetype>::digits10 + 1> digits;
    const char* const end = std::to_chars(digits.begin(), digits.end(), link).ptr;
    m_linkAddress.resize(linkPrefix.size());
    m_linkAddress += QLatin1StringView(digits.data(), end - digits.data());
    return m_linkAddress;
}

void Pass::finishLink()
{
    if (!hasOpenLink())
        return;
    m_linkText.moveTo(m_result.links[m_currentLink]);
    m_currentLink = -1;
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
        attributes.push_back({HTMLVocabulary::noAttribute, {}});
        return true;
    case ImageFate::kept:
        attributes.insert(attributes.begin(), {Known::src, decision.source});
        return true;
    }
    return false;
}

ImageDecision Pass::decideImage(const RawAttributes& raw, const OutputAttributes& attributes)
{
    const QStringView source = decodedURL(raw.value(Known::src));
    const Scheme scheme = knownSchemeOf(source);
    if (scheme == Scheme::inlineImage)
        return decideInlineImage(source);
    if (scheme == Scheme::data) {
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
    return scheme == Scheme::web ? decideRemoteImage(source, raw, attributes) : ImageDecision{};
}

ImageDecision Pass::decideInlineImage(QStringView source)
{
    const QString id = percentDecodedOrAsIs(source.sliced("cid:"_L1.size()).toString());
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
        return {ImageFate::blocked};
    const QString data = QString::fromLatin1(image->data.toBase64());
    return {ImageFate::kept, kept("data:"_L1 + image->mimeType + ";base64,"_L1 + data)};
}

/// Whether the image tracks: as it is written, and as the page gets it.
bool Pass::isReporting(QStringView source, const std::optional<URLParts>& parts, const RawAttributes& raw,
                       const OutputAttributes& attributes)
{
    const auto written = [&raw](HTMLVocabulary::Attribute attribute) {
        return raw.value(attribute).value_or(QStringView());
    };
    const ImageTag tag{written(Known::width), written(Known::height), written(Known::style)};
    if (tag.isHidden() || isOfTracker(source, parts) ||
        (UnitScan::holds<u'%'>(source) && leadsToTracker(source.toString())))
        return true;
    const ImageTag shown{valueOf(attributes, Known::width), valueOf(attributes, Known::height),
                         valueOf(attributes, Known::style)};
    if ((shown != tag && shown.isHidden()) || raw.has(Known::hidden))
        return true;
    ImageLook look =
        m_elements.lookOf(HTMLVocabulary::imageTag, shown.style, valueOf(attributes, Known::classes));
    look.add(ImageLook::ofAttributes(shown.width, shown.height));
    return look.hidesImage() || isWithinHidden();
}

ImageDecision Pass::decideRemoteImage(QStringView source, const RawAttributes& raw,
                                      const OutputAttributes& attributes)
{
    m_hasLooked = true;
    const std::optional<URLParts> parts = URLParts::read(source);
    if (isReporting(source, parts, raw, attributes)) {
        ++m_result.trackers;
        return {};
    }
    if (!parts)
        return {};
    if (!m_options.allowRemoteImages) {
        ++m_result.blockedRemoteImages;
        return {ImageFate::blocked};
    }
    // The host in ASCII, all else as it stands.
    // The host in ASCII, all else as it stands.
    QString written = source.first(parts->hostStart).toString();
    if (parts->mappedHost.isEmpty())
        written += source.sliced(parts->hostStart, parts->hostEnd - parts->hostStart);
    written += parts->mappedHost;
    written += source.sliced(parts->hostEnd);
    constexpr auto insecure = "http:"_L1;
    if (Text::isSameKeyword(written.first(std::min(written.size(), insecure.size())), u"http:"))
        written.replace(0, insecure.size(), "https:"_L1);
    return {ImageFate::kept, kept(written)};
}

} // namespace

void Bodies::addHTML(const QString& html, const SanitizerOptions& options, Sum& sum, bool keepsStyleSheets)
{
    const QString text = withoutHalves(html);
    const qsizetype start = sum.page.size();
    const qsizetype links = sum.result.links.size();
    const int images = sum.result.blockedRemoteImages;
    const int trackers = sum.result.trackers;
    const qint64 imageBytes = sum.inlineImageBytes;
    sum.page.reserve(text.size() + text.size() / 8);
    Pass pass(text, options, sum, keepsStyleSheets);
    pass.run();
    if (!pass.hasLateRules())
        return;
    sum.page.truncate(start);
    sum.result.links.remove(links, sum.result.links.size() - links);
    sum.result.blockedRemoteImages = images;
    sum.result.trackers = trackers;
    sum.inlineImageBytes = imageBytes;
    Pass(text, options, sum, keepsStyleSheets).run();
}

SanitizedHTML sanitize(const QString& html, const SanitizerOptions& options)
{
    Bodies::Sum sum;
    sum.page.write(documentHead(options.allowRemoteImages));
    Bodies::addHTML(html, options, sum, true);
    sum.page.write(documentEnd);
    sum.result.document = sum.page.taken();
    return std::move(sum.result);
}

} // namespace Larkhaven::HTMLSanitizer
