#include "format/MIMEParser.h"

#include "domain/Text.h"
#include "format/HeaderParameters.h"
#include "format/MailEncoding.h"
#include "format/QuotedPrintable.h"
#include "format/UsualTexts.h"

#include <QVarLengthArray>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

using namespace Qt::StringLiterals;
using namespace std::string_view_literals;

namespace Larkhaven::MIMEParser {

namespace {

/// Where the next LF at or behind `from` is; the size of `bytes` if there is none.
qsizetype lineFeed(QByteArrayView bytes, qsizetype from)
{
    const auto length = static_cast<size_t>(bytes.size() - from);
    const void* const found = length == 0 ? nullptr : std::memchr(bytes.data() + from, '\n', length);
    return found == nullptr ? bytes.size() : static_cast<const char*>(found) - bytes.data();
}

/// Where a header block ends and its body starts.
struct HeaderEnd {
    qsizetype headers;
    qsizetype body;
};

/// Where the next LF stands at or behind `from` that one of the two bytes follows; the size of `bytes` if
/// there is none. Thirty-two bytes at once where the processor can: most of a message is lines that are no
/// end of anything, and a nested one is looked through at each level, which took a fifth of its time line by
/// line and takes a twentieth.
template <char one, char other>
qsizetype lineFeedBefore(QByteArrayView bytes, qsizetype from)
{
    qsizetype index = from;
#if defined(__SSE2__)
    const auto at = [bytes](qsizetype place) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes.data() + place));
    };
    const auto isFound = [at](qsizetype place) {
        const __m128i next = at(place + 1);
        const __m128i isWanted = _mm_or_si128(_mm_cmpeq_epi8(next, _mm_set1_epi8(one)),
                                              _mm_cmpeq_epi8(next, _mm_set1_epi8(other)));
        return _mm_and_si128(_mm_cmpeq_epi8(at(place), _mm_set1_epi8('\n')), isWanted);
    };
    constexpr qsizetype width = sizeof(__m128i);
    for (; bytes.size() - index > 2 * width; index += 2 * width) {
        const __m128i low = isFound(index);
        const __m128i high = isFound(index + width);
        if (_mm_movemask_epi8(_mm_or_si128(low, high)) == 0)
            continue;
        const auto found = static_cast<unsigned>(_mm_movemask_epi8(low)) |
                           static_cast<unsigned>(_mm_movemask_epi8(high)) << width;
        return index + std::countr_zero(found);
    }
#endif
    for (; index + 1 < bytes.size(); ++index) {
        if (bytes[index] == '\n' && (bytes[index + 1] == one || bytes[index + 1] == other))
            return index;
    }
    return bytes.size();
}

HeaderEnd findHeaderEnd(QByteArrayView raw)
{
    if (raw.startsWith('\n'))
        return {0, 1};
    if (raw.startsWith('\r'))
        return {0, raw.size() > 1 && raw[1] == '\n' ? 2 : 1};
    for (qsizetype end = lineFeedBefore<'\n', '\r'>(raw, 0); end < raw.size();
         end = lineFeedBefore<'\n', '\r'>(raw, end + 1)) {
        if (raw[end + 1] == '\n')
            return {end, end + 2};
        if (end + 2 < raw.size() && raw[end + 2] == '\n')
            return {end, end + 3};
    }
    return {raw.size(), raw.size()};
}

