#include "format/MailEncoding.h"

#include "domain/Text.h"
#include "format/Base64.h"
#include "format/EncodedWords.h"
#include "format/QuotedPrintable.h"

#include <algorithm>
#include <array>
#include <string_view>

using namespace Qt::StringLiterals;
using namespace std::string_view_literals;

namespace Larkhaven::MailEncoding {

namespace {

/// An encoded word takes a character more as long as its base64 is no longer than this.
constexpr qsizetype maxWordBase64 = 45;

} // namespace

TransferEncoding transferEncoding(const std::optional<QString>& name)
{
    if (!name)
        return TransferEncoding::identity;
    const QStringView trimmed = Text::trimmedSpace(*name);
    if (Text::isSameKeyword(trimmed, u"base64"sv))
        return TransferEncoding::base64;
    if (Text::isSameKeyword(trimmed, u"quoted-printable"sv))
        return TransferEncoding::quotedPrintable;
    return TransferEncoding::identity;
}

QByteArray decodeBase64(QByteArrayView bytes)
{
    return Base64::decode(bytes);
}

QByteArray decodeQuotedPrintable(QByteArrayView bytes, bool underscoreAsSpace)
{
    return QuotedPrintable::decode(bytes, underscoreAsSpace);
}

QByteArray decodeTransfer(QByteArrayView bytes, const std::optional<QString>& name)
{
    return decodeTransfer(bytes, transferEncoding(name));
}

QByteArray decodeTransfer(QByteArrayView bytes, TransferEncoding encoding)
{
    switch (encoding) {
    case TransferEncoding::base64:
        return decodeBase64(bytes);
    case TransferEncoding::quotedPrintable:
        return decodeQuotedPrintable(bytes, false);
    case TransferEncoding::identity:
        break;
    }
    return bytes.toByteArray();
}

QByteArray encodeBase64Lines(QByteArrayView bytes)
{
    return Base64::encodeLines(bytes);
}

namespace {

struct NamedCharset {
    std::string_view name;
    TextEncoding::Charset charset;
};

/// Sorted by name.
constexpr std::array commonCharsets = {
    NamedCharset{"ascii", TextEncoding::utf8},
    NamedCharset{"cp1250", TextEncoding::windowsCP1250},
    NamedCharset{"cp1251", TextEncoding::windowsCP1251},
    NamedCharset{"cp1252", TextEncoding::windowsCP1252},
    NamedCharset{"euc-jp", TextEncoding::japaneseEUC},
    NamedCharset{"iso-2022-jp", TextEncoding::iso2022JP},
    NamedCharset{"iso-8859-1", TextEncoding::isoLatin1},
    NamedCharset{"iso-8859-2", TextEncoding::isoLatin2},
    NamedCharset{"latin1", TextEncoding::isoLatin1},
    NamedCharset{"latin2", TextEncoding::isoLatin2},
    NamedCharset{"shift-jis", TextEncoding::shiftJIS},
    NamedCharset{"shift_jis", TextEncoding::shiftJIS},
    NamedCharset{"sjis", TextEncoding::shiftJIS},
    NamedCharset{"us-ascii", TextEncoding::utf8},
    NamedCharset{"utf-16", TextEncoding::utf16},
    NamedCharset{"utf-16be", TextEncoding::utf16BigEndian},
    NamedCharset{"utf-16le", TextEncoding::utf16LittleEndian},
    NamedCharset{"utf-8", TextEncoding::utf8},
    NamedCharset{"utf8", TextEncoding::utf8},
    NamedCharset{"windows-1250", TextEncoding::windowsCP1250},
    NamedCharset{"windows-1251", TextEncoding::windowsCP1251},
    NamedCharset{"windows-1252", TextEncoding::windowsCP1252},
    NamedCharset{"windows-1253", TextEncoding::windowsCP1253},
    NamedCharset{"windows-1254", TextEncoding::windowsCP1254},
};

constexpr bool isBefore(const NamedCharset& left, const NamedCharset& right)
{
    return left.name < right.name;
}
static_assert(std::is_sorted(commonCharsets.begin(), commonCharsets.end(), isBefore));

QStringView trimmedSpacesAndQuotes(QStringView name)
{
    const auto isTrimmed = [](QChar character) { return character == u' ' || character == u'"'; };
    while (!name.isEmpty() && isTrimmed(name.front()))
        name = name.sliced(1);
    while (!name.isEmpty() && isTrimmed(name.back()))
        name.chop(1);
    return name;
}

/// The charset of the table; absent for any other. Without a copy of the name: each word of a header has one.
std::optional<TextEncoding::Charset> commonCharset(QStringView name)
{
    std::array<char, std::string_view("windows-1252").size()> lowered;
    if (name.size() > static_cast<qsizetype>(lowered.size()))
        return std::nullopt;
    char* end = lowered.data();
    for (const QChar character : name) {
        const char16_t unit = character.unicode();
        if (unit >= 0x80)
            return std::nullopt;
        *end++ = static_cast<char>(unit >= u'A' && unit <= u'Z' ? unit + (u'a' - u'A') : unit);
    }
    const NamedCharset sought{{lowered.data(), static_cast<std::size_t>(name.size())}, {}};
    const auto row = std::lower_bound(commonCharsets.begin(), commonCharsets.end(), sought, isBefore);
    const bool isKnown = row != commonCharsets.end() && row->name == sought.name;
    return isKnown ? std::optional(row->charset) : std::nullopt;
}

} // namespace

TextEncoding encodingNamed(QStringView name)
{
    const QStringView trimmed = trimmedSpacesAndQuotes(name);
    // Nearly all names are this one.
    if (Text::isSameKeyword(trimmed, u"utf-8"sv))
        return TextEncoding::utf8;
    if (const std::optional<TextEncoding::Charset> common = commonCharset(trimmed))
        return *common;
    return TextEncoding::fromRegistry(Text::asciiLowered(trimmed)).value_or(TextEncoding::utf8);
}

TextEncoding charsetEncoding(const std::optional<QString>& name)
{
    return name ? encodingNamed(*name) : TextEncoding(TextEncoding::utf8);
}

QString decodeText(QByteArrayView bytes, const TextEncoding& declared)
{
    if (std::optional<QString> text = declared.decode(bytes))
        return *std::move(text);
    for (const TextEncoding::Charset other : {TextEncoding::utf8, TextEncoding::windowsCP1252}) {
        if (other == declared.charset)
            continue;
        if (std::optional<QString> text = TextEncoding(other).decode(bytes))
            return *std::move(text);
    }
    return Text::fromRepairedUTF8(bytes);
}

QString decodeText(QByteArrayView bytes, const std::optional<QString>& charset)
{
    return decodeText(bytes, charsetEncoding(charset));
}

QString decodeHeader(const QString& text)
{
    // A header of no more units than these has no more characters, whatever it has of bytes.
    static_assert(maxHeaderCharacters >= maxHeaderBytes);
    if (text.size() > maxHeaderCharacters && EncodedWords::mayStandIn(text))
        return EncodedWords::decode(Text::prefix(text, maxHeaderCharacters));
    return EncodedWords::decode(text);
}

namespace {

bool isASCII(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar character) { return character.unicode() < 0x80; });
}

