// Frames of encapsulated Pixel Data (PS 3.5, A.4): which fragment each of them begins with.

#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "Common/Utils/Status.h"
#include "MDicomTypes.h"

class MDicomDS;

namespace mdicom {

/** What the place of frames depends on, but for the fragments. */
struct FrameRules {
    uint32_t compression;    ///< IMAGE_COMPRESSION_ value
    uint32_t numberOfFrames; ///< (0028,0008); 0 if it is absent
    bool operator==(const FrameRules &) const = default;
};

/** The first fragments of the frames, in order. */
struct FrameList {
    Status status = DICOM_SUCCESS; ///< DICOM_ERROR_IMAGE if the children are no fragments
    FrameRules rules{};
    std::vector<_DICOMELEMENT *> starts;
};

/** Works out the frames of an encapsulated element. Throws std::bad_alloc. */
FrameList ListFrames(MDicomDS &dataSet, _DICOMELEMENT *pixelData, const FrameRules &rules);

/** Frame lists of a data set, good for one version of its fragments. */
class FrameIndex {
  public:
    explicit FrameIndex(uint64_t version) : m_Version(version) {}

    uint64_t Version() const noexcept { return m_Version; }
    /** The list of an element, made if it is not there. Throws std::bad_alloc. */
    const FrameList &Get(MDicomDS &dataSet, _DICOMELEMENT *pixelData, const FrameRules &rules);

  private:
    std::unordered_map<const _DICOMELEMENT *, FrameList> m_Lists;
    uint64_t m_Version;
};

} // namespace mdicom
