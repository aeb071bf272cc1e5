// Loading: from a path, a block of memory or a stream, with the encoding found out by trial.

#include <algorithm>
#include <cstring>
#include <new>
#include <span>

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DS/ElementReader.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/Memory.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint16_t kImplicitLittle = DS_LITTLE_ENDIAN | DS_IMPLICIT_VR;
constexpr uint16_t kExplicitLittle = DS_LITTLE_ENDIAN | DS_EXPLICIT_VR;
constexpr uint16_t kExplicitBig = DS_BIG_ENDIAN | DS_EXPLICIT_VR;
constexpr uint16_t kLoadFileMode = FILE_MODE_READ | FILE_MODE_KERNEL | FILE_MODE_AUTO_CLOSE;
constexpr uint32_t kPreambleLength = 128;
constexpr uint32_t kDataSetOffset = 132;
constexpr unsigned kElementsOfCutImage = 10;

/** The encodings to try, by what the caller knows of the file. */
std::span<const uint16_t> TrialsOf(uint16_t flags) {
    static constexpr uint16_t kTrials[] = {kImplicitLittle, kExplicitLittle, kExplicitBig};
    const std::span all(kTrials);
    if (flags & DS_LITTLE_ENDIAN) {
        if (flags & DS_IMPLICIT_VR) return all.first(1);
        return flags & DS_EXPLICIT_VR ? all.subspan(1, 1) : all.first(2);
    }
    if (flags & DS_BIG_ENDIAN) return all.subspan(2, 1);
    if (flags & DS_IMPLICIT_VR) return all.first(1);
    return flags & DS_EXPLICIT_VR ? all.subspan(1, 2) : all;
}

/** How a stream begins (PS 3.10, 7.1). */
struct Beginning {
    uint8_t preamble[kPreambleLength] = {};
    bool complete = false;     ///< long enough for a preamble and the prefix
    bool hasPreamble = false;  ///< preamble and "DICM"
    bool prefixAlone = false;  ///< "DICM" without a preamble
};

bool IsPrefix(const uint8_t *bytes) {
    return std::memcmp(bytes, "DICM", 4) == 0;
}

Beginning LookAtBeginning(MDicomFile &file) {
    Beginning result;
    const std::span<const uint8_t> bytes = file.Peek(0, kDataSetOffset);
    result.complete = bytes.size() >= kDataSetOffset;
    if (result.complete) {
        std::copy_n(bytes.data(), kPreambleLength, result.preamble);
        result.hasPreamble = IsPrefix(bytes.data() + kPreambleLength);
    }
    result.prefixAlone = !result.hasPreamble && bytes.size() >= 4 && IsPrefix(bytes.data());
    return result;
}

}  // namespace

uint16_t MDicomDS::LoadDS(const wchar_t *pszName, uint16_t nFlags) {
    ResetDS(1);
    if (m_bConforming) return DICOM_ERROR_PARAMETER;
    if (!m_File.Open(pszName, kLoadFileMode)) return DICOM_ERROR_OPEN;
    return LoadOwnFile(nFlags);
}

uint16_t MDicomDS::LoadDSMemory(void *pData, uint64_t nLength, uint16_t nFlags) {
    ResetDS(1);
    if (m_bConforming) return DICOM_ERROR_PARAMETER;
    if (!m_File.Open(nullptr, FILE_MODE_MEMORY)) return DICOM_ERROR_OPEN;
    if (!m_File.SetMemoryBuffer(pData, nLength, 1)) return DICOM_ERROR_PARAMETER;
    return LoadOwnFile(nFlags);
}

uint16_t MDicomDS::LoadOwnFile(uint16_t nFlags) {
    const uint16_t status = LoadDS(&m_File, nFlags, 0);
    if (status == DICOM_SUCCESS) return FixBadElements();
    m_File.Close(1);
    return status;
}