/// How many bytes the text has in UTF-8.
qsizetype utf8Length(QStringView text)
{
    qsizetype length = 0;
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QChar unit = text[index];
        if (unit.unicode() < 0x80) {
            length += 1;
        } else if (unit.unicode() < 0x800) {
            length += 2;
        } else if (unit.isHighSurrogate() && index + 1 < text.size() && text[index + 1].isLowSurrogate()) {
            length += 4;
            ++index;
        } else {
            length += 3;
        }
    }
    return length;
}

qsizetype base64Length(qsizetype byteCount)
{
    return (byteCount + 2) / 3 * 4;
}

/// Collects a text in encoded words.
class WordWriter {
public:
    /// Adds a stretch that stays together where it fits one word.
    void add(QStringView piece)
    {
        const qsizetype bytes = utf8Length(piece);
        if (base64Length(m_bytes + bytes) > maxWordBase64)
            write();
        m_chunk += piece;
        m_bytes += bytes;
    }

    QString taken()
    {
        if (!m_chunk.isEmpty())
            write();
        return m_words;
    }

private:
    void write()
    {
        if (!m_words.isEmpty())
            m_words += "\r\n "_L1;
        m_words += "=?UTF-8?B?"_L1;
        m_words += QLatin1StringView(m_chunk.toUtf8().toBase64());
        m_words += "?="_L1;
        m_chunk.clear();
        m_bytes = 0;
    }

    QString m_words;
    QString m_chunk;
    qsizetype m_bytes = 0;
};

} // namespace

QString encodeHeader(const QString& text)
{
    return isASCII(text) ? text : encodeWords(text);
}

QString encodeWords(const QString& text)
{
    WordWriter writer;
    const QStringView whole(text);
    Text::CharacterWalk characters(whole);
    qsizetype start = 0;
    while (const std::optional<qsizetype> end = characters.next()) {
        const QStringView character = whole.sliced(start, *end - start);
        start = *end;
        if (utf8Length(character) <= longestWordCharacter) {
            writer.add(character);
            continue;
        }
        for (qsizetype index = 0; index < character.size();) {
            const bool isPair = character[index].isHighSurrogate() && index + 1 < character.size();
            writer.add(character.sliced(index, isPair ? 2 : 1));
            index += isPair ? 2 : 1;
        }
    }
    return writer.taken();
}

std::optional<QByteArray> base64URLDecode(const QString& text)
{
    // What Latin-1 hasn't becomes "?", which the alphabet hasn't either.
    QByteArray bytes = text.toLatin1();
    bytes.append((4 - bytes.size() % 4) % 4, '=');
    // Of a full group only the last two characters can be padding.
    for (int padding = 0; padding < 2 && bytes.endsWith('='); ++padding)
        bytes.chop(1);
    for (char& byte : bytes) {
        if (byte == '-')
            byte = '+';
        else if (byte == '_')
            byte = '/';
        const bool isDigit = (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
                             (byte >= '0' && byte <= '9') || byte == '+' || byte == '/';
        if (!isDigit)
            return std::nullopt;
    }
    return decodeBase64(bytes);
}

QString base64URLEncode(QByteArrayView bytes)
{
    return QString::fromLatin1(QByteArray::fromRawData(bytes.data(), bytes.size())
                                   .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QString headerSafe(const QString& text)
{
    QString safe = text;
    for (QChar& character : safe) {
        if (character.unicode() < 0x20 || character.unicode() == 0x7f)
            character = u' ';
    }
    return safe;
}

} // namespace Larkhaven::MailEncoding
