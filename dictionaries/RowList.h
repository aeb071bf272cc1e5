// What the dictionaries have in common: the root level of a tree as a list of rows.

#pragma once

#include <string_view>

#include "MDicomTree.h"

namespace mdicom {

/** A copy of a text on the heap; null when memory is short. */
wchar_t *CopyText(std::wstring_view text);
/** A copy of a text on the heap; null for a null text and when memory is short. */
wchar_t *CopyText(const wchar_t *text);
/** Frees a text of a row, unless it is one of the pool that default rows share. */
void FreeText(wchar_t *text);
/** Exchanges a text of a row; false for a null text or when memory is short. */
bool ReplaceText(wchar_t *&place, const wchar_t *text);

/** A view of a tree as a list of rows, each of which begins with its _DICOMLINK and holds a name
 *  pszName, and maybe a text pszCode, of its own. */
template <typename Row>
class RowList {
  public:
    explicit RowList(MDicomTreeEx &tree) : m_Tree(tree) {}

    Row *First() const { return AsRow(m_Tree.pFirst); }
    Row *Last() const { return AsRow(m_Tree.pLast); }
    Row *Next(Row *row) const { return row != nullptr ? AsRow(row->Link.pNext) : nullptr; }
    Row *Previous(Row *row) const { return row != nullptr ? AsRow(row->Link.pPrev) : nullptr; }
    Row *At(uint32_t index) const { return AsRow(m_Tree.FindIndex(nullptr, 1, index)); }
    uint32_t Count() const { return m_Tree.GetCount(nullptr, 1); }
    bool Contains(Row *row) const { return m_Tree.Exists(AsLink(row)) != 0; }

    /** The first row from a start on for which a condition holds, or null. */
    template <typename Condition>
    Row *FindFrom(Row *start, Condition condition) const {
        Row *row = start;
        while (row != nullptr && !condition(*row)) row = Next(row);
        return row;
    }

    /** A new row at the end, all zero; null when memory is short. */
    Row *Append() const { return AsRow(m_Tree.Insert(nullptr, sizeof(Row), TREE_LAST_SIBLING)); }

    /** Deletes a row. Returns the next row, else the previous one, else null. */
    Row *Remove(Row *row) const {
        if (row == nullptr) return nullptr;
        Row *neighbor = Next(row) != nullptr ? Next(row) : Previous(row);
        FreeTexts(*row);
        m_Tree.Delete(&row->Link);
        return neighbor;
    }

    void Clear() const {
        while (Row *row = First()) Remove(row);
    }

    /** Gives a row another name; false for a null argument or when memory is short. */
    bool Rename(Row *row, const wchar_t *name) const {
        return row != nullptr && ReplaceText(row->pszName, name);
    }

  private:
    static Row *AsRow(_DICOMLINK *link) { return reinterpret_cast<Row *>(link); }
    static _DICOMLINK *AsLink(Row *row) { return reinterpret_cast<_DICOMLINK *>(row); }

    static void FreeTexts(Row &row) {
        FreeText(row.pszName);
        if constexpr (requires { row.pszCode; }) FreeText(row.pszCode);
    }

    MDicomTreeEx &m_Tree;
};

} // namespace mdicom
