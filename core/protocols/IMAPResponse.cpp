#include "protocols/IMAPResponse.h"

#include "domain/MailError.h"
#include "domain/Text.h"

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(IMAPResponse)
};

MailError protocolError(const char* text)
{
    return MailError::protocolError(Texts::tr(text));
}

constexpr const char* tooLarge = QT_TRANSLATE_NOOP("IMAPResponse", "Server response too large.");

bool isSpace(char byte)
{
    return byte == ' ' || byte == '\r' || byte == '\n';
}

bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

/// Most of what servers say is ASCII, which needs no converter.
QString repairedText(QByteArrayView bytes)
{
    const bool isASCII =
        std::ranges::all_of(bytes, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
    return isASCII ? QString::fromLatin1(bytes) : Text::fromRepairedUTF8(bytes);
}

/// What a SEARCH response lists; absent where it holds anything else. Fails as `IMAPResponse::parse` does.
std::optional<QList<quint32>> numbersIn(QByteArrayView data)
{
    QList<quint32> numbers;
    // A number and its space are two bytes at least; memory that isn't written to costs nothing.
    numbers.reserve(std::min(data.size() / 2 + 1, IMAPResponse::valueLimit));
    const char* const end = data.end();
    for (const char* byte = data.begin(); byte != end; ++byte) {
        if (isSpace(*byte))
            continue;
        quint64 number = 0;
        for (; byte != end && isDigit(*byte) && number <= std::numeric_limits<quint32>::max(); ++byte)
            number = number * 10 + static_cast<quint64>(*byte - '0');
        if (number > std::numeric_limits<quint32>::max() || (byte != end && !isSpace(*byte)))
            return std::nullopt;
        if (numbers.size() == IMAPResponse::valueLimit)
            throw protocolError(tooLarge);
        numbers.append(static_cast<quint32>(number));
        if (byte == end)
            break;
    }
    return numbers;
}

} // namespace

void IMAPValueReader::skipSpace()
{
    while (!atEnd() && isSpace(m_data[m_position]))
        ++m_position;
}

QByteArrayView IMAPValueReader::readToken()
{
    const qsizetype start = m_position;
    while (!atEnd() && !isSpace(m_data[m_position]))
        ++m_position;
    return m_data.sliced(start, m_position - start);
}

std::nullopt_t IMAPValueReader::fail(const char* text)
{
    m_failure = text;
    return std::nullopt;
}

IMAPValue IMAPValueReader::parseValue(int depth)
{
    std::optional<IMAPValue> value = readValue(depth);
    if (!value)
        throw protocolError(m_failure);
    return *std::move(value);
}

std::optional<IMAPValue> IMAPValueReader::readValue(int depth)
{
    if (depth > IMAPResponse::depthLimit)
        return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Server response nested too deeply."));
    if (atEnd())
        return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Unexpected end of response."));
    std::optional<IMAPValue> value = readValueOfItsKind(depth);
    if (value && ++m_valueCount > IMAPResponse::totalValueLimit)
        return fail(tooLarge);
    return value;
}

std::optional<IMAPValue> IMAPValueReader::readValueOfItsKind(int depth)
{
    switch (m_data[m_position]) {
    case '"':
        return readQuoted();
    case '(':
        return readList(depth);
    case '{':
        return readLiteral();
    default:
        return readAtom();
    }
}

std::optional<IMAPValue> IMAPValueReader::readQuoted()
{
    QByteArray bytes;
    for (++m_position; !atEnd(); ++m_position) {
        char byte = m_data[m_position];
        if (byte == '"') {
            ++m_position;
            return IMAPValue::string(bytes);
        }
        if (byte == '\\' && m_position + 1 < m_data.size())
            byte = m_data[++m_position];
        bytes.append(byte);
    }
    return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Unterminated string."));
}

