// MDicomTree: linking and walking, against what a plain nested list gives.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "MDicomTree.h"

namespace {

void DeleteAll(MDicomTree &tree) {
    while (_DICOMLINK *last = tree.GetLast(nullptr, 0)) tree.Delete(last);
}

TEST(Tree, EmptyTreeHasNothing) {
    MDicomTree tree;
    EXPECT_EQ(tree.GetFirst(nullptr, 1), nullptr);
    EXPECT_EQ(tree.GetLast(nullptr, 0), nullptr);
    EXPECT_EQ(tree.GetCount(nullptr, 1), 0u);
    EXPECT_EQ(tree.Exists(nullptr), 0);
    EXPECT_EQ(tree.GetLevel(nullptr), 0u);
    EXPECT_EQ(tree.Insert(nullptr, 8, TREE_LAST_SIBLING), nullptr);
    EXPECT_EQ(tree.Insert(nullptr, 40, TREE_NEXT), nullptr);
    EXPECT_EQ(tree.Insert(nullptr, 40, 6), nullptr);
}

TEST(Tree, PositionsPlaceNodes) {
    MDicomTree tree;
    _DICOMLINK *b = tree.Insert(nullptr, 40, TREE_LAST_SIBLING);
    _DICOMLINK *d = tree.Insert(b, 40, TREE_NEXT);
    _DICOMLINK *a = tree.Insert(d, 40, TREE_FIRST_SIBLING);
    _DICOMLINK *c = tree.Insert(d, 40, TREE_PREVIOUS);
    _DICOMLINK *e = tree.Insert(a, 40, TREE_LAST_SIBLING);
    const std::vector<_DICOMLINK *> order = {a, b, c, d, e};
    for (uint32_t i = 0; i < order.size(); ++i) EXPECT_EQ(tree.FindIndex(nullptr, 1, i), order[i]);
    EXPECT_EQ(tree.FindIndex(nullptr, 1, 5), nullptr);
    _DICOMLINK *c2 = tree.Insert(c, 40, TREE_LAST_CHILD);
    _DICOMLINK *c1 = tree.Insert(c, 40, TREE_FIRST_CHILD);
    EXPECT_EQ(tree.GetNext(c, 0), c1);
    EXPECT_EQ(tree.GetNext(c, 1), d);
    EXPECT_EQ(tree.GetNext(c2, 0), d);
    EXPECT_EQ(tree.GetPrev(d, 0), c2);
    EXPECT_EQ(tree.GetPrev(c1, 0), c);
    EXPECT_EQ(tree.GetRoot(c2), c);
    EXPECT_EQ(tree.GetCount(c2, 1), 2u);
    EXPECT_EQ(tree.GetCount(nullptr, 0), 7u);
    tree.Delete(c1);
    tree.Delete(c2);
    EXPECT_EQ(c->pFirstChild, nullptr);
    EXPECT_EQ(c->pLastChild, nullptr);
    DeleteAll(tree);
}

TEST(Tree, WalksForwardAndBackwardMeetTheSameNodes) {
    std::mt19937 random(7);
    MDicomTree tree;
    std::vector<_DICOMLINK *> nodes;
    for (int i = 0; i < 300; ++i) {
        _DICOMLINK *reference = nodes.empty() ? nullptr : nodes[random() % nodes.size()];
        const uint32_t position = reference != nullptr ? random() % 6 : 3;
        nodes.push_back(tree.Insert(reference, 40, position));
        ASSERT_NE(nodes.back(), nullptr);
        if (i % 50 != 0) continue;
        const size_t place = random() % nodes.size();
        if (nodes[place]->pFirstChild != nullptr) continue;
        tree.Delete(nodes[place]);
        nodes.erase(nodes.begin() + static_cast<long>(place));
    }
    EXPECT_EQ(tree.Verify(), nullptr);
    std::vector<_DICOMLINK *> forward;
    for (auto *n = tree.GetFirst(nullptr, 0); n != nullptr; n = tree.GetNext(n, 0)) {
        forward.push_back(n);
    }
    std::vector<_DICOMLINK *> backward;
    for (auto *n = tree.GetLast(nullptr, 0); n != nullptr; n = tree.GetPrev(n, 0)) {
        backward.push_back(n);
    }
    EXPECT_EQ(forward.size(), nodes.size());
    EXPECT_TRUE(std::equal(forward.begin(), forward.end(), backward.rbegin(), backward.rend()));
    _DICOMLINK *first = tree.pFirst;
    _DICOMLINK *next = first->pNext->pPrev;
    first->pNext->pPrev = nullptr;
    EXPECT_NE(tree.Verify(), nullptr);
    first->pNext->pPrev = next;
    DeleteAll(tree);
}

} // namespace
