// Loading: from a path, a block of memory or a stream, with the encoding found out by trial.

#include <algorithm>
#include <cstring>
#include <new>
#include <span>

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DS/ElementReader.h"
#include "Common/DS/Encodings.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/Memory.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

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
    bool complete = false;    ///< long enough for a preamble and the prefix
    bool hasPreamble = false; ///< preamble and "DICM"
    bool prefixAlone = false; ///< "DICM" without a preamble
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

} // namespace

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
    uint16_t status = LoadDS(&m_File, nFlags, 0);
    if (status == DICOM_SUCCESS) status = FixBadElements();
    if (status == DICOM_SUCCESS) return DICOM_SUCCESS;
    ResetDS(1);
    m_File.Close(1);
    return status;
}

uint16_t MDicomDS::LoadDS(MDicomFile *pFile, uint16_t nFlags, int32_t bRequireImage) {
    if (pFile == nullptr || m_bConforming) return DICOM_ERROR_PARAMETER;
    m_pFile = pFile;
    const bool demanded = (nFlags & DS_METAHEADER_PRESENT) != 0;
    const bool look = demanded || (nFlags & DS_METAHEADER_ABSENT) == 0;
    pFile->TakeReadFailure();
    const Beginning beginning = look ? LookAtBeginning(*pFile) : Beginning();
    const bool unreadable = pFile->TakeReadFailure() != 0;
    if (unreadable || (demanded && !beginning.hasPreamble)) {
        ResetDS(1);
        return beginning.complete ? DICOM_ERROR_FORMAT : DICOM_ERROR_READ;
    }
    uint16_t base = beginning.hasPreamble ? DS_METAHEADER_PRESENT : DS_METAHEADER_ABSENT;
    base |= nFlags & (DS_LOAD_CLOSE | DS_RECORD_OFFSETS);
    const uint64_t offset = beginning.hasPreamble ? kDataSetOffset : beginning.prefixAlone ? 4 : 0;
    uint16_t status = LoadByTrial(*pFile, offset, base, TrialsOf(nFlags), bRequireImage);
    if (status == DICOM_SUCCESS) status = RefreshKeys();
    // A declaration of too many character sets does not keep a file from being loaded.
    if (status == DICOM_SUCCESS && UpdateSpecificCharacterSet() == DICOM_ERROR_MEMORY) {
        status = DICOM_ERROR_MEMORY;
    }
    if (status != DICOM_SUCCESS) {
        ResetDS(1);
        UpdateSpecificCharacterSet();
        return status;
    }
    if (beginning.hasPreamble) SetPreamble(beginning.preamble, kPreambleLength);
    if (nFlags & DS_LOAD_CLOSE) {
        pFile->Close(0);
        m_pFile = &m_File;
    }
    if (nFlags & DS_KEEP_PIXEL_DATA_INTACT) m_nFlags |= DS_KEEP_PIXEL_DATA_INTACT;
    return DICOM_SUCCESS;
}

/** Takes the first encoding in which the stream reads soundly, else the one that yields most. */
uint16_t MDicomDS::LoadByTrial(MDicomFile &file, uint64_t nOffset, uint16_t nBaseFlags,
                               std::span<const uint16_t> trials, int32_t bRequireImage) {
    const uint16_t *best = nullptr;
    uint32_t most = 0;
    for (const uint16_t &trial : trials) {
        bool sound = false;
        const uint16_t status = LoadTrial(file, nOffset, nBaseFlags | trial, bRequireImage, &sound);
        if (sound) return status;
        if (status != DICOM_SUCCESS) continue;
        const uint32_t count = m_Tree.GetCount(nullptr, 0);
        if (best != nullptr && count <= most) continue;
        best = &trial;
        most = count;
    }
    if (best == nullptr) return DICOM_ERROR_FORMAT;
    bool sound = false;
    return LoadTrial(file, nOffset, nBaseFlags | *best, bRequireImage, &sound);
}

/** Reads the stream in one encoding. *pSound tells that no other encoding needs a trial. */
uint16_t MDicomDS::LoadTrial(MDicomFile &file, uint64_t nOffset, uint16_t nTrialFlags,
                             int32_t bRequireImage, bool *pSound) {
    ResetDS(0);
    m_nFlags = nTrialFlags;
    try {
        ElementReader reader(*this, file);
        const uint16_t status = reader.Read(nOffset);
        *pSound = reader.IsRefused() || (status == DICOM_SUCCESS && reader.IsSound());
        if (reader.IsRefused()) return status;
        if (status == DICOM_SUCCESS && !bRequireImage) return DICOM_SUCCESS;
    } catch (const std::bad_alloc &) {
        *pSound = true;
        return DICOM_ERROR_MEMORY;
    }
    // An image file that is cut off behind its attributes is taken as far as it goes.
    *pSound = false;
    if (FindFirstElement(nullptr, TAG_PIXEL_DATA, 0) == nullptr) return DICOM_ERROR_FORMAT;
    if (m_Tree.FindIndex(nullptr, 0, kElementsOfCutImage) == nullptr) return DICOM_ERROR_FORMAT;
    *pSound = true;
    return DICOM_SUCCESS;
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
        if (!GetBinaryValue(element, bytes.get(), 0, length)) return DICOM_ERROR_READ;
        if (!SetBinaryValue(element, bytes.get(), length)) return DICOM_ERROR_WRITE;
        FreeValue(element);
    }
    m_pExtra->nBadElements = 0;
    return DICOM_SUCCESS;
}
