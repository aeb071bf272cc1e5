// The element tree: places, refusals, walks, and searches against plain walks of the tree.

#include <gtest/gtest.h>

#include <random>

#include "support/TestFiles.h"
#include "support/TreeModel.h"

namespace {

constexpr uint32_t kAppend = 0xFFFFFFFF;

_DICOMELEMENT *Add(MDicomDS &ds, _DICOMELEMENT *parent, uint32_t tag, uint32_t index = kAppend) {
    return ds.InsertElement(parent, 1, tag, 0, 0, index);
}

std::vector<uint32_t> TagsOf(MDicomDS &ds) {
    std::vector<uint32_t> tags;
    for (auto *e = ds.GetFirstElement(nullptr, 1, 1); e != nullptr;
         e = ds.GetNextElement(e, 1, 1)) {
        tags.push_back(e->nTag);
    }
    return tags;
}

TEST(ElementTree, SortsElementsAndKnowsTheirVrs) {
    MDicomDS ds(nullptr);
    _DICOMELEMENT *name = Add(ds, nullptr, 0x00100010);
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(name->nVR, 0x504E);
    Add(ds, nullptr, 0x00080016);
    ds.InsertElement(name, 0, 0x00100020, 0, 0, 0);
    EXPECT_EQ(TagsOf(ds), (std::vector<uint32_t>{0x00080016, 0x00100010, 0x00100020}));
    _DICOMELEMENT *sequence = Add(ds, nullptr, 0x00081140);
    ASSERT_EQ(sequence->nLength, 0xFFFFFFFF);
    _DICOMELEMENT *item = Add(ds, sequence, TAG_ITEM);
    EXPECT_EQ(ds.GetLevelElement(item), 1u);
    EXPECT_EQ(ds.GetRootElement(item), sequence);
    EXPECT_EQ(Add(ds, nullptr, 0x00091001)->nVR, 0);
}

struct Heard {
    std::vector<uint16_t> codes;
    static int32_t Hear(_DICOMELEMENT *, uint16_t code, void *user) {
        static_cast<Heard *>(user)->codes.push_back(code);
        return 0;
    }
};

TEST(ElementTree, TellsWhyItRefuses) {
    MDicomDS ds(nullptr);
    Heard heard;
    ds.SetDebugDS(Heard::Hear, &heard);
    for (const uint32_t tag : {0x00080000u, 0x00100000u, 0xFFFEE00Du, 0xFFFEE0DDu, 0xFFFCFFFCu}) {
        EXPECT_EQ(Add(ds, nullptr, tag), nullptr);
    }
    EXPECT_EQ(heard.codes, std::vector<uint16_t>(5, DS_DEBUG_BAD_TAG));
    heard.codes.clear();
    _DICOMELEMENT *name = Add(ds, nullptr, 0x00100010);
    EXPECT_EQ(Add(ds, nullptr, 0x00100010), nullptr);
    EXPECT_NE(Add(ds, name, 0x00100020), nullptr); // the first child of a leaf is taken
    EXPECT_EQ(Add(ds, name, 0x00100030), nullptr);
    _DICOMELEMENT stale{};
    EXPECT_EQ(ds.GetNextElement(&stale, 1, 1), nullptr);
    EXPECT_EQ(ds.IsVolatileElement(&stale), 1);
    EXPECT_EQ(heard.codes, (std::vector<uint16_t>{DS_DEBUG_DUPLICATE, DS_DEBUG_BAD_ELEMENT,
                                                  DS_DEBUG_BAD_ELEMENT, DS_DEBUG_BAD_ELEMENT}));
    ds.m_bConforming = 1;
    EXPECT_EQ(Add(ds, nullptr, 0x00100040), nullptr);
    EXPECT_EQ(ds.DeleteElement(name), nullptr);
    ds.m_bConforming = 0;
}

TEST(ElementTree, WalksHideVolatileElements) {
    MDicomDS ds(nullptr);
    Add(ds, nullptr, 0x00020010);
    _DICOMELEMENT *name = Add(ds, nullptr, 0x00100010);
    Add(ds, nullptr, 0x00280010);
    _DICOMELEMENT *pixels = ds.InsertElement(nullptr, 0, TAG_PIXEL_DATA, 0x4F42, 1, 0);
    _DICOMELEMENT *fragment = Add(ds, pixels, TAG_ITEM);
    EXPECT_EQ(ds.GetFirstElement(nullptr, 1, 0), name);
    EXPECT_EQ(ds.GetNextElement(name, 0, 0), pixels);
    EXPECT_EQ(ds.GetLastElement(nullptr, 0, 0), pixels);
    EXPECT_EQ(ds.GetPrevElement(pixels, 1, 0), name);
    EXPECT_EQ(ds.GetChildElement(pixels, 0), nullptr);
    EXPECT_EQ(ds.GetChildElement(pixels, 1), fragment);
    EXPECT_EQ(ds.IsVolatileElement(fragment), 1);
    EXPECT_EQ(ds.IsVolatileElement(nullptr), 0);
}

using Model = support::TreeModel<_DICOMELEMENT>;

struct Shape {
    unsigned seed;
    size_t elements; ///< at most
    uint32_t tags;   ///< to choose from: few make duplicates
    uint32_t deep;   ///< one in so many steps stays near the last element
    bool isLoaded;   ///< begins with a file whose levels do not ascend
};

/** A data set that changes at random, and the lists that it has to be like. */
class TwoTrees {
  public:
    explicit TwoTrees(const Shape &shape) : m_Shape(shape), m_Random(shape.seed) {}

