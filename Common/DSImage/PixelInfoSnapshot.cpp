// Image attributes that have to outlive a change of the frames.

#include "Common/DSImage/PixelInfoSnapshot.h"

#include <string_view>

#include "Common/DSImage/FrameFragments.h"
#include "Common/DSImage/ImageTags.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

struct NumberRow {
    uint32_t tag;
    uint32_t _DICOMIMAGE::*number;
};

constexpr NumberRow kNumbers[] = {
    {kSamplesPerPixel, &_DICOMIMAGE::nSamplesPerPixel},
    {kBitsAllocated, &_DICOMIMAGE::nBitsAllocated},
    {kBitsStored, &_DICOMIMAGE::nBitsStored},
    {kHighBit, &_DICOMIMAGE::nHighBit},
    {kPixelRepresentation, &_DICOMIMAGE::nPixelRepresentation},
};

bool IsBeside(MDicomDS &dataSet, _DICOMELEMENT *element, uint32_t tag) {
    return dataSet.FindFirstElement(element, tag, 1) != nullptr;
}

} // namespace

Status CMyImagePixelInfo::Take(MDicomDS &dataSet, _DICOMELEMENT *pixelData) {
    if (pixelData == nullptr) pixelData = dataSet.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
    if (pixelData == nullptr) return DICOM_SUCCESS;
    const Status status = dataSet.GetInfoImage(pixelData, &m_Image, 0);
    m_IsTaken = status == DICOM_SUCCESS;
    m_HasFrameCount = IsBeside(dataSet, pixelData, kNumberOfFrames);
    return status;
}

void CMyImagePixelInfo::Restore(MDicomDS &dataSet, _DICOMELEMENT *pixelData) const {
    if (!m_IsTaken) return;
    for (const NumberRow &row : kNumbers) {
        if (!IsBeside(dataSet, pixelData, row.tag)) continue;
        dataSet.FindSetValue(pixelData, row.tag, &(m_Image.*row.number), 1, VALUE_ARRAY_DWORD);
    }
    const bool isGray = m_Image.nPhotometric == PHOTOMETRIC_MONOCHROME1 ||
                        m_Image.nPhotometric == PHOTOMETRIC_MONOCHROME2;
    if (isGray && IsBeside(dataSet, pixelData, kPhotometricInterpretation)) {
        const bool isFirst = m_Image.nPhotometric == PHOTOMETRIC_MONOCHROME1;
        const std::string_view text = isFirst ? "MONOCHROME1" : "MONOCHROME2";
        dataSet.FindSetValue(pixelData, kPhotometricInterpretation, text.data(),
                             static_cast<uint32_t>(text.size()), VALUE_ARRAY_BYTE);
    }
    if (!m_HasFrameCount) DeleteBeside(dataSet, pixelData, kNumberOfFrames);
}
