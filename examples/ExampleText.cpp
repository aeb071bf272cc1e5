// Values as text: which getter serves which VR.

#include "ExampleText.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string_view>
#include <system_error>

namespace {

constexpr uint32_t kLongestShown = 64 * 1024; ///< longer values are not read
constexpr uint32_t kMostValues = 16;
constexpr size_t kWidth = 72;

/** Text of one value of an element. */
using Getter = std::string (*)(MDicomDS &, _DICOMELEMENT *, uint32_t index);

std::string Text(MDicomDS &ds, _DICOMELEMENT *element, uint32_t index) {
    return Utf8(ds.GetStringValue(element, index, 1));
}

/** Dates, times and ages are shown as the file has them: a range or a faulty date, too. */
std::string StoredText(MDicomDS &ds, _DICOMELEMENT *element, uint32_t) {
    std::string bytes(element->nLength, '\0');
    if (!ds.GetBinaryValue(element, bytes.data(), element->nLength)) return "(not readable)";
    const A2U_Class wide(bytes.c_str());
    return Utf8(wide.pszText);
}

/** A number, as Shown has it: the getters know signed entries only. */
template <auto GetValue, typename Shown>
std::string Number(MDicomDS &ds, _DICOMELEMENT *element, uint32_t index) {
    const auto *value = (ds.*GetValue)(element, index, 1);
    if (value == nullptr) return "?";
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, static_cast<Shown>(*value)).ptr;
    return {text, end};
}

std::string Tag(MDicomDS &ds, _DICOMELEMENT *element, uint32_t index) {
    const int32_t *tag = ds.GetLongValue(element, index, 1);
    return tag != nullptr ? TagText(static_cast<uint32_t>(*tag)) : "?";
}

struct Row {
    std::string_view vrs;
    Getter getter;
};

constexpr Row kGetters[] = {
    {"AE CS LO LT PN SH ST UC UI UR UT", Text},
    {"AS DA DT TM", StoredText},
    {"AT", Tag},
    {"DS FD OD", Number<&MDicomDS::GetDoubleValue, double>},
    {"FL OF", Number<&MDicomDS::GetFloatValue, float>},
    {"IS SL", Number<&MDicomDS::GetLongValue, int32_t>},
    {"OL UL", Number<&MDicomDS::GetLongValue, uint32_t>},
    {"OW US", Number<&MDicomDS::GetShortValue, uint16_t>},
    {"SS", Number<&MDicomDS::GetShortValue, int16_t>},
    {"OB OV SV UN UV", Number<&MDicomDS::GetCharValue, uint8_t>},
};

Getter GetterOf(uint16_t vr) {
    const char letters[] = {static_cast<char>(vr >> 8), static_cast<char>(vr)};
    for (const Row &row : kGetters) {
        if (row.vrs.find({letters, 2}) != std::string_view::npos) return row.getter;
    }
    return nullptr;
}

/** Without control characters, and cut at the end of a character. */
std::string OneLine(std::string text) {
    for (char &c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
    }
    if (text.size() <= kWidth) return text;
    size_t end = kWidth;
    while (end > 0 && (text[end] & 0xC0) == 0x80) --end;
    return text.substr(0, end) + "...";
}

} // namespace

std::string ValueText(MDicomDS &ds, _DICOMELEMENT *element) {
    if (element->nLength == 0 || element->nLength == 0xFFFFFFFF) return {};
    const Getter getter = GetterOf(element->nVR);
    if (element->nLength > kLongestShown || getter == nullptr) return "(not shown)";
    const uint32_t count = getter == StoredText ? 1 : ds.GetCountValue(element);
    if (count == 0) return "(not readable)";
    std::string text;
    for (uint32_t i = 0; i < std::min(count, kMostValues); ++i) {
        if (i > 0) text += '\\';
        text += getter(ds, element, i);
    }
    if (count > kMostValues) text += "\\...";
    ds.FreeValue(element);
    return OneLine(text);
}

std::string Utf8(const wchar_t *text) {
    const U2A_Class narrow(text);
    return narrow.pszText != nullptr ? narrow.pszText : "";
}

std::wstring Wide(const std::string &text) {
    const A2U_Class wide(text.c_str());
    return wide.pszText != nullptr ? wide.pszText : L"";
}

std::string TagText(uint32_t tag) {
    char text[16];
    std::snprintf(text, sizeof text, "(%04X,%04X)", tag >> 16, tag & 0xFFFF);
    return text;
}

bool ParseTag(const std::string &text, uint32_t *tag) {
    uint32_t halves[2] = {};
    const char *begin = text.data();
    if (text.size() != 9 || text[4] != ',') return false;
    for (int i = 0; i < 2; ++i, begin += 5) {
        const auto parsed = std::from_chars(begin, begin + 4, halves[i], 16);
        if (parsed.ec != std::errc() || parsed.ptr != begin + 4) return false;
    }
    *tag = halves[0] << 16 | halves[1];
    return true;
}

const char *StatusText(uint16_t status) {
    switch (status) {
        case DICOM_SUCCESS:
            return "ok";
        case DICOM_ERROR_MEMORY:
            return "no memory";
        case DICOM_ERROR_OPEN:
            return "cannot be opened or made";
        case DICOM_ERROR_READ:
            return "too short";
        case DICOM_ERROR_WRITE:
            return "cannot be written";
        case DICOM_ERROR_FORMAT:
            return "no readable DICOM";
        case DICOM_ERROR_PARAMETER:
            return "wrong argument";
        default:
            return "failed";
    }
}

int Fail(const char *what, const char *why) {
    std::fprintf(stderr, "%s: %s\n", what, why);
    return 1;
}

std::vector<std::filesystem::path> FilesUnder(const std::filesystem::path &path) {
    if (!std::filesystem::is_directory(path)) return {path};
    std::vector<std::filesystem::path> files;
    for (const std::filesystem::directory_entry &entry :
         std::filesystem::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}
