// Encodings without compression (PS 3.5, A), and how much of a loaded data set is remembered.

#pragma once

#include <cstdint>
#include <string_view>

#include "MDicomConstants.h"

namespace mdicom {

constexpr uint16_t kImplicitLittle = DS_LITTLE_ENDIAN | DS_IMPLICIT_VR;
constexpr uint16_t kExplicitLittle = DS_LITTLE_ENDIAN | DS_EXPLICIT_VR;
constexpr uint16_t kExplicitBig = DS_BIG_ENDIAN | DS_EXPLICIT_VR;

constexpr std::string_view kImplicitLittleUid = "1.2.840.10008.1.2";
constexpr std::string_view kExplicitLittleUid = "1.2.840.10008.1.2.1";
constexpr std::string_view kExplicitBigUid = "1.2.840.10008.1.2.2";

/** Transfer syntax of an encoding; big endian is explicit. */
constexpr std::string_view UncompressedSyntax(bool littleEndian, bool isExplicit) {
    if (!littleEndian) return kExplicitBigUid;
    return isExplicit ? kExplicitLittleUid : kImplicitLittleUid;
}

/** Characters of a UID that are looked at: more than it may have. */
constexpr uint32_t kLongestUid = 256;
/** Values of odd length that a load stores again. */
constexpr uint32_t kBadElementRoom = 50;

} // namespace mdicom
