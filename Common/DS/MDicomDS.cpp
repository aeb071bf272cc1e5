// MDicomDS: construction, destruction, reset, and the small accessors of its state.

#include "MDicomDS.h"

#include <algorithm>
#include <new>

#include "Common/DS/ElementIndex.h"
#include "Common/DS/ElementNode.h"
#include "Common/DS/Encodings.h"
#include "Common/DS/J2kDefaults.h"
#include "Common/DSValue/ValueStore.h"
#include "Common/System/Companions.h"
#include "Common/Utils/Memory.h"

using namespace mdicom;

namespace {

constexpr uint16_t kDefaultFlags = DS_METAHEADER_PRESENT | DS_LITTLE_ENDIAN | DS_EXPLICIT_VR;
constexpr uint16_t kValueStoreMode = FILE_MODE_CREATE | FILE_MODE_READ | FILE_MODE_WRITE |
                                     FILE_MODE_TEMPORARY | FILE_MODE_AUTO_CLOSE |
                                     FILE_MODE_DELETE_ON_CLOSE;

DICOMDSEXTRA *MakeExtra() {
    auto *extra = new (std::nothrow) DICOMDSEXTRA;
    if (extra == nullptr) return nullptr;
    extra->nSize = sizeof(DICOMDSEXTRA);
    extra->pBadElements = new (std::nothrow) DICOMBADELEMENT[kBadElementRoom]();
    extra->nBadElements = 0;
    extra->J2KOptions = DefaultJ2kOptions();
    extra->bCodecFlag = 0;
    extra->bAutoScale = 0;
    extra->fAutoScaleFactor = 1.0;
    extra->fAutoScaleOffset = 0.0;
    return extra;
}

void FreeOffsets(MDicomTree &offsets) {
    while (offsets.pFirst != nullptr) offsets.Delete(offsets.pFirst);
}

} // namespace

MDicomDS::MDicomDS(const wchar_t *pszTempPath)
    : m_pExtra(MakeExtra()), m_pIndex(new (std::nothrow) ElementIndex) {
    m_Module.nModule = 0;
    m_Module.nCount = 0;
    AttachCompanions();
    m_TempFile.Open(pszTempPath, kValueStoreMode);
}

MDicomDS::~MDicomDS() {
    ResetDS();
    m_TempFile.Close(0);
    DetachCompanions();
    DataFree(m_pCharacterSets);
    delete m_pIndex;
    if (m_pExtra == nullptr) return;
    delete[] m_pExtra->pBadElements;
    delete m_pExtra;
}

void MDicomDS::ResetDS() {
    ResetDS(1);
}

void MDicomDS::ResetDS(int32_t bClose) {
    if (m_bConforming) return;
    DeleteAllNodes();
    if (m_TempFile.nLength > 0 && m_TempFile.Seek(0, 0)) m_TempFile.Write(nullptr, 0);
    m_nFlags = kDefaultFlags;
    if (bClose) {
        m_pFile->Close(0);
        m_pFile = &m_File;
    }
    if (m_pExtra == nullptr) return;
    m_pExtra->nBadElements = 0;
    FreeOffsets(m_pExtra->Offsets);
}

/** Frees the whole tree, from the leaves up and without looking after links and index. */
void MDicomDS::DeleteAllNodes() {
    _DICOMLINK *node = m_Tree.pFirst;
    while (node != nullptr) {
        while (node->pFirstChild != nullptr) node = node->pFirstChild;
        _DICOMLINK *parent = node->pParent;
        _DICOMLINK *next = node->pNext;
        FreeCaches(AsElement(node));
        FreeBlocks(AsElement(node));
        DataFree(node);
        if (next == nullptr && parent != nullptr) parent->pFirstChild = nullptr;
        node = next != nullptr ? next : parent;
    }
    m_Tree.pFirst = nullptr;
    m_Tree.pLast = nullptr;
    if (m_pIndex != nullptr) m_pIndex->Clear();
}

void MDicomDS::SetDebugDS(MDICOM_DEBUG_CALLBACK pfnDebug, void *pUserData) {
    m_pfnDebug = pfnDebug;
    m_pDebugUserData = pUserData;
}

int32_t MDicomDS::GetKeepPixelDataIntactFlag() {
    return (m_nFlags & DS_KEEP_PIXEL_DATA_INTACT) != 0 ? 1 : 0;
}

int32_t MDicomDS::SetKeepPixelDataIntactFlag(int32_t bKeep) {
    const int32_t before = GetKeepPixelDataIntactFlag();
    const uint16_t others = m_nFlags & static_cast<uint16_t>(~DS_KEEP_PIXEL_DATA_INTACT);
    m_nFlags = bKeep ? others | DS_KEEP_PIXEL_DATA_INTACT : others;
    return before;
}

void MDicomDS::GetPreamble(uint8_t *pBuffer, uint32_t nLength) {
    if (pBuffer == nullptr) return;
    std::copy_n(m_Preamble, std::min<size_t>(nLength, sizeof m_Preamble), pBuffer);
}

void MDicomDS::SetPreamble(const uint8_t *pBuffer, uint32_t nLength) {
    if (pBuffer == nullptr) return;
    std::copy_n(pBuffer, std::min<size_t>(nLength, sizeof m_Preamble), m_Preamble);
}

void MDicomDS::GetInfoDS(uint32_t *pClass, uint16_t *pFlags) {
    if (pClass != nullptr) GetClass(pClass, nullptr);
    if (pFlags != nullptr) *pFlags = m_nFlags;
}
