// Data sets with made-up frames.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "MDicom.h"
#include "MDicomFlat.h"
#include "support/Bitmaps.h"
#include "support/TestFiles.h"

namespace support {

/** What an image is like. */
struct Form {
    const char *name;
    const char *photometric;
    uint32_t samples;
    uint32_t allocated;
    uint32_t stored;
    uint32_t high;
    uint32_t isSigned;
    uint32_t planar;
    uint32_t frames;
};

constexpr uint32_t kRows = 13;
constexpr uint32_t kColumns = 19;

inline void SetNumber(MDicomDS &ds, uint32_t tag, uint32_t value) {
    ds.FindSetValue(nullptr, tag, &value, 1, VALUE_ARRAY_DWORD);
}

inline void SetText(MDicomDS &ds, uint32_t tag, const std::string &text) {
    ds.FindSetValue(nullptr, tag, text.data(), static_cast<uint32_t>(text.size()),
                    VALUE_ARRAY_BYTE);
}

/** Smooth samples with some noise, in the stored bits, in words or bytes of the value. */
inline Bytes MakeValue(const Form &form) {
    if (form.allocated == 1) {
        Bytes bits((kRows * kColumns * form.frames + 7) / 8);
        for (size_t i = 0; i < bits.size(); ++i) bits[i] = static_cast<uint8_t>(i * 73 + i / 3);
        const size_t last = kRows * kColumns * form.frames % 8;
        if (last != 0) bits.back() &= static_cast<uint8_t>((1u << last) - 1);
        return bits;
    }
    const uint32_t samples = kRows * kColumns * form.samples * form.frames;
    const uint32_t mask = static_cast<uint32_t>((uint64_t{1} << form.stored) - 1);
    const uint32_t low = form.high + 1 - form.stored;
    Bytes value;
    uint32_t noise = 12345;
    for (uint32_t i = 0; i < samples; ++i) {
        noise = noise * 1664525 + 1013904223;
        uint32_t sample = (i * (mask / 300 + 1) + (noise >> 30)) & mask;
        if (form.isSigned && (sample & (mask / 2 + 1)) != 0) sample |= ~mask;
        sample <<= low;
        for (uint32_t byte = 0; byte < form.allocated / 8; ++byte) {
            value.push_back(static_cast<uint8_t>(sample >> (8 * byte)));
        }
    }
    return value;
}

inline void SetPalette(MDicomDS &ds) {
    std::vector<uint16_t> table(256);
    for (uint32_t colour = 0; colour < 3; ++colour) {
        const uint32_t descriptor[3] = {256, 0, 16};
        ds.FindSetValue(nullptr, 0x00281101 + colour, descriptor, 3, VALUE_ARRAY_DWORD);
        for (size_t i = 0; i < table.size(); ++i) {
            table[i] = static_cast<uint16_t>((i * (colour + 3) % 256) * 257);
        }
        ds.FindSetValue(nullptr, 0x00281201 + colour, table.data(), 256, VALUE_ARRAY_WORD);
    }
}

/** Fills an empty data set with a native image. */
inline void MakeImage(MDicomDS &ds, const Form &form) {
    SetText(ds, 0x00020010, "1.2.840.10008.1.2.1");
    SetText(ds, 0x00080060, "OT");
    SetNumber(ds, 0x00280002, form.samples);
    SetText(ds, 0x00280004, form.photometric);
    if (form.samples > 1) SetNumber(ds, 0x00280006, form.planar);
    if (form.frames > 1) SetNumber(ds, 0x00280008, form.frames);
    SetNumber(ds, 0x00280010, kRows);
    SetNumber(ds, 0x00280011, kColumns);
    SetNumber(ds, 0x00280100, form.allocated);
    SetNumber(ds, 0x00280101, form.stored);
    SetNumber(ds, 0x00280102, form.high);
    SetNumber(ds, 0x00280103, form.isSigned);
    if (std::string(form.photometric) == "PALETTE COLOR") SetPalette(ds);
    const uint16_t vr = form.allocated > 8 ? 0x4F57 : 0x4F42;
    _DICOMELEMENT *pixels = ds.InsertElement(nullptr, 0, TAG_PIXEL_DATA, vr, 0, 0);
    Bytes value = MakeValue(form);
    ds.SetBinaryValue(pixels, value.data(), static_cast<uint32_t>(value.size()));
}

/** The rows of a frame without padding, and its depth; a status in place of a picture. */
struct Picture {
    uint16_t status = 0;
    int32_t depth = 0;
    Bytes rows;
    std::vector<_RGBQUAD> palette;
    bool operator==(const Picture &other) const {
        return status == other.status && depth == other.depth && rows == other.rows &&
               palette.size() == other.palette.size();
    }
};

inline Picture Load(MDicomDS &ds, uint32_t frame, int32_t depth = 0) {
    _BITMAPHANDLE bitmap;
    Picture picture;
    picture.status = M_DicomGetImage(&ds, nullptr, &bitmap, sizeof bitmap, frame, depth, 0,
                                     DICOM_GETIMAGE_FULL_RANGE_YBR, nullptr, nullptr);
    if (picture.status != DICOM_SUCCESS) return picture;
    picture.depth = bitmap.nBitsPerPixel;
    picture.rows = RowsOf(bitmap);
    KernelFreeBitmap(&bitmap);
    return picture;
}

inline std::vector<Picture> LoadAll(MDicomDS &ds) {
    std::vector<Picture> pictures;
    const uint32_t frames = M_DicomGetCountImage(&ds, nullptr);
    for (uint32_t i = 0; i < frames; ++i) pictures.push_back(Load(ds, i));
    return pictures;
}

} // namespace support
