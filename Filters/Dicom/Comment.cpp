// File filter: texts of a file.

#include <algorithm>
#include <cstring>
#include <string>

#include "Common/DSValue/ValueAccess.h"
#include "Filters/Dicom/DicomFilter.h"

using namespace mdicom;

namespace {

/** Reads the value of a tag, that of the top level before one in a sequence. */
uint32_t ReadComment(MDicomDS &dataSet, uint32_t tag, void *array, uint32_t count, uint32_t type) {
    _DICOMELEMENT *element = dataSet.FindFirstElement(nullptr, tag, 1);
    return dataSet.FindGetValue(element, tag, array, 0, count, type);
}

int32_t LengthOf(const char *text) {
    return static_cast<int32_t>(std::strlen(text)) + 1;
}

int32_t DeliverNumber(MDicomDS &dataSet, uint32_t tag, const _FILTERCOMMENT &argument) {
    uint32_t number = 0;
    ReadComment(dataSet, tag, &number, 1, VALUE_ARRAY_DWORD);
    std::string text = std::to_string(static_cast<int32_t>(number));
    if (argument.pText == nullptr) return LengthOf(text.c_str());
    text.resize(std::min(text.size(), size_t{argument.nSize} - 1));
    std::memcpy(argument.pText, text.c_str(), text.size() + 1);
    return LengthOf(text.c_str());
}

int32_t DeliverText(MDicomDS &dataSet, uint32_t tag, const _FILTERCOMMENT &argument) {
    char *text = argument.pText;
    if (text == nullptr) {
        return static_cast<int32_t>(
            ReadComment(dataSet, tag, nullptr, 0xFFFFFFFF, VALUE_ARRAY_BYTE));
    }
    // A file may give the element any VR, and not each of them ends in a NUL.
    const uint32_t read = ReadComment(dataSet, tag, text, argument.nSize, VALUE_ARRAY_BYTE);
    text[std::min(read, argument.nSize - 1)] = '\0';
    return LengthOf(text);
}

int32_t Deliver(const _FILTERCOMMENT &argument) {
    OwnedDataSet dataSet;
    const int32_t code = LoadFile(argument.pszName, dataSet);
    if (code != FILTER_SUCCESS) return code;
    for (const CommentRow &row : kComments) {
        if (row.id != argument.nId) continue;
        return row.most == 0 ? DeliverNumber(*dataSet, row.tag, argument)
                             : DeliverText(*dataSet, row.tag, argument);
    }
    return 0;
}

} // namespace

int32_t fltComment(void *pArgument) {
    const auto *argument = static_cast<const _FILTERCOMMENT *>(pArgument);
    if (argument == nullptr || argument->pszName == nullptr) return FILTER_ERROR_ARGUMENT;
    if (argument->pText != nullptr && argument->nSize == 0) return FILTER_ERROR_ARGUMENT;
    return Guarded<int32_t>(FILTER_ERROR_MEMORY, [&] { return Deliver(*argument); });
}
