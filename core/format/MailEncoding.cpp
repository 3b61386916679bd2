#include "format/MailEncoding.h"

#include "domain/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

using namespace Qt::StringLiterals;

namespace Larkhaven::MailEncoding {

namespace {

constexpr qsizetype base64LineLength = 76;
/// An encoded word takes a character more as long as its base64 is no longer than this.
constexpr qsizetype maxWordBase64 = 45;

constexpr std::uint8_t notInAlphabet = 0xff;

constexpr std::array<std::uint8_t, 256> makeBase64Values()
{
    std::array<std::uint8_t, 256> values{};
    values.fill(notInAlphabet);
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t value = 0; value < alphabet.size(); ++value)
        values[static_cast<unsigned char>(alphabet[value])] = static_cast<std::uint8_t>(value);
    return values;
}

constexpr std::array<std::uint8_t, 256> base64Values = makeBase64Values();

std::uint8_t base64Value(char byte)
{
    return base64Values[static_cast<unsigned char>(byte)];
}

/// The value of a hexadecimal digit, negative for any other byte.
int hexValue(char byte)
{
    if (byte >= '0' && byte <= '9')
        return byte - '0';
    if (byte >= 'a' && byte <= 'f')
        return byte - 'a' + 10;
    if (byte >= 'A' && byte <= 'F')
        return byte - 'A' + 10;
    return -1;
}

} // namespace

TransferEncoding transferEncoding(const std::optional<QString>& name)
{
    if (!name)
        return TransferEncoding::identity;
    const QStringView trimmed = Text::trimmedSpace(*name);
    if (Text::isSameKeyword(trimmed, u"base64"))
        return TransferEncoding::base64;
    if (Text::isSameKeyword(trimmed, u"quoted-printable"))
        return TransferEncoding::quotedPrintable;
    return TransferEncoding::identity;
}

QByteArray decodeBase64(QByteArrayView bytes)
{
    QByteArray result((bytes.size() + 3) / 4 * 3, Qt::Uninitialized);
    char* output = result.data();
    std::uint32_t group = 0;
    int digits = 0;
    const char* const end = bytes.data() + bytes.size();
    for (const char* input = bytes.data(); input != end;) {
        // A group without a stray byte in it, as nearly all are.
        if (digits == 0 && end - input >= 4) {
            const std::uint32_t a = base64Value(input[0]);
            const std::uint32_t b = base64Value(input[1]);
            const std::uint32_t c = base64Value(input[2]);
            const std::uint32_t d = base64Value(input[3]);
            if ((a | b | c | d) != notInAlphabet) {
                const std::uint32_t octets = a << 18 | b << 12 | c << 6 | d;
                *output++ = static_cast<char>(octets >> 16);
                *output++ = static_cast<char>(octets >> 8);
                *output++ = static_cast<char>(octets);
                input += 4;
                continue;
            }
        }
        const std::uint8_t value = base64Value(*input++);
        if (value == notInAlphabet)
            continue;
        group = group << 6 | value;
        if (++digits < 4)
            continue;
        *output++ = static_cast<char>(group >> 16);
        *output++ = static_cast<char>(group >> 8);
        *output++ = static_cast<char>(group);
        group = 0;
        digits = 0;
    }
    if (digits == 1)
        return {};
    if (digits >= 2)
        *output++ = static_cast<char>(digits == 2 ? group >> 4 : group >> 10);
    if (digits == 3)
        *output++ = static_cast<char>(group >> 2);
    result.truncate(output - result.data());
    if (result.size() < result.capacity() / 2)
        result.squeeze();
    return result;
}

namespace {

/// What "=" and the bytes behind it stand for.
struct Escape {
    qsizetype length;          ///< bytes that it takes, "=" included
    std::optional<char> octet; ///< absent for a soft line break
};

/// `bytes` begin with "=".
Escape readEscape(QByteArrayView bytes)
{
    constexpr Escape literal{1, '='};
    if (bytes.size() > 1 && bytes[1] == '\n')
        return {2, std::nullopt};
    if (bytes.size() <= 2)
        return literal;
    if (bytes[1] == '\r')
        return bytes[2] == '\n' ? Escape{3, std::nullopt} : literal;
    const int high = hexValue(bytes[1]);
    const int low = hexValue(bytes[2]);
    if (high < 0 || low < 0)
        return literal;
    return {3, static_cast<char>(high * 16 + low)};
}

} // namespace

QByteArray decodeQuotedPrintable(QByteArrayView bytes, bool underscoreAsSpace)
{
    QByteArray result(bytes.size(), Qt::Uninitialized);
    char* output = result.data();
    const auto appendPlain = [&](QByteArrayView plain) {
        if (underscoreAsSpace)
            std::replace_copy(plain.begin(), plain.end(), output, '_', ' ');
        else
            std::copy(plain.begin(), plain.end(), output);
        output += plain.size();
    };
    while (!bytes.isEmpty()) {
        const void* const found = std::memchr(bytes.data(), '=', static_cast<size_t>(bytes.size()));
        if (found == nullptr) {
            appendPlain(bytes);
            break;
        }
        const qsizetype plainLength = static_cast<const char*>(found) - bytes.data();
        appendPlain(bytes.first(plainLength));
        bytes = bytes.sliced(plainLength);
        const Escape escape = readEscape(bytes);
        if (escape.octet)
            *output++ = *escape.octet;
        bytes = bytes.sliced(escape.length);
    }
    result.truncate(output - result.data());
    if (result.size() < result.capacity() / 2)
        result.squeeze();
    return result;
}

