// Copying data sets and parts of them. A copy has its values in its own store.

#include <algorithm>
#include <vector>

#include "Common/DS/ElementNode.h"
#include "Common/DS2/IodWalk.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/Memory.h"
#include "Common/Utils/Status.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint32_t kPieceSize = 64 * 1024; // holds whole units of every size

struct CopyStep {
    _DICOMELEMENT *source;
    size_t depth; ///< levels below the one that is copied
};

bool IsContainer(const _DICOMELEMENT *element) {
    return element->nLength == kUndefinedLength;
}

/** The elements of a level and below it, depth first. They are listed before the first is copied:
 *  a data set may be copied into a part of itself. */
std::vector<CopyStep> PlanCopy(_DICOMLINK *first) {
    std::vector<CopyStep> steps;
    size_t depth = 0;
    for (_DICOMLINK *node = first; node != nullptr;) {
        steps.push_back({AsElement(node), depth});
        if (IsContainer(AsElement(node)) && node->pFirstChild != nullptr) {
            node = node->pFirstChild;
            ++depth;
            continue;
        }
        while (node->pNext == nullptr && depth != 0) {
            node = node->pParent;
            --depth;
        }
        node = node->pNext;
    }
    return steps;
}

} // namespace

uint16_t MDicomDS::CopyDS(_DICOMELEMENT *pTarget, MDicomDS *pSourceDS, _DICOMELEMENT *pSource) {
    return CopyDS(pTarget, pSourceDS, pSource, nullptr, nullptr);
}

uint16_t MDicomDS::CopyDS(_DICOMELEMENT *pTarget, MDicomDS *pSourceDS, _DICOMELEMENT *pSource,
                          MDICOM_DEBUG_CALLBACK pfnCallback, void *pUserData) {
    if (pSourceDS == nullptr || !CheckElement(pTarget)) return DICOM_ERROR_PARAMETER;
    if (!pSourceDS->CheckElement(pSource)) return DICOM_ERROR_PARAMETER;
    // A value and children exclude each other.
    if (pTarget != nullptr && !IsContainer(pTarget)) return DICOM_ERROR_PARAMETER;
    if (m_Tree.pFirst == nullptr) {
        m_nFlags = pSourceDS->m_nFlags;
        std::copy_n(pSourceDS->m_Preamble, sizeof m_Preamble, m_Preamble);
    }
    const Status copied = Guarded(Status{DICOM_ERROR_MEMORY}, [&] {
        return CopyTreeDS(pTarget, pSourceDS, pSource, pfnCallback, pUserData);
    });
    const Status keys = RefreshKeys();
    const Status sets = RefreshCharacterSet();
    return copied != DICOM_SUCCESS ? copied : keys != DICOM_SUCCESS ? keys : sets;
}

uint16_t MDicomDS::CopyTreeDS(_DICOMELEMENT *pTarget, MDicomDS *pSourceDS, _DICOMELEMENT *pSource,
                              MDICOM_DEBUG_CALLBACK pfnCallback, void *pUserData) {
    uint32_t sourceClass = 0;
    pSourceDS->GetInfoDS(&sourceClass, nullptr);
    // Records refer to each other by identities (PS 3.3, F.3.2.2).
    const bool withIdentities = sourceClass == kDirectoryClass;
    const auto steps =
        PlanCopy(pSource != nullptr ? pSource->Link.pFirstChild : pSourceDS->m_Tree.pFirst);
    std::vector<_DICOMELEMENT *> parents = {pTarget};
    for (size_t i = 0; i < steps.size(); ++i) {
        const auto [source, depth] = steps[i];
        _DICOMELEMENT *target = FindCopyTarget(parents[depth], source->nTag);
        const bool asked = target == nullptr && depth == 0 && pfnCallback != nullptr;
        if (asked && pfnCallback(source, 0, pUserData) == 0) {
            while (i + 1 < steps.size() && steps[i + 1].depth > depth) ++i;
            continue;
        }
        const Status status =
            CopyElement(parents[depth], pSourceDS, source, withIdentities, &target);
        if (status != DICOM_SUCCESS) return status;
        parents.resize(depth + 1);
        parents.push_back(target);
    }
    return DICOM_SUCCESS;
}

/** The element under pParent that takes a copy of one with this tag; null if it has to be
 *  inserted. */