    void Load() {
        support::Encoder file;
        file.Meta(support::kExplicitUid);
        for (uint32_t i = 0; i < 90; ++i) file.Element(0x00091000 + i * 37 % 90, "LO", "");
        m_File = file.bytes;
        ASSERT_EQ(support::LoadBytes(m_DS, m_File), 0);
        m_Model.root.children.clear();
        for (auto *e = m_DS.GetFirstElement(nullptr, 1, 1); e != nullptr;
             e = m_DS.GetNextElement(e, 1, 1)) {
            m_Model.Insert(&m_Model.root, m_Model.root.children.size(), e, e->nTag);
        }
    }

    void Step() {
        const Model::List all = m_Model.Scope(nullptr, false);
        Model::Node *near = all.empty() || m_Random() % 8 == 0 ? nullptr : Any(all);
        if (near != nullptr && m_Random() % m_Shape.deep == 0) near = all.back();
        if (near != nullptr && (all.size() >= m_Shape.elements || m_Random() % 5 == 0)) {
            Delete(near);
        } else {
            Insert(near != nullptr ? near : &m_Model.root);
        }
    }

    void Compare() {
        const Model::List all = m_Model.Scope(nullptr, false);
        auto *element = m_DS.GetFirstElement(nullptr, 0, 1);
        for (const Model::Node *node : all) {
            ASSERT_EQ(element, node->handle);
            element = m_DS.GetNextElement(element, 0, 1);
        }
        ASSERT_EQ(element, nullptr);
        CompareAt(nullptr);
        if (!all.empty()) CompareAt(Any(all));
    }

    MDicomTree &Tree() { return m_DS.m_Tree; }

  private:
    Model::Node *Any(const Model::List &list) { return list[m_Random() % list.size()]; }

    uint32_t AnyTag() {
        static constexpr uint32_t kSpecial[] = {0x00280011, 0x00041400, TAG_PIXEL_DATA, TAG_ITEM};
        const uint32_t number = m_Random() % m_Shape.tags;
        return m_Random() % 12 == 0 ? kSpecial[number % 4] : 0x00091000 + number;
    }

    void Delete(Model::Node *node) {
        const Model::List level = m_Model.Scope(node, true);
        const size_t place = IndexOf(level, node);
        _DICOMELEMENT *nearest = place + 1 < level.size() ? level[place + 1]->handle
                                 : place > 0              ? level[place - 1]->handle
                                                          : node->parent->handle;
        ASSERT_EQ(m_DS.DeleteElement(node->handle), nearest);
        m_Model.Delete(node);
    }

    /** Below an item or a sequence, else beside the node; often behind the last sibling. */
    void Insert(Model::Node *near) {
        const bool isItem = near->tag == TAG_ITEM && near->handle->nLength == 0xFFFFFFFF;
        const bool takesItems =
            near->handle != nullptr && near->tag != TAG_ITEM && near->handle->nLength == 0xFFFFFFFF;
        const bool asChild = near == &m_Model.root || isItem || takesItems;
        Model::Node *parent = asChild ? near : near->parent;
        auto &level = parent->children;
        if (takesItems || (!asChild && near->tag == TAG_ITEM)) {
            const uint32_t index = m_Random() % 3 == 0 ? kAppend : m_Random() % 9;
            const bool isFragment = parent->tag == TAG_PIXEL_DATA;
            auto *item = m_DS.InsertElement(near->handle, asChild, TAG_ITEM, 0, !isFragment, index);
            ASSERT_NE(item, nullptr);
            m_Model.Insert(parent, std::min<size_t>(index, level.size()), item, TAG_ITEM);
            return;
        }
        uint32_t tag = AnyTag();
        if (tag == TAG_ITEM) return;
        if (!level.empty() && m_Random() % 3 == 0) tag = level.back()->tag + 1;
        if ((tag & 0xFFFF) == 0) return;
        const bool isSequence = tag == TAG_PIXEL_DATA || m_Random() % 3 == 0;
        auto *element = m_DS.InsertElement(near->handle, asChild, tag, 0x4C4F, isSequence, 0);
        const auto isTag = [&](const auto &node) { return node->tag == tag; };
        const bool taken = std::any_of(level.begin(), level.end(), isTag);
        ASSERT_EQ(element == nullptr, taken);
        if (taken) return;
        const auto place = std::find_if(level.begin(), level.end(),
                                        [&](const auto &node) { return node->tag > tag; });
        m_Model.Insert(parent, static_cast<size_t>(place - level.begin()), element, tag);
    }

