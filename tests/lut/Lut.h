// Data sets with LUTs for tests.

#pragma once

#include <cwchar>
#include <string>
#include <vector>

#include "MDicom.h"
#include "MDicomFlat.h"
#include "support/TestFiles.h"

/** Operations that are not at the interface. */
struct mdicom::DataSetAccess {
    static int CanAdd(MDicomDS &ds) { return ds.CanAddMultiFrameFunctionalGroup(); }
    static _DICOMELEMENT *VoiOf(MDicomDS &ds, uint32_t frame) {
        return ds.FindMultiFrameFunctionGroupVOILUT(frame);
    }
    static bool IsShared(MDicomDS &ds, _DICOMELEMENT *element) {
        return ds.IsSharedMultiFrameFunctionalGroup(element) != 0;
    }
    static bool IsPerFrame(MDicomDS &ds, _DICOMELEMENT *element) {
        return ds.IsPerFrameMultiFrameFunctionalGroup(element) != 0;
    }
    static _DICOMELEMENT *PlaceOfVoi(MDicomDS &ds, uint32_t flags, uint32_t frame) {
        _DICOMELEMENT *place = nullptr;
        ds.GetMultiFrameFunctionGroupLutElements(flags, frame, &place, nullptr, nullptr, nullptr);
        return place;
    }
    static void InsertFrame(MDicomDS &ds, uint32_t index) {
        ds.InsertItemPerFrameMultiFrameFunctionalGroup(index);
    }
    static void DeleteFrames(MDicomDS &ds, uint32_t first, uint32_t last) {
        ds.DeleteItemPerFrameMultiFrameFunctionalGroup(first, last);
    }
    static int DeleteMacro(MDicomDS &ds, uint32_t tag, uint32_t item) {
        return ds.DeleteMultiFrameSequence(tag, item);
    }
    static uint16_t ApplyModality(MDicomDS &ds, _BITMAPHANDLE *bitmap, uint32_t flags,
                                  uint32_t frame = 0) {
        _IMAGEINFO info{};
        info.nFrameIndex = frame;
        return ds.ApplyModalityLUT(bitmap, sizeof *bitmap, &info, 3, 7, flags);
    }
    static uint16_t ApplyVoi(MDicomDS &ds, _BITMAPHANDLE *bitmap, uint32_t flags = 0,
                             uint32_t photometric = PHOTOMETRIC_MONOCHROME2, uint32_t frame = 0) {
        _IMAGEINFO info{};
        info.nPhotometric = photometric;
        info.nFrameIndex = frame;
        return ds.ApplyVOILUT(bitmap, sizeof *bitmap, &info, flags);
    }
    static uint16_t StoreLut(MDicomDS &ds, _BITMAPHANDLE *bitmap) {
        return ds.SetNonLinearVOILUT(0, nullptr, bitmap);
    }
};

using mdicom::DataSetAccess;
using support::StoredText;

inline void Put(MDicomDS &ds, uint32_t tag, const std::vector<double> &numbers,
                _DICOMELEMENT *level = nullptr) {
    if (level == nullptr) level = ds.GetFirstElement(nullptr, 1, 1);
    ds.FindSetValue(level, tag, numbers.data(), static_cast<uint32_t>(numbers.size()),
                    VALUE_ARRAY_DOUBLE);
}

inline void PutText(MDicomDS &ds, uint32_t tag, const wchar_t *text) {
    _DICOMELEMENT *element = ds.FindFirstElement(nullptr, tag, 1);
    if (element == nullptr) element = ds.InsertElement(nullptr, 0, tag, 0, 0, 0);
    ds.SetStringValue(element, text, 1, 0);
}

/** Sets bytes of an element of the level of another one. */
inline _DICOMELEMENT *PutBytes(MDicomDS &ds, uint32_t tag, std::vector<uint8_t> bytes,
                               _DICOMELEMENT *level = nullptr, const char *vr = "OW") {
    const auto code = static_cast<uint16_t>(vr[0] << 8 | vr[1]);
    _DICOMELEMENT *element = ds.FindFirstElement(level, tag, 1);
    if (element != nullptr) ds.DeleteElement(element);
    element = ds.InsertElement(level, 0, tag, code, 0, 0);
    ds.SetBinaryValue(element, bytes.data(), static_cast<uint32_t>(bytes.size()));
    return element;
}

template <typename Record>
Record Fresh() {
    Record record{};
    record.nStructSize = sizeof record;
    return record;
}

inline tagDICOMWINDOWATTRIBS MakeWindow(double center, double width, const wchar_t *text = L"") {
    auto window = Fresh<tagDICOMWINDOWATTRIBS>();
    window.fCenter = center;
    window.fWidth = width;
    std::wcsncpy(window.szWindowCenterWidthExplanation, text, 64);
    return window;
}

inline tagDICOMMLUTATTRIBS MakeRescale(double slope, double intercept) {
    auto rescale = Fresh<tagDICOMMLUTATTRIBS>();
    rescale.bIsRescaleSlopeIntercept = 1;
    rescale.fRescaleSlope = slope;
    rescale.fRescaleIntercept = intercept;
    std::wcscpy(rescale.szRescaleType, L"HU");
    return rescale;
}

inline tagDICOMMLUTATTRIBS MakeTable(uint32_t entries, int32_t first, uint32_t bits) {
    auto table = Fresh<tagDICOMMLUTATTRIBS>();
    table.bIsModalityLUT = 1;
    table.LUTDescriptor = {0, entries, first, bits};
    std::wcscpy(table.szLUTExplanation, L"curve");
    std::wcscpy(table.szLUTType, L"OD");
    return table;
}

/** "center/width" of a window, or its status. */
inline std::string WindowText(MDicomDS &ds, uint32_t frame, uint32_t index = 0) {
    tagDICOMWINDOWATTRIBS window;
    const uint16_t status = M_DicomGetWindow(&ds, frame, index, &window, sizeof window, 0);
    if (status != 0) return std::to_string(status);
    char text[64];
    std::snprintf(text, sizeof text, "%g/%g", window.fCenter, window.fWidth);
    return text;
}

/** "slope x + intercept" of a frame, or a status. */
inline std::string RescaleText(MDicomDS &ds, uint32_t frame = 0xFFFFFFFF) {
    tagDICOMMLUTATTRIBS rescale;
    const uint16_t status =
        M_DicomGetModalityLUTAttributes(&ds, frame, &rescale, sizeof rescale, 0);
    if (status != 0) return std::to_string(status);
    if (rescale.bIsModalityLUT) return "table";
    char text[64];
    std::snprintf(text, sizeof text, "%gx%+g", rescale.fRescaleSlope, rescale.fRescaleIntercept);
    return text;
}
