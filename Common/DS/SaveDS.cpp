// Saving: the choice of the encoding, and what a save leaves behind.

#include <new>

#include "Common/DS/ElementNode.h"
#include "Common/DS/ElementWriter.h"
#include "Common/DS/Encodings.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/System/ReplacementFile.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint16_t kFormatFlags = DS_METAHEADER_PRESENT | DS_METAHEADER_ABSENT;
constexpr uint16_t kOrderFlags = DS_LITTLE_ENDIAN | DS_BIG_ENDIAN;
constexpr uint16_t kVrFlags = DS_IMPLICIT_VR | DS_EXPLICIT_VR;

/** The flags of a save, with groups that were left empty taken from the data set. */
uint16_t CompleteFlags(uint16_t flags, uint16_t own, bool compressed) {
    for (const uint16_t group : {kFormatFlags, kOrderFlags, kVrFlags}) {
        if ((flags & group) == 0) flags |= own & group;
    }
    if (!compressed) return flags;
    constexpr uint16_t kNotCompressed = DS_BIG_ENDIAN | DS_IMPLICIT_VR;
    flags &= static_cast<uint16_t>(~kNotCompressed);
    return flags | kExplicitLittle;
}

/** The uncompressed transfer syntax of an encoding, padded to even length (PS 3.5, A). */
std::string SyntaxOf(uint16_t flags) {
    std::string uid(
        UncompressedSyntax((flags & DS_LITTLE_ENDIAN) != 0, (flags & DS_IMPLICIT_VR) == 0));
    if (uid.size() % 2 != 0) uid += '\0';
    return uid;
}

SaveOptions OptionsOf(uint16_t flags, bool compressed) {
    SaveOptions options{};
    options.preamble = (flags & DS_METAHEADER_PRESENT) != 0;
    options.littleEndian = (flags & DS_LITTLE_ENDIAN) != 0;
    options.isExplicit = (flags & DS_IMPLICIT_VR) == 0;
    options.groupLengths = (flags & DS_GROUP_LENGTHS) != 0;
    options.definedLengths = (flags & DS_LENGTH_EXPLICIT) != 0;
    options.withoutMeta = (flags & DS_EXCLUDE_METAHEADER_GROUP) != 0;
    if (!compressed && !options.withoutMeta) options.transferSyntax = SyntaxOf(flags);
    return options;
}

} // namespace

uint16_t MDicomDS::SaveDS(const wchar_t *pszName, uint16_t nFlags) {
    try {
        ReplacementFile file;
        if (!file.Create(pszName)) return DICOM_ERROR_OPEN;
        const uint16_t status = SaveDS(&file.Stream(), nFlags);
        if (status != DICOM_SUCCESS) return status;
        return file.Commit() ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
    } catch (const std::bad_alloc &) {
        return DICOM_ERROR_MEMORY;
    }
}

uint16_t MDicomDS::SaveDS(MDicomFile *pFile, uint16_t nFlags) {
    if (pFile == nullptr) return DICOM_ERROR_PARAMETER;
    const uint16_t status = WriteDS(*pFile, nFlags);
    pFile->Close(0);
    return status;
}

uint16_t MDicomDS::WriteDS(MDicomFile &file, uint16_t nFlags) {
    uint16_t syntaxFlags = 0;
    uint32_t compression = 0;
    const bool known = GetTS(&syntaxFlags, &compression, nullptr) != 0;
    const auto *syntax = known ? nullptr : FindFirstElement(nullptr, kTagTransferSyntax, 1);
    const bool unreadable = syntax != nullptr && syntax->nLength > 0 && ValueIsPresent(syntax);
    if (unreadable) return DICOM_ERROR_WRITE; // compressed pixels must not be called native
    const bool compressed = compression != IMAGE_COMPRESSION_NONE;
    nFlags = CompleteFlags(nFlags, m_nFlags, compressed);
    if ((nFlags & DS_BIG_ENDIAN) && (nFlags & DS_IMPLICIT_VR)) return DICOM_ERROR_PARAMETER;
    _DICOMELEMENT *added = nullptr;
    uint16_t status = DICOM_ERROR_MEMORY;
    try {
        const SaveOptions options = OptionsOf(nFlags, compressed);
        const bool missing = !options.transferSyntax.empty() &&
                             FindFirstElement(nullptr, kTagTransferSyntax, 1) == nullptr;
        if (missing) {
            uint16_t refusal = 0;
            added = InsertUnder(nullptr, kTagTransferSyntax, vr::UI, false, 0, &refusal);
            if (added == nullptr) return DICOM_ERROR_MEMORY;
        }
        status = ElementWriter(*this, file, options).Write();
    } catch (const std::bad_alloc &) {
        status = DICOM_ERROR_MEMORY;
    }
    if (added != nullptr) DeleteNode(added); // the data set did not have it
    return status;
}
