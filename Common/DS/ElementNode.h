// The memory of an element: its record, and behind it the arrays of a value in one block.

#pragma once

#include <cstddef>

#include "Common/DS/DirectoryTags.h"
#include "MDicomTypes.h"

namespace mdicom {

constexpr uint32_t kUndefinedLength = 0xFFFFFFFF;
constexpr uint32_t kUnparsed = 0xFFFFFFFF;
constexpr uint32_t kTagTrailingPadding = 0xFFFCFFFC;
constexpr uint32_t kTagTransferSyntax = 0x00020010;
constexpr uint32_t kTagSpecificCharacterSet = 0x00080005;

/** Nearly all values are one block, so room for its three array entries stands behind the record
 *  and an element costs one allocation. */
struct ElementNode {
    _DICOMELEMENT element;
    MDicomFile *file;
    uint32_t offset;
    uint32_t length;
};
static_assert(offsetof(ElementNode, element) == 0);

inline _DICOMELEMENT *AsElement(_DICOMLINK *link) {
    return reinterpret_cast<_DICOMELEMENT *>(link);
}

inline _DICOMLINK *AsLink(_DICOMELEMENT *element) {
    return element != nullptr ? &element->Link : nullptr;
}

inline _DICOMELEMENT *ParentOf(const _DICOMELEMENT *element) {
    return AsElement(element->Link.pParent);
}

inline _DICOMELEMENT *FirstChildOf(const _DICOMELEMENT *element) {
    return AsElement(element->Link.pFirstChild);
}

inline _DICOMELEMENT *NextOf(const _DICOMELEMENT *element) {
    return AsElement(element->Link.pNext);
}

/** True for an element with bytes of its own. */
inline bool HasValue(const _DICOMELEMENT *element) {
    return element != nullptr && element->nLength != 0 && element->nLength != kUndefinedLength;
}

constexpr uint16_t GroupOf(uint32_t tag) {
    return static_cast<uint16_t>(tag >> 16);
}

constexpr uint16_t ElementOf(uint32_t tag) {
    return static_cast<uint16_t>(tag);
}

/** True for the two delimiters, which exist only in encoded form. */
constexpr bool IsDelimiter(uint32_t tag) {
    return tag == TAG_ITEM_DELIMITATION || tag == TAG_SEQUENCE_DELIMITATION;
}

/** True for items and delimiters, which have a header of their own kind. */
constexpr bool IsItemOrDelimiter(uint32_t tag) {
    return tag == TAG_ITEM || IsDelimiter(tag);
}

/** True for an element whose value is the offset of a directory record (PS 3.3, F.3.2.2). One of
 *  any other length is no reference, whatever its tag. */
inline bool IsDirectoryReference(const _DICOMELEMENT &element) {
    if (element.nLength != sizeof(uint32_t)) return false;
    for (const uint32_t tag : kReferenceTags) {
        if (element.nTag == tag) return true;
    }
    return false;
}

} // namespace mdicom
