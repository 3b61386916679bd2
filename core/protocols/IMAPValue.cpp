#include "protocols/IMAPValue.h"

#include "domain/Text.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace Larkhaven {

namespace {

using Node = IMAPTree::Node;

QByteArray withoutBackslashes(QByteArrayView written)
{
    QByteArray bytes;
    bytes.reserve(written.size());
    for (qsizetype index = 0; index < written.size(); ++index) {
        if (written[index] == '\\' && index + 1 < written.size())
            ++index;
        bytes.append(written[index]);
    }
    return bytes;
}

/// Whether the bytes are the keyword in any case. Written out, since each item of a FETCH response is
/// compared with several short words.
bool isSame(QByteArrayView bytes, QLatin1StringView keyword)
{
    const auto upper = [](char byte) {
        return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
    };
    return bytes.size() == keyword.size() &&
           std::equal(bytes.begin(), bytes.end(), keyword.data(),
                      [upper](char byte, char letter) { return upper(byte) == letter; });
}

} // namespace

/// Values that no response holds: they have a tree of their own.
struct IMAPValue::Draft {
    QByteArray bytes;
    std::vector<Node> nodes;

    Node append(QByteArrayView written, Node::Kind kind)
    {
        const auto start = static_cast<quint32>(bytes.size());
        bytes += written;
        return {start, static_cast<quint32>(written.size()), kind};
    }
    Node append(const IMAPValues& values)
    {
        std::vector<Node> copied;
        for (const IMAPValue& value : values)
            copied.push_back(value.copyTo(*this));
        return append(copied);
    }
    Node append(const std::vector<Node>& list)
    {
        const auto first = static_cast<quint32>(nodes.size());
        nodes.insert(nodes.end(), list.begin(), list.end());
        return {first, static_cast<quint32>(list.size()), Node::Kind::list};
    }
    IMAPValue value(Node node) const { return {IMAPTree::copying(bytes, nodes), node}; }
};

IMAPValue IMAPValue::atom(const QString& text)
{
    Draft draft;
    const Node node = draft.append(text.toUtf8(), Node::Kind::atom);
    return draft.value(node);
}

IMAPValue IMAPValue::string(const QByteArray& bytes)
{
    Draft draft;
    const Node node = draft.append(bytes, Node::Kind::string);
    return draft.value(node);
}

IMAPValue IMAPValue::list(const QList<IMAPValue>& values)
{
    Draft draft;
    std::vector<Node> copied;
    for (const IMAPValue& value : values)
        copied.push_back(value.copyTo(draft));
    const Node node = draft.append(copied);
    return draft.value(node);
}

Node IMAPValue::copyTo(Draft& draft) const
{
    const std::optional<IMAPValues> values = list();
    return values ? draft.append(*values) : draft.append(written(), m_node.kind);
}

std::optional<IMAPValues> IMAPValue::list() const
{
    return isList() ? std::optional(IMAPValues(m_tree, m_node.start, m_node.count)) : std::nullopt;
}

QByteArrayView IMAPValue::written() const
{
    return isNil() || isList() ? QByteArrayView() : m_tree->bytes().sliced(m_node.start, m_node.count);
}

std::optional<QString> IMAPValue::text() const
{
    if (isNil() || isList())
        return std::nullopt;
    if (m_node.kind == Node::Kind::escapedString)
        return Text::fromRepairedUTF8(withoutBackslashes(written()));
    return Text::fromRepairedUTF8(written());
}

std::optional<qint64> IMAPValue::integer() const
{
    const QByteArray unescaped =
        m_node.kind == Node::Kind::escapedString ? withoutBackslashes(written()) : QByteArray();
    QByteArrayView digits = unescaped.isEmpty() ? written() : QByteArrayView(unescaped);
    // What follows must be digits, so that there is no second sign.
    if (digits.startsWith('+')) {
        digits = digits.sliced(1);
        if (digits.startsWith('-'))
            return std::nullopt;
    }
    qint64 number = 0;
    const auto [end, error] = std::from_chars(digits.begin(), digits.end(), number);
    return error == std::errc() && end == digits.end() ? std::optional(number) : std::nullopt;
}

std::optional<QByteArray> IMAPValue::data() const
{
    if (isNil() || isList())
        return std::nullopt;
    if (m_node.kind == Node::Kind::escapedString)
        return withoutBackslashes(written());
    if (m_node.kind == Node::Kind::atom && !written().isValidUtf8())
        return Text::fromRepairedUTF8(written()).toUtf8();
    return written().toByteArray();
}

bool IMAPValue::isKeyword(QLatin1StringView keyword) const
{
    // Nothing is decoded for it: an untrusted server may put a large literal in the place of a keyword.
    if (m_node.kind == Node::Kind::escapedString)
        return m_node.count <= 2 * keyword.size() && isSame(withoutBackslashes(written()), keyword);
    return !isNil() && !isList() && isSame(written(), keyword);
}

bool IMAPValue::startsWithKeyword(QLatin1StringView keyword) const
{
    if (m_node.kind == Node::Kind::escapedString) {
        const QByteArray bytes = withoutBackslashes(written());
        return bytes.size() >= keyword.size() && isSame(bytes.first(keyword.size()), keyword);
    }
    return m_node.count >= keyword.size() && !isList() && isSame(written().first(keyword.size()), keyword);
}

bool operator==(const IMAPValue& one, const IMAPValue& other)
{
    const auto isString = [](const IMAPValue& value) {
        return value.m_node.kind == Node::Kind::string || value.m_node.kind == Node::Kind::escapedString;
    };
    if (isString(one) && isString(other))
        return one.data() == other.data();
    return one.m_node.kind == other.m_node.kind && one.list() == other.list() && one.data() == other.data();
}

bool operator==(const IMAPValues& one, const IMAPValues& other)
{
    return std::equal(one.begin(), one.end(), other.begin(), other.end());
}

} // namespace Larkhaven
