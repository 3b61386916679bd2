#include "safety/HTMLReader.h"

#include "domain/Text.h"

#include <algorithm>

namespace Larkhaven::HTMLReader {
namespace {

bool isLetter(char byte)
{
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

bool isSpace(char byte)
{
    return byte == '\t' || byte == '\n' || byte == '\f' || byte == '\r' || byte == ' ';
}

char lowered(char byte)
{
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 0x20) : byte;
}

qsizetype behindSpace(QByteArrayView html, qsizetype position)
{
    while (position < html.size() && isSpace(html[position]))
        ++position;
    return position;
}

qsizetype endOfAttributeName(QByteArrayView html, qsizetype position)
{
    for (; position < html.size(); ++position) {
        const char byte = html[position];
        if (isSpace(byte) || byte == '=' || byte == '>')
            break;
        if (byte == '/' && position + 1 < html.size() && html[position + 1] == '>')
            break;
    }
    return position;
}

/// Reads the value that begins at the position, and moves the position behind it.
QByteArrayView readValue(QByteArrayView html, qsizetype& position)
{
    if (position < html.size() && (html[position] == '"' || html[position] == '\'')) {
        const qsizetype start = position + 1;
        const qsizetype quote = html.indexOf(html[position], start);
        const qsizetype end = quote < 0 ? html.size() : quote;
        position = quote < 0 ? end : end + 1;
        return html.sliced(start, end - start);
    }
    const qsizetype start = position;
    while (position < html.size() && !isSpace(html[position]) && html[position] != '>')
        ++position;
    return html.sliced(start, position - start);
}

quint32 bit(HTMLVocabulary::Attribute attribute)
{
    return quint32{1} << attribute;
}

} // namespace

void RawAttributes::add(RawAttribute attribute)
{
    if (attribute.attribute == HTMLVocabulary::noAttribute || value(attribute.attribute))
        return;
    m_known |= bit(attribute.attribute);
    m_attributes[static_cast<std::size_t>(m_count)] = attribute;
    ++m_count;
}

void RawAttributes::clear()
{
    m_count = 0;
    m_known = 0;
}

std::optional<QByteArrayView> RawAttributes::value(HTMLVocabulary::Attribute attribute) const
{
    if ((m_known & bit(attribute)) == 0)
        return std::nullopt;
    const auto found =
        std::find_if(begin(), end(), [=](const RawAttribute& raw) { return raw.attribute == attribute; });
    return found->value;
}

bool isLetterAt(QByteArrayView html, qsizetype position)
{
    return position < html.size() && isLetter(html[position]);
}

qsizetype endOfName(QByteArrayView html, qsizetype position)
{
    while (position < html.size() && !isSpace(html[position]) && html[position] != '/' &&
           html[position] != '>')
        ++position;
    return position;
}

Name::Name(QByteArrayView written)
{
    const bool isASCII =
        std::ranges::none_of(written, [](char byte) { return static_cast<uchar>(byte) >= 0x80; });
    if (isASCII && written.size() <= static_cast<qsizetype>(m_short.size())) {
        std::ranges::transform(written, m_short.begin(), lowered);
        m_view = QByteArrayView(m_short.data(), written.size());
    } else {
        m_long = Text::lowered(Text::fromRepairedUTF8(written)).toUtf8();
        m_view = m_long;
    }
}

qsizetype behindNextBracket(QByteArrayView html, qsizetype position)
{
    const qsizetype bracket = html.indexOf('>', position);
    return bracket < 0 ? html.size() : bracket + 1;
}

qsizetype readAttributes(QByteArrayView html, qsizetype position, RawAttributes& attributes)
{
    while (true) {
        while (position < html.size() && (isSpace(html[position]) || html[position] == '/'))
            ++position;
        if (position >= html.size())
            return position;
        if (html[position] == '>')
            return position + 1;
        const qsizetype nameStart = position;
        position = endOfAttributeName(html, position);
        const Name name(html.sliced(nameStart, position - nameStart));
        position = behindSpace(html, position);
        QByteArrayView value;
        if (position < html.size() && html[position] == '=') {
            position = behindSpace(html, position + 1);
            value = readValue(html, position);
        }
        attributes.add({HTMLVocabulary::knownAttribute(name.view()), value});
    }
}

RawTextEnd endOfRawText(QByteArrayView html, qsizetype position, QByteArrayView name)
{
    for (qsizetype start = html.indexOf('<', position); start >= 0; start = html.indexOf('<', start + 1)) {
        const qsizetype nameStart = start + 2;
        if (nameStart + name.size() > html.size())
            break;
        const auto matches = [](char byte, char expected) { return lowered(byte) == expected; };
        if (html[start + 1] == '/' &&
            std::equal(name.begin(), name.end(), html.begin() + nameStart,
                       [&](char expected, char byte) { return matches(byte, expected); }))
            return {start, behindNextBracket(html, nameStart + name.size())};
    }
    return {html.size(), html.size()};
}

} // namespace Larkhaven::HTMLReader
