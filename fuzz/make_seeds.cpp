// Writes the inputs that the fuzzers begin with: data sets of the library's own making in all
// encodings and syntaxes, and the real files of the folders that are given.
//
// make_seeds <folder for a folder per target> [folders of real files]

#include <cstdio>
#include <filesystem>

#include "Support.h"
#include "support/Images.h"

namespace {

namespace fs = std::filesystem;
using fuzz::Require;
using fuzz::Save;
using support::Bytes;
using support::Form;

constexpr uintmax_t kLargestRealFile = 64 << 10;

/** Targets whose inputs are files behind choices of some bytes. */
constexpr struct {
    const char *name;
    size_t choices;
} kFileTargets[] = {{"reader", 1},    {"file", 2},   {"round_trip", 1},
                    {"get_image", 1}, {"change", 2}, {"keys", 3}};

constexpr Form kForms[] = {
    {"gray8", "MONOCHROME2", 1, 8, 8, 7, 0, 0, 2},
    {"gray12", "MONOCHROME1", 1, 16, 12, 11, 0, 0, 2},
    {"gray12high", "MONOCHROME2", 1, 16, 12, 15, 0, 0, 1},
    {"signed16", "MONOCHROME2", 1, 16, 16, 15, 1, 0, 2},
    {"palette8", "PALETTE COLOR", 1, 8, 8, 7, 0, 0, 2},
    {"rgb", "RGB", 3, 8, 8, 7, 0, 0, 2},
    {"planes", "RGB", 3, 8, 8, 7, 0, 1, 1},
    {"ybr", "YBR_FULL", 3, 8, 8, 7, 0, 0, 1},
    {"bits", "MONOCHROME2", 1, 1, 1, 0, 0, 0, 3},
    {"gray32", "MONOCHROME2", 1, 32, 32, 31, 0, 0, 1},
};

constexpr struct {
    const char *name;
    const wchar_t *uid;
} kSyntaxes[] = {
    {"implicit", L"1.2.840.10008.1.2"},       {"explicit", L"1.2.840.10008.1.2.1"},
    {"big", L"1.2.840.10008.1.2.2"},          {"rle", L"1.2.840.10008.1.2.5"},
    {"baseline", L"1.2.840.10008.1.2.4.50"},  {"extended", L"1.2.840.10008.1.2.4.51"},
    {"process14", L"1.2.840.10008.1.2.4.57"}, {"lossless", L"1.2.840.10008.1.2.4.70"},
    {"j2k", L"1.2.840.10008.1.2.4.90"},       {"j2klossy", L"1.2.840.10008.1.2.4.91"},
};

fs::path seedFolder;

void Write(const std::string &target, const std::string &name, const Bytes &choices,
           const Bytes &content) {
    fs::create_directories(seedFolder / target);
    Bytes bytes(choices);
    bytes.insert(bytes.end(), content.begin(), content.end());
    support::WriteFile((seedFolder / target / name).string(), bytes);
}

/** A file for every target that loads files; the choices differ from file to file. */
void WriteFileSeeds(const std::string &name, const Bytes &file) {
    static uint8_t turn = 0;
    ++turn;
    for (const auto &[target, count] : kFileTargets) {
        Bytes choices(count);
        choices.back() = turn;
        if (count == 3) choices = {2, turn, static_cast<uint8_t>(turn * 7)}; // two edits
        if (std::string(target) == "file") choices = {0, static_cast<uint8_t>(turn % 2 * 10)};
        Write(target, name, choices, file);
    }
}

void SetTexts(MDicomDS &ds, uint32_t tag, uint16_t vr, const std::string &value) {
    _DICOMELEMENT *element = ds.InsertElement(nullptr, 0, tag, vr, 0, 0);
    Require(element != nullptr);
    std::string bytes(value);
    ds.SetBinaryValue(element, bytes.data(), static_cast<uint32_t>(bytes.size()));
}

/** Values of all VRs, sequences in sequences, private elements. */
void MakeEverything(MDicomDS &ds) {
    static constexpr char kVrs[][3] = {"AE", "AS", "AT", "CS", "DA", "DS", "DT", "FD", "FL",
                                       "IS", "LO", "LT", "OB", "OD", "OF", "OL", "OV", "OW",
                                       "PN", "SH", "SL", "SS", "ST", "SV", "TM", "UC", "UI",
                                       "UL", "UN", "UR", "US", "UT", "UV"};
    SetTexts(ds, 0x00020010, 0, support::kExplicitUid);
    SetTexts(ds, 0x00080005, 0, "ISO_IR 100\\ISO 2022 IR 87");
    SetTexts(ds, 0x00080060, 0, "CT");
    SetTexts(ds, 0x00100010, 0, "Buc^J\xE9r\xF4me");
    SetTexts(ds, 0x00110010, 0, "MDICOM SEEDS");
    uint32_t tag = 0x00111001;
    for (const char *letters : kVrs) {
        const auto vr = static_cast<uint16_t>(letters[0] << 8 | letters[1]);
        SetTexts(ds, tag++, vr, "19970815");
    }
    _DICOMELEMENT *level = ds.InsertElement(nullptr, 0, 0x00081140, 0x5351, 1, 0);
    for (int depth = 0; depth < 3; ++depth) {
        for (int i = 0; i < 2; ++i) {
            _DICOMELEMENT *item = ds.InsertElement(level, 1, TAG_ITEM, 0, 1, 0xFFFFFFFF);
            ds.SetStringValueA(ds.InsertElement(item, 1, 0x00081155, 0, 0, 0), "1.2.3", 1);
            if (i == 1) level = ds.InsertElement(item, 1, 0x00081199, 0x5351, 1, 0);
        }
    }
}

void MakeDirectory(MDicomDS &ds) {
    SetTexts(ds, 0x00020002, 0, "1.2.840.10008.1.3.10");
    for (int patients = 0; patients < 2; ++patients) {
        _DICOMELEMENT *patient = ds.InsertKey(nullptr, L"PATIENT", patients);
        _DICOMELEMENT *study = ds.InsertKey(patient, L"STUDY", 0);
        for (int series = 0; series < 2; ++series) {
            _DICOMELEMENT *key = ds.InsertKey(study, L"SERIES", 0);
            for (int image = 0; image < 2; ++image) ds.InsertKey(key, L"IMAGE", 0);
        }
    }
}

void WriteEncodings(const std::string &name, MDicomDS &ds) {
    static constexpr uint16_t kEncodings[] = {
        DS_LITTLE_ENDIAN | DS_IMPLICIT_VR, DS_LITTLE_ENDIAN | DS_EXPLICIT_VR,
        DS_BIG_ENDIAN | DS_EXPLICIT_VR,
        DS_LITTLE_ENDIAN | DS_IMPLICIT_VR | DS_GROUP_LENGTHS | DS_LENGTH_EXPLICIT};
    for (const uint16_t encoding : kEncodings) {
        for (const uint16_t format : {DS_METAHEADER_PRESENT, DS_METAHEADER_ABSENT}) {
            const auto flags = static_cast<uint16_t>(encoding | format);
            WriteFileSeeds(name + std::to_string(flags), Save(ds, flags).bytes);
        }
    }
}

/** The streams of compressed frames, for the decoders alone. */
void WriteStream(const std::string &name, MDicomDS &ds, const std::string &syntax,
                 const Form &form) {
    uint32_t size = 0;
    _DICOMELEMENT *pixels = ds.FindFirstElement(nullptr, TAG_PIXEL_DATA, 0);
    if (ds.GetFrameBinaryData(pixels, 0, nullptr, &size) != DICOM_SUCCESS) return;
    Bytes stream(size);
    if (ds.GetFrameBinaryData(pixels, 0, stream.data(), &size) != DICOM_SUCCESS) return;
    const bool color = form.samples > 1;
    const auto edge = [](uint32_t pixelCount) { return static_cast<uint8_t>(pixelCount - 1); };
    if (syntax == "rle") {
        const auto plane = static_cast<uint16_t>(support::kRows * support::kColumns - 1);
        Write("rle_decoder", name, {static_cast<uint8_t>(plane), static_cast<uint8_t>(plane >> 8)},
              stream);
    } else if (syntax.starts_with("j2k")) {
        const uint8_t depth = color ? 4 : form.allocated > 8 ? 2 : 0;
        Write("j2k_decoder", name,
              {edge(support::kColumns), edge(support::kRows), depth, edge(form.stored)}, stream);
        Write("j2k_header", name, {edge(form.stored)}, stream);
    } else if (size > 2 && stream[0] == 0xFF) {
        const uint8_t depth = color ? 2 : form.allocated > 8 ? 1 : 0;
        Write("jpeg_decoder", name, {depth, color, edge(support::kColumns), edge(support::kRows)},
              stream);
    }
}

void WriteImages() {
    for (const Form &form : kForms) {
        for (const auto &[syntax, uid] : kSyntaxes) {
            MDicomDS ds(nullptr);
            support::MakeImage(ds, form);
            if (ds.ChangeTransferSyntax(uid, 20, 0) != DICOM_SUCCESS) continue;
            const std::string name = std::string(form.name) + "_" + syntax;
            WriteFileSeeds(name, Save(ds, DS_METAHEADER_PRESENT).bytes);
            WriteStream(name, ds, syntax, form);
        }
    }
}

/** Windows, LUTs, overlays and functional groups around an image. */
void WriteDecoratedImage() {
    MDicomDS ds(nullptr);
    support::MakeImage(ds, kForms[1]);
    tagDICOMMLUTATTRIBS modality{};
    modality.nStructSize = sizeof modality;
    modality.bIsRescaleSlopeIntercept = 1;
    modality.fRescaleSlope = 2;
    modality.fRescaleIntercept = -1024;
    ds.SetModalityLUT(0, &modality, nullptr, 0, 0);
    tagDICOMWINDOWATTRIBS window{};
    window.nStructSize = sizeof window;
    window.fCenter = 40;
    window.fWidth = 400;
    ds.SetWindow(0, 0, &window, 0);
    std::vector<uint16_t> table(16, 77);
    tagDICOMVOILUTATTRIBS lut{};
    lut.nStructSize = sizeof lut;
    lut.LUTDescriptor = {sizeof lut.LUTDescriptor, 16, 0, 16};
    ds.SetVOILUT(0, &lut, table.data(), 16, 0);
    support::SetNumber(ds, 0x60000010, support::kRows);
    support::SetNumber(ds, 0x60000011, support::kColumns);
    SetTexts(ds, 0x60000040, 0, "G");
    SetTexts(ds, 0x60000050, 0, std::string("\1\0\1\0", 4));
    support::SetNumber(ds, 0x60000100, 1);
    support::SetNumber(ds, 0x60000102, 0);
    SetTexts(ds, 0x60003000, 0x4F57, std::string(32, '\x5A'));
    WriteEncodings("decorated", ds);
}

/** VR, length of the declaration, declaration, value. */
void WriteOneValues() {
    constexpr uint8_t kVrs = 33;
    static const std::pair<const char *, const char *> kTexts[] = {
        {"", "1"},
        {"", "19970815-19980101\\12"},
        {"", "123005.250000\\1.5E+10\\-7"},
        {"", "19970815123005.25+0130\\012M"},
        {"ISO_IR 192", "\xC3\xA9\xE2\x82\xAC"},
        {"GB18030", "\xCD\xF5\\\x81\x30\x81\x30"},
        {"ISO_IR 13", "\xD4\xCF\xC0\xDE"},
        {"\\ISO 2022 IR 87", "Yamada^Tarou=\x1B$B;3ED\x1B(B^\x1B$BB@O:\x1B(B"},
        {"\\ISO 2022 IR 149", "Hong=\x1B$)C\xFB\xF3^\x1B$)C\xD1\xCE"},
        {"ISO 2022 IR 100\\ISO 2022 IR 144", "\xE9\\\x1B-L\xBB\xEE"},
    };
    for (uint8_t vr = 0; vr < kVrs; ++vr) {
        int number = 0;
        for (const auto &[sets, text] : kTexts) {
            const std::string names(sets);
            Bytes head{vr, static_cast<uint8_t>(names.size())};
            head.insert(head.end(), names.begin(), names.end());
            const std::string value(text);
            const std::string name = std::to_string(vr) + "_" + std::to_string(number++);
            for (const char *target : {"values", "text"}) {
                Write(target, name, head, Bytes(value.begin(), value.end()));
            }
        }
    }
}

/** Form, descriptors, length of a table, tables. */
void WritePalettes() {
    support::Encoder segments;
    segments.Put16(0).Put16(2).Put16(100).Put16(200); // discrete
    segments.Put16(1).Put16(14).Put16(65000);         // linear
    segments.Put16(2).Put16(2).Put16(0).Put16(0);     // indirect
    for (const uint8_t form : {0x07, 0x0F, 0x17, 0x37, 0x00, 0x08, 0x10, 0x05}) {
        support::Encoder input;
        input.bytes.push_back(form);
        for (int colour = 0; colour < 3; ++colour) input.Put16(32).Put16(0).Put16(16);
        input.bytes.push_back(static_cast<uint8_t>(segments.bytes.size() / 2));
        for (int colour = 0; colour < 3; ++colour) {
            input.bytes.insert(input.bytes.end(), segments.bytes.begin(), segments.bytes.end());
        }
        Write("palette", "form" + std::to_string(form), {}, input.bytes);
    }
}

void WriteRealFiles(const char *folder) {
    std::error_code error;
    for (const auto &entry : fs::recursive_directory_iterator(folder, error)) {
        if (!entry.is_regular_file() || entry.file_size() > kLargestRealFile) continue;
        WriteFileSeeds("real_" + entry.path().filename().string(),
                       support::ReadFile(entry.path().string()));
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2) return 2;
    seedFolder = argv[1];
    MDicomDS everything(nullptr);
    MakeEverything(everything);
    WriteEncodings("everything", everything);
    MDicomDS directory(nullptr);
    MakeDirectory(directory);
    WriteEncodings("directory", directory);
    WriteImages();
    WriteDecoratedImage();
    WriteOneValues();
    WritePalettes();
    for (int i = 2; i < argc; ++i) WriteRealFiles(argv[i]);
    return 0;
}