std::optional<IMAPValue> IMAPValueReader::readList(int depth)
{
    QList<IMAPValue> values;
    ++m_position;
    for (;;) {
        skipSpace();
        if (atEnd())
            return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Unterminated list."));
        if (m_data[m_position] == ')') {
            ++m_position;
            return IMAPValue::list(std::move(values));
        }
        std::optional<IMAPValue> value = readValue(depth + 1);
        if (!value)
            return std::nullopt;
        values.append(*std::move(value));
    }
}

std::optional<IMAPValue> IMAPValueReader::readLiteral()
{
    ++m_position;
    qint64 length = 0;
    while (!atEnd() && isDigit(m_data[m_position])) {
        length = length * 10 + (m_data[m_position++] - '0');
        if (length > IMAPResponse::sizeLimit)
            return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Literal too large."));
    }
    const auto skip = [this](char byte) {
        if (!atEnd() && m_data[m_position] == byte)
            ++m_position;
    };
    skip('+');
    if (atEnd() || m_data[m_position] != '}')
        return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Bad literal."));
    ++m_position;
    skip('\r');
    skip('\n');
    if (m_data.size() - m_position < length)
        return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Truncated literal."));
    QByteArray bytes = m_data.sliced(m_position, length).toByteArray();
    m_position += length;
    return IMAPValue::string(std::move(bytes));
}

std::optional<IMAPValue> IMAPValueReader::readAtom()
{
    const qsizetype start = m_position;
    qsizetype brackets = 0;
    for (; !atEnd(); ++m_position) {
        const char byte = m_data[m_position];
        if (byte == ']')
            brackets = std::max<qsizetype>(brackets - 1, 0);
        else if (byte == '[')
            ++brackets;
        else if (brackets == 0 && (isSpace(byte) || byte == '(' || byte == ')'))
            break;
    }
    if (m_position == start)
        return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Unexpected character in response."));
    IMAPValue atom = IMAPValue::atom(repairedText(m_data.sliced(start, m_position - start)));
    return atom.isKeyword("NIL"_L1) ? IMAPValue::nil() : atom;
}

IMAPResponse IMAPResponse::parse(QByteArrayView data)
{
    IMAPResponse response;
    IMAPValueReader reader(data);
    reader.skipSpace();
    const QString token = repairedText(reader.readToken());
    if (token == "+"_L1) {
        response.kind = Kind::continuation;
        return response;
    }
    response.kind = token == "*"_L1 ? Kind::untagged : Kind::tagged;
    if (response.kind == Kind::tagged)
        response.tag = token;

    qsizetype limit = valueLimit;
    for (reader.skipSpace(); !reader.atEnd(); reader.skipSpace()) {
        if (std::optional<IMAPValue> value = reader.readValue(0))
            response.values.append(*std::move(value));
        else
            reader.setPosition(reader.position() + 1);
        const bool isSearch = response.values.size() == 1 && limit == valueLimit &&
                              response.kind == Kind::untagged && response.isNamed("SEARCH"_L1);
        if (isSearch) {
            if (std::optional<QList<quint32>> numbers = numbersIn(data.sliced(reader.position()))) {
                response.numbers = *std::move(numbers);
                return response;
            }
            ++limit;
        }
        if (response.values.size() > limit || reader.valueCount() > totalValueLimit)
            throw protocolError(tooLarge);
    }
    return response;
}

std::optional<qint64> IMAPResponse::literalLength(QByteArrayView line)
{
    // The end first: a line may be megabytes long.
    const qsizetype open = line.endsWith('}') ? line.lastIndexOf('{') : -1;
    if (open < 0)
        return std::nullopt;
    QByteArrayView digits = line.sliced(open + 1, line.size() - open - 2);
    if (digits.endsWith('+'))
        digits.chop(1);
    if (digits.isEmpty() || digits.size() > literalDigitLimit || !std::ranges::all_of(digits, isDigit))
        return std::nullopt;
    return digits.toLongLong();
}

QString IMAPResponse::statusText() const
{
    QStringList words;
    for (qsizetype index = 1; index < values.size(); ++index) {
        if (const std::optional<QString> word = values[index].text())
            words.append(*word);
    }
    return words.join(u' ');
}

} // namespace Larkhaven
