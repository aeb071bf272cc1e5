// Scenarios with pixels: frames in and out of every encoding, and what belongs to them.

#include <array>
#include <cstring>
#include <optional>

#include "Scenarios.h"
#include "filter/Host.h"
#include "images/Frames.h"
#include "support/Faults.h"
#include "support/Images.h"

namespace {

using support::Form;

constexpr Form kForms[] = {
    {"gray8", "MONOCHROME2", 1, 8, 8, 7, 0, 0, 2},
    {"gray12", "MONOCHROME2", 1, 16, 12, 11, 0, 0, 2},
    {"signed16", "MONOCHROME2", 1, 16, 16, 15, 1, 0, 2},
    {"rgb", "RGB", 3, 8, 8, 7, 0, 0, 2},
    {"ybr", "YBR_FULL", 3, 8, 8, 7, 0, 0, 2},
    {"palette8", "PALETTE COLOR", 1, 8, 8, 7, 0, 0, 2},
    {"bits", "MONOCHROME2", 1, 1, 1, 0, 0, 0, 3},
};

constexpr struct {
    const char *name;
    const wchar_t *uid;
} kSyntaxes[] = {
    {"implicit", L"1.2.840.10008.1.2"},           {"native", L"1.2.840.10008.1.2.1"},
    {"big endian", L"1.2.840.10008.1.2.2"},       {"RLE", L"1.2.840.10008.1.2.5"},
    {"JPEG", L"1.2.840.10008.1.2.4.50"},          {"JPEG extended", L"1.2.840.10008.1.2.4.51"},
    {"JPEG lossless", L"1.2.840.10008.1.2.4.70"}, {"J2K lossless", L"1.2.840.10008.1.2.4.90"},
    {"J2K", L"1.2.840.10008.1.2.4.91"},
};

const wchar_t *UidOf(const std::string &name) {
    for (const auto &syntax : kSyntaxes) {
        if (name == syntax.name) return syntax.uid;
    }
    return nullptr;
}

const Form &FormOf(const std::string &name) {
    for (const Form &form : kForms) {
        if (name == form.name) return form;
    }
    return kForms[0];
}

uint16_t SetLuts(MDicomDS &ds) {
    uint16_t table[300];
    for (uint16_t i = 0; i < 300; ++i) table[i] = static_cast<uint16_t>(i * 7 % 256);
    tagDICOMMLUTATTRIBS rescale{};
    rescale.nStructSize = sizeof rescale;
    rescale.bIsRescaleSlopeIntercept = 1;
    rescale.fRescaleSlope = 2;
    rescale.fRescaleIntercept = 3;
    tagDICOMVOILUTATTRIBS voi{};
    voi.nStructSize = sizeof voi;
    voi.LUTDescriptor = {0, 300, 0, 8};
    tagDICOMWINDOWATTRIBS window{};
    window.nStructSize = sizeof window;
    window.fCenter = 400;
    window.fWidth = 700;
    std::wcscpy(window.szWindowCenterWidthExplanation, L"soft parts");
    for (const uint16_t status :
         {ds.SetModalityLUT(0, &rescale, nullptr, 0, 0), ds.SetVOILUT(0, &voi, table, 300, 0),
          ds.SetWindow(0, 0, &window, 0)}) {
        if (status != DICOM_SUCCESS) return status;
    }
    return DICOM_SUCCESS;
}

uint16_t SetOverlay(MDicomDS &ds) {
    _OVERLAYATTRIBUTES attributes{};
    attributes.nStructSize = sizeof attributes;
    attributes.nRows = 3;
    attributes.nColumns = 10;
    attributes.nBitsAllocated = 1;
    attributes.szType[0] = L'G';
    const uint32_t size = sizeof(_BITMAPHANDLE);
    auto pause = std::make_optional<support::FaultPause>();
    TestBitmap bitmap(10, 3, 1, KERNEL_ORDER_BGR), read;
    bitmap.PutBytes(1, {0xA5, 0x80});
    pause.reset();
    uint16_t status = ds.SetOverlayAttributes(0, &attributes, 0);
    if (status == DICOM_SUCCESS) status = ds.SetOverlayBitmap(0, &bitmap, 0);
    if (status == DICOM_SUCCESS) status = ds.GetOverlayBitmap(0, &read, size, 0);
    return status;
}

std::function<void(const std::wstring &)> ImageFile(const std::string &form,
                                                    const std::string &syntax) {
    return [=](const std::wstring &path) {
        MDicomDS ds(nullptr);
        support::MakeImage(ds, FormOf(form));
        if (form.starts_with("gray") || form == "signed16") {
            SetLuts(ds);
            SetOverlay(ds);
        }
        ds.ChangeTransferSyntax(UidOf(syntax), 2, 0);
        ds.SaveDS(path.c_str(), DS_METAHEADER_PRESENT);
    };
}

void SeeRows(Trial &run, const _BITMAPHANDLE &bitmap) {
    const auto bytes = static_cast<size_t>((bitmap.nWidth * bitmap.nBitsPerPixel + 7) / 8);
    for (int32_t y = 0; y < bitmap.nHeight; ++y) {
        run.seen.append(reinterpret_cast<const char *>(KernelLendBitmapRow(&bitmap, y)), bytes);
    }
}

/** Decodes a frame to its own depth, and one to another. */
std::function<unsigned(Trial &)> Decode(int32_t otherDepth, uint32_t flags = 0) {
    return [=](Trial &run) -> unsigned {
        for (const uint32_t frame : {1, 0}) {
            TestBitmap bitmap;
            const int32_t depth = frame == 0 ? otherDepth : 0;
            const uint16_t status = Get(run.ds, bitmap, frame, depth, flags);
            if (status != DICOM_SUCCESS) return status;
            SeeRows(run, bitmap);
            _BITMAPHANDLE overlay{};
            if (KernelGetOverlayBitmap(&bitmap, 0, &overlay, sizeof overlay, 1) > 0) {
                SeeRows(run, overlay);
            }
            if (bitmap.pLUT16 != nullptr) {
                run.seen.append(reinterpret_cast<const char *>(bitmap.pLUT16),
                                bitmap.nLUT16Length * sizeof(_RGBQUAD16));
            }
        }
        return DICOM_SUCCESS;
    };
}

std::function<unsigned(Trial &)> Insert(const Kind &kind, uint32_t compression,
                                        uint32_t flags = DICOM_SETIMAGE_AUTO_VOI_LUT) {
    return [=](Trial &run) -> unsigned {
        auto pause = std::make_optional<support::FaultPause>();
        const auto bitmap = MakeBitmap(support::kColumns, support::kRows, kind, 1);
        if (kind.depth == 16) bitmap->UseLut16({1, 2, 3, 500});
        pause.reset();
        const int32_t photometric = kind.depth == 24 ? PHOTOMETRIC_RGB
                                    : kind.isPalette ? PHOTOMETRIC_PALETTE_COLOR
                                                     : PHOTOMETRIC_MONOCHROME2;
        return run.ds.InsertImage(nullptr, bitmap.get(), 1, compression, photometric, 0, 2, flags,
                                  nullptr, nullptr);
    };
}

/** An image with all that goes when another one takes its place: groups, tables, overlay, icon. */
void RichFile(const std::wstring &path) {
    MDicomDS ds(nullptr);
    support::MakeImage(ds, FormOf("gray12"));
    tagDICOMWINDOWATTRIBS window{};
    window.nStructSize = sizeof window;
    window.fWidth = 5;
    for (const uint32_t frame : {0, 1}) {
        ds.SetWindow(frame, 0, &window, DICOM_SETIMAGE_VOI_PER_FRAME);
    }
    SetLuts(ds);
    SetOverlay(ds);
    _DICOMELEMENT *icons = ds.InsertElement(nullptr, 0, 0x00880200, 0, 1, 0);
    _DICOMELEMENT *item = ds.InsertElement(icons, 1, TAG_ITEM, 0, 1, 0);
    TestBitmap picture(4, 4, 8);
    _DICOMELEMENT *pixels = ds.InsertElement(item, 1, TAG_PIXEL_DATA, 0x4F57, 0, 0);
    ds.SetImage(pixels, &picture, kNone, 1, 8, 0, 0, nullptr, nullptr);
    ds.SaveDS(path.c_str(), DS_METAHEADER_PRESENT);
}

/** Lets one or two frames take the place of those that are there. */
std::function<unsigned(Trial &)> Replace(bool isList) {
    return [=](Trial &run) -> unsigned {
        constexpr uint32_t kFlags = DICOM_SETIMAGE_AUTO_VOI_LUT | DICOM_SETIMAGE_VOI_PER_FRAME |
                                    DICOM_SETIMAGE_MODALITY_PER_FRAME;
        auto pause = std::make_optional<support::FaultPause>();
        std::unique_ptr<TestBitmap> bitmap;
        HBITMAPLIST__ *list = nullptr;
        KernelCreateBitmapList(&list);
        for (const uint32_t number : {0, 1, 2}) {
            bitmap = MakeBitmap(8, 8, {16, 12}, number);
            bitmap->UseLut16({1, 2, 3, 500});
            if (number == 2) break;
            KernelListInsertItem(list, number, bitmap.get(), sizeof(_BITMAPHANDLE));
            KernelInitBitmap(bitmap.get(), sizeof(_BITMAPHANDLE), 0, 0, 0); // the list's now
        }
        pause.reset();
        const unsigned status = isList
                                    ? run.ds.SetImageList(nullptr, list, kRleClass, 1, 0, 0, kFlags)
                                    : run.ds.SetImage(nullptr, bitmap.get(), kRleClass, 1, 0, 0,
                                                      kFlags, nullptr, nullptr);
        KernelDestroyBitmapList(list);
        return status;
    };
}

std::function<unsigned(Trial &)> Change(const std::string &syntax) {
    return [=](Trial &run) -> unsigned { return run.ds.ChangeTransferSyntax(UidOf(syntax), 2, 0); };
}

/** Describes what encapsulated frames are, and reads one as it is stored. */
unsigned DescribeFrames(Trial &run) {
    _DICOMIMAGE info{};
    uint32_t size = 0;
    _DICOMELEMENT *pixels = run.ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 1);
    const uint16_t described = run.ds.GetInfoImage(pixels, &info, 1);
    if (described != DICOM_SUCCESS) return described;
    const uint16_t measured = run.ds.GetFrameBinaryData(pixels, 1, nullptr, &size);
    if (measured != DICOM_SUCCESS) return measured;
    run.seen.resize(size);
    return run.ds.GetFrameBinaryData(pixels, 1, run.seen.data(), &size);
}