bool isBlank(QByteArrayView bytes)
{
    return std::ranges::all_of(
        bytes, [](char byte) { return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n'; });
}

/// Builds the fields from the lines of a header block.
class FieldCollector {
public:
    explicit FieldCollector(qsizetype expected) { m_headers.fields.reserve(expected); }

    void addLine(QStringView line)
    {
        if (line.startsWith(u' ') || line.startsWith(u'\t')) {
            if (!m_pieces.isEmpty())
                m_pieces.append(Text::trimmedSpace(line));
            return;
        }
        const qsizetype colon = line.indexOf(u':');
        if (colon < 0)
            return;
        finish();
        if (m_headers.fields.size() == maxFields)
            return;
        m_name = Text::trimmedSpace(line.first(colon));
        m_pieces.append(Text::trimmedSpace(line.sliced(colon + 1)));
    }

    MIMEHeaders taken() &&
    {
        finish();
        return std::move(m_headers);
    }

private:
    static QString nameOf(QStringView name)
    {
        static const UsualTexts usual{u"Received"_s,
                                      u"Content-Type"_s,
                                      u"Content-Transfer-Encoding"_s,
                                      u"Content-Disposition"_s,
                                      u"From"_s,
                                      u"To"_s,
                                      u"Subject"_s,
                                      u"Date"_s,
                                      u"Message-ID"_s,
                                      u"MIME-Version"_s,
                                      u"DKIM-Signature"_s};
        const QString known = usual.find(name);
        return known.isNull() ? name.toString() : known;
    }

    /// Makes a field of the pieces. Its value takes its memory in one go, and as much as it is long: folds
    /// may hold megabytes of blanks.
    void finish()
    {
        if (m_pieces.isEmpty())
            return;
        qsizetype size = -1;
        for (const QStringView piece : std::as_const(m_pieces))
            size += 1 + piece.size();
        QString value(size, Qt::Uninitialized);
        QChar* output = std::copy(m_pieces.front().begin(), m_pieces.front().end(), value.data());
        for (qsizetype index = 1; index < m_pieces.size(); ++index) {
            *output++ = u' ';
            output = std::copy(m_pieces[index].begin(), m_pieces[index].end(), output);
        }
        m_headers.fields.emplaceBack(MIMEHeaders::Field{nameOf(m_name), std::move(value)});
        m_pieces.clear();
    }

    MIMEHeaders m_headers;
    // Of the field that is read; without a piece there is none.
    QStringView m_name;
    QVarLengthArray<QStringView, 16> m_pieces;
};

MIMEHeaders collectFields(QStringView text)
{
    // Most headers have few fields, and most fields some sixty characters.
    constexpr qsizetype usualSize = 60;
    constexpr qsizetype usualCount = 24;
    FieldCollector collector(std::min(text.size() / usualSize + 1, usualCount));
    QStringView rest = text;
    while (!rest.isEmpty()) {
        const qsizetype end = rest.indexOf(u'\n');
        QStringView line = end < 0 ? rest : rest.first(end);
        rest = end < 0 ? QStringView() : rest.sliced(end + 1);
        if (end >= 0 && line.endsWith(u'\r'))
            line.chop(1); // of the line end
        if (line.endsWith(u'\r'))
            line.chop(1); // a stray one before it
        if (!line.isEmpty())
            collector.addLine(line);
    }
    return std::move(collector).taken();
}

MIMEHeaders parseFields(QByteArrayView block)
{
    // Nearly all are as short as this and in UTF-8. Their text needs no memory of its own.
    std::array<char16_t, 2048> units;
    if (block.size() <= std::ssize(units)) {
        if (const char16_t* const end = Text::writeStrictUTF8(units.data(), block))
            return collectFields(QStringView(units.data(), end));
    }
    return collectFields(MailEncoding::decodeText(block, TextEncoding(TextEncoding::utf8)));
}

/// Gives the pieces of a multipart body one after the other (RFC 2046, 5.1.1). One pass over the bytes.
class BoundarySplitter {
public:
    BoundarySplitter(QByteArrayView body, const QString& boundary)
        : m_body(body)
        , m_boundary(boundary.toUtf8())
    {}

    /// The next piece, without the line end that belongs to the delimiter behind it; absent at the end.
    std::optional<QByteArrayView> next()
    {
        while (m_position < m_body.size()) {
            // Only a line that begins with "--" can be one of the boundary.
            if (m_position > 0 || !m_body.startsWith('-'))
                m_position = lineFeedBefore<'-', '-'>(m_body, std::max<qsizetype>(m_position - 1, 0)) + 1;
            if (m_position >= m_body.size())
                break;
            const qsizetype lineStart = m_position;
            const qsizetype lineEnd = lineFeed(m_body, lineStart);
            m_position = std::min(lineEnd + 1, m_body.size());
            const Line kind = lineKind(m_body.sliced(lineStart, lineEnd - lineStart));
            if (kind == Line::content)
                continue;
            const std::optional<qsizetype> partStart = m_partStart;
            if (kind == Line::close) {
                m_partStart.reset();
                m_position = m_body.size();
            } else {
                m_partStart = m_position;
            }
            if (partStart)
                return withoutLineEnd(*partStart, lineStart);
        }
        return lastPiece();
    }

private:
    enum class Line { content, delimiter, close };

    Line lineKind(QByteArrayView line) const
    {
        if (line.endsWith('\r'))
            line.chop(1);
        if (!line.startsWith("--") || !line.sliced(2).startsWith(m_boundary))
            return Line::content;
        line = line.sliced(2 + m_boundary.size());
        const bool isClose = line.startsWith("--");
        if (isClose)
            line = line.sliced(2);
        const bool isEmpty =
            std::all_of(line.begin(), line.end(), [](char byte) { return byte == ' ' || byte == '\t'; });
        if (!isEmpty)
            return Line::content;
        return isClose ? Line::close : Line::delimiter;
    }

    QByteArrayView withoutLineEnd(qsizetype start, qsizetype end) const
    {
        if (end > start && m_body[end - 1] == '\n')
            --end;
        if (end > start && m_body[end - 1] == '\r')
            --end;
        return m_body.sliced(start, end - start);
    }

    /// The piece that no delimiter closes.
    std::optional<QByteArrayView> lastPiece()
    {
        const std::optional<qsizetype> partStart = std::exchange(m_partStart, std::nullopt);
        if (!partStart || *partStart >= m_body.size())
            return std::nullopt;
        return m_body.sliced(*partStart);
    }

    QByteArrayView m_body;
    QByteArray m_boundary;
    qsizetype m_position = 0;
    std::optional<qsizetype> m_partStart; ///< of the piece that is open
};

using MailEncoding::TransferEncoding;

/// What an entity says of itself.
struct Part {
    HeaderParameters type;
    std::optional<HeaderParameters> disposition;
    TransferEncoding transferEncoding = TransferEncoding::identity;
    std::optional<QString> contentID;

    bool isAttachment() const { return disposition && disposition->value == "attachment"_L1; }

    /// The name that it has for its file.
    std::optional<QString> nameCandidate() const
    {
        std::optional<QString> filename =
            disposition ? disposition->params.value(u"filename"sv) : std::nullopt;
        return filename ? filename : type.params.value(u"name"sv);
    }
};

Part describe(const MIMEHeaders& headers)
{
    Part part;
    // RFC 2045, 5.2: the default of an entity that doesn't tell.
    part.type =
        HeaderParameters::parse(headers.value(u"Content-Type"sv).value_or(u"text/plain; charset=us-ascii"_s));
    if (const std::optional<QString> disposition = headers.value(u"Content-Disposition"sv))
        part.disposition = HeaderParameters::parse(*disposition);
    part.transferEncoding = MailEncoding::transferEncoding(headers.value(u"Content-Transfer-Encoding"sv));
    part.contentID = headers.value(u"Content-ID"sv);
    return part;
}

/// Walks the tree of a message and puts what it finds into a `ParsedMessage`.
class Walker {
public:
    explicit Walker(ParsedMessage& message)
        : m_message(message)
    {}

    void walkMessage(QByteArrayView raw)
    {
        const SplitEntity entity = splitHeaders(raw);
        enter(0);
        m_message.headers = entity.headers;
        walkBody(describe(entity.headers), entity.body, 0);
    }

private:
    void walkEntity(QByteArrayView raw, int depth)
    {
        if (!enter(depth))
            return;
        const SplitEntity entity = splitHeaders(raw);
        walkBody(describe(entity.headers), entity.body, depth);
    }

    /// Counts a part; false if it is beyond the limits.
    bool enter(int depth)
    {
        ++m_partCount;
        const bool isWithin = depth <= maxDepth && m_partCount <= maxParts;
        m_message.isIncomplete |= !isWithin;
        return isWithin;
    }

    void walkBody(const Part& part, QByteArrayView body, int depth)
    {
        const QString boundary = part.type.params.value(u"boundary"sv).value_or(QString());
        if (part.type.value.startsWith("multipart/"_L1) && !boundary.isEmpty())
            walkMultipart(body, boundary, depth);
        else if (part.type.value == "message/rfc822"_L1 && !part.isAttachment())
            walkForwarded(part, body, depth);
        else
            readLeaf(part, body);
    }

    void walkMultipart(QByteArrayView body, const QString& boundary, int depth)
    {
        BoundarySplitter splitter(body, boundary);
        std::optional<QByteArrayView> piece = splitter.next();
        // Without its delimiter a body is a preamble from its start to its end.
        m_message.isIncomplete |= !piece && !isBlank(body);
        // Once the count is used up, no later part can appear.
        while (piece && m_partCount < maxParts) {
            walkEntity(*piece, depth + 1);
            piece = splitter.next();
        }
        m_message.isIncomplete |= piece.has_value();
    }

    void walkForwarded(const Part& part, QByteArrayView body, int depth)
    {
        const Decoded decoded(part, body);
        noteDecoded(body, decoded.bytes.isEmpty());
        if (!enter(depth + 1))
            return;
        const SplitEntity entity = splitHeaders(decoded.bytes);
        // So far the message was its own only section.
        if (m_message.sections.isEmpty())
            m_message.sections.append({0, m_message.headers, m_message.textBody, m_message.htmlBody});
        const qsizetype around = m_section;
        m_section = m_message.sections.size();
        m_message.sections.append({m_message.sections[around].depth + 1, entity.headers, {}, {}});
        walkBody(describe(entity.headers), entity.body, depth + 1);
        m_section = around;
    }

    void noteDecoded(QByteArrayView body, bool isEmpty)
    {
        m_message.isIncomplete |= isEmpty && !isBlank(body);
    }

    void readLeaf(const Part& part, QByteArrayView body)
    {
        const QString& type = part.type.value;
        const std::optional<QString> name = part.nameCandidate();
        const bool isFile = part.isAttachment() || (name && !type.startsWith("text/"_L1));
        const bool isHTML = !isFile && type == "text/html"_L1;
        const bool isFirstHTML = isHTML && !m_message.htmlBody;
        MessageSection* const section = this->section();
        std::optional<QString>& ownHTML = section ? section->htmlBody : m_message.htmlBody;
        if (isHTML && !ownHTML)
            ownHTML = text(part, body);
        if (!isFile && type == "text/plain"_L1)
            addPlainText(text(part, body));
        else if (isFirstHTML)
            m_message.htmlBody = ownHTML;
        else
            addAttachment(part, name, body);
    }

    QString text(const Part& part, QByteArrayView body)
    {
        const TextEncoding charset = MailEncoding::charsetEncoding(part.type.params.value(u"charset"sv));
        if (part.transferEncoding == TransferEncoding::quotedPrintable &&
            charset.charset == TextEncoding::utf8) {
            if (std::optional<QString> text = QuotedPrintable::decodeUTF8(body)) {
                noteDecoded(body, text->isEmpty());
                return *std::move(text);
            }
        }
        const Decoded decoded(part, body);
        noteDecoded(body, decoded.bytes.isEmpty());
        return MailEncoding::decodeText(decoded.bytes, charset);
    }

    void addPlainText(const QString& text)
    {
        append(m_message.textBody, text);
        if (MessageSection* const section = this->section())
            append(section->textBody, text);
    }

    static void append(std::optional<QString>& body, const QString& text)
    {
        if (body)
            body->append("\n\n"_L1).append(text);
        else
            body = text;
    }

    /// The message that the part belongs to, where others are forwarded; null while it is the only one.
    MessageSection* section()
    {
        return m_message.sections.isEmpty() ? nullptr : &m_message.sections[m_section];
    }

    void addAttachment(const Part& part, const std::optional<QString>& name, QByteArrayView body)
    {
        MailAttachment attachment;
        attachment.id = m_message.attachments.size();
        attachment.filename = safeFilename(name ? MailEncoding::decodeHeader(*name)
                                                : u"attachment-%1"_s.arg(attachment.id + 1));
        attachment.mimeType = part.type.value;
        if (part.contentID)
            attachment.contentID = withoutAngleBrackets(*part.contentID);
        attachment.isInline =
            part.disposition ? part.disposition->value == "inline"_L1 : part.contentID.has_value();
        attachment.data = MailEncoding::decodeTransfer(body, part.transferEncoding);
        noteDecoded(body, attachment.data.isEmpty());
        m_message.attachments.append(attachment);
    }

    static QString withoutAngleBrackets(const QString& contentID)
    {
        QStringView trimmed = Text::trimmedSpace(contentID);
        if (trimmed.startsWith(u'<') && trimmed.endsWith(u'>'))
            trimmed = trimmed.sliced(1).chopped(1);
        return trimmed.toString();
    }

    /// A body with its transfer encoding undone: bytes of the message itself where there is nothing to undo.
    struct Decoded {
        Decoded(const Part& part, QByteArrayView body)
            : bytes(body)
        {
            if (part.transferEncoding == TransferEncoding::identity)
                return;
            storage = MailEncoding::decodeTransfer(body, part.transferEncoding);
            bytes = storage;
        }
        Decoded(const Decoded&) = delete;
        Decoded& operator=(const Decoded&) = delete;

        QByteArray storage;
        QByteArrayView bytes;
    };

    ParsedMessage& m_message;
    qsizetype m_section = 0; ///< which of the sections the part belongs to
    int m_partCount = 0;
};

/// Zero-width and bidirectional controls: they make a name look like another one.
bool isInvisible(QChar character)
{
    const char16_t unit = character.unicode();
    return (unit >= 0x200b && unit <= 0x200f) || (unit >= 0x202a && unit <= 0x202e) ||
           (unit >= 0x2066 && unit <= 0x2069) || unit == 0x061c || unit == 0xfeff;
}

bool isForbiddenInFilename(QChar character)
{
    return character == u'/' || character == u'\\' || character == u':' ||
           character.category() == QChar::Other_Control;
}

} // namespace

ParsedMessage parse(QByteArrayView raw)
{
    ParsedMessage message;
    Walker(message).walkMessage(raw);
    return message;
}

SplitEntity splitHeaders(QByteArrayView raw)
{
    const HeaderEnd end = findHeaderEnd(raw);
    return {parseFields(raw.first(end.headers)), raw.sliced(end.body)};
}

QString safeFilename(const QString& name)
{
    QString safe = name;
    safe.removeIf(isInvisible);
    std::replace_if(safe.begin(), safe.end(), isForbiddenInFilename, u'_');
    QStringView trimmed(safe);
    const auto isTrimmed = [](QChar character) { return character == u'.' || Text::isSpace(character); };
    while (!trimmed.isEmpty() && isTrimmed(trimmed.front()))
        trimmed = trimmed.sliced(1);
    while (!trimmed.isEmpty() && isTrimmed(trimmed.back()))
        trimmed.chop(1);
    return trimmed.isEmpty() ? u"attachment"_s : Text::prefix(trimmed.toString(), maxFilenameCharacters);
}

} // namespace Larkhaven::MIMEParser
