// secondary: makes a Secondary Capture image of a PNG file.
//
//   secondary picture.png out.dcm [none|rle|jpeg-lossless|jpeg|j2k-lossless|j2k]
//
// A bitmap of the kernel stands between the two: it borrows the rows that were read, and SetImage
// makes Pixel Data with all its attributes of it.

#include <cstdio>
#include <ctime>
#include <random>
#include <string_view>

#include "ExampleText.h"
#include "PngReader.h"

namespace {

struct Compression {
    std::string_view word;
    uint32_t number;
    bool isLossy;
};

constexpr Compression kCompressions[] = {
    {"none", IMAGE_COMPRESSION_NONE, false},
    {"rle", IMAGE_COMPRESSION_RLE, false},
    {"jpeg-lossless", IMAGE_COMPRESSION_JPEG_LOSSLESS, false},
    {"jpeg", IMAGE_COMPRESSION_JPEG_LOSSY, true},
    {"j2k-lossless", IMAGE_COMPRESSION_J2K_LOSSLESS, false},
    {"j2k", IMAGE_COMPRESSION_J2K_LOSSY, true},
};

constexpr uint32_t kSecondaryCapture = 9; ///< number of the class
constexpr int32_t kQuality = 10;          ///< of lossy compressions: 2 is best, 255 smallest

const Compression *FindCompression(std::string_view word) {
    for (const Compression &compression : kCompressions) {
        if (compression.word == word) return &compression;
    }
    return nullptr;
}

/** A new UID from a random UUID (PS 3.5, B.2). */
std::string NewUid() {
    std::random_device random;
    unsigned __int128 number = 0;
    for (int i = 0; i < 4; ++i) number = number << 32 | random();
    constexpr auto kVersion = static_cast<unsigned __int128>(0xF) << 76;
    constexpr auto kVariant = static_cast<unsigned __int128>(0x3) << 62;
    number &= ~(kVersion | kVariant);
    number |= static_cast<unsigned __int128>(4) << 76 | static_cast<unsigned __int128>(2) << 62;
    std::string digits;
    for (; number != 0; number /= 10) digits.insert(0, 1, static_cast<char>('0' + number % 10));
    return "2.25." + digits;
}

std::string TimeText(const char *format) {
    char text[32] = "";
    const std::time_t now = std::time(nullptr);
    std::strftime(text, sizeof text, format, std::localtime(&now));
    return text;
}

bool SetText(MDicomDS &ds, uint32_t tag, std::string_view text) {
    return ds.FindSetValue(nullptr, tag, text.data(), static_cast<uint32_t>(text.size()),
                           VALUE_ARRAY_BYTE) != nullptr;
}

/** What a Secondary Capture image has beside its picture (PS 3.3, A.8). InitDS has made the
 *  mandatory elements already, and those that may stay empty do. */
bool Describe(MDicomDS &ds, bool isLossy) {
    const std::string instance = NewUid();
    const std::string date = TimeText("%Y%m%d");
    const std::string time = TimeText("%H%M%S");
    const std::pair<uint32_t, std::string> texts[] = {
        {0x00020003, instance},
        {0x00020012, NewUid()},
        {0x00080018, instance},
        {0x00080020, date},
        {0x00080030, time},
        {0x00080060, "OT"},
        {0x00080064, "WSD"},
        {0x00100010, "Doe^Jane"},
        {0x00100020, "4711"},
        {0x0020000D, NewUid()},
        {0x0020000E, NewUid()},
        {0x00200010, "1"},
        {0x00200011, "1"},
        {0x00200013, "1"},
        {0x00200020, ""},
        {0x00200060, ""},
        {0x00020001, std::string("\0\1", 2)},
    };
    for (const auto &[tag, text] : texts) {
        if (!SetText(ds, tag, text)) return false;
    }
    return !isLossy || SetText(ds, 0x00282110, "01");
}

/** Stores the picture; a status. */
uint16_t SetPicture(MDicomDS &ds, PngPicture &picture, const Compression &compression) {
    const bool hasPalette = !picture.palette.empty();
    const bool isWord = picture.bitsPerPixel == 16;
    _BITMAPHANDLE bitmap;
    const int32_t made = KernelCreateBitmap(
        &bitmap, sizeof bitmap, KERNEL_MEMORY_CALLER, picture.width, picture.height,
        picture.bitsPerPixel, isWord ? KERNEL_ORDER_GRAY : KERNEL_ORDER_BGR,
        hasPalette ? picture.palette.data() : nullptr, 1, picture.rows.data(), picture.rows.size());
    if (made != KERNEL_SUCCESS) return DICOM_ERROR_BITMAP;
    int32_t photometric = picture.isGray ? PHOTOMETRIC_MONOCHROME2 : PHOTOMETRIC_RGB;
    // Indices do not survive a lossy compression, colours do.
    if (hasPalette && !compression.isLossy) photometric = PHOTOMETRIC_PALETTE_COLOR;
    // Windows are for gray (PS 3.3, C.11.2); a palette is to be written.
    const uint32_t flags = photometric == PHOTOMETRIC_RGB ? DICOM_SETIMAGE_NO_LUT_ELEMENTS : 0;
    const uint16_t status = ds.SetImage(nullptr, &bitmap, compression.number, photometric, 0,
                                        kQuality, flags, nullptr, nullptr);
    KernelFreeBitmap(&bitmap);
    return status;
}

} // namespace

int main(int argc, char **argv) {
    const Compression *compression = FindCompression(argc == 4 ? argv[3] : "none");
    if (argc < 3 || argc > 4 || compression == nullptr) {
        std::fprintf(stderr,
                     "usage: secondary picture.png out "
                     "[none|rle|jpeg-lossless|jpeg|j2k-lossless|j2k]\n");
        return 2;
    }
    PngPicture picture;
    const std::string reason = ReadPng(argv[1], picture);
    if (!reason.empty()) return Fail(argv[1], reason.c_str());
    MDicomDS ds(nullptr);
    ds.InitDS(kSecondaryCapture, DS_ADD_MANDATORY_ELEMENTS_ONLY | DS_ADD_MANDATORY_MODULES_ONLY |
                                     DS_LITTLE_ENDIAN | DS_EXPLICIT_VR);
    if (!Describe(ds, compression->isLossy)) return Fail(argv[2], "a value cannot be set");
    uint16_t status = SetPicture(ds, picture, *compression);
    if (status != DICOM_SUCCESS) return Fail(argv[1], StatusText(status));
    status = ds.SaveDS(Wide(argv[2]).c_str(), DS_METAHEADER_PRESENT);
    return status == DICOM_SUCCESS ? 0 : Fail(argv[2], StatusText(status));
}
