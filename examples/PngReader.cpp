// PNG files through libpng.

#include "PngReader.h"

#include <png.h>

#include <cstdio>
#include <filesystem>
#include <memory>

namespace {

struct FileCloser {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

/** libpng leaves a step that fails by a jump: a step owns nothing while libpng works. */
class Reader {
  public:
    Reader(std::FILE *file, PngPicture &picture) : m_Picture(picture) {
        m_Png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, OnError, OnWarning);
        if (m_Png != nullptr) m_Info = png_create_info_struct(m_Png);
        if (m_Info != nullptr) png_init_io(m_Png, file);
    }
    ~Reader() { png_destroy_read_struct(&m_Png, &m_Info, nullptr); }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;

    std::string Read(uint64_t fileSize);

  private:
    static void OnError(png_structp png, png_const_charp text);
    static void OnWarning(png_structp, png_const_charp) {}

    bool Run(void (Reader::*step)());
    void ReadHeader();
    void LayOnWhite();
    void ReadPalette();
    void ReadRows() { png_read_image(m_Png, m_RowPointers.data()); }

    png_structp m_Png = nullptr;
    png_infop m_Info = nullptr;
    PngPicture &m_Picture;
    _RGBQUAD m_Palette[256] = {};
    bool m_HasPalette = false;
    std::vector<png_bytep> m_RowPointers;
    char m_Error[128] = "out of memory";
};

void Reader::OnError(png_structp png, png_const_charp text) {
    auto *reader = static_cast<Reader *>(png_get_error_ptr(png));
    std::snprintf(reader->m_Error, sizeof reader->m_Error, "%s", text);
    png_longjmp(png, 1);
}

bool Reader::Run(void (Reader::*step)()) {
    if (setjmp(png_jmpbuf(m_Png)) != 0) return false;
    (this->*step)();
    return true;
}

/** Reads what the picture is, and asks for the rows in the layout of a bitmap. */
void Reader::ReadHeader() {
    png_read_info(m_Png, m_Info);
    const int depth = png_get_bit_depth(m_Png, m_Info);
    const int kind = png_get_color_type(m_Png, m_Info);
    const bool isTransparent =
        (kind & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(m_Png, m_Info, PNG_INFO_tRNS) != 0;
    m_Picture.isGray = (kind & PNG_COLOR_MASK_COLOR) == 0;
    m_HasPalette = kind == PNG_COLOR_TYPE_PALETTE && !isTransparent;
    if (m_HasPalette) {
        png_set_packing(m_Png);
        ReadPalette();
    } else {
        png_set_expand(m_Png);
        if (isTransparent) LayOnWhite();
        if (!m_Picture.isGray) png_set_scale_16(m_Png);
        if (!m_Picture.isGray) png_set_bgr(m_Png);
        png_set_swap(m_Png); // words have their low byte first
    }
    png_set_interlace_handling(m_Png);
    png_read_update_info(m_Png, m_Info);
    m_Picture.width = static_cast<int32_t>(png_get_image_width(m_Png, m_Info));
    m_Picture.height = static_cast<int32_t>(png_get_image_height(m_Png, m_Info));
    const int words = m_Picture.isGray && depth == 16 ? 2 : 1;
    m_Picture.bitsPerPixel = 8 * (m_HasPalette || m_Picture.isGray ? words : 3);
}

void Reader::LayOnWhite() {
    png_color_16 white{};
    white.red = white.green = white.blue = white.gray = 0xFFFF;
    if (png_get_bit_depth(m_Png, m_Info) < 16) {
        white.red = white.green = white.blue = white.gray = 0xFF;
    }
    png_set_background(m_Png, &white, PNG_BACKGROUND_GAMMA_SCREEN, 0, 1.0);
}

void Reader::ReadPalette() {
    png_colorp colors = nullptr;
    int count = 0;
    png_get_PLTE(m_Png, m_Info, &colors, &count);
    for (int i = 0; i < count && i < 256; ++i) {
        m_Palette[i] = {colors[i].blue, colors[i].green, colors[i].red, 0};
    }
}

std::string Reader::Read(uint64_t fileSize) {
    constexpr uint64_t kMostPerByte = 1032; // that deflate can make of a byte
    constexpr int32_t kMostRows = 65535;
    if (m_Info == nullptr || !Run(&Reader::ReadHeader)) return m_Error;
    PngPicture &picture = m_Picture;
    if (picture.width > kMostRows || picture.height > kMostRows) return "too large for an image";
    const auto height = static_cast<size_t>(picture.height);
    const size_t bits = static_cast<size_t>(picture.width) * picture.bitsPerPixel;
    const size_t stride = (bits + 31) / 32 * 4;
    const size_t least = (static_cast<size_t>(picture.width) + 7) / 8 * height;
    if (least / kMostPerByte > fileSize) return "ends within the picture";
    if (png_get_rowbytes(m_Png, m_Info) > stride) return "unexpected layout";
    picture.rows.resize(stride * height);
    for (size_t y = 0; y < height; ++y) m_RowPointers.push_back(&picture.rows[y * stride]);
    if (!Run(&Reader::ReadRows)) return m_Error;
    if (m_HasPalette) picture.palette.assign(std::begin(m_Palette), std::end(m_Palette));
    return {};
}

} // namespace

std::string ReadPng(const std::string &path, PngPicture &picture) {
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
    std::error_code error;
    const uint64_t size = std::filesystem::file_size(path, error);
    if (!file || error) return "not opened";
    return Reader(file.get(), picture).Read(size);
}
