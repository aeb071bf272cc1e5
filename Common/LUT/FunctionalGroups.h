// Multi-frame functional groups (PS 3.3, C.7.6.16): elements of a frame, and the place for new
// ones.

#pragma once

#include <array>
#include <cstdint>

#include "Common/DSImage/ImageTags.h"
#include "Common/DSValue/KeptElements.h"
#include "Common/Utils/Status.h"
#include "MDicomTypes.h"

class MDicomDS;

namespace mdicom {

constexpr uint32_t kSharedGroups = 0x52009229;
constexpr uint32_t kPerFrameGroups = 0x52009230;

/** A macro that holds attributes of LUTs. */
struct LutMacro {
    uint32_t sequence;
    std::array<uint32_t, 3> tags; ///< attributes that show that a frame has it
    uint32_t perFrameFlag;        ///< puts new attributes into the group of the frame
    uint32_t sharedFlag;          ///< puts new attributes into the shared group

    /** True if flags name both groups for the same new attributes. */
    constexpr bool HasTwoPlaces(uint32_t flags) const {
        return (flags & perFrameFlag) != 0 && (flags & sharedFlag) != 0;
    }
};

constexpr LutMacro kVoiMacro{0x00289132,
                             {kWindowCenter, kWindowWidth, 0},
                             DICOM_SETIMAGE_VOI_PER_FRAME,
                             DICOM_SETIMAGE_VOI_SHARED};
constexpr LutMacro kModalityMacro{0x00289145,
                                  {kRescaleIntercept, kRescaleSlope, kRescaleType},
                                  DICOM_SETIMAGE_MODALITY_PER_FRAME,
                                  DICOM_SETIMAGE_MODALITY_SHARED};

constexpr bool HaveTwoPlaces(uint32_t flags) {
    return kVoiMacro.HasTwoPlaces(flags) || kModalityMacro.HasTwoPlaces(flags);
}

/** Where attributes of a macro go. */
struct LutPlace {
    _DICOMELEMENT *element = nullptr; ///< on the level that they go to; null for the top level
    bool isShared = false;
    Status status = DICOM_SUCCESS; ///< DICOM_ERROR_WRITE if a place could not be made
};

/// @name Sequences
///@{
/** An item by its place; null if there is none. */
_DICOMELEMENT *GetItem(const _DICOMELEMENT *sequence, uint32_t index);
uint32_t GetItemCount(const _DICOMELEMENT *sequence);
_DICOMELEMENT *FindChildElement(MDicomDS &dataSet, const _DICOMELEMENT *item, uint32_t tag);
/** The element with a tag in an item of a sequence. */
_DICOMELEMENT *GetSequenceItem(MDicomDS &dataSet, const _DICOMELEMENT *sequence, uint32_t index,
                               uint32_t tag);
///@}

/// @name Groups
///@{
/** An element of a macro in an item of a group. */
_DICOMELEMENT *FindFunctionalGroupElement(MDicomDS &dataSet, uint32_t groupTag, uint32_t macroTag,
                                          uint32_t tag, uint32_t index);
/** An element of a macro for a frame: its own, else the shared one. */
_DICOMELEMENT *FindFrameElement(MDicomDS &dataSet, uint32_t macroTag, uint32_t tag, uint32_t frame);
/** Any of the attributes by which a macro shows. */
_DICOMELEMENT *FindMacro(MDicomDS &dataSet, const LutMacro &macro, uint32_t frame);
/** True if the element is part of a macro in this group. */
bool IsInGroup(const _DICOMELEMENT *element, uint32_t groupTag);
/** True unless the data set keeps its windows and rescales on the top level. */
bool MayUseGroups(MDicomDS &dataSet);
/** Finds or makes an element of a macro. With insert a new item enters before the index. Null if
 *  that fails, or for a frame that is far beyond those that the data set has. */
_DICOMELEMENT *CreateGroupElement(MDicomDS &dataSet, uint32_t groupTag, uint32_t macroTag,
                                  uint32_t tag, uint32_t frame, bool insert);
/** Finds the place of a macro's attributes for a frame, or makes one as flags say. */
LutPlace PlaceOf(MDicomDS &dataSet, const LutMacro &macro, uint32_t flags, uint32_t frame);
/** Keeps what PlaceOf may make, and all that can be written there. Throws std::bad_alloc. */
void KeepPlace(KeptElements &old, MDicomDS &dataSet, const LutMacro &macro, uint32_t frame);

/** Deletes an attribute: on the top level, else that of the frame. False if that one is shared and
 *  must not change. */
bool DeleteAttribute(MDicomDS &dataSet, const LutMacro &macro, uint32_t tag, uint32_t flags,
                     uint32_t frame);
///@}

} // namespace mdicom