QByteArray decodeTransfer(QByteArrayView bytes, const std::optional<QString>& name)
{
    switch (transferEncoding(name)) {
    case TransferEncoding::base64:
        return decodeBase64(bytes);
    case TransferEncoding::quotedPrintable:
        return decodeQuotedPrintable(bytes, false);
    case TransferEncoding::identity:
        break;
    }
    return bytes.toByteArray();
}

QString encodeBase64Lines(QByteArrayView bytes)
{
    const QByteArray encoded = QByteArray::fromRawData(bytes.data(), bytes.size()).toBase64();
    QString lines;
    lines.reserve(encoded.size() + 2 * (encoded.size() / base64LineLength));
    for (qsizetype start = 0; start < encoded.size(); start += base64LineLength) {
        if (start > 0)
            lines += "\r\n"_L1;
        lines += QLatin1StringView(encoded.constData() + start,
                                   std::min(base64LineLength, encoded.size() - start));
    }
    return lines;
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

} // namespace

TextEncoding charsetEncoding(const std::optional<QString>& name)
{
    if (!name)
        return TextEncoding::utf8;
    const QString wanted = Text::asciiLowered(trimmedSpacesAndQuotes(*name));
    const QByteArray key = wanted.toUtf8();
    const NamedCharset sought{{key.constData(), static_cast<std::size_t>(key.size())}, {}};
    const auto row = std::lower_bound(commonCharsets.begin(), commonCharsets.end(), sought, isBefore);
    if (row != commonCharsets.end() && row->name == sought.name)
        return row->charset;
    return TextEncoding::fromRegistry(wanted).value_or(TextEncoding::utf8);
}

QString decodeText(QByteArrayView bytes, const std::optional<QString>& charset)
{
    const TextEncoding declared = charsetEncoding(charset);
    for (const TextEncoding& encoding :
         {declared, TextEncoding(TextEncoding::utf8), TextEncoding(TextEncoding::windowsCP1252)}) {
        if (std::optional<QString> text = encoding.decode(bytes))
            return *std::move(text);
    }
    return Text::fromRepairedUTF8(bytes);
}

namespace {

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

/// The space of the "linear-white-space" between two encoded words.
bool isLinearSpace(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar character) {
        return character == u' ' || character == u'\t' || character == u'\r' || character == u'\n';
    });
}

/// encoded-word = "=?" charset "?" encoding "?" encoded-text "?=" (RFC 2047, 2)
struct EncodedWord {
    QStringView charset;
    QStringView encoding;
    QStringView payload;
    qsizetype length; ///< of the whole word
};

/// The word at the beginning of `text`, which begins with "=?"; absent where it is malformed.
std::optional<EncodedWord> readEncodedWord(QStringView text)
{
    constexpr qsizetype start = 2;
    const qsizetype charsetEnd = text.indexOf(u'?', start);
    if (charsetEnd < 0)
        return std::nullopt;
    const qsizetype encodingEnd = text.indexOf(u'?', charsetEnd + 1);
    if (encodingEnd < 0)
        return std::nullopt;
    const qsizetype payloadEnd = text.indexOf("?="_L1, encodingEnd + 1);
    if (payloadEnd < 0)
        return std::nullopt;
    return EncodedWord{text.sliced(start, charsetEnd - start),
                       text.sliced(charsetEnd + 1, encodingEnd - charsetEnd - 1),
                       text.sliced(encodingEnd + 1, payloadEnd - encodingEnd - 1), payloadEnd + 2};
}

/// Absent for an encoding that is neither "B" nor "Q".
std::optional<QString> decodeWord(const EncodedWord& word)
{
    // RFC 2231, 5: a language may follow the charset behind a "*".
    const qsizetype languageStart = word.charset.indexOf(u'*');
    const QString charset =
        word.charset.first(languageStart < 0 ? word.charset.size() : languageStart).toString();
    if (Text::isSameKeyword(word.encoding, u"B"))
        return decodeText(decodeBase64(word.payload.toUtf8()), charset);
    if (Text::isSameKeyword(word.encoding, u"Q"))
        return decodeText(decodeQuotedPrintable(word.payload.toUtf8(), true), charset);
    return std::nullopt;
}

QString decodeWords(QStringView rest)
{
    QString result;
    bool lastWasEncoded = false;
    while (true) {
        const qsizetype wordStart = rest.indexOf("=?"_L1);
        if (wordStart < 0)
            return result.append(rest);
        const QStringView prefix = rest.first(wordStart);
        const bool isHeldBack = lastWasEncoded && isLinearSpace(prefix);
        if (!isHeldBack)
            result += prefix;
        rest = rest.sliced(wordStart);

        const std::optional<EncodedWord> word = readEncodedWord(rest);
        if (!word) {
            if (isHeldBack)
                result += prefix;
            return result.append(rest);
        }
        const std::optional<QString> decoded = decodeWord(*word);
        result += decoded ? QStringView(*decoded) : rest.first(word->length);
        lastWasEncoded = decoded.has_value();
        rest = rest.sliced(word->length);
    }
}

} // namespace

QString decodeHeader(const QString& text)
{
    if (!text.contains("=?"_L1))
        return text;
    if (utf8Length(text) > maxHeaderBytes)
        return decodeWords(Text::prefix(text, maxHeaderCharacters));
    return decodeWords(text);
}

namespace {

bool isASCII(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar character) { return character.unicode() < 0x80; });
}

qsizetype base64Length(qsizetype byteCount)
{
    return (byteCount + 2) / 3 * 4;
}

} // namespace

namespace {

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
        if (base64Value(byte) == notInAlphabet)
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
