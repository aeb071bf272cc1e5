// Process-wide state: the allocation family, and start and stop of the library.

#include "MDicomEngine.h"

#include <dlfcn.h>

#include "Common/Utils/Memory.h"
#include "MDicomContextGroup.h"
#include "MDicomDS.h"
#include "MDicomIOD.h"
#include "MDicomTag.h"
#include "MDicomUID.h"
#include "MDicomVR.h"
#include "Mvkrnx.h"

void *MDicomDS::m_hInstance = nullptr;

namespace {

struct AllocationFamily {
    void *(*allocate)(size_t count, size_t size, int line, const char *file);
    void (*free)(void *block, int line, const char *file);
};

constexpr AllocationFamily kHeapFamily = {KernelHeapAlloc, KernelHeapFree};
constexpr AllocationFamily kKernelFamily = {KernelAlloc, KernelFree};

uint16_t memoryMode = 1;
AllocationFamily family = kHeapFamily;

/** Runs when the library is loaded and unloaded. The tables that it fills are constant-initialized,
 *  so the order of static objects does not matter. */
struct LibraryEntry {
    LibraryEntry() {
        Dl_info info;
        if (dladdr(reinterpret_cast<void *>(&M_DicomEngineStartup), &info) != 0) {
            MDicomDS::m_hInstance = info.dli_fbase;
        }
        M_DicomEngineStartup(DICOM_ENGINE_LAZY_IOD | DICOM_ENGINE_LAZY_CONTEXT_GROUPS);
    }
    ~LibraryEntry() { M_DicomEngineShutdown(); }
};

} // namespace

void *mdicom::DataAlloc(size_t count, size_t size) {
    return family.allocate(count, size, 0, nullptr);
}

void mdicom::DataFree(void *block) {
    family.free(block, 0, nullptr);
}

uint16_t M_DicomSetMemoryAllocation(uint16_t nMode) {
    if (nMode != 1 && nMode != 2) return 0;
    const uint16_t previous = memoryMode;
    memoryMode = nMode;
    family = nMode == 1 ? kHeapFamily : kKernelFamily;
    return previous;
}

void M_DicomEngineStartup(uint16_t nFlags) {
    M_DicomSetMemoryAllocation(1);
    MDicomVR::Default();
    MDicomUID::Default();
    MDicomTag::Default();
    if ((nFlags & DICOM_ENGINE_LAZY_IOD) == 0) MDicomIOD::Default();
    if ((nFlags & DICOM_ENGINE_LAZY_CONTEXT_GROUPS) == 0) MDicomContextGroup::Default(nullptr);
}

void M_DicomEngineShutdown() {
    MDicomVR::Reset();
    MDicomUID::Reset();
    MDicomTag::Reset();
    MDicomIOD::Reset();
    MDicomContextGroup::Reset();
    MDicomIOD::SetInitialized(0);
    MDicomContextGroup::SetInitialized(0);
}

static LibraryEntry libraryEntry;
