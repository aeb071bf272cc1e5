// Images for the tests of their description.

#pragma once

#include <string>
#include <vector>

#include "MDicom.h"

constexpr const char *kRle = "1.2.840.10008.1.2.5";
constexpr const char *kJpeg = "1.2.840.10008.1.2.4.50";
constexpr const char *kJ2k = "1.2.840.10008.1.2.4.90";

/** A data set with the attributes of an image; Pixel Data comes last. */
class Image {
  public:
    MDicomDS ds{nullptr};
    _DICOMELEMENT *pixels = nullptr;

    explicit Image(uint32_t rows = 4, uint32_t columns = 5, uint32_t allocated = 16) {
        Set(0x00280010, {rows});
        Set(0x00280011, {columns});
        Set(0x00280100, {allocated});
        Set(0x00280101, {allocated});
        Set(0x00280102, {allocated - 1});
        Photometric("MONOCHROME2");
    }

    void Set(uint32_t tag, const std::vector<uint32_t> &numbers) {
        ds.FindSetValue(nullptr, tag, numbers.data(), static_cast<uint32_t>(numbers.size()),
                        VALUE_ARRAY_DWORD);
    }
    void Text(uint32_t tag, const std::string &text) {
        _DICOMELEMENT *element = ds.FindFirstElement(nullptr, tag, 1);
        if (element == nullptr) element = ds.InsertElement(nullptr, 0, tag, 0, 0, 0);
        ds.SetBinaryValue(element, std::string(text).data(), static_cast<uint32_t>(text.size()));
        ds.FreeValue(element);
    }
    void Photometric(const std::string &text) { Text(0x00280004, text); }
    void Syntax(const std::string &uid) { Text(0x00020010, uid); }

    void Native(uint32_t length) {
        pixels = ds.InsertElement(nullptr, 0, TAG_PIXEL_DATA, 'O' << 8 | 'W', 0, 0);
        std::vector<uint8_t> bytes(length, 1);
        ds.SetBinaryValue(pixels, bytes.data(), length);
    }
    /** Encapsulated Pixel Data: offset table and fragments. */
    void Fragments(const std::vector<std::string> &items) {
        pixels = ds.InsertElement(nullptr, 0, TAG_PIXEL_DATA, 'O' << 8 | 'B', 1, 0);
        for (const std::string &item : items) Fragment(item);
    }
    _DICOMELEMENT *Fragment(std::string bytes) {
        _DICOMELEMENT *item = ds.InsertElement(pixels, 1, TAG_ITEM, 'O' << 8 | 'B', 0, 0xFFFFFFFF);
        if (!bytes.empty()) {
            ds.SetBinaryValue(item, bytes.data(), static_cast<uint32_t>(bytes.size()));
        }
        return item;
    }

    uint16_t Describe(_DICOMIMAGE *info, uint32_t frame = 0) {
        return ds.GetInfoImage(pixels, info, frame);
    }
    _DICOMIMAGE Info(uint32_t frame = 0) {
        _DICOMIMAGE info{};
        Describe(&info, frame);
        return info;
    }
    uint16_t Status(uint32_t frame = 0) {
        _DICOMIMAGE info{};
        return Describe(&info, frame);
    }
};
