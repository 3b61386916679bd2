#include "protocols/IMAPResponse.h"

#include "domain/MailError.h"
#include "domain/Text.h"

#include <QCoreApplication>
#include <QStringList>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <utility>

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

/// Whether the byte ends an atom or begins or ends a section in it.
bool isSpecial(char byte)
{
    static constexpr auto table = [] {
        std::array<bool, 256> special{};
        for (const unsigned char each : {' ', '\r', '\n', '(', ')', '[', ']'})
            special[each] = true;
        return special;
    }();
    return table[static_cast<unsigned char>(byte)];
}

bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

/// Eight bytes, the first of which is the lowest: a digit is its value, and anything else has a high bit.
class EightBytes {
public:
    static constexpr qsizetype width = sizeof(quint64);

    explicit EightBytes(const char* bytes)
        : m_values(qFromLittleEndian<quint64>(bytes) ^ 0x3030303030303030)
    {}
    /// How many digits they begin with.
    int digits() const
    {
        const quint64 others = (m_values | (m_values + 0x7676767676767676)) & 0x8080808080808080;
        return std::countr_zero(others) / 8;
    }
    /// The number of the first digits, of which there is one at least.
    quint64 number(qsizetype digits) const
    {
        // Zeros come before what is there, and neighbours are joined: tens, hundreds, ten thousands.
        quint64 values = m_values << (8 * (width - digits));
        values = (values * 10 + (values >> 8)) & 0x00FF00FF00FF00FF;
        values = (values * 100 + (values >> 16)) & 0x0000FFFF0000FFFF;
        return (values * 10'000 + (values >> 32)) & 0xFFFFFFFF;
    }

private:
    quint64 m_values;
};

/// Reads the digits at the cursor, of which up to eight are taken at once where as many bytes are left: a
/// million numbers take half the time so. Stops behind what can't be a number of 32 bits any more.
quint64 readNumber(const char*& cursor, const char* end)
{
    quint64 number = 0;
    if (end - cursor >= EightBytes::width) {
        const EightBytes bytes(cursor);
        const int digits = bytes.digits();
        if (digits == 0)
            return 0;
        number = bytes.number(digits);
        cursor += digits;
        if (digits < EightBytes::width)
            return number;
    }
    for (; cursor != end && isDigit(*cursor) && number <= std::numeric_limits<quint32>::max(); ++cursor)
        number = number * 10 + static_cast<quint64>(*cursor - '0');
    return number;
}

/// What a SEARCH response lists; absent where it holds anything else. Fails as `IMAPResponse::parse` does.
std::optional<QList<qint64>> numbersIn(QByteArrayView data)
{
    // To append each number would take as long as to read it. In a large mailbox most have seven digits.
    constexpr qsizetype usualSize = 8;
    QList<qint64> numbers(std::min(data.size() / usualSize + 1, IMAPResponse::valueLimit));
    qint64* place = numbers.data();
    const auto add = [&](quint64 number) {
        if (place == numbers.constData() + numbers.size()) {
            const qsizetype count = numbers.size();
            if (count == IMAPResponse::valueLimit)
                throw protocolError(tooLarge);
            numbers.resize(std::min(2 * count, IMAPResponse::valueLimit));
            place = numbers.data() + count;
        }
        *place++ = static_cast<qint64>(number);
    };
    const char* const end = data.end();
    for (const char* cursor = data.begin(); cursor != end;) {
        if (isSpace(*cursor)) {
            ++cursor;
            continue;
        }
        const char* const start = cursor;
        const quint64 number = readNumber(cursor, end);
        const bool isWhole = cursor != start && (cursor == end || isSpace(*cursor));
        if (!isWhole || number > std::numeric_limits<quint32>::max())
            return std::nullopt;
        add(number);
        // The next ones are as long, nearly always: where each begins is known before the one in front of it
        // is read, which takes half the time again.
        const qsizetype length = cursor - start;
        while (length < EightBytes::width && end - cursor > EightBytes::width && *cursor == ' ') {
            const EightBytes bytes(cursor + 1);
            if (bytes.digits() != length)
                break;
            add(bytes.number(length));
            cursor += 1 + length;
        }
    }
    numbers.resize(place - numbers.constData());
    return numbers;
}

} // namespace

void IMAPValueReader::skipSpace()
{
    const qsizetype end = m_view.size();
    qsizetype position = m_position;
    while (position < end && isSpace(m_view[position]))
        ++position;
    m_position = position;
}

QByteArrayView IMAPValueReader::readToken()
{
    const qsizetype start = m_position;
    while (!atEnd() && !isSpace(m_view[m_position]))
        ++m_position;
    return m_view.sliced(start, m_position - start);
}

bool IMAPValueReader::isNamed(QLatin1StringView keyword) const
{
    const bool isText = m_open.size() == 1 && (m_open.front().kind == Node::Kind::atom ||
                                               m_open.front().kind == Node::Kind::string);
    if (!isText)
        return false;
    return m_view.sliced(m_open.front().start, m_open.front().count)
               .compare(QByteArrayView(keyword.data(), keyword.size()), Qt::CaseInsensitive) == 0;
}

quint32 IMAPValueReader::settle(qsizetype from)
{
    const auto first = static_cast<quint32>(m_settled.size());
    m_settled.append(m_open.constData() + from, m_open.size() - from);
    m_open.resize(from);
    return first;
}

IMAPValues IMAPValueReader::takeValues()
{
    const auto count = static_cast<quint32>(m_open.size());
    const quint32 first = settle(0);
    const std::span<const Node> nodes(m_settled);
    return {m_copies ? IMAPTree::copying(m_view, nodes) : IMAPTree::sharing(m_shared, nodes), first, count};
}

bool IMAPValueReader::fail(const char* text)
{
    m_failure = text;
    return false;
}

