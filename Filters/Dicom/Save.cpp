// File filter: a bitmap as a new Secondary Capture file (PS 3.3, A.8).

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "Common/DSValue/ValueAccess.h"
#include "Common/Utils/NumberText.h"
#include "Common/Utils/Text.h"
#include "Filters/Dicom/DicomFilter.h"

using namespace mdicom;

namespace {

constexpr uint32_t kNoClass = 0xFFFF;
constexpr const char *kImplementationRoot = "1.2.840.775310.1";
constexpr std::string_view kSecondaryCapture = "1.2.840.10008.5.1.4.1.1.7";

/** When a file is made, which is also what its UIDs are made of. */
struct Moment {
    std::tm local;
    int32_t nanosecond;
};

/** The local time, later than that of any call before: files within one tick differ, too. */
Moment TakeMoment() {
    using std::chrono::nanoseconds;
    static std::atomic<int64_t> last{0};
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    const int64_t now = std::chrono::duration_cast<nanoseconds>(sinceEpoch).count();
    int64_t before = last.load();
    int64_t stamp = 0;
    do {
        stamp = std::max(now, before + 1);
    } while (!last.compare_exchange_weak(before, stamp));
    constexpr int64_t kSecond = 1'000'000'000;
    const auto seconds = static_cast<std::time_t>(stamp / kSecond);
    Moment moment{};
    moment.nanosecond = static_cast<int32_t>(stamp % kSecond);
    localtime_r(&seconds, &moment.local);
    return moment;
}

template <typename... Arguments>
std::string Print(const char *format, Arguments... arguments) {
    char text[160];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

/** The beginning of a file's UIDs. The time of day goes in as one number, since a component has
 *  no zero in front (PS 3.5, 9.1). */
std::string BaseUid(const Moment &moment) {
    const std::tm &t = moment.local;
    const int timeOfDay = (t.tm_hour * 100 + t.tm_min) * 100 + t.tm_sec;
    return Print("%s.%d%02d%04d.%d.%d.%d", kImplementationRoot, t.tm_mday, t.tm_mon + 1,
                 t.tm_year + 1900, timeOfDay, moment.nanosecond, static_cast<int>(getpid()));
}

std::string DefaultComment(uint32_t id, const Moment &moment, const std::string &baseUid) {
    const std::tm &t = moment.local;
    switch (id) {
        case FILTER_COMMENT_PATIENT_NAME:
            return "John^Doe";
        case FILTER_COMMENT_PATIENT_ID:
            return "123-45-6789";
        case FILTER_COMMENT_PATIENT_BIRTH_DATE:
            return "19970112";
        case FILTER_COMMENT_PATIENT_SEX:
            return "M";
        case FILTER_COMMENT_STUDY_INSTANCE:
            return baseUid + ".1";
        case FILTER_COMMENT_STUDY_DATE:
            return Print("%04d%02d%02d", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday);
        case FILTER_COMMENT_STUDY_TIME:
            return Print("%02d%02d%02d.%03d", t.tm_hour, t.tm_min, t.tm_sec,
                         moment.nanosecond / 1'000'000);
        case FILTER_COMMENT_REFERRING_PHYSICIAN:
            return "Reffering^Doe";
        case FILTER_COMMENT_MODALITY:
            return "OT";
        case FILTER_COMMENT_SERIES_INSTANCE:
            return baseUid + ".1.1";
        default:
            return "1";
    }
}

/** The text that the kernel has for a comment; null for none. */
const char *GivenComment(const void *comments, uint32_t id) {
    constexpr size_t kStride = 12;
    const char *text = nullptr;
    if (comments == nullptr) return text;
    std::memcpy(&text, static_cast<const uint8_t *>(comments) + kStride * id, sizeof text);
    return text;
}

/** As much of a text as its VR holds (PS 3.5, 6.2): so many characters, of a name so many in each
 *  component group. */
std::string CutToVr(std::string_view text, const CommentRow &row) {
    const bool isUtf8 = IsValidUtf8(text);
    const bool isName =
        row.id == FILTER_COMMENT_PATIENT_NAME || row.id == FILTER_COMMENT_REFERRING_PHYSICIAN;
    std::string result;
    uint32_t characters = 0;
    for (const char c : text) {
        const bool isContinued = isUtf8 && (static_cast<uint8_t>(c) & 0xC0) == 0x80;
        if (isName && c == '=') {
            characters = 0;
        } else if (!isContinued) {
            ++characters;
        }
        if (characters <= row.most) result += c;
    }
    return result;
}

class NewFile {
  public:
    explicit NewFile(MDicomDS &dataSet) : m_DataSet(dataSet) {}

    bool Fill(const void *comments);

  private:
    bool SetText(uint32_t tag, std::string_view text);
    bool SetNumber(uint32_t tag, int32_t number);
    bool SetComment(const CommentRow &row, const void *comments);
    bool SetCharacterSet(const void *comments);
    bool SetInstance();

    MDicomDS &m_DataSet;
    const Moment m_Moment = TakeMoment();
    const std::string m_BaseUid = BaseUid(m_Moment);
};

bool NewFile::SetText(uint32_t tag, std::string_view text) {
    return m_DataSet.FindSetValue(nullptr, tag, text.data(), static_cast<uint32_t>(text.size()),
                                  VALUE_ARRAY_BYTE) != nullptr;
}

bool NewFile::SetNumber(uint32_t tag, int32_t number) {
    return m_DataSet.FindSetValue(nullptr, tag, &number, 1, VALUE_ARRAY_DWORD) != nullptr;
}

bool NewFile::SetComment(const CommentRow &row, const void *comments) {
    const char *given = GivenComment(comments, row.id);
    const std::string text = given != nullptr ? given : DefaultComment(row.id, m_Moment, m_BaseUid);
    return row.most == 0 ? SetNumber(row.tag, ParseInt32(text))
                         : SetText(row.tag, CutToVr(text, row));
}

/** Names the character set of the texts, where they need one (PS 3.3, C.12.1.1.2). */
bool NewFile::SetCharacterSet(const void *comments) {
    bool isAscii = true;
    bool isUtf8 = true;
    for (const CommentRow &row : kComments) {
        const char *given = GivenComment(comments, row.id);
        if (given == nullptr) continue;
        const std::string_view text = given;
        isAscii = isAscii && std::none_of(text.begin(), text.end(),
                                          [](char c) { return static_cast<uint8_t>(c) > 0x7F; });
        isUtf8 = isUtf8 && IsValidUtf8(text);
    }
    return isAscii || SetText(0x00080005, isUtf8 ? "ISO_IR 192" : "ISO_IR 100");
}

/** What tells this file from others, and who made it. */
bool NewFile::SetInstance() {
    const std::string instance = m_BaseUid + ".1.1.1";
    return SetText(0x00200010, "1") && SetText(0x00080050, "1") &&
           SetText(0x00080070, "MORV Systems, Inc.") && SetText(0x00080064, "DV") &&
           SetNumber(0x00200013, 1) && SetText(0x00080016, kSecondaryCapture) &&
           SetText(0x00020002, kSecondaryCapture) && SetText(0x00080018, instance) &&
           SetText(0x00020003, instance) && SetText(0x00020012, kImplementationRoot) &&
           SetText(0x00020013, "v13") && SetText(0x00020001, std::string_view("\0\1", 2)) &&
           SetText(0x00020016, "MORVWORKS");
}

bool NewFile::Fill(const void *comments) {
    if (!SetCharacterSet(comments)) return false;
    for (const CommentRow &row : kComments) {
        if (!SetComment(row, comments)) return false;
    }
    return SetInstance();
}

/** How a format is stored. Palettes are for colour of up to 8 bits. */
struct FormatRow {
    int32_t format;
    uint32_t compression;
    uint32_t lossyCompression; ///< with a quality
    int32_t photometric;
    int32_t paletteOr; ///< photometric up to 8 bits
};

constexpr FormatRow kFormats[] = {
    {FILTER_FORMAT_DICOM_GRAY, IMAGE_COMPRESSION_NONE, IMAGE_COMPRESSION_NONE,
     PHOTOMETRIC_MONOCHROME2, PHOTOMETRIC_MONOCHROME2},
    {FILTER_FORMAT_DICOM_COLOR, IMAGE_COMPRESSION_NONE, IMAGE_COMPRESSION_NONE, PHOTOMETRIC_RGB,
     PHOTOMETRIC_PALETTE_COLOR},
    {FILTER_FORMAT_DICOM_RLE_GRAY, IMAGE_COMPRESSION_RLE, IMAGE_COMPRESSION_RLE,
     PHOTOMETRIC_MONOCHROME2, PHOTOMETRIC_MONOCHROME2},
    {FILTER_FORMAT_DICOM_RLE_COLOR, IMAGE_COMPRESSION_RLE, IMAGE_COMPRESSION_RLE, PHOTOMETRIC_RGB,
     PHOTOMETRIC_PALETTE_COLOR},
    {FILTER_FORMAT_DICOM_JPEG_GRAY, IMAGE_COMPRESSION_JPEG_LOSSLESS, IMAGE_COMPRESSION_JPEG_LOSSY,
     PHOTOMETRIC_MONOCHROME2, PHOTOMETRIC_MONOCHROME2},
    {FILTER_FORMAT_DICOM_JPEG_COLOR, IMAGE_COMPRESSION_JPEG_LOSSLESS, IMAGE_COMPRESSION_JPEG_LOSSY,
     PHOTOMETRIC_RGB, PHOTOMETRIC_RGB},
    {FILTER_FORMAT_DICOM_J2K_GRAY, IMAGE_COMPRESSION_J2K_LOSSLESS, IMAGE_COMPRESSION_J2K_LOSSY,
     PHOTOMETRIC_MONOCHROME2, PHOTOMETRIC_MONOCHROME2},
    {FILTER_FORMAT_DICOM_J2K_COLOR, IMAGE_COMPRESSION_J2K_LOSSLESS, IMAGE_COMPRESSION_J2K_LOSSY,
     PHOTOMETRIC_RGB, PHOTOMETRIC_RGB},
};

const FormatRow &FindFormat(int32_t format) {
    for (const FormatRow &row : kFormats) {
        if (row.format == format) return row;
    }
    return kFormats[0];
}

int32_t Save(const _FILTERSAVE &argument) {
    const OwnedDataSet dataSet(M_DicomCreateDS(nullptr));
    if (!dataSet) return FILTER_ERROR_MEMORY;
    dataSet->InitDS(kNoClass, DS_LITTLE_ENDIAN | DS_EXPLICIT_VR);
    if (!NewFile(*dataSet).Fill(argument.pComments)) return FILTER_ERROR_MEMORY;
    const FormatRow &format = FindFormat(argument.nFormat);
    const bool isDeep = argument.pBitmap->nBitsPerPixel > 8;
    const Status stored =
        dataSet->SetImage(nullptr, argument.pBitmap,
                          argument.nQuality != 0 ? format.lossyCompression : format.compression,
                          isDeep ? format.photometric : format.paletteOr, argument.nBitsPerPixel,
                          argument.nQuality, DICOM_SETIMAGE_AUTO_VOI_LUT, nullptr, nullptr);
    if (stored != DICOM_SUCCESS) return FILTER_ERROR_WRITE;
    const Status saved =
        dataSet->SaveDS(argument.pszName, DS_METAHEADER_PRESENT | DS_GROUP_LENGTHS);
    return saved == DICOM_SUCCESS ? FILTER_SUCCESS : FILTER_ERROR_WRITE;
}

} // namespace

int32_t fltSave(void *pArgument) {
    const auto *argument = static_cast<const _FILTERSAVE *>(pArgument);
    const bool complete =
        argument != nullptr && argument->pszName != nullptr && argument->pBitmap != nullptr;
    if (!complete) return FILTER_ERROR_ARGUMENT;
    return Guarded<int32_t>(FILTER_ERROR_MEMORY, [&] { return Save(*argument); });
}