/** A code of the file filter as a status. */
unsigned CodeOf(int32_t code) {
    return code >= FILTER_SUCCESS ? 0 : kRefused;
}

void FilterFile(const std::wstring &path) {
    Picture picture(8, 8, 16, KERNEL_ORDER_GRAY);
    const Comments comments = {{FILTER_COMMENT_PATIENT_NAME, "Doe^Jane"}};
    SavePicture(path, picture, FILTER_FORMAT_DICOM_JPEG_GRAY, 0, &comments);
}

} // namespace

std::vector<Scenario> ImageScenarios() {
    std::set<unsigned> statuses = Scenario{}.statuses;
    statuses.merge(std::set<unsigned>{DICOM_ERROR_IMAGE, DICOM_ERROR_BITMAP,
                                      DICOM_ERROR_IMAGE_LIBRARY, DICOM_ERROR_FILTER_FUNCTION,
                                      DICOM_ERROR_J2K_CODEC, DICOM_ERROR_OVERLAY_ATTRIBUTE});
    std::set<unsigned> loading = Scenario{}.statuses;
    loading.insert(DICOM_ERROR_FORMAT);
    std::vector<Scenario> all;
    const struct {
        const char *form;
        const char *syntax;
        int32_t depth;
    } kDecodes[] = {
        {"gray8", "native", 24},
        {"gray12", "native", 8},
        {"signed16", "big endian", 32},
        {"rgb", "native", 8},
        {"palette8", "native", 24},
        {"bits", "native", 8},
        {"gray12", "RLE", 12},
        {"rgb", "RLE", 24},
        {"gray8", "JPEG", 8},
        {"rgb", "JPEG", 24},
        {"gray12", "JPEG extended", 16},
        {"signed16", "JPEG lossless", 16},
        {"ybr", "JPEG lossless", 24},
        {"gray12", "J2K lossless", 16},
        {"rgb", "J2K", 24},
    };
    for (const auto &[form, syntax, depth] : kDecodes) {
        all.push_back({std::string("decode ") + syntax + " " + form, ImageFile(form, syntax),
                       Decode(depth), kWhole, statuses});
    }
    constexpr uint32_t kAll = DICOM_GETIMAGE_OVERLAYS | DICOM_GETIMAGE_MODALITY_LUT |
                              DICOM_GETIMAGE_VOI_LUT | DICOM_GETIMAGE_AUTOSCALE_MODALITY;
    for (const char *syntax : {"native", "JPEG lossless"}) {
        // An image without its LUTs and overlays counts as better than none.
        all.push_back({std::string("decode with LUTs and overlays: ") + syntax,
                       ImageFile("gray12", syntax), Decode(8, kAll), kParts | kSilent, statuses});
    }
    const Kind kGray{16, 12};
    const Kind kColour{24, 8};
    const Kind kPalette{8, 8, false, true};
    const struct {
        const char *name;
        Kind kind;
    } kKinds[] = {{"gray", kGray}, {"colour", kColour}};
    for (const Encoding &encoding : kEncodings) {
        for (const auto &[name, kind] : kKinds) {
            // A value that nothing describes holds no frame.
            const bool hasValue = kind.depth == kGray.depth;
            all.push_back({std::string("insert ") + encoding.name + " " + name,
                           [hasValue](const std::wstring &path) {
                               MDicomDS ds(nullptr);
                               support::SetText(ds, 0x00080060, "OT");
                               if (hasValue) support::SetText(ds, TAG_PIXEL_DATA, "value");
                               ds.SaveDS(path.c_str(), DS_METAHEADER_PRESENT);
                           },
                           Insert(kind, encoding.compression), kWhole, statuses});
        }
    }
    const struct {
        const char *form;
        const char *from;
        const char *to;
    } kChanges[] = {
        {"gray12", "native", "RLE"},
        {"rgb", "RLE", "J2K"},
        {"gray12", "J2K lossless", "native"},
        {"gray12", "native", "JPEG extended"},
        {"bits", "RLE", "native"},
        {"ybr", "JPEG lossless", "implicit"},
        {"gray8", "implicit", "big endian"},
        {"rgb", "native", "JPEG"},
    };
    for (const auto &[form, from, to] : kChanges) {
        all.push_back({std::string("change ") + form + " from " + from + " to " + to,
                       ImageFile(form, from), Change(to), kWhole, statuses});
    }
    const auto removal = [](Trial &run) -> unsigned { return run.ds.DeleteImage(nullptr, 0, 1); };
    const auto filter = [&](const char *name, const std::function<unsigned(Trial &)> &work,
                            unsigned traits = kFresh) {
        all.push_back({name, FilterFile, work, traits | kUnique, {kRefused}});
    };
    const auto add = [&](const char *name, const char *form, const char *syntax,
                         const std::function<unsigned(Trial &)> &work, unsigned traits = kWhole) {
        all.push_back({name, ImageFile(form, syntax), work, traits, statuses});
    };
    add("insert a second RLE frame", "gray12", "RLE", Insert(kGray, kRleClass, 0));
    add("insert a second native frame", "palette8", "native", Insert(kPalette, kNone));
    all.push_back({"replace an image", RichFile, Replace(false), kWhole, statuses});
    all.push_back({"replace an image by a list", RichFile, Replace(true), kWhole, statuses});
    add("delete a native frame", "gray12", "native", removal, kQuiet);
    add("delete an RLE frame", "gray12", "RLE", removal, kQuiet);
    add("describe frames", "rgb", "JPEG", DescribeFrames);
    all.push_back({"load RLE frames", ImageFile("gray12", "RLE"),
                   [](Trial &run) -> unsigned { return run.ds.LoadDS(run.source.c_str(), 0); },
                   kFresh, loading});
    add("save RLE", "gray12", "RLE", [](Trial &run) -> unsigned {
        return run.ds.SaveDS(run.source.c_str(), DS_LENGTH_EXPLICIT);
    });
    add(
        "set LUTs", "rgb", "native", [](Trial &run) -> unsigned { return SetLuts(run.ds); },
        kParts);
    add(
        "set an overlay", "rgb", "native",
        [](Trial &run) -> unsigned { return SetOverlay(run.ds); }, kParts | kGoesOn | kLoose);
    filter("file filter: load", [](Trial &run) {
        Loaded loaded;
        auto pause = std::make_optional<support::FaultPause>();
        loaded.rows.reserve(1000);
        pause.reset();
        LoadPage(run.source, 1, loaded);
        run.seen.append(reinterpret_cast<const char *>(loaded.rows.data()), loaded.rows.size());
        return CodeOf(loaded.result);
    });
    filter("file filter: describe", [](Trial &run) {
        auto pause = std::make_optional<support::FaultPause>();
        const std::string path = run.folder.File("source");
        pause.reset();
        _FILEINFO info{};
        const unsigned status = CodeOf(Describe(path, 1, info));
        if (status == 0) run.seen += std::to_string(info.nWidth);
        return status;
    });
    filter(
        "file filter: comment",
        [](Trial &run) {
            std::array<char, 20> text{};
            _FILTERCOMMENT argument{run.source.c_str(), FILTER_COMMENT_PATIENT_NAME, text.data(),
                                    20};
            const unsigned status = CodeOf(fltComment(&argument));
            run.seen += text.data();
            return status;
        },
        kFresh | kParts | kSilent); // a text that cannot be read counts as none
    filter(
        "file filter: save",
        [](Trial &run) {
            auto pause = std::make_optional<support::FaultPause>();
            Picture picture(8, 8, 16, KERNEL_ORDER_GRAY);
            pause.reset();
            _FILTERSAVE save{};
            save.pszName = run.target.c_str();
            save.pBitmap = &picture;
            save.nFormat = FILTER_FORMAT_DICOM_JPEG_GRAY;
            return CodeOf(fltSave(&save));
        },
        kFresh);
    return all;
}
