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
