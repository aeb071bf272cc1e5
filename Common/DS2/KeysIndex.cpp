// Directory records as a tree: built from the references, then kept up to date.

#include "Common/DS2/KeysIndex.h"

#include <algorithm>

#include "Common/DS/ElementNode.h"

namespace mdicom {

KeyIndex::KeyIndex(_DICOMELEMENT *records, uint32_t firstOfRoot) {
    if (records == nullptr) return;
    ReadRecords(records);
    Grow(m_Root, firstOfRoot);
    // Records that the root does not lead to still have neighbours. First those that begin a
    // level, then those that are left: they stand in loops.
    std::unordered_set<uint32_t> named;
    for (const auto &[node, references] : m_References) {
        named.insert(references.next);
        named.insert(references.child);
    }
    for (const bool loops : {false, true}) {
        for (_DICOMELEMENT *item = FirstChildOf(records); item != nullptr; item = NextOf(item)) {
            KeyNode *node = Find(item);
            if (node == nullptr || node->level != nullptr) continue;
            const auto holder = m_ByIdentity.find(item->nRecordOffset);
            const bool isNamed = holder->second == node && named.contains(item->nRecordOffset);
            if (isNamed && !loops) continue;
            KeyLevel &level = m_Loose.emplace_front();
            Link(level, node);
            Grow(level, m_References[node].next);
        }
    }
    m_References.clear();
}

void KeyIndex::ReadRecords(_DICOMELEMENT *records) {
    for (_DICOMELEMENT *item = FirstChildOf(records); item != nullptr; item = NextOf(item)) {
        if (item->nTag != TAG_ITEM || item->nRecordOffset == 0) continue;
        KeyNode *node = &m_Nodes[item];
        node->item = item;
        node->children.parent = node;
        if (!m_ByIdentity.emplace(item->nRecordOffset, node).second) m_Damaged = true;
        References &references = m_References[node];
        for (const _DICOMELEMENT *child = FirstChildOf(item); child != nullptr;
             child = NextOf(child)) {
            if (child->nTag == kNextRecord) references.next = child->nRecordOffset;
            if (child->nTag == kLowerRecord) references.child = child->nRecordOffset;
        }
    }
}

/** Appends the records of a level, beginning with the one of this identity, and all below them. */
void KeyIndex::Grow(KeyLevel &level, uint32_t identity) {
    struct Open {
        KeyLevel *level;
        uint32_t identity; ///< of the record to append
    };
    std::vector<Open> open{{&level, identity}};
    // The records behind those of an orphan level's first are below it too.
    if (level.first != nullptr) {
        open.push_back({&level.first->children, m_References[level.first].child});
    }
    while (!open.empty()) {
        Open &top = open.back();
        KeyNode *node = Take(*top.level, top.identity);
        if (node == nullptr) {
            open.pop_back();
            continue;
        }
        const References references = m_References[node];
        top.identity = references.next;
        if (references.child != 0) open.push_back({&node->children, references.child});
    }
}

/** Gives the record of an identity its place at the end of a level; null if there is none or it
 *  has its place. */
KeyNode *KeyIndex::Take(KeyLevel &level, uint32_t identity) {
    if (identity == 0) return nullptr;
    const auto found = m_ByIdentity.find(identity);
    if (found == m_ByIdentity.end()) {
        m_Dangling.insert(identity);
        return nullptr;
    }
    if (found->second->level != nullptr) {
        m_Damaged = true;
        return nullptr;
    }
    Link(level, found->second);
    return found->second;
}

void KeyIndex::Link(KeyLevel &level, KeyNode *node) noexcept {
    node->level = &level;
    node->prev = level.last;
    (level.last != nullptr ? level.last->next : level.first) = node;
    level.last = node;
}

KeyNode *KeyIndex::Find(const _DICOMELEMENT *item) noexcept {
    const auto found = m_Nodes.find(item);
    return found != m_Nodes.end() ? &found->second : nullptr;
}

uint32_t KeyIndex::FreeIdentity(MDicomTree &tree) {
    if (!m_KnowsElsewhere) {
        for (_DICOMLINK *link = tree.pFirst; link != nullptr; link = tree.GetNext(link, 0)) {
            const _DICOMELEMENT *element = AsElement(link);
            const bool isItem = element->nTag == TAG_ITEM && element->nRecordOffset != 0;
            if (isItem && !m_Nodes.contains(element)) m_Elsewhere.insert(element->nRecordOffset);
        }
        m_KnowsElsewhere = true;
    }
    while (m_ByIdentity.contains(m_LowestFree) || m_Elsewhere.contains(m_LowestFree) ||
           m_Dangling.contains(m_LowestFree)) {
        ++m_LowestFree;
    }
    return m_LowestFree;
}

void KeyIndex::Reserve(_DICOMELEMENT *item) {
    KeyNode *node = &m_Nodes[item];
    node->item = item;
    node->children.parent = node;
    m_ByIdentity.emplace(item->nRecordOffset, node);
}

void KeyIndex::Append(KeyLevel &level, _DICOMELEMENT *item) noexcept {
    Link(level, Find(item));
}

std::vector<KeyNode *> KeyIndex::Subtree(KeyNode *node) {
    std::vector<KeyNode *> result{node};
    for (size_t i = 0; i < result.size(); ++i) {
        for (KeyNode *child = result[i]->children.first; child != nullptr; child = child->next) {
            result.push_back(child);
        }
    }
    return result;
}

bool KeyIndex::Remove(const std::vector<KeyNode *> &subtree) noexcept {
    if (m_Damaged) return false;
    KeyNode *top = subtree.front();
    (top->prev != nullptr ? top->prev->next : top->level->first) = top->next;
    (top->next != nullptr ? top->next->prev : top->level->last) = top->prev;
    for (const KeyNode *node : subtree) {
        const uint32_t identity = node->item->nRecordOffset;
        m_LowestFree = std::min(m_LowestFree, identity);
        m_ByIdentity.erase(identity);
        m_Nodes.erase(node->item);
    }
    return true;
}

} // namespace mdicom
