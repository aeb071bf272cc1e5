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

/** A UID that tells an IOD class; the longest UID has 64 characters (PS 3.5, 9). */
struct IodClassUid {
    uint32_t classCode;
    char uid[68];
};

std::span<const DefaultVr> DefaultVrs();
std::span<const DefaultTag> DefaultTags();
std::span<const DefaultUid> DefaultUids();
/** The UIDs of the IOD classes, in the order of the classes. */
std::span<const IodClassUid> IodClassUids();

/** The text at an offset of the pool. */
const wchar_t *SharedText(uint32_t offset);
/** True for a text that stands in the pool. */
bool IsSharedText(const wchar_t *text);

} // namespace mdicom
