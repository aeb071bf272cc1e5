// File filter: tells what a file holds.

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/CheckedMath.h"
#include "Filters/Dicom/DicomFilter.h"
#include "MDicomFile.h"
#include "Mvkrnx.h"

using namespace mdicom;

namespace {

/** How a compression class is told to the kernel. Classes that no decoder reads have no format. The
 *  names of JPEG 2000 are those of file formats, which callbacks of rows know by others. */
struct CompressionRow {
    uint32_t compression;
    int32_t grayFormat; ///< that of colour is the next one
    std::u16string_view name;
};

constexpr CompressionRow kCompressions[] = {
    {IMAGE_COMPRESSION_NONE, FILTER_FORMAT_DICOM_GRAY, u"None"},
    {IMAGE_COMPRESSION_RLE, FILTER_FORMAT_DICOM_RLE_GRAY, u"Run Length"},
    {IMAGE_COMPRESSION_JPEG_LOSSLESS, FILTER_FORMAT_DICOM_JPEG_GRAY, u"JPEG Lossless"},
    {IMAGE_COMPRESSION_JPEG_LOSSY, FILTER_FORMAT_DICOM_JPEG_GRAY, u"JPEG Lossy"},
    {IMAGE_COMPRESSION_J2K_LOSSLESS, FILTER_FORMAT_DICOM_J2K_GRAY, u"JPEG 2000 Lossless"},
    {IMAGE_COMPRESSION_J2K_LOSSY, FILTER_FORMAT_DICOM_J2K_GRAY, u"JPEG 2000"},
};

/** Files of other formats that could pass for DICOM without a prefix: metafiles, and blocks of
 *  erased memory. A file that is too short to tell is left to the loader. */
bool IsForeign(M_HFILE__ *file) {
    constexpr size_t kMark = 40;
    constexpr int64_t kMetafileHeader = 108;
    constexpr size_t kPreamble = 128;
    std::array<uint8_t, kPreamble + 4> bytes{};
    const int64_t read = KernelFileRead(file, bytes.data(), bytes.size(), 0);
    if (read >= kMetafileHeader && std::memcmp(&bytes[kMark], " EMF", 4) == 0) return true;
    if (read < static_cast<int64_t>(bytes.size())) return false;
    const bool isErased = std::all_of(bytes.begin(), bytes.begin() + kPreamble,
                                      [](uint8_t byte) { return byte == 0xFF; });
    return isErased && std::memcmp(&bytes[kPreamble], "DICM", 4) != 0;
}

/** Bytes of a bitmap whose rows end on four bytes; nothing for one that no record can hold. */
std::optional<uint64_t> SizeInMemory(const _DICOMIMAGE &image) {
    constexpr uint32_t kMost = 0x7FFFFFFF;
    if (image.nRows > kMost || image.nColumns > kMost || image.nBitsPerPixel > 64) return {};
    const uint64_t row = (uint64_t{image.nColumns} * image.nBitsPerPixel + 31) / 32 * 4;
    return CheckedMultiply(row, uint64_t{image.nRows});
}

int32_t OrderOf(uint32_t bitsPerPixel) {
    if (bitsPerPixel == 12 || bitsPerPixel == 16) return KERNEL_ORDER_GRAY;
    return bitsPerPixel == 24 ? KERNEL_ORDER_BGR : KERNEL_ORDER_RGB;
}

void DescribeCompression(const _DICOMIMAGE &image, _FILEINFO &info) {
    std::u16string_view name = u"Unknown";
    for (const CompressionRow &row : kCompressions) {
        if (row.compression != image.nCompression) continue;
        info.nFormat = row.grayFormat + (image.bGray ? 0 : 1);
        name = row.name;
    }
    std::memset(info.szCompression, 0, sizeof info.szCompression);
    std::memcpy(info.szCompression, name.data(), name.size() * sizeof name[0]);
}

Status Describe(MDicomDS &dataSet, const Page &page, _FILEINFO &info) {
    _DICOMIMAGE image{};
    const Status status = dataSet.GetInfoImage(page.pixelData, &image, page.frame);
    if (status != DICOM_SUCCESS) return status;
    const std::optional<uint64_t> size = SizeInMemory(image);
    if (!size) return DICOM_ERROR_IMAGE_ATTRIBUTE;
    DescribeCompression(image, info);
    info.nWidth = static_cast<int32_t>(image.nColumns);
    info.nHeight = static_cast<int32_t>(image.nRows);
    info.nBitsPerPixel = static_cast<int32_t>(image.nBitsPerPixel);
    info.nSizeMem = *size;
    info.nViewPerspective = 1;
    info.nOrder = OrderOf(image.nBitsPerPixel);
    info.nPageNumber = static_cast<int32_t>(page.number);
    info.nTotalPages = static_cast<int32_t>(std::min(page.total, 0x7FFFFFFFu));
    info.nXResolution = static_cast<int32_t>(image.nXResolution);
    info.nYResolution = static_cast<int32_t>(image.nYResolution);
    return DICOM_SUCCESS;
}

int32_t Inform(const _FILTERINFO &argument) {
    if (IsForeign(argument.hFile)) return FILTER_ERROR_FORMAT;
    MDicomFile file; // goes after the data set that reads from it
    const OwnedDataSet dataSet(M_DicomCreateDS(nullptr));
    if (!dataSet) return FILTER_ERROR_MEMORY;
    file.SetHandle(argument.hFile, FILE_MODE_KERNEL);
    if (dataSet->LoadDS(&file, 0, 1) != DICOM_SUCCESS) return FILTER_ERROR_OPEN;
    const Page page = FindPage(*dataSet, argument.pOptions);
    return FilterCode(Describe(*dataSet, page, *argument.pFileInfo));
}

} // namespace

int32_t fltInfo(void *pArgument) {
    const auto *argument = static_cast<const _FILTERINFO *>(pArgument);
    const bool complete = argument != nullptr && argument->hFile != nullptr &&
                          argument->hFile != KERNEL_NO_FILE && argument->pFileInfo != nullptr;
    if (!complete) return FILTER_ERROR_ARGUMENT;
    return Guarded<int32_t>(FILTER_ERROR_MEMORY, [&] { return Inform(*argument); });
}
