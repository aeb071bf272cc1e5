// Making a new data set of a class, and the elements that name its class and transfer syntax.

#include <string>

#include "Common/DS/Encodings.h"
#include "Common/DS2/IodWalk.h"
#include "Common/DS2/NewDataSet.h"
#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/Text.h"
#include "MDicomDS.h"
#include "MDicomIOD.h"

using namespace mdicom;

namespace {

constexpr uint16_t kFlagGroups[] = {
    DS_METAHEADER_PRESENT | DS_METAHEADER_ABSENT,
    DS_LITTLE_ENDIAN | DS_BIG_ENDIAN,
    DS_IMPLICIT_VR | DS_EXPLICIT_VR,
};
constexpr uint16_t kKeptFlags =
    DS_KEEP_PIXEL_DATA_INTACT | DS_ADD_MANDATORY_ELEMENTS_ONLY | DS_ADD_MANDATORY_MODULES_ONLY;

constexpr std::string_view kSourceApplication = "MORVWORKS";

/** Modality of the objects of some classes (PS 3.3, C.7.3.1.1.1). */
struct ModalityRow {
    uint32_t firstClass;
    uint32_t lastClass;
    std::string_view text;
};

constexpr ModalityRow kModalities[] = {
    {0, 0, "CR"},        {1, 1, "CT"},       {2, 2, "MR"},         {3, 4, "NM"},
    {5, 8, "US"},        {9, 14, "OT"},      {15, 16, "XA"},       {17, 17, "RF"},
    {18, 18, "RTIMAGE"}, {19, 19, "RTDOSE"}, {20, 20, "RTSTRUCT"}, {21, 21, "RTPLAN"},
    {22, 22, "PT"},      {23, 24, "OT"},     {25, 26, "HC"},       {27, 28, "DX"},
    {29, 30, "MG"},      {31, 32, "IO"},     {36, 36, "ES"},       {37, 37, "GM"},
    {38, 38, "SM"},      {39, 39, "XC"},
};

/** Transfer syntaxes of the compression classes, the first of which is that of class 1. */
constexpr std::string_view kCompressedSyntaxes[] = {
    "1.2.840.10008.1.2.5",    "1.2.840.10008.1.2.4.70", "1.2.840.10008.1.2.4.50",
    "1.2.840.10008.1.2.4.80", "1.2.840.10008.1.2.4.81", "1.2.840.10008.1.2.4.90",
    "1.2.840.10008.1.2.4.91",
};

std::string_view ModalityOf(uint32_t iodClass) {
    for (const ModalityRow &row : kModalities) {
        if (row.firstClass <= iodClass && iodClass <= row.lastClass) return row.text;
    }
    return {};
}

/** Transfer syntax of a compression class; empty for a class without one. */
std::string_view SyntaxOf(uint16_t flags, uint32_t compression) {
    if (compression > std::size(kCompressedSyntaxes)) return {};
    if (compression > 0) return kCompressedSyntaxes[compression - 1];
    return UncompressedSyntax((flags & DS_BIG_ENDIAN) == 0, (flags & DS_IMPLICIT_VR) == 0);
}

bool SetText(MDicomDS &dataSet, uint32_t tag, std::string_view text) {
    const auto length = static_cast<uint32_t>(text.size());
    return dataSet.FindSetValue(nullptr, tag, text.data(), length, VALUE_ARRAY_BYTE) != nullptr;
}

} // namespace

void mdicom::BeginDataSet(MDicomDS &dataSet, uint16_t flags) {
    dataSet.ResetDS();
    for (const uint16_t group : kFlagGroups) {
        if (!(flags & group)) continue;
        dataSet.m_nFlags = static_cast<uint16_t>((dataSet.m_nFlags & ~group) | (flags & group));
    }
    dataSet.m_nFlags |= flags & kKeptFlags;
}

void MDicomDS::InitDS(uint32_t nClass, uint16_t nFlags) {
    if (m_bConforming) return;
    BeginDataSet(*this, nFlags);
    if (SetClass(nClass)) InsertClass(MDicomIOD::FindClass(nClass));
}

/** Inserts the elements of a class as the flags of the data set ask. */
void MDicomDS::InsertClass(_DICOMIOD *pClass) {
    const int32_t optional = (m_nFlags & DS_ADD_MANDATORY_ELEMENTS_ONLY) == 0;
    const bool mandatoryOnly = (m_nFlags & DS_ADD_MANDATORY_MODULES_ONLY) != 0;
    _DICOMIOD *first = FirstRowOf(pClass);
    if (first == nullptr) return;
    if (first->nType != IOD_TYPE_MODULE) {
        InsertModule(nullptr, pClass, optional);
        return;
    }
    const bool isDirectory = pClass->nCode == kDirectoryClass;
    if (!isDirectory && mandatoryOnly && !IsMandatory(first)) return;
    for (_DICOMIOD *row = first; row != nullptr; row = NextRowOf(row)) {
        if (row->nType != IOD_TYPE_MODULE) continue;
        if (isDirectory) {
            InsertModuleKey(nullptr, row, 0);
        } else if (!mandatoryOnly || IsMandatory(row)) {
            InsertModule(nullptr, row, optional);
        }
    }
}

/** Writes what follows from the class. 0 for a class that does not exist. */
int32_t MDicomDS::SetClass(uint32_t nClass) {
    const _DICOMIOD *row = MDicomIOD::FindClass(nClass);
    if (row == nullptr || row->pszDescription == nullptr) return 0;
    return Guarded(0, [&] {
        const std::wstring_view description = row->pszDescription;
        const std::string uid = NarrowUtf8(description.substr(0, description.find(L'\\')));
        if (uid.empty()) return 1;
        SetText(*this, 0x00020002, uid);
        SetText(*this, 0x00080016, uid);
        const std::string_view modality = ModalityOf(nClass);
        if (!modality.empty()) SetText(*this, 0x00080060, modality);
        SetText(*this, 0x00020016, kSourceApplication);
        return 1;
    });
}

int32_t MDicomDS::SetTS(uint16_t nFlags, uint32_t nCompression) {
    const std::string_view uid = SyntaxOf(nFlags, nCompression);
    return !uid.empty() && SetText(*this, kTagTransferSyntax, uid);
}
