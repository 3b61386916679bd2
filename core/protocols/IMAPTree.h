#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QExplicitlySharedDataPointer>
#include <QSharedData>

#include <span>

namespace Larkhaven {

/// The values of one response: its bytes, and where in them each value lies, twelve bytes a value. All of it
/// is one block of memory, as a listing has a response for each message and a dozen values in each: bytes,
/// values and a reference count of their own took a fifth of the time that such a listing is read in.
/// Immutable; callable from any thread.
class IMAPTree final : public QSharedData {
public:
    struct Node {
        enum class Kind : quint8 {
            nil,
            atom,
            string,
            escapedString, ///< a quoted string with backslashes in it
            list,
        };
        quint32 start = 0; ///< the first byte; of a list the first of its nodes, which lie side by side
        quint32 count = 0; ///< of bytes, of a list of nodes
        Kind kind = Kind::nil;
    };
    using Pointer = QExplicitlySharedDataPointer<const IMAPTree>;

    /// Shares the bytes, which are less than 4 GiB, and copies the nodes.
    static Pointer sharing(const QByteArray& bytes, std::span<const Node> nodes);
    /// Copies the bytes, which are less than 4 GiB, and the nodes.
    static Pointer copying(QByteArrayView bytes, std::span<const Node> nodes);

    QByteArrayView bytes() const { return m_bytes; }
    std::span<const Node> nodes() const;

    ~IMAPTree() = default;
    IMAPTree(const IMAPTree&) = delete;
    IMAPTree& operator=(const IMAPTree&) = delete;
    /// The block is larger than the type.
    static void operator delete(void* block) { ::operator delete(block); }

private:
    explicit IMAPTree(std::span<const Node> nodes);
    /// A tree with room for so many bytes behind its nodes.
    static IMAPTree* make(std::span<const Node> nodes, qsizetype room);
    void* behind() { return this + 1; }

    QByteArray m_shared;
    QByteArrayView m_bytes; ///< those of `m_shared`, or behind the nodes
    size_t m_nodeCount;     ///< which lie behind this
};

} // namespace Larkhaven
