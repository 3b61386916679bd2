#include "protocols/IMAPTree.h"

#include <cstring>
#include <memory>
#include <new>

namespace Larkhaven {

static_assert(alignof(IMAPTree::Node) <= alignof(IMAPTree));

IMAPTree::IMAPTree(std::span<const Node> nodes)
    : m_nodeCount(nodes.size())
{
    std::uninitialized_copy(nodes.begin(), nodes.end(), static_cast<Node*>(behind()));
}

IMAPTree* IMAPTree::make(std::span<const Node> nodes, qsizetype room)
{
    void* const block = ::operator new(sizeof(IMAPTree) + nodes.size_bytes() + static_cast<size_t>(room));
    return new (block) IMAPTree(nodes);
}

IMAPTree::Pointer IMAPTree::sharing(const QByteArray& bytes, std::span<const Node> nodes)
{
    IMAPTree* const tree = make(nodes, 0);
    tree->m_shared = bytes;
    tree->m_bytes = tree->m_shared;
    return Pointer(tree);
}

IMAPTree::Pointer IMAPTree::copying(QByteArrayView bytes, std::span<const Node> nodes)
{
    IMAPTree* const tree = make(nodes, bytes.size());
    char* const copied = static_cast<char*>(tree->behind()) + nodes.size_bytes();
    if (!bytes.isEmpty())
        std::memcpy(copied, bytes.data(), static_cast<size_t>(bytes.size()));
    tree->m_bytes = QByteArrayView(copied, bytes.size());
    return Pointer(tree);
}

std::span<const IMAPTree::Node> IMAPTree::nodes() const
{
    return {std::launder(reinterpret_cast<const Node*>(this + 1)), m_nodeCount};
}

} // namespace Larkhaven
