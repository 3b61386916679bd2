#pragma once

#include "protocols/IMAPTree.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <iterator>
#include <optional>

namespace Larkhaven {

class IMAPValues;

/// One value of an IMAP response (RFC 3501, 4). Compared by value; shares the bytes of its response.
class IMAPValue {
public:
    /// A bare token. Bracketed sections are part of it, so that it may hold spaces: "BODY[HEADER.FIELDS
    /// (DATE)]".
    static IMAPValue atom(const QString& text);
    /// A quoted string or a literal, as raw bytes.
    static IMAPValue string(const QByteArray& bytes);
    static IMAPValue list(const QList<IMAPValue>& values);
    static IMAPValue nil() { return {{}, {}}; }

    bool isNil() const { return m_node.kind == IMAPTree::Node::Kind::nil; }
    bool isList() const { return m_node.kind == IMAPTree::Node::Kind::list; }
    /// Absent if this isn't a list.
    std::optional<IMAPValues> list() const;

    /// The atom's or the string's bytes read as UTF-8 and repaired; absent for a list and NIL.
    std::optional<QString> text() const;
    /// `text` as a signed 64-bit decimal number with an optional sign; absent if it is anything else.
    std::optional<qint64> integer() const;
    /// The atom's UTF-8 bytes, or the string's bytes; absent for a list and NIL.
    std::optional<QByteArray> data() const;

    /// Whether `text` is the keyword, which is given in capitals, in any case of its ASCII letters.
    bool isKeyword(QLatin1StringView keyword) const;
    /// Whether `text` begins with the keyword, likewise.
    bool startsWithKeyword(QLatin1StringView keyword) const;

    friend bool operator==(const IMAPValue& one, const IMAPValue& other);

private:
    friend class IMAPValues;
    IMAPValue(IMAPTree::Pointer tree, IMAPTree::Node node)
        : m_tree(std::move(tree))
        , m_node(node)
    {}

    /// The bytes as the server wrote them, backslashes and all; empty for a list and NIL.
    QByteArrayView written() const;
    struct Draft;
    /// Writes this value into a tree that is being made.
    IMAPTree::Node copyTo(Draft& draft) const;

    IMAPTree::Pointer m_tree;
    IMAPTree::Node m_node;
};

/// The values of a list, or those at the top level of a response. Shares the bytes of its response.
class IMAPValues {
public:
    IMAPValues() = default;
    /// `count` nodes of the tree.
    IMAPValues(IMAPTree::Pointer tree, quint32 first, quint32 count)
        : m_tree(std::move(tree))
        , m_first(first)
        , m_count(count)
    {}

    qsizetype size() const { return m_count; }
    bool isEmpty() const { return m_count == 0; }
    IMAPValue at(qsizetype index) const
    {
        Q_ASSERT(index >= 0 && index < size());
        return {m_tree, m_tree->nodes()[m_first + static_cast<size_t>(index)]};
    }
    IMAPValue operator[](qsizetype index) const { return at(index); }
    IMAPValue first() const { return at(0); }
    IMAPValue last() const { return at(size() - 1); }
    /// Those from the position on.
    IMAPValues sliced(qsizetype position) const
    {
        Q_ASSERT(position >= 0 && position <= size());
        const auto skipped = static_cast<quint32>(position);
        return {m_tree, m_first + skipped, m_count - skipped};
    }
    QList<IMAPValue> toList() const { return {begin(), end()}; }
    /// How many values the whole response holds at all levels, those of lists that couldn't be read among
    /// them: what its memory grows with.
    qsizetype treeSize() const { return m_tree ? static_cast<qsizetype>(m_tree->nodes().size()) : 0; }

    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using iterator_concept = std::forward_iterator_tag;
        using value_type = IMAPValue;
        using difference_type = qsizetype;
        using pointer = void;
        using reference = IMAPValue;

        Iterator() = default;
        Iterator(IMAPTree::Pointer tree, quint32 node)
            : m_tree(std::move(tree))
            , m_node(node)
        {}
        IMAPValue operator*() const { return {m_tree, m_tree->nodes()[m_node]}; }
        Iterator& operator++()
        {
            ++m_node;
            return *this;
        }
        Iterator operator++(int)
        {
            const Iterator before = *this;
            ++m_node;
            return before;
        }
        bool operator==(const Iterator&) const = default;

    private:
        IMAPTree::Pointer m_tree;
        quint32 m_node = 0;
    };
    Iterator begin() const { return {m_tree, m_first}; }
    Iterator end() const { return {m_tree, m_first + m_count}; }

    friend bool operator==(const IMAPValues& one, const IMAPValues& other);

private:
    IMAPTree::Pointer m_tree;
    quint32 m_first = 0;
    quint32 m_count = 0;
};

} // namespace Larkhaven
