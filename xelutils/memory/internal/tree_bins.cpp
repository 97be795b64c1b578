// The tree bins: one trie of large free chunks for each half of a power of two, keyed on the bits
// of the size below the bin's leading ones, most significant first. A node's subtrees hold sizes
// that share its path; the node itself may have any size that does.
#include "xelutils/memory/internal/bins.h"

namespace xel_heap {

namespace {

word SizeIndex(word size)
{
    return (size - kMinLargeSize) / kAlignment;
}

} // namespace

void Heap::SetNodeOfSize(word size, TreeChunk* node)
{
    const word index = SizeIndex(size);
    if (index >= kIndexedSizes)
        return;
    const std::uint64_t bit = std::uint64_t{1} << (index % 64);
    std::uint64_t& bits = nodeMap[index / 64];
    nodeOfSize[index] = node;
    bits = node ? bits | bit : bits & ~bit;
}

TreeChunk* Heap::FindIndexed(word size) const
{
    const word index = SizeIndex(size);
    if (index >= kIndexedSizes)
        return nullptr;
    std::uint64_t bits = nodeMap[index / 64] & (~std::uint64_t{0} << (index % 64));
    for (word part = index / 64;; bits = nodeMap[part]) {
        if (bits)
            return nodeOfSize[part * 64 + static_cast<word>(std::countr_zero(bits))];
        if (++part == kIndexedSizes / 64)
            return nullptr;
    }
}

// Hangs `chunk` on the ring of a node of its size.
void Heap::InsertIntoRing(TreeChunk* node, TreeChunk* chunk)
{
    Chunk* const forward = node->fd;
    if (!IsAtOrAboveLeast(forward))
        return;
    node->fd = chunk;
    forward->bk = chunk;
    chunk->fd = forward;
    chunk->bk = node;
    chunk->parent = nullptr;
}

void Heap::InsertLarge(TreeChunk* chunk, word size)
{
    const word bin = TreeBinOf(size);
    chunk->index = bin * 8;
    chunk->child[0] = nullptr;
    chunk->child[1] = nullptr;
    chunk->fd = chunk;
    chunk->bk = chunk;

    if (SizeIndex(size) < kIndexedSizes) {
        if (TreeChunk* const node = nodeOfSize[SizeIndex(size)]) {
            InsertIntoRing(node, chunk);
            return;
        }
        SetNodeOfSize(size, chunk);
    }
    if (!(treeMap & BitOf(bin))) {
        treeMap |= BitOf(bin);
        treeBins[bin] = chunk;
        chunk->parent = chunk;
        return;
    }
    TreeChunk* node = treeBins[bin];
    for (word key = size << KeyShiftOf(bin);; key <<= 1) {
        if (!IsAtOrAboveLeast(node))
            return;
        if (node->Size() == size) {
            InsertIntoRing(node, chunk);
            return;
        }
        heap_ptr<TreeChunk>& child = node->child[key >> 31];
        if (!child) {
            child = chunk;
            chunk->parent = node;
            return;
        }
        node = child;
    }
}

namespace {

// Takes a leaf of the subtree below `node` out of its parent; null when there is no subtree.
TreeChunk* TakeLeafBelow(TreeChunk* node)
{
    heap_ptr<TreeChunk>* place = node->child[1] ? &node->child[1] : &node->child[0];
    if (!*place)
        return nullptr;
    for (;;) {
        TreeChunk* const leaf = *place;
        if (leaf->child[1])
            place = &leaf->child[1];
        else if (leaf->child[0])
            place = &leaf->child[0];
        else
            break;
    }
    TreeChunk* const leaf = *place;
    *place = nullptr;
    return leaf;
}

} // namespace

void Heap::UnlinkLarge(TreeChunk* chunk)
{
    TreeChunk* const parent = chunk->parent;
    TreeChunk* heir = nullptr;
    if (chunk->RingPrev() != chunk) {
        Chunk* const forward = chunk->fd;
        heir = chunk->RingPrev();
        if (!IsAtOrAboveLeast(forward) || !IsAtOrAboveLeast(heir))
            return;
        forward->bk = heir;
        heir->fd = forward;
    } else {
        heir = TakeLeafBelow(chunk);
    }
    if (!parent)
        return;
    SetNodeOfSize(chunk->Size(), heir && heir->Size() == chunk->Size() ? heir : nullptr);

    const word bin = chunk->index / 8;
    if (chunk == treeBins[bin]) {
        treeBins[bin] = heir;
        if (!heir)
            treeMap &= ~BitOf(bin);
    } else if (IsAtOrAboveLeast(parent)) {
        parent->child[parent->child[0] == chunk ? 0 : 1] = heir;
    }
    if (!heir || !IsAtOrAboveLeast(heir))
        return;
    heir->parent = parent == chunk ? heir : parent;
    for (int side = 0; side < 2; ++side) {
        TreeChunk* const child = chunk->child[side];
        heir->child[side] = nullptr;
        if (child && IsAtOrAboveLeast(child)) {
            heir->child[side] = child;
            child->parent = heir;
        }
    }
}

TreeChunk* Heap::BestIn(TreeChunk* node, word size, TreeChunk* best, word& rest)
{
    for (; node; node = node->LeftmostChild()) {
        const word nodeRest = node->Size() - size;
        if (nodeRest < rest) {
            rest = nodeRest;
            best = node;
        }
    }
    return best;
}

// The smallest chunk of at least `size` bytes; the node itself before its ring. `rest` receives
// what it has over. Null when there is none.
TreeChunk* Heap::FindBestFit(word size, word& rest)
{
    if (TreeChunk* const node = FindIndexed(size)) {
        rest = node->Size() - size;
        return node;
    }
    const word bin = TreeBinOf(size);
    TreeChunk* best = nullptr;
    // The largest value for which a smaller chunk's wrapped-around rest never counts as a fit.
    rest = 0 - size;

    TreeChunk* node = treeBins[bin];
    if (node) {
        // All of this subtree's sizes are above `size`, and below those of any met before it.
        TreeChunk* untakenRight = nullptr;
        for (word key = size << KeyShiftOf(bin);; key <<= 1) {
            const word nodeRest = node->Size() - size;
            if (nodeRest < rest) {
                best = node;
                rest = nodeRest;
                if (rest == 0)
                    return best;
            }
            TreeChunk* const right = node->child[1];
            node = node->child[key >> 31];
            if (right && right != node)
                untakenRight = right;
            if (!node)
                break;
        }
        node = untakenRight;
    }
    if (!node && !best) {
        const word higher = treeMap & BitsAbove(bin);
        if (higher)
            node = treeBins[LowestBin(higher)];
    }
    return BestIn(node, size, best, rest);
}

} // namespace xel_heap
