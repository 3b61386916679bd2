#include "protocols/IMAPValue.h"

#include "domain/Text.h"

#include <algorithm>
#include <charconv>

namespace Larkhaven {

namespace {

using Node = IMAPTree::Node;

/// Values that no response holds: they have a tree of their own.
std::shared_ptr<const IMAPTree> treeOf(QByteArray bytes)
{
    return std::make_shared<const IMAPTree>(IMAPTree{std::move(bytes), {}});
}

Node wholeOf(const IMAPTree& tree, Node::Kind kind)
{
    return {0, static_cast<quint32>(tree.bytes.size()), kind};
}

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

IMAPValue IMAPValue::atom(const QString& text)
{
    const std::shared_ptr<const IMAPTree> tree = treeOf(text.toUtf8());
    return {tree, wholeOf(*tree, Node::Kind::atom)};
}

IMAPValue IMAPValue::string(const QByteArray& bytes)
{
    const std::shared_ptr<const IMAPTree> tree = treeOf(bytes);
    return {tree, wholeOf(*tree, Node::Kind::string)};
}

IMAPValue IMAPValue::list(const QList<IMAPValue>& values)
{
    const auto tree = std::make_shared<IMAPTree>();
    std::vector<Node> nodes;
    for (const IMAPValue& value : values)
        nodes.push_back(value.copyTo(*tree));
    const auto first = static_cast<quint32>(tree->nodes.size());
    tree->nodes.insert(tree->nodes.end(), nodes.begin(), nodes.end());
    return {tree, {first, static_cast<quint32>(nodes.size()), Node::Kind::list}};
}

Node IMAPValue::copyTo(IMAPTree& tree) const
{
    if (const std::optional<IMAPValues> values = list()) {
        std::vector<Node> nodes;
        for (const IMAPValue& value : *values)
            nodes.push_back(value.copyTo(tree));
        const auto first = static_cast<quint32>(tree.nodes.size());
        tree.nodes.insert(tree.nodes.end(), nodes.begin(), nodes.end());
        return {first, m_node.count, m_node.kind};
    }
    const auto start = static_cast<quint32>(tree.bytes.size());
    tree.bytes += written();
    return {start, m_node.count, m_node.kind};
}

std::optional<IMAPValues> IMAPValue::list() const
{
    return isList() ? std::optional(IMAPValues(m_tree, m_node.start, m_node.count)) : std::nullopt;
}

QByteArrayView IMAPValue::written() const
{
    return isNil() || isList() ? QByteArrayView()
                               : QByteArrayView(m_tree->bytes).sliced(m_node.start, m_node.count);
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
