// Change of the transfer syntax of a data set (PS 3.5, A).

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "Common/DS/ElementNode.h"
#include "Common/DS/Encodings.h"
#include "Common/DSImage/CodecFlag.h"
#include "Common/DSImage/FrameFragments.h"
#include "Common/DSImage/FrameTranscoder.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/Text.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

struct Syntax {
    std::string_view uid;
    uint32_t compression;
    uint16_t flags; ///< byte order and VR encoding
};

/** By the numbers of tagDICOM_TRANSFER_SYNTAXES. */
constexpr Syntax kSyntaxes[] = {
    {kImplicitLittleUid, IMAGE_COMPRESSION_NONE, kImplicitLittle},
    {kExplicitLittleUid, IMAGE_COMPRESSION_NONE, kExplicitLittle},
    {kExplicitBigUid, IMAGE_COMPRESSION_NONE, kExplicitBig},
    {"1.2.840.10008.1.2.5", IMAGE_COMPRESSION_RLE, kExplicitLittle},
    {"1.2.840.10008.1.2.4.50", IMAGE_COMPRESSION_JPEG_LOSSY, kExplicitLittle},
    {"1.2.840.10008.1.2.4.51", IMAGE_COMPRESSION_JPEG_LOSSY, kExplicitLittle},
    {"1.2.840.10008.1.2.4.57", IMAGE_COMPRESSION_JPEG_LOSSLESS, kExplicitLittle},
    {"1.2.840.10008.1.2.4.70", IMAGE_COMPRESSION_JPEG_LOSSLESS, kExplicitLittle},
    {"1.2.840.10008.1.2.4.90", IMAGE_COMPRESSION_J2K_LOSSLESS, kExplicitLittle},
    {"1.2.840.10008.1.2.4.91", IMAGE_COMPRESSION_J2K_LOSSY, kExplicitLittle},
};
static_assert(std::size(kSyntaxes) == DICOM_TS_JPEG2000 + 1);

/** Number of a transfer syntax; -1 for one that no data set is changed to. */
int32_t NumberOf(std::string_view uid) {
    const auto *found = std::find_if(std::begin(kSyntaxes), std::end(kSyntaxes),
                                     [uid](const Syntax &syntax) { return syntax.uid == uid; });
    return found != std::end(kSyntaxes) ? static_cast<int32_t>(found - kSyntaxes) : -1;
}

std::string ReadSyntax(MDicomDS &dataSet) {
    std::array<char, 257> uid{};
    dataSet.FindGetValue(nullptr, kTagTransferSyntax, uid.data(), 0, uid.size() - 1,
                         VALUE_ARRAY_BYTE);
    return std::string(TrimBlanks(std::string_view(uid.data())));
}

/** Pixel Data whose frames change: that of the top level, and all that is encapsulated. */
std::vector<_DICOMELEMENT *> FindChangingPixelData(MDicomDS &dataSet) {
    std::vector<_DICOMELEMENT *> found;
    for (_DICOMELEMENT *element = dataSet.FindFirstElement(nullptr, TAG_PIXEL_DATA, 0);
         element != nullptr; element = dataSet.FindNextElement(element, 0)) {
        if (ParentOf(element) == nullptr || IsEncapsulated(element)) found.push_back(element);
    }
    return found;
}

bool HasSixteenBitPalette(const _DICOMIMAGE &image) {
    return image.nPhotometric == PHOTOMETRIC_PALETTE_COLOR && image.nBitsAllocated == 16;
}

/** The stored bits that a JPEG syntax cannot hold. */
Status CheckBits(int32_t syntax, const _DICOMIMAGE &image) {
    const bool isBaseline = syntax == DICOM_TS_JPEG_BASELINE;
    const bool isExtended = syntax == DICOM_TS_JPEG_EXTENDED;
    const bool fits =
        (!isBaseline || image.nBitsStored <= 8) && (!isExtended || image.nBitsStored == 12);
    return fits ? DICOM_SUCCESS : DICOM_ERROR_PARAMETER;
}

} // namespace

