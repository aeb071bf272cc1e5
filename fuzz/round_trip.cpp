// Loads any bytes, saves the data set in a chosen encoding and loads it again: the same elements
// with the same values stand there. The first byte chooses the encoding.

#include <cstdio>

#include "Support.h"

namespace {

using namespace fuzz;

/** Without a meta header only one encoding is sure to be found again: the caller names it. */
constexpr uint16_t kPlain = DS_METAHEADER_ABSENT | DS_LITTLE_ENDIAN | DS_EXPLICIT_VR;

constexpr uint16_t kForms[] = {
    DS_METAHEADER_PRESENT,
    DS_METAHEADER_PRESENT | DS_LITTLE_ENDIAN | DS_IMPLICIT_VR,
    DS_METAHEADER_PRESENT | DS_LITTLE_ENDIAN | DS_EXPLICIT_VR,
    DS_METAHEADER_PRESENT | DS_BIG_ENDIAN | DS_EXPLICIT_VR,
    kPlain,
};

uint16_t FlagsOf(uint8_t choice) {
    uint16_t flags = kForms[choice % 5];
    if (choice & 0x40) flags |= DS_GROUP_LENGTHS;
    if (choice & 0x80) flags |= DS_LENGTH_EXPLICIT;
    return flags;
}

/** True for an element whose VR a file can tell: one without a VR comes back with that of the
 *  dictionary, and one without a length as a sequence, unless it is Pixel Data. */
bool HasVr(const _DICOMELEMENT *element) {
    constexpr uint16_t kSequence = 0x5351;
    const uint16_t vr = element->nVR;
    if (element->nTag == TAG_ITEM) return true;
    if (element->nLength == 0xFFFFFFFF && element->nTag != TAG_PIXEL_DATA) return vr == kSequence;
    const auto isLetter = [](int code) { return code >= 'A' && code <= 'Z'; };
    return isLetter(vr >> 8) && isLetter(vr & 0xFF);
}

/** True for an element whose place a file can tell: group 0200 behind a meta header looks like
 *  group 0002 in big endian, and the dictionary decides what is a sequence in implicit form. */
bool HasPlace(const _DICOMELEMENT *element) {
    const uint32_t group = element->nTag >> 16;
    const _DICOMTAG *row = MDicomTag::Find(element->nTag);
    const bool taken = row != nullptr && row->nVR == 0x5351 && element->nVR != 0x5351;
    const bool misplaced = (group == 0x0002 && element->nLength == 0xFFFFFFFF) ||
                           (element->nTag == TAG_ITEM && element->Link.pParent == nullptr);
    return group != 0x0200 && !taken && !misplaced;
}

bool IsTold(MDicomDS &ds) {
    bool all = true;
    ForEachElement(
        ds, [&](_DICOMELEMENT *element) { all = all && HasVr(element) && HasPlace(element); });
    return all;
}

void RequireSame(MDicomDS &first, MDicomDS &second) {
    support::CompareOptions options;
    options.compareVr = (second.m_nFlags & DS_EXPLICIT_VR) != 0;
    const std::string difference = support::Difference(first, second, options);
    if (!difference.empty()) std::fprintf(stderr, "%s\n", difference.c_str());
    Require(difference.empty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const uint16_t flags = FlagsOf(input.Byte());
    std::vector<uint8_t> bytes = input.Rest();
    MDicomDS first(nullptr);
    if (bytes.empty() || first.LoadDSMemory(bytes.data(), bytes.size(), 0) != DICOM_SUCCESS) {
        return 0;
    }
    if (!IsTold(first)) return 0;
    Saved saved = Save(first, flags);
    if (saved.status != DICOM_SUCCESS || saved.bytes.empty()) return 0;
    MDicomDS second(nullptr);
    const auto loads = [&](uint16_t known) {
        return second.LoadDSMemory(saved.bytes.data(), saved.bytes.size(), known) == DICOM_SUCCESS;
    };
    // A transfer syntax that nobody knows stands for implicit VR, whatever the caller says.
    Require(((flags & kPlain) == kPlain && loads(kPlain)) || loads(0));
    RequireSame(first, second);
    return 0;
}
