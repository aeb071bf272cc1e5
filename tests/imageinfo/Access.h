// The private side of image descriptions.

#pragma once

#include "Image.h"

/** The working record is not at the interface. */
struct mdicom::DataSetAccess {
    static uint16_t Describe(Image &image, _IMAGEINFO *info, uint32_t frame, int32_t withTables) {
        return image.ds.GetInfoImage(image.pixels, info, frame, withTables);
    }
    static uint16_t Set(MDicomDS &ds, _DICOMELEMENT *element, _IMAGEINFO *info,
                        _BITMAPHANDLE *bitmap, int32_t photometric, bool write, uint32_t flags) {
        return ds.SetInfoImage(element, info, bitmap, 0, photometric, write ? 1 : 0, flags);
    }
    static uint16_t AddSpecific(MDicomDS &ds, _IMAGEINFO *info) {
        return ds.AddIODSpecificElements(nullptr, info);
    }
    static void Free(Image &image, _IMAGEINFO *info) { image.ds.FreeInfoImage(info); }
};
