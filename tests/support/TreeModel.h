// A forest as nested lists, to hold trees to account.

#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

namespace support {

/** What the model knows of the node of a tree. */
template <typename Handle>
struct ModelNode {
    Handle *handle = nullptr;
    uint32_t tag = 0;
    ModelNode *parent = nullptr; ///< the node without a handle for the top level
    std::vector<std::unique_ptr<ModelNode>> children{};
};

template <typename Handle>
class TreeModel {
  public:
    using Node = ModelNode<Handle>;
    using List = std::vector<Node *>;

    Node *Insert(Node *parent, size_t index, Handle *handle, uint32_t tag) {
        auto node = std::make_unique<Node>(Node{handle, tag, parent});
        Node *result = node.get();
        parent->children.insert(parent->children.begin() + static_cast<std::ptrdiff_t>(index),
                                std::move(node));
        return result;
    }

    void Delete(Node *node) {
        std::erase_if(node->parent->children, [=](const auto &each) { return each.get() == node; });
    }

    /** The siblings of a node (null: the top level), or all nodes in depth-first order. */
    List Scope(const Node *node, bool sameLevel) {
        List list;
        Node *parent = node != nullptr && sameLevel ? node->parent : &root;
        for (const auto &child : parent->children) Collect(child.get(), !sameLevel, list);
        return list;
    }

    Node root;

  private:
    static void Collect(Node *node, bool deep, List &list) {
        list.push_back(node);
        if (!deep) return;
        for (const auto &child : node->children) Collect(child.get(), true, list);
    }
};

template <typename Node>
size_t IndexOf(const std::vector<Node *> &list, const Node *node) {
    return static_cast<size_t>(std::find(list.begin(), list.end(), node) - list.begin());
}

/** The handle of the first node at or behind a place that is wanted; null for none. */
template <typename Node, typename Wanted>
auto FirstFrom(const std::vector<Node *> &list, size_t place, Wanted wanted) {
    const auto begin = list.begin() + static_cast<std::ptrdiff_t>(std::min(place, list.size()));
    const auto found = std::find_if(begin, list.end(), wanted);
    return found != list.end() ? (*found)->handle : nullptr;
}

/** The handle of the last node before a place that is wanted; null for none. */
template <typename Node, typename Wanted>
auto LastBefore(const std::vector<Node *> &list, size_t place, Wanted wanted) {
    const auto begin = list.rbegin() + static_cast<std::ptrdiff_t>(list.size() - place);
    const auto found = std::find_if(begin, list.rend(), wanted);
    return found != list.rend() ? (*found)->handle : nullptr;
}

} // namespace support