bool IMAPValueReader::take(Node::Kind kind, qsizetype start, qsizetype end)
{
    m_open.append({static_cast<quint32>(start), static_cast<quint32>(end - start), kind});
    return true;
}

IMAPValue IMAPValueReader::parseValue(int depth)
{
    if (!readValue(depth))
        throw protocolError(m_failure);
    return takeValues().last();
}

bool IMAPValueReader::readValue(int depth)
{
    if (depth > IMAPResponse::depthLimit)
        return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Server response nested too deeply."));
    if (atEnd())
        return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Unexpected end of response."));
    if (!readValueOfItsKind(depth))
        return false;
    return ++m_valueCount <= IMAPResponse::totalValueLimit || fail(tooLarge);
}

bool IMAPValueReader::readValueOfItsKind(int depth)
{
    switch (m_view[m_position]) {
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

bool IMAPValueReader::readQuoted()
{
    const qsizetype start = ++m_position;
    Node::Kind kind = Node::Kind::string;
    const char* const bytes = m_view.data();
    const qsizetype end = m_view.size();
    qsizetype position = start;
    for (; position < end && bytes[position] != '"'; ++position) {
        if (bytes[position] == '\\' && position + 1 < end) {
            kind = Node::Kind::escapedString;
            ++position;
        }
    }
    m_position = std::min(position + 1, end);
    if (position < end)
        return take(kind, start, position);
    return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Unterminated string."));
}

bool IMAPValueReader::readList(int depth)
{
    const qsizetype outer = m_open.size();
    ++m_position;
    for (;;) {
        skipSpace();
        if (atEnd()) {
            m_open.resize(outer);
            return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Unterminated list."));
        }
        if (m_view[m_position] == ')') {
            ++m_position;
            const auto count = static_cast<quint32>(m_open.size() - outer);
            m_open.append({settle(outer), count, Node::Kind::list});
            return true;
        }
        if (!readValue(depth + 1)) {
            m_open.resize(outer);
            return false;
        }
    }
}

bool IMAPValueReader::readLiteral()
{
    ++m_position;
    qint64 length = 0;
    while (!atEnd() && isDigit(m_view[m_position])) {
        length = length * 10 + (m_view[m_position++] - '0');
        if (length > IMAPResponse::sizeLimit)
            return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Literal too large."));
    }
    const auto skip = [this](char byte) {
        if (!atEnd() && m_view[m_position] == byte)
            ++m_position;
    };
    skip('+');
    if (atEnd() || m_view[m_position] != '}')
        return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Bad literal."));
    ++m_position;
    skip('\r');
    skip('\n');
    if (m_view.size() - m_position < length)
        return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Truncated literal."));
    const qsizetype start = std::exchange(m_position, m_position + length);
    return take(Node::Kind::string, start, m_position);
}

bool IMAPValueReader::readAtom()
{
    const qsizetype start = m_position;
    const char* const bytes = m_view.data();
    const qsizetype end = m_view.size();
    qsizetype position = start;
    qsizetype brackets = 0;
    for (; position < end; ++position) {
        const char byte = bytes[position];
        if (!isSpecial(byte))
            continue;
        if (byte == ']')
            brackets = std::max<qsizetype>(brackets - 1, 0);
        else if (byte == '[')
            ++brackets;
        else if (brackets == 0)
            break;
    }
    m_position = position;
    if (position == start)
        return fail(QT_TRANSLATE_NOOP("IMAPResponse", "Unexpected character in response."));
    const auto is = [bytes, start](qsizetype index, char capital) {
        return (bytes[start + index] & ~0x20) == capital;
    };
    const bool isNil = position - start == 3 && is(0, 'N') && is(1, 'I') && is(2, 'L');
    return isNil ? take(Node::Kind::nil, start, start) : take(Node::Kind::atom, start, m_position);
}

namespace {

IMAPResponse readResponse(IMAPValueReader&& reader)
{
    IMAPResponse response;
    reader.skipSpace();
    const QByteArrayView token = reader.readToken();
    if (token == "+") {
        response.kind = IMAPResponse::Kind::continuation;
        return response;
    }
    response.kind = token == "*" ? IMAPResponse::Kind::untagged : IMAPResponse::Kind::tagged;
    if (response.kind == IMAPResponse::Kind::tagged)
        response.tag = Text::fromRepairedUTF8(token);

    qsizetype limit = IMAPResponse::valueLimit;
    for (reader.skipSpace(); !reader.atEnd(); reader.skipSpace()) {
        if (!reader.readValue(0))
            reader.setPosition(reader.position() + 1);
        if (limit == IMAPResponse::valueLimit && response.kind == IMAPResponse::Kind::untagged &&
            reader.isNamed("SEARCH"_L1)) {
            if (std::optional<QList<qint64>> numbers = numbersIn(reader.rest())) {
                response.numbers = *std::move(numbers);
                // A tree of its own, so that the bytes of the numbers can go.
                response.values = *IMAPValue::list({reader.takeValues().first()}).list();
                return response;
            }
            ++limit;
        }
        if (reader.waiting() > limit || reader.valueCount() > IMAPResponse::totalValueLimit)
            throw protocolError(tooLarge);
    }
    response.values = reader.takeValues();
    return response;
}

} // namespace

IMAPResponse IMAPResponse::parse(const QByteArray& data)
{
    return readResponse(IMAPValueReader(data));
}

IMAPResponse IMAPResponse::parseCopy(QByteArrayView data)
{
    return readResponse(IMAPValueReader::copying(data));
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
    for (const IMAPValue& value : values.isEmpty() ? values : values.sliced(1)) {
        if (const std::optional<QString> word = value.text())
            words.append(*word);
    }
    return words.join(u' ');
}

} // namespace Larkhaven
