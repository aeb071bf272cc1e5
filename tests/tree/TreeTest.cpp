// MDicomTree: linking and walking, against what a plain nested list gives.

#include <gtest/gtest.h>

#include <random>

#include "MDicomTree.h"
#include "support/TreeModel.h"

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

using Model = support::TreeModel<_DICOMLINK>;

/** Inserts at any place near a node, or at an end of the top level. */
void InsertSomewhere(MDicomTree &tree, Model &model, Model::Node *near, std::mt19937 &random) {
    const uint32_t position = random() % (near != nullptr ? 6 : 4);
    _DICOMLINK *link = tree.Insert(near != nullptr ? near->handle : nullptr, 40, position);
    ASSERT_NE(link, nullptr);
    Model::Node *top = near != nullptr ? near : &model.root;
    Model::Node *parent = position <= TREE_LAST_CHILD || near == nullptr ? top : near->parent;
    const Model::List level = near != nullptr ? model.Scope(near, true) : Model::List{};
    const bool isFirst = position == TREE_FIRST_CHILD || position == TREE_FIRST_SIBLING;
    const size_t index = position == TREE_NEXT       ? IndexOf(level, near) + 1
                         : position == TREE_PREVIOUS ? IndexOf(level, near)
                         : isFirst                   ? 0
                                                     : parent->children.size();
    model.Insert(parent, index, link, 0);
}

void DeleteWithChildren(MDicomTree &tree, Model &model, Model::Node *node) {
    while (!node->children.empty()) {
        DeleteWithChildren(tree, model, node->children.back().get());
    }
    tree.Delete(node->handle);
    model.Delete(node);
}

/** All that a tree tells of a node, or of the top level. */
void CompareAt(MDicomTree &tree, Model &model, Model::Node *node) {
    const auto any = [](const Model::Node *) { return true; };
    _DICOMLINK *link = node != nullptr ? node->handle : nullptr;
    for (const bool same : {false, true}) {
        const Model::List list = model.Scope(node, same);
        ASSERT_EQ(tree.GetFirst(link, same), FirstFrom(list, 0, any));
        ASSERT_EQ(tree.GetLast(link, same), LastBefore(list, list.size(), any));
        ASSERT_EQ(tree.GetCount(link, same), list.size());
        ASSERT_EQ(tree.FindIndex(link, same, 7), FirstFrom(list, 7, any));
        if (node == nullptr) continue;
        ASSERT_EQ(tree.GetNext(link, same), FirstFrom(list, IndexOf(list, node) + 1, any));
        ASSERT_EQ(tree.GetPrev(link, same), LastBefore(list, IndexOf(list, node), any));
    }
    if (node == nullptr) return;
    uint32_t level = 0;
    Model::Node *root = node;
    for (; root->parent->handle != nullptr; root = root->parent) ++level;
    ASSERT_EQ(tree.GetLevel(link), level);
    ASSERT_EQ(tree.GetRoot(link), root->handle);
    ASSERT_EQ(tree.GetParent(link), node->parent->handle);
    ASSERT_EQ(tree.GetChild(link), node->children.empty() ? nullptr : node->children[0]->handle);
    ASSERT_EQ(tree.Exists(link), 1);
}

TEST(Tree, DoesWhatNestedListsDo) {
    for (const unsigned seed : {1, 2, 3, 4}) {
        std::mt19937 random(seed);
        MDicomTree tree;
        Model model;
        const size_t most = seed * seed * 12;
        for (int step = 0; step < 5000; ++step) {
            const Model::List all = model.Scope(nullptr, false);
            // Near the last node trees grow deep, near any one broad.
            const auto pick = [&]() -> Model::Node * {
                if (all.empty() || random() % 16 == 0) return nullptr;
                return seed % 2 != 0
                           ? all[random() % all.size()]
                           : all[all.size() - 1 - random() % std::min<size_t>(3, all.size())];
            };
            Model::Node *near = pick();
            if (near != nullptr && (all.size() >= most || random() % 4 == 0)) {
                DeleteWithChildren(tree, model, near);
            } else {
                InsertSomewhere(tree, model, near, random);
            }
            const Model::List now = model.Scope(nullptr, false);
            CompareAt(tree, model, now.empty() ? nullptr : now[random() % now.size()]);
            CompareAt(tree, model, nullptr);
            if (testing::Test::HasFailure()) return;
            if (step % 64 == 0) {
                ASSERT_EQ(tree.Verify(), nullptr);
            }
        }
        DeleteAll(tree);
    }
}

TEST(Tree, VerifyFindsABrokenLink) {
    MDicomTree tree;
    _DICOMLINK *first = tree.Insert(nullptr, 40, TREE_LAST_SIBLING);
    tree.Insert(nullptr, 40, TREE_LAST_SIBLING);
    EXPECT_EQ(tree.Verify(), nullptr);
    first->pNext->pPrev = nullptr;
    EXPECT_NE(tree.Verify(), nullptr);
    first->pNext->pPrev = first;
    DeleteAll(tree);
}

} // namespace
