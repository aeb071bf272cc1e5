// Testing a data set against the dictionaries: tags, VRs, value multiplicities, image descriptions.

#include <algorithm>

#include "Common/DS/ElementNode.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"
#include "MDicomIOD.h"
#include "MDicomTag.h"
#include "MDicomVR.h"

using namespace mdicom;

namespace {

/** Keeps the shape of the tree while it lives. A test within a callback of another one leaves it
 *  kept. */
class ShapeLock {
  public:
    explicit ShapeLock(int32_t &flag) : m_Flag(flag), m_Before(flag) { m_Flag = 1; }
    ~ShapeLock() { m_Flag = m_Before; }
    ShapeLock(const ShapeLock &) = delete;
    ShapeLock &operator=(const ShapeLock &) = delete;

  private:
    int32_t &m_Flag;
    int32_t m_Before;
};

/** Tells the caller of findings. */
struct Report {
    MDICOM_DEBUG_CALLBACK callback;
    void *userData;
    int32_t result = 1;

    /** False if the caller has heard enough. */
    bool Goes(_DICOMELEMENT *element, uint16_t findings) {
        if (findings == 0) return true;
        result = 0;
        return callback == nullptr || callback(element, findings, userData) != 0;
    }
};

/** True for the VRs whose content is one value, however long (PS 3.5, 6.4). */
bool IsOneValue(uint16_t code) {
    switch (code) {
        case vr::OB:
        case vr::OD:
        case vr::OF:
        case vr::OL:
        case vr::OV:
        case vr::OW:
        case vr::UN:
        case vr::UT:
            return true;
        default:
            return false;
    }
}

uint16_t CompareCount(uint32_t count, const _DICOMTAG &row) {
    uint32_t findings = 0;
    if (count < row.nMinVM) findings |= CONFORMANCE_MIN_VM;
    if (count > row.nMaxVM) findings |= CONFORMANCE_MAX_VM;
    if (row.nDivideVM != 0 && count % row.nDivideVM != 0) findings |= CONFORMANCE_DIVIDE_VM;
    return static_cast<uint16_t>(findings);
}

/** False if a frame of Pixel Data cannot be described. Frames differ in where they lie only, so
 *  that the first and the last one stand for all. */
bool HasDescription(MDicomDS &dataSet, _DICOMELEMENT *pixels) {
    const uint32_t count = std::max(dataSet.GetCountImage(pixels), 1u);
    _DICOMIMAGE image = {};
    if (dataSet.GetInfoImage(pixels, &image, 0) != DICOM_SUCCESS) return false;
    return count == 1 || dataSet.GetInfoImage(pixels, &image, count - 1) == DICOM_SUCCESS;
}

} // namespace

int32_t MDicomDS::ConformanceDS(MDICOM_DEBUG_CALLBACK pfnCallback, void *pUserData) {
    const ShapeLock lock(m_bConforming);
    Report report{pfnCallback, pUserData};
    uint32_t iodClass = 0;
    GetClass(&iodClass, nullptr);
    _DICOMLINK *const first = m_Tree.pFirst;
    const bool classMissing = first != nullptr && MDicomIOD::FindClass(iodClass) == nullptr;
    for (_DICOMLINK *node = first; node != nullptr; node = m_Tree.GetNext(node, 0)) {
        uint16_t findings = GetFindings(AsElement(node));
        if (node == first && classMissing) findings |= CONFORMANCE_NO_CLASS;
        if (!report.Goes(AsElement(node), findings)) return 0;
    }
    for (_DICOMELEMENT *pixels = FindFirstElement(nullptr, TAG_PIXEL_DATA, 0); pixels != nullptr;
         pixels = FindNextElement(pixels, 0)) {
        if (HasDescription(*this, pixels)) continue;
        if (!report.Goes(pixels, CONFORMANCE_IMAGE)) return 0;
    }
    return report.result;
}

/** What is wrong with an element by itself. */
uint16_t MDicomDS::GetFindings(_DICOMELEMENT *pElement) {
    const _DICOMTAG *row = MDicomTag::Find(pElement->nTag);
    uint32_t findings = 0;
    if (row == nullptr) findings |= CONFORMANCE_NO_TAG;
    if (MDicomVR::Find(pElement->nVR) == nullptr) findings |= CONFORMANCE_NO_VR;
    if (GetDefaultVR(pElement, pElement->nTag, 0) != pElement->nVR) findings |= CONFORMANCE_BAD_VR;
    const bool hasCount =
        row != nullptr && pElement->nTag != TAG_ITEM && pElement->nLength != kUndefinedLength;
    if (hasCount) findings |= CompareCount(CountForTest(pElement), *row);
    return static_cast<uint16_t>(findings);
}

/** Value multiplicity. Values are read only where it depends on their text, and what was parsed
 *  for the test alone does not stay. */
uint32_t MDicomDS::CountForTest(_DICOMELEMENT *pElement) {
    const uint16_t code = pElement->nVR;
    if (IsOneValue(code)) return 1;
    const ValueLayout layout = LayoutOf(code);
    if (layout != ValueLayout::Texts) {
        if (pElement->nLength == 0 || !ValueIsPresent(pElement)) return 0;
        return layout == ValueLayout::OneText ? 1 : pElement->nLength / ValueUnitOf(code);
    }
    const bool wasParsed = pElement->nValueCount != kUnparsed;
    const uint32_t count = GetTypeValue(pElement) ? pElement->nValueCount : 0;
    if (!wasParsed) FreeCaches(pElement);
    return count;
}
