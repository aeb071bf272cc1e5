// What a data set's own attributes say about its encoding: transfer syntax, class, default VRs.

#include <string_view>

#include "Common/DS/ElementNode.h"
#include "Common/DS/Encodings.h"
#include "Common/Utils/Text.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"
#include "MDicomTag.h"
#include "dictionaries/IodClasses.h"

using namespace mdicom;

namespace {

/** A transfer syntax by the part of its UID behind "1.2.840.10008.1." (PS 3.5, A). */
struct SyntaxRow {
    std::string_view suffix;
    uint16_t flags;
    uint32_t compression;
};

constexpr std::string_view kSyntaxRoot = "1.2.840.10008.1.";
constexpr SyntaxRow kSyntaxes[] = {
    {"2", kImplicitLittle, IMAGE_COMPRESSION_NONE},
    {"2.1", kExplicitLittle, IMAGE_COMPRESSION_NONE},
    {"2.2", kExplicitBig, IMAGE_COMPRESSION_NONE},
    {"2.5", kExplicitLittle, IMAGE_COMPRESSION_RLE},
    {"2.4.50", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.51", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.52", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.53", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.54", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.55", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.56", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.57", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSLESS},
    {"2.4.58", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSLESS},
    {"2.4.59", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.60", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.61", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.62", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.63", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.64", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSY},
    {"2.4.65", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSLESS},
    {"2.4.66", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSLESS},
    {"2.4.70", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LOSSLESS},
    {"2.4.80", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LS_LOSSLESS},
    {"2.4.81", kExplicitLittle, IMAGE_COMPRESSION_JPEG_LS_LOSSY},
    {"2.4.90", kExplicitLittle, IMAGE_COMPRESSION_J2K_LOSSLESS},
    {"2.4.91", kExplicitLittle, IMAGE_COMPRESSION_J2K_LOSSY},
    {"2.4.100", kExplicitLittle, IMAGE_COMPRESSION_MPEG2_MAIN},
    {"2.4.101", kExplicitLittle, IMAGE_COMPRESSION_MPEG2_HIGH},
};

/** Compression class of a transfer syntax that is not in the table, and encapsulates its frames. */
constexpr uint32_t kOtherCompression = 10;

const SyntaxRow *FindSyntax(std::string_view uid) {
    if (!uid.starts_with(kSyntaxRoot)) return nullptr;
    uid.remove_prefix(kSyntaxRoot.size());
    for (const SyntaxRow &row : kSyntaxes) {
        if (row.suffix == uid) return &row;
    }
    return nullptr;
}

constexpr bool IsInGroupFamily(uint32_t tag, uint8_t group, uint16_t element) {
    return tag >> 24 == group && ElementOf(tag) == element;
}

constexpr bool IsWaveformValue(uint32_t tag) {
    return IsInGroupFamily(tag, 0x54, 0x1010) || IsInGroupFamily(tag, 0x54, 0x100A) ||
           IsInGroupFamily(tag, 0x54, 0x0110) || IsInGroupFamily(tag, 0x54, 0x0112);
}

/** VR of curve values by Data Value Representation (PS 3.3-2004, C.10.2.1.2). */
uint16_t CurveVr(uint32_t representation) {
    static constexpr uint16_t kVrs[] = {vr::US, vr::SS, vr::FL, vr::FD, vr::SL};
    return representation < std::size(kVrs) ? kVrs[representation] : vr::US;
}

} // namespace

/** Flags and compression class of a transfer syntax; null: of the one in (0002,0010). 1 if there
 *  was a UID; the results are those of implicit little endian otherwise. Frames in fragments tell
 *  that a syntax which is not in the table compresses: no save may call it by another name. */
int32_t MDicomDS::GetTS(uint16_t *pFlags, uint32_t *pCompression, const char *pszUID) {
    *pFlags = kImplicitLittle;
    *pCompression = IMAGE_COMPRESSION_NONE;
    char text[kLongestUid + 1] = {};
    if (pszUID == nullptr) {
        _DICOMELEMENT *element = FindFirstElement(nullptr, kTagTransferSyntax, 1);
        if (element == nullptr || !GetFileBinaryValue(element, text, 0, kLongestUid)) return 0;
        pszUID = text;
    }
    const SyntaxRow *row = FindSyntax(TrimBlanks(pszUID));
    if (row == nullptr) {
        const _DICOMELEMENT *pixels =
            pszUID == text ? FindFirstElement(nullptr, TAG_PIXEL_DATA, 1) : nullptr;
        if (pixels == nullptr || pixels->nLength != kUndefinedLength) return 1;
        *pFlags = kExplicitLittle;
        *pCompression = kOtherCompression;
        return 1;
    }
    *pFlags = row->flags;
    *pCompression = row->compression;
    return 1;
}

/** IOD class number of a SOP Class; null: of the data set's own. 1 if there was a UID. */
int32_t MDicomDS::GetClass(uint32_t *pClass, const char *pszUID) {
    constexpr uint32_t kMediaStorageClass = 0x00020002;
    constexpr uint32_t kSopClass = 0x00080016;
    *pClass = 0xFFFF;
    char text[kLongestUid + 1] = {};
    if (pszUID == nullptr) {
        for (const uint32_t tag : {kMediaStorageClass, kSopClass}) {
            _DICOMELEMENT *element = FindFirstElement(nullptr, tag, 1);
            if (element == nullptr || !GetFileBinaryValue(element, text, 0, kLongestUid)) continue;
            pszUID = text;
            break;
        }
        if (pszUID == nullptr) return 0;
    }
    FindIodClass(TrimBlanks(pszUID), pClass);
    return 1;
}

/** The VR of an element that the encoding names none for. pElement is its parent if bChild is
 *  set, else a sibling. */
uint16_t MDicomDS::GetDefaultVR(_DICOMELEMENT *pElement, uint32_t nTag, int32_t bChild) {
    constexpr uint32_t kWaveformBitsAllocated = 0x54001004;
    if (ElementOf(nTag) == 0x0000) return vr::UL;
    uint16_t flags = 0;
    uint32_t compression = 0;
    uint32_t number = 0;
    if (nTag == TAG_ITEM) {
        const _DICOMELEMENT *parent = bChild ? pElement : GetParentOrNull(pElement);
        return parent == nullptr || parent->nVR == vr::SQ ? vr::OB : parent->nVR;
    }
    if (nTag == TAG_PIXEL_DATA) {
        GetTS(&flags, &compression, nullptr);
        return compression == IMAGE_COMPRESSION_NONE ? vr::OW : vr::OB;
    }
    const uint32_t group = nTag & 0xFFFF0000;
    const auto lookUp = [&](uint32_t tag) {
        return FindGetValue(pElement, tag, &number, 0, 1, VALUE_ARRAY_DWORD) > 0;
    };
    if (IsInGroupFamily(nTag, 0x50, 0x200C)) {
        return lookUp(group | 0x2002) && number < 9 ? vr::OB : vr::OW;
    }
    if (IsInGroupFamily(nTag, 0x50, 0x3000)) {
        return lookUp(group | 0x0103) ? CurveVr(number) : vr::US;
    }
    if (IsWaveformValue(nTag)) {
        const bool bytes = lookUp(kWaveformBitsAllocated) && number < 9;
        const bool isExplicit = GetTS(&flags, &compression, nullptr) && (flags & DS_EXPLICIT_VR);
        return bytes && isExplicit ? vr::OB : vr::OW;
    }
    const _DICOMTAG *row = MDicomTag::Find(nTag);
    return row != nullptr ? row->nVR : vr::UN;
}
