// The companion libraries that data sets share.

#include "Common/System/Companions.h"

#include <array>
#include <cstddef>
#include <mutex>
#include <new>
#include <shared_mutex>

#include "MDicomDS.h"
#include "Mvkrnx.h"

namespace mdicom {

namespace {

struct Description {
    const wchar_t *file;
    const wchar_t *component;
    std::array<const char *, 9> functions;
};

constexpr Description kDescriptions[] = {
    {L"libMFCMPX.so", L"Codecs.Cmp.CmpCodec", {"fltLoadBuffer", "fltSaveBuffer"}},
    {L"libMVIMGCORX.so",
     L"ImageProcessing.Core.ImageProcessingCoreFunctions",
     {"M_ApplyModalityLUT", "M_ApplyLinearModalityLUT", "M_ApplyVOILUT", "M_ApplyLinearVOILUT",
      "M_GetMinMaxVal", "M_GetLinearVOILUT", "M_CountLUTColors", "M_ShiftBitmapData",
      "M_CountLUTColorsExt"}},
    {L"libMFJ2KX.so", L"Codecs.J2k.J2kFilter", {"fltInfo", "fltLoad", "fltSave"}},
};

struct CompanionState {
    std::shared_mutex lock; ///< shared by calls, exclusive for loading and unloading
    unsigned users = 0;
    M_DllLoader loaders[std::size(kDescriptions)];
    size_t named[std::size(kDescriptions)] = {}; ///< functions that the loaders know
    bool tried[std::size(kDescriptions)] = {};
};

/** Lives until the process ends: data sets may be static objects of the program. It takes no
 *  memory that could be missing: constructors of data sets come here. */
CompanionState &State() {
    alignas(CompanionState) static std::byte place[sizeof(CompanionState)];
    static auto *state = new (place) CompanionState;
    return *state;
}

/** When memory is short nothing has been tried: the next call may be luckier. */
void Open(CompanionState &state, size_t which) {
    const Description &description = kDescriptions[which];
    M_DllLoader &loader = state.loaders[which];
    try {
        for (size_t &next = state.named[which]; next < description.functions.size(); ++next) {
            loader.AddFunction(description.functions[next]);
        }
        loader.LoadWithPath(MDicomDS::m_hInstance, description.file, description.file,
                            description.component);
        state.tried[which] = true;
    } catch (const std::bad_alloc &) {
    }
}

} // namespace

void AttachCompanions() {
    CompanionState &state = State();
    const std::unique_lock guard(state.lock);
    ++state.users;
}

void DetachCompanions() {
    CompanionState &state = State();
    const std::unique_lock guard(state.lock);
    if (--state.users > 0) return;
    for (size_t i = 0; i < std::size(kDescriptions); ++i) {
        state.loaders[i].Unload();
        state.tried[i] = false;
    }
}

void *CompanionFunction(Companion companion, const char *name) {
    CompanionState &state = State();
    const auto which = static_cast<size_t>(companion);
    {
        const std::shared_lock guard(state.lock);
        if (state.tried[which]) return state.loaders[which].GetFunction(name);
    }
    const std::unique_lock guard(state.lock);
    if (!state.tried[which]) Open(state, which);
    return state.loaders[which].GetFunction(name);
}

} // namespace mdicom
