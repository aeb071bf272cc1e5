// image: makes a PNG file of a frame, or a sheet of thumbnails of all images.
//
//   image <file> <out.png> [frame] [window <center> <width> | lut | auto] [overlays]
//   image --sheet <out.png> <files or folders...>
//
// Frames count from 1. Gray is shown through the window of the file, the given one, the VOI LUT of
// the file, or from the least to the greatest value (auto).

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include "ExampleText.h"
#include "Mvkrnx.h"
#include "Picture.h"

namespace {

namespace fs = std::filesystem;

constexpr uint32_t kPixelData = 0x7FE00010;

enum class Gray { AsFile, Window, Lut, Range };

struct Wish {
    uint32_t frame = 0;
    Gray gray = Gray::AsFile;
    double center = 0;
    double width = 0;
    bool overlays = false;
};

/** A bitmap that frees itself. */
struct Bitmap : _BITMAPHANDLE {
    Bitmap() { KernelInitBitmap(this, sizeof(_BITMAPHANDLE), 0, 0, 0); }
    ~Bitmap() { KernelFreeBitmap(this); }
    Bitmap(const Bitmap &) = delete;
    Bitmap &operator=(const Bitmap &) = delete;
};

/** Changes how the data set wants its gray shown. Nothing of this is saved. */
void ChooseGray(MDicomDS &ds, const Wish &wish) {
    tagDICOMWINDOWATTRIBS window{};
    if (wish.gray == Gray::AsFile) {
        // A window of zeros is none.
        const uint16_t status = ds.GetWindow(wish.frame, 0, &window, sizeof window, 0);
        if (status != DICOM_SUCCESS || window.fWidth > 0) return;
    }
    ds.DeleteWindow(wish.frame, DICOM_SETIMAGE_UPDATE_SHARED);
    if (wish.gray == Gray::Range || wish.gray == Gray::Window) ds.DeleteVOILUT(0);
    if (wish.gray != Gray::Window) return;
    window = {};
    window.nStructSize = sizeof window;
    window.fCenter = wish.center;
    window.fWidth = wish.width;
    ds.SetWindow(wish.frame, 0, &window, DICOM_SETIMAGE_UPDATE_SHARED);
}

/** Draws one overlay in yellow over a bitmap of 24 bits. */
void DrawOverlay(const _BITMAPHANDLE &overlay, int32_t x, int32_t y, _BITMAPHANDLE &color) {
    for (int32_t row = 0; row < overlay.nHeight; ++row) {
        const uint8_t *bits = KernelLendBitmapRow(&overlay, row);
        uint8_t *pixels = KernelLendBitmapRow(&color, y + row);
        if (bits == nullptr || pixels == nullptr) continue; // above or below the image
        for (int32_t i = 0; i < overlay.nWidth; ++i) {
            const bool isSet = (bits[i / 8] >> (7 - i % 8) & 1) != 0;
            if (!isSet || x + i < 0 || x + i >= color.nWidth) continue;
            uint8_t *pixel = pixels + 3 * (x + i);
            pixel[0] = pixel[1] = 255;
            pixel[2] = 0;
        }
    }
}

void DrawOverlays(const _BITMAPHANDLE &image, _BITMAPHANDLE &color) {
    uint32_t count = 0;
    KernelGetOverlayCount(&image, &count, 0);
    for (uint32_t i = 0; i < count; ++i) {
        _OVERLAYATTRIBUTES attributes;
        _BITMAPHANDLE overlay;
        // The bitmap is lent, and not to be freed.
        if (KernelGetOverlayAttributes(&image, i, &attributes, sizeof attributes,
                                       KERNEL_OVERLAY_ORIGIN) == KERNEL_SUCCESS &&
            KernelGetOverlayBitmap(&image, i, &overlay, sizeof overlay, 1) == KERNEL_SUCCESS) {
            DrawOverlay(overlay, attributes.nOriginX, attributes.nOriginY, color);
        }
    }
}

/** Decodes a frame into a bitmap of 24 bits, red first. */
uint16_t Show(MDicomDS &ds, const Wish &wish, _BITMAPHANDLE &color) {
    uint32_t flags = DICOM_GETIMAGE_MODALITY_LUT | DICOM_GETIMAGE_VOI_LUT |
                     DICOM_GETIMAGE_AUTOSCALE_MODALITY | DICOM_GETIMAGE_AUTOSCALE_VOI |
                     DICOM_GETIMAGE_FULL_RANGE_YBR;
    if (wish.overlays) flags |= DICOM_GETIMAGE_OVERLAYS;
    ChooseGray(ds, wish);
    // The image itself: with null the frames of icons would count, too.
    _DICOMELEMENT *pixels = ds.FindFirstElement(nullptr, kPixelData, 1);
    Bitmap image;
    const uint16_t status = ds.GetImage(pixels, &image, sizeof(_BITMAPHANDLE), wish.frame, 0, 0,
                                        flags, nullptr, nullptr);
    if (status != DICOM_SUCCESS) return status;
    // LUT and palette of the bitmap say how its values look.
    if (KernelColorResBitmap(&image, &color, sizeof(_BITMAPHANDLE), 24, KERNEL_ORDER_RGB, nullptr,
                             KERNEL_COLORRES_NEAREST) != KERNEL_SUCCESS) {
        return DICOM_ERROR_IMAGE;
    }
    DrawOverlays(image, color);
    return DICOM_SUCCESS;
}

Picture PictureOf(const _BITMAPHANDLE &color) {
    Picture picture(static_cast<size_t>(color.nWidth), static_cast<size_t>(color.nHeight), 0);
    for (int32_t row = 0; row < color.nHeight; ++row) {
        KernelGetBitmapRow(&color, picture.At(0, static_cast<size_t>(row)), row, picture.width * 3);
    }
    return picture;
}

int ShowFile(const char *file, const char *target, const Wish &wish) {
    MDicomDS ds(nullptr);
    Bitmap color;
    uint16_t status = ds.LoadDS(Wide(file).c_str(), 0);
    if (status == DICOM_SUCCESS) status = Show(ds, wish, color);
    if (status != DICOM_SUCCESS) {
        std::fprintf(stderr, "%s: status %u\n", file, status);
        return 1;
    }
    if (!WritePng(target, PictureOf(color))) {
        std::fprintf(stderr, "%s cannot be written\n", target);
        return 1;
    }
    std::printf("%s: %d x %d\n", target, color.nWidth, color.nHeight);
    return 0;
}

constexpr int32_t kThumbnail = 128;

/** The first frame, not larger than a thumbnail; empty if it does not decode. */
Picture ThumbnailOf(MDicomDS &ds) {
    Bitmap color;
    if (Show(ds, Wish{}, color) != DICOM_SUCCESS) return {};
    const double scale = double{kThumbnail} / std::max(color.nWidth, color.nHeight);
    if (scale < 1) {
        const auto width = std::max(1, static_cast<int32_t>(color.nWidth * scale));
        const auto height = std::max(1, static_cast<int32_t>(color.nHeight * scale));
        if (KernelSizeBitmap(&color, width, height, KERNEL_SIZE_SMOOTH) != KERNEL_SUCCESS)
            return {};
    }
    return PictureOf(color);
}

/** Lays thumbnails out in rows. */
Picture SheetOf(const std::vector<Picture> &thumbnails) {
    constexpr size_t kCell = kThumbnail + 4;
    constexpr size_t kMostColumns = 12;
    constexpr uint8_t kBackground = 64;
    const size_t columns = std::clamp<size_t>(thumbnails.size(), 1, kMostColumns);
    const size_t rows = (thumbnails.size() + columns - 1) / columns;
    Picture sheet(columns * kCell, std::max<size_t>(rows, 1) * kCell, kBackground);
    for (size_t i = 0; i < thumbnails.size(); ++i) {
        const size_t x = i % columns * kCell + (kCell - thumbnails[i].width) / 2;
        const size_t y = i / columns * kCell + (kCell - thumbnails[i].height) / 2;
        Paste(thumbnails[i], x, y, sheet);
    }
    return sheet;
}

/** A thumbnail of each file that has Pixel Data; prints which ones do not decode. */
int ShowSheet(const char *target, int count, char **paths) {
    std::vector<Picture> thumbnails;
    size_t missing = 0;
    for (int i = 0; i < count; ++i) {
        for (const fs::path &path : FilesUnder(paths[i])) {
            MDicomDS ds(nullptr);
            if (ds.LoadDS(Wide(path.string()).c_str(), 0) != DICOM_SUCCESS) continue;
            if (ds.FindFirstElement(nullptr, kPixelData, 1) == nullptr) continue;
            thumbnails.push_back(ThumbnailOf(ds));
            if (thumbnails.back().width > 0) continue;
            thumbnails.back() = CrossedBox(kThumbnail);
            std::printf("not decoded: %s\n", path.filename().c_str());
            ++missing;
        }
    }
    if (!WritePng(target, SheetOf(thumbnails))) {
        std::fprintf(stderr, "%s cannot be written\n", target);
        return 1;
    }
    std::printf("%s: %zu images, %zu of them not decoded\n", target, thumbnails.size(), missing);
    return missing == 0 || thumbnails.size() > missing ? 0 : 1;
}

/** Takes the words behind the two names; false if they are not understood. */
bool ParseWish(int count, char **words, Wish *wish) {
    for (int i = 0; i < count; ++i) {
        const std::string_view word = words[i];
        uint32_t frame = 0;
        if (word == "window" && i + 2 < count) {
            wish->gray = Gray::Window;
            wish->center = std::strtod(words[++i], nullptr);
            wish->width = std::strtod(words[++i], nullptr);
        } else if (word == "lut" || word == "auto") {
            wish->gray = word == "lut" ? Gray::Lut : Gray::Range;
        } else if (word == "overlays") {
            wish->overlays = true;
        } else if (std::from_chars(word.data(), word.data() + word.size(), frame).ec ==
                       std::errc{} &&
                   frame > 0) {
            wish->frame = frame - 1;
        } else {
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char **argv) try {
    Wish wish;
    if (argc > 3 && std::string_view(argv[1]) == "--sheet") {
        return ShowSheet(argv[2], argc - 3, argv + 3);
    }
    if (argc < 3 || !ParseWish(argc - 3, argv + 3, &wish)) {
        std::fprintf(stderr,
                     "usage: image file out.png [frame] [window center width | lut | auto]"
                     " [overlays]\n"
                     "       image --sheet out.png files-or-folders...\n");
        return 2;
    }
    return ShowFile(argv[1], argv[2], wish);
} catch (const fs::filesystem_error &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