    /** All searches and walks from an element, or from the top level. */
    void CompareAt(Model::Node *from) {
        _DICOMELEMENT *at = from != nullptr ? from->handle : nullptr;
        const uint32_t tag = AnyTag();
        const auto isTag = [&](const Model::Node *node) { return node->tag == tag; };
        const auto isSame = [&](const Model::Node *node) { return node->tag == from->tag; };
        for (const bool same : {false, true}) {
            const Model::List list = m_Model.Scope(from, same);
            const size_t size = list.size();
            ASSERT_EQ(m_DS.FindFirstElement(at, tag, same), FirstFrom(list, 0, isTag));
            ASSERT_EQ(m_DS.FindLastElement(at, tag, same), LastBefore(list, size, isTag));
            const size_t place = from != nullptr ? IndexOf(list, from) : 0;
            if (from != nullptr) {
                ASSERT_EQ(m_DS.FindNextElement(at, same), FirstFrom(list, place + 1, isSame));
                ASSERT_EQ(m_DS.FindPrevElement(at, same), LastBefore(list, place, isSame));
            }
            for (const bool all : {false, true}) {
                const auto shows = [=, this](const Model::Node *node) {
                    return all || !m_DS.IsVolatileElement(node->handle);
                };
                ASSERT_EQ(m_DS.GetFirstElement(at, same, all), FirstFrom(list, 0, shows));
                ASSERT_EQ(m_DS.GetLastElement(at, same, all), LastBefore(list, size, shows));
                if (from == nullptr) continue;
                ASSERT_EQ(m_DS.GetNextElement(at, same, all), FirstFrom(list, place + 1, shows));
                ASSERT_EQ(m_DS.GetPrevElement(at, same, all), LastBefore(list, place, shows));
            }
        }
    }

    const Shape m_Shape;
    std::mt19937 m_Random;
    MDicomDS m_DS{nullptr};
    Model m_Model;
    support::Bytes m_File;
};

/** What is found with the index is what lists give, whatever grows, goes and comes again. */
TEST(ElementTree, DoesWhatNestedListsDo) {
    constexpr Shape kShapes[] = {
        {1, 12, 8, 3, false},    {2, 60, 20, 50, false},   {3, 200, 60, 2, false},
        {4, 300, 900, 9, false}, {5, 400, 3000, 99, true}, {6, 150, 90, 20, true},
    };
    for (const Shape &shape : kShapes) {
        SCOPED_TRACE(shape.seed);
        TwoTrees trees(shape);
        for (int step = 0; step < 2500; ++step) {
            if (step % 1250 == 0 && shape.isLoaded) trees.Load();
            trees.Step();
            trees.Compare();
            if (testing::Test::HasFailure()) return;
            if (step % 250 == 0) {
                ASSERT_EQ(trees.Tree().Verify(), nullptr);
            }
        }
    }
}

TEST(ElementTree, ResetKeepsPreambleOnly) {
    MDicomDS ds(nullptr);
    const uint8_t preamble[] = {1, 2, 3};
    ds.SetPreamble(preamble, 3);
    _DICOMELEMENT *name = Add(ds, nullptr, 0x00100010);
    char text[] = "A^B ";
    ASSERT_NE(ds.SetBinaryValue(name, text, 4), 0);
    ds.m_nFlags = 40;
    ds.ResetDS();
    uint8_t kept[4] = {};
    ds.GetPreamble(kept, 4);
    EXPECT_EQ(kept[2], 3);
    EXPECT_EQ(ds.m_nFlags, 37);
    EXPECT_EQ(ds.GetFirstElement(nullptr, 0, 1), nullptr);
    EXPECT_EQ(ds.m_TempFile.nLength, 0u);
    EXPECT_EQ(ds.SetKeepPixelDataIntactFlag(1), 0);
    EXPECT_EQ(ds.GetKeepPixelDataIntactFlag(), 1);
}

} // namespace