uint16_t MDicomDS::ChangeTransferSyntax(const wchar_t *pszTransferSyntaxUID, int32_t nQuality,
                                        uint32_t nFlags) {
    constexpr uint32_t kCodecFlag = 1;
    if (pszTransferSyntaxUID == nullptr) return DICOM_ERROR_PARAMETER;
    return Guarded<uint16_t>(DICOM_ERROR_MEMORY, [&]() -> uint16_t {
        const std::string narrow = NarrowUtf8(pszTransferSyntaxUID);
        const std::string_view uid = TrimBlanks(narrow);
        if (uid == ReadSyntax(*this)) return DICOM_SUCCESS;
        const int32_t number = NumberOf(uid);
        if (number < 0) return DICOM_ERROR_PARAMETER;
        const int32_t wasIntact = SetKeepPixelDataIntactFlag(1);
        const CodecFlag codecFlag(m_pExtra, (nFlags & kCodecFlag) != 0);
        const uint16_t status = Guarded<uint16_t>(
            DICOM_ERROR_MEMORY, [&] { return ChangeTransferSyntax(number, nQuality); });
        if (status != DICOM_SUCCESS) SetKeepPixelDataIntactFlag(wasIntact);
        return status;
    });
}

/** Everything that can fail is prepared beside the data set, which then changes at once. */
uint16_t MDicomDS::ChangeTransferSyntax(int32_t nTransferSyntax, int32_t nQuality) {
    const Syntax &target = kSyntaxes[nTransferSyntax];
    uint16_t flags = 0;
    uint32_t existing = IMAGE_COMPRESSION_NONE;
    GetTS(&flags, &existing, nullptr);
    _DICOMELEMENT *pixelData = FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
    // Where no frame changes, none has to be understood.
    const bool hasWork = target.compression != existing || existing != IMAGE_COMPRESSION_NONE;
    if (pixelData != nullptr && hasWork) {
        _DICOMIMAGE image;
        Status status = GetInfoImage(pixelData, &image, 0);
        if (status == DICOM_SUCCESS) status = CheckBits(nTransferSyntax, image);
        if (status != DICOM_SUCCESS) return status;
        const bool isCompressed = target.compression != IMAGE_COMPRESSION_NONE;
        if (isCompressed && HasSixteenBitPalette(image)) return DICOM_ERROR_UNSUPPORTED;
        // One process of a class does not become another.
        if (isCompressed && existing == target.compression) return DICOM_SUCCESS;
    }
    FrameTranscoder transcoder(*this, target.compression, nQuality);
    if (target.compression != existing) {
        for (_DICOMELEMENT *element : FindChangingPixelData(*this)) {
            const Status status = transcoder.Add(element);
            if (status != DICOM_SUCCESS) return status;
        }
    }
    const bool littleEndian = (target.flags & DS_LITTLE_ENDIAN) != 0;
    if (littleEndian != ((m_nFlags & DS_LITTLE_ENDIAN) != 0)) {
        const Status status = transcoder.TurnValues(littleEndian);
        if (status != DICOM_SUCCESS) return status;
    }
    const auto length = static_cast<uint32_t>(target.uid.size());
    if (FindSetValue(nullptr, kTagTransferSyntax, target.uid.data(), length, VALUE_ARRAY_BYTE) ==
        nullptr) {
        return DICOM_ERROR_WRITE;
    }
    transcoder.Commit();
    constexpr uint16_t kEncoding =
        DS_LITTLE_ENDIAN | DS_BIG_ENDIAN | DS_IMPLICIT_VR | DS_EXPLICIT_VR;
    m_nFlags = static_cast<uint16_t>((m_nFlags & ~kEncoding) | target.flags);
    // The encoding of all values was settled anew: there is nothing left to be kept as it was.
    if (target.compression == IMAGE_COMPRESSION_NONE) SetKeepPixelDataIntactFlag(0);
    return DICOM_SUCCESS;
}