uint16_t MDicomDS::LoadDS(MDicomFile *pFile, uint16_t nFlags, int32_t bRequireImage) {
    if (pFile == nullptr || m_bConforming) return DICOM_ERROR_PARAMETER;
    m_pFile = pFile;
    const bool demanded = (nFlags & DS_METAHEADER_PRESENT) != 0;
    const bool look = demanded || (nFlags & DS_METAHEADER_ABSENT) == 0;
    const Beginning beginning = look ? LookAtBeginning(*pFile) : Beginning();
    if (demanded && !beginning.hasPreamble) {
        ResetDS(1);
        return beginning.complete ? DICOM_ERROR_FORMAT : DICOM_ERROR_READ;
    }
    uint16_t base = beginning.hasPreamble ? DS_METAHEADER_PRESENT : DS_METAHEADER_ABSENT;
    base |= nFlags & (DS_LOAD_CLOSE | DS_RECORD_OFFSETS);
    const uint64_t offset = beginning.hasPreamble ? kDataSetOffset : beginning.prefixAlone ? 4 : 0;
    uint16_t status = DICOM_ERROR_FORMAT;
    for (const uint16_t trial : TrialsOf(nFlags)) {
        ResetDS(0);
        m_nFlags = base | trial;
        if (LoadTrial(*pFile, offset, bRequireImage, &status)) break;
    }
    if (status != DICOM_SUCCESS) {
        ResetDS(1);
        UpdateSpecificCharacterSet();
        return status;
    }
    if (beginning.hasPreamble) SetPreamble(beginning.preamble, kPreambleLength);
    RefreshKeys();
    if (nFlags & DS_LOAD_CLOSE) {
        pFile->Close(0);
        m_pFile = &m_File;
    }
    UpdateSpecificCharacterSet();
    if (nFlags & DS_KEEP_PIXEL_DATA_INTACT) m_nFlags |= DS_KEEP_PIXEL_DATA_INTACT;
    return DICOM_SUCCESS;
}

/** Reads the stream in the encoding of m_nFlags. True if no further encoding needs a trial. */
bool MDicomDS::LoadTrial(MDicomFile &file, uint64_t nOffset, int32_t bRequireImage,
                         uint16_t *pStatus) {
    ElementReader reader(*this, file);
    try {
        *pStatus = reader.Read(nOffset);
    } catch (const std::bad_alloc &) {
        *pStatus = DICOM_ERROR_MEMORY;
        return true;
    }
    if (reader.IsRefused()) return true;
    if (*pStatus == DICOM_SUCCESS && !bRequireImage) return true;
    // An image file that is cut off behind its attributes is taken as far as it goes.
    *pStatus = DICOM_ERROR_FORMAT;
    if (FindFirstElement(nullptr, TAG_PIXEL_DATA, 0) == nullptr) return false;
    _DICOMLINK *node = m_Tree.pFirst;
    for (unsigned i = 0; i < kElementsOfCutImage && node != nullptr; ++i) {
        node = m_Tree.GetNext(node, 0);
    }
    if (node == nullptr) return false;
    *pStatus = DICOM_SUCCESS;
    return true;
}

/** Stores the values of odd length again, padded to an even one. */
uint16_t MDicomDS::FixBadElements() {
    if (m_pExtra == nullptr || m_pExtra->pBadElements == nullptr) return DICOM_SUCCESS;
    for (uint32_t i = 0; i < m_pExtra->nBadElements; ++i) {
        _DICOMELEMENT *element = m_pExtra->pBadElements[i].pElement;
        // A value that is not all there cannot be repaired; it stays as the file has it.
        if (!ValueIsPresent(element)) continue;
        const uint32_t length = element->nLength;
        const DataBlock<uint8_t> bytes = MakeDataBlock<uint8_t>(size_t{length} + 1);
        if (!bytes) return DICOM_ERROR_MEMORY;
        if (GetBinaryValue(element, bytes.get(), 0, length)) {
            SetBinaryValue(element, bytes.get(), length);
            FreeValue(element);
        }
    }
    m_pExtra->nBadElements = 0;
    return DICOM_SUCCESS;
}
