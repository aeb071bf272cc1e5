// What the entry points of the file filter share: a data set of their own, pages, comments, codes.

#pragma once

#include <memory>

#include "Common/Utils/Status.h"
#include "MDicomDS.h"
#include "MDicomFlat.h"

namespace mdicom {

struct DataSetFreer {
    void operator()(MDicomDS *dataSet) const { M_DicomFreeDS(dataSet); }
};

using OwnedDataSet = std::unique_ptr<MDicomDS, DataSetFreer>;

/** The code that the kernel knows a status by. */
int32_t FilterCode(Status status);

/** Loads a file into a new data set; a filter code. */
int32_t LoadFile(const wchar_t *name, OwnedDataSet &dataSet);

/** A frame, counted through all Pixel Data. */
struct Page {
    _DICOMELEMENT *pixelData; ///< null if there is none; without frames the first
    uint32_t frame;           ///< within pixelData
    uint32_t number;          ///< from 1; 0 without frames
    uint32_t total;
};

/** The page that is asked for, or the nearest one that there is. Null options mean the first. */
Page FindPage(MDicomDS &dataSet, const _LOADFILEOPTION *options);

/** Where the text of a comment stands, and how long it may be. */
struct CommentRow {
    uint32_t id;
    uint32_t tag;
    uint32_t most; ///< characters, those of a name in each component group; 0 for a number
};

constexpr CommentRow kComments[] = {
    {FILTER_COMMENT_PATIENT_NAME, 0x00100010, 64},
    {FILTER_COMMENT_PATIENT_ID, 0x00100020, 64},
    {FILTER_COMMENT_PATIENT_BIRTH_DATE, 0x00100030, 8},
    {FILTER_COMMENT_PATIENT_SEX, 0x00100040, 16},
    {FILTER_COMMENT_STUDY_INSTANCE, 0x0020000D, 64},
    {FILTER_COMMENT_STUDY_DATE, 0x00080020, 8},
    {FILTER_COMMENT_STUDY_TIME, 0x00080030, 16},
    {FILTER_COMMENT_REFERRING_PHYSICIAN, 0x00080090, 64},
    {FILTER_COMMENT_MODALITY, 0x00080060, 16},
    {FILTER_COMMENT_SERIES_INSTANCE, 0x0020000E, 64},
    {FILTER_COMMENT_SERIES_NUMBER, 0x00200011, 0},
};

} // namespace mdicom
