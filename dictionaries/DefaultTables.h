// The default rows of the dictionaries: constant tables that need no work at load time.
//
// Texts are offsets into one pool of wide characters, so that the tables hold no address and
// the loader has nothing to relocate.

#pragma once

#include <cstdint>
#include <span>

namespace mdicom {

struct DefaultVr {
    uint16_t code;
    uint16_t restriction;
    uint16_t unitSize;
    uint32_t length;
    uint32_t name;
};

struct DefaultTag {
    uint32_t code;
    uint32_t mask;
    uint32_t name;
    uint32_t minVm;
    uint32_t maxVm;
    uint32_t divideVm;
    uint16_t vr;
};

struct DefaultUid {
    uint32_t code;
    uint32_t name;
    uint32_t type;
};

/** A row of the IOD tree: a class, a module or an attribute. */
struct DefaultIodRow {
    uint32_t code;
    uint32_t name;
    uint32_t description;
    uint16_t child; ///< table of the rows below; 0 for none
    uint8_t type;
    uint8_t usage;
};

/** A run of rows that stand on one level. Table 0 has the classes. */
struct DefaultIodTable {
    uint16_t firstRow;
    uint16_t rowCount;
    uint32_t unfoldedCount; ///< rows of the table and of all tables below
};

struct DefaultContextGroup {
    uint32_t identifier;
    uint32_t name;
    uint32_t version; ///< date as the number YYYYMMDD
    uint16_t firstConcept;
    uint16_t conceptCount;
    uint16_t firstInclude;
    uint8_t includeCount;
    bool extensible;
};

struct DefaultConcept {
    uint32_t scheme;
    uint32_t schemeVersion; ///< kNoText for none
    uint32_t value;
    uint32_t meaning;
};

/** In place of an offset of the pool: there is no text. */
inline constexpr uint32_t kNoText = 0xFFFFFFFF;

/** A UID that tells an IOD class; the longest UID has 64 characters (PS 3.5, 9). */
struct IodClassUid {
    uint32_t classCode;
    char uid[68];
};

std::span<const DefaultVr> DefaultVrs();
std::span<const DefaultTag> DefaultTags();
std::span<const DefaultUid> DefaultUids();
/** The UIDs of the IOD classes, sorted, each of them once. */
std::span<const IodClassUid> IodClassUids();

/** The rows of a table. */
std::span<const DefaultIodRow> DefaultIodRows(uint32_t table);
/** Number of rows of the whole IOD tree. */
uint32_t DefaultIodRowCount();

std::span<const DefaultContextGroup> DefaultContextGroups();
/** The concepts of a group itself. */
std::span<const DefaultConcept> DefaultConcepts(const DefaultContextGroup &group);
/** The positions of the groups whose concepts a group includes. */
std::span<const uint16_t> DefaultIncludes(const DefaultContextGroup &group);

/** The text at an offset of the pool; null for kNoText. */
const wchar_t *SharedText(uint32_t offset);
/** True for a text that stands in the pool. */
bool IsSharedText(const wchar_t *text);

} // namespace mdicom