_DICOMELEMENT *MDicomDS::FindCopyTarget(_DICOMELEMENT *pParent, uint32_t nTag) {
    if (pParent == nullptr || nTag == TAG_ITEM) return nullptr;
    return FindOnLevel(pParent, nTag, PlaceOnLevel(pParent, nTag));
}

/** Copies an element without what is below it to *ppTarget, which is inserted under pParent if
 *  it is null. */
uint16_t MDicomDS::CopyElement(_DICOMELEMENT *pParent, MDicomDS *pSourceDS, _DICOMELEMENT *pSource,
                               bool bIdentity, _DICOMELEMENT **ppTarget) {
    const bool container = IsContainer(pSource);
    const bool inserted = *ppTarget == nullptr;
    if (inserted) {
        *ppTarget = InsertElement(pParent, 1, pSource->nTag, pSource->nVR, container, 0xFFFFFFFF);
        if (*ppTarget == nullptr) return DICOM_ERROR_MEMORY;
        // The dictionary has no say in what a copy is.
        (*ppTarget)->nVR = pSource->nVR;
        (*ppTarget)->nLength = container ? kUndefinedLength : 0;
    }
    if (pSource->nLength == 0) return DICOM_SUCCESS;
    if (container && !IsContainer(*ppTarget)) return DICOM_ERROR_MEMORY; // no place for children
    const Status status = container ? Status{} : CopyValue(*ppTarget, pSourceDS, pSource);
    if (status == DICOM_SUCCESS) {
        if (bIdentity) (*ppTarget)->nRecordOffset = pSource->nRecordOffset;
    } else if (inserted) {
        DeleteElement(*ppTarget);
    }
    return status;
}

/** Puts the value of pSource in place of that of pTarget, which stays after a failure. */
uint16_t MDicomDS::CopyValue(_DICOMELEMENT *pTarget, MDicomDS *pSourceDS, _DICOMELEMENT *pSource) {
    if (pTarget == pSource) return DICOM_SUCCESS;
    if (IsContainer(pTarget)) return DICOM_ERROR_WRITE;
    if (!ValueIsPresent(pSource)) return DICOM_ERROR_READ;
    const uint32_t length = pSource->nLength;
    const auto piece = MakeDataBlock<uint8_t>(std::min(length, kPieceSize));
    if (!piece) return DICOM_ERROR_MEMORY;
    if (length <= kPieceSize) {
        if (!pSourceDS->GetFileBinaryValue(pSource, piece.get(), 0, length)) {
            return DICOM_ERROR_READ;
        }
        if (!SetBinaryValue(pTarget, piece.get(), length)) return DICOM_ERROR_WRITE;
        FreeCaches(pTarget);
        return DICOM_SUCCESS;
    }
    return CopyLargeValue(pTarget, pSourceDS, pSource, piece.get());
}

/** Fills a block of its own behind the old value, which leaves at the end. */
uint16_t MDicomDS::CopyLargeValue(_DICOMELEMENT *pTarget, MDicomDS *pSourceDS,
                                  _DICOMELEMENT *pSource, uint8_t *pPiece) {
    const uint32_t old = pTarget->nLength;
    const uint32_t length = pSource->nLength;
    if (!InsertBinaryValue(pTarget, nullptr, kUndefinedLength, length)) return DICOM_ERROR_WRITE;
    Status status = DICOM_SUCCESS;
    for (uint32_t offset = 0; offset < length && status == DICOM_SUCCESS;) {
        const uint32_t count = std::min(kPieceSize, length - offset);
        if (!pSourceDS->GetFileBinaryValue(pSource, pPiece, offset, count)) {
            status = DICOM_ERROR_READ;
        } else if (!SetFileBinaryValue(pTarget, pPiece, old + offset, count)) {
            status = DICOM_ERROR_WRITE;
        }
        offset += count;
    }
    const bool done = status == DICOM_SUCCESS;
    const bool cleared = DeleteFileBinaryValue(pTarget, done ? 0 : old, done ? old : length);
    FreeCaches(pTarget);
    if (!done) return status;
    uint8_t pad = PadByteOf(pTarget->nVR);
    const bool padded =
        pTarget->nLength % 2 == 0 || InsertBinaryValue(pTarget, &pad, kUndefinedLength, 1);
    return cleared && padded ? DICOM_SUCCESS : DICOM_ERROR_WRITE;
}
