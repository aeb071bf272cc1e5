// What the entry points of the file filter share.

#include "Filters/Dicom/DicomFilter.h"

#include <algorithm>

namespace mdicom {

int32_t FilterCode(Status status) {
    switch (status) {
        case DICOM_SUCCESS:
            return FILTER_SUCCESS;
        case DICOM_ERROR_MEMORY:
            return FILTER_ERROR_MEMORY;
        case DICOM_ERROR_OPEN:
            return FILTER_ERROR_OPEN;
        case DICOM_ERROR_READ:
            return FILTER_ERROR_READ;
        case DICOM_ERROR_WRITE:
            return FILTER_ERROR_WRITE;
        case DICOM_ERROR_SEEK:
            return FILTER_ERROR_SEEK;
        case DICOM_ERROR_PARAMETER:
            return FILTER_ERROR_ARGUMENT;
        case DICOM_ERROR_IMAGE_ATTRIBUTE:
            return FILTER_ERROR_HEADER;
        case DICOM_ERROR_ANNOTATION_LIBRARY:
            return FILTER_ERROR_ANNOTATION_LIBRARY;
        case DICOM_ERROR_IMAGE_LIBRARY:
            return FILTER_ERROR_IMAGE_LIBRARY;
        case DICOM_ERROR_FILTER_FUNCTION:
            return FILTER_ERROR_JPEG_CODEC;
        case DICOM_ERROR_J2K_CODEC:
            return FILTER_ERROR_J2K_CODEC;
        default:
            return FILTER_ERROR_FORMAT;
    }
}

int32_t LoadFile(const wchar_t *name, OwnedDataSet &dataSet) {
    dataSet.reset(M_DicomCreateDS(nullptr));
    if (!dataSet) return FILTER_ERROR_MEMORY;
    return dataSet->LoadDS(name, 0) == DICOM_SUCCESS ? FILTER_SUCCESS : FILTER_ERROR_OPEN;
}

Page FindPage(MDicomDS &dataSet, const _LOADFILEOPTION *options) {
    const uint32_t total = dataSet.GetCountImage(nullptr);
    const int32_t wanted = options != nullptr ? options->nPageNumber : 1;
    const uint32_t number = std::min(static_cast<uint32_t>(std::max(wanted, 1)), total);
    Page page{nullptr, 0, number, total};
    page.pixelData = dataSet.FindFirstElement(nullptr, TAG_PIXEL_DATA, 0);
    if (number == 0) return page;
    page.frame = number - 1;
    while (page.pixelData != nullptr) {
        const uint32_t frames = dataSet.GetCountImage(page.pixelData);
        if (page.frame < frames) break;
        page.frame -= frames;
        page.pixelData = dataSet.FindNextElement(page.pixelData, 0);
    }
    return page;
}

} // namespace mdicom
