// Steps through the rows of the IOD tree. Programs may nest rows to any depth, so that walks climb
// by the links instead of recursion.

#pragma once

#include "MDicomTypes.h"

namespace mdicom {

/** The class whose modules describe directory records instead of the data set. */
constexpr uint32_t kDirectoryClass = 71;

inline _DICOMIOD *AsRow(_DICOMLINK *link) {
    return reinterpret_cast<_DICOMIOD *>(link);
}

inline _DICOMIOD *FirstRowOf(const _DICOMIOD *row) {
    return AsRow(row->Link.pFirstChild);
}

inline _DICOMIOD *NextRowOf(const _DICOMIOD *row) {
    return AsRow(row->Link.pNext);
}

inline _DICOMIOD *ParentRowOf(const _DICOMIOD *row) {
    return AsRow(row->Link.pParent);
}

inline bool IsMandatory(const _DICOMIOD *row) {
    return row->nUsage == IOD_USAGE_MANDATORY || row->nUsage == IOD_USAGE_1 ||
           row->nUsage == IOD_USAGE_2;
}

/**
 * The row behind another in a depth-first walk through the rows below a root; null at the end.
 * @param into  whether the walk goes to the rows below this one
 * @param leave called with each row whose rows below are done
 */
template <typename Leave>
_DICOMIOD *NextRowBelow(_DICOMIOD *row, const _DICOMIOD *root, bool into, Leave leave) {
    if (into && FirstRowOf(row) != nullptr) return FirstRowOf(row);
    while (NextRowOf(row) == nullptr) {
        row = ParentRowOf(row);
        if (row == root) return nullptr;
        leave(row);
    }
    return NextRowOf(row);
}

} // namespace mdicom
