// Command sets: the elements that a DIMSE message begins with (PS 3.7, 9.3, 10.3 and E).

#include <algorithm>
#include <iterator>

#include "Common/DS2/NewDataSet.h"
#include "Common/Utils/Vr.h"
#include "MDicomDS.h"

using namespace mdicom;

namespace {

constexpr uint16_t kResponse = 0x8000;
constexpr uint32_t kCommandField = 0x00000100;
constexpr uint16_t kEncoding = DS_METAHEADER_ABSENT | DS_LITTLE_ENDIAN | DS_IMPLICIT_VR;

/** A command and the elements of group 0000 that it has; zeros fill the list. */
struct CommandRow {
    uint16_t command;
    uint16_t elements[9];
};

constexpr CommandRow kCommands[] = {
    // C-STORE
    {0x0001, {0x0002, 0x0100, 0x0110, 0x0700, 0x0800, 0x1000, 0x1030, 0x1031}},
    {0x8001, {0x0002, 0x0100, 0x0120, 0x0800, 0x0900, 0x1000}},
    // C-FIND
    {0x0020, {0x0002, 0x0100, 0x0110, 0x0700, 0x0800}},
    {0x8020, {0x0002, 0x0100, 0x0120, 0x0800, 0x0900}},
    // C-GET
    {0x0010, {0x0002, 0x0100, 0x0110, 0x0700, 0x0800}},
    {0x8010, {0x0002, 0x0100, 0x0120, 0x0800, 0x0900, 0x1020, 0x1021, 0x1022, 0x1023}},
    // C-MOVE
    {0x0021, {0x0002, 0x0100, 0x0110, 0x0600, 0x0700, 0x0800}},
    {0x8021, {0x0002, 0x0100, 0x0120, 0x0800, 0x0900, 0x1020, 0x1021, 0x1022, 0x1023}},
    // C-CANCEL, which has no response
    {0x0FFF, {0x0100, 0x0120, 0x0800}},
    // C-ECHO
    {0x0030, {0x0002, 0x0100, 0x0110, 0x0800}},
    {0x8030, {0x0002, 0x0100, 0x0120, 0x0800, 0x0900}},
    // N-EVENT-REPORT
    {0x0100, {0x0002, 0x0100, 0x0110, 0x0800, 0x1000, 0x1002}},
    {0x8100, {0x0002, 0x0100, 0x0120, 0x0800, 0x0900, 0x1000, 0x1002}},
    // N-GET
    {0x0110, {0x0003, 0x0100, 0x0110, 0x0800, 0x1001, 0x1005}},
    {0x8110, {0x0002, 0x0100, 0x0120, 0x0800, 0x0900, 0x1000}},
    // N-SET
    {0x0120, {0x0003, 0x0100, 0x0110, 0x0800, 0x1001}},
    {0x8120, {0x0002, 0x0100, 0x0120, 0x0800, 0x0900, 0x1000}},
    // N-ACTION
    {0x0130, {0x0003, 0x0100, 0x0110, 0x0800, 0x1001, 0x1008}},
    {0x8130, {0x0002, 0x0100, 0x0120, 0x0800, 0x0900, 0x1000, 0x1008}},
    // N-CREATE
    {0x0140, {0x0002, 0x0100, 0x0110, 0x0800, 0x1000}},
    {0x8140, {0x0002, 0x0100, 0x0120, 0x0800, 0x0900, 0x1000}},
    // N-DELETE
    {0x0150, {0x0003, 0x0100, 0x0110, 0x0800, 0x1001}},
    {0x8150, {0x0002, 0x0100, 0x0120, 0x0800, 0x0900, 0x1000}},
};

/** VR of a command element. It does not depend on the dictionary, which programs may edit. */
uint16_t CommandVr(uint16_t element) {
    switch (element) {
        case 0x0002:
        case 0x0003:
        case 0x1000:
        case 0x1001:
            return vr::UI;
        case 0x0600:
        case 0x1030:
            return vr::AE;
        case 0x1005:
            return vr::AT;
        default:
            return vr::US;
    }
}

} // namespace

void MDicomDS::InitCS(uint16_t nCommand, int32_t bRequest) {
    if (m_bConforming) return;
    BeginDataSet(*this, kEncoding);
    if (!bRequest) nCommand |= kResponse;
    const auto row = std::find_if(std::begin(kCommands), std::end(kCommands),
                                  [=](const CommandRow &each) { return each.command == nCommand; });
    if (row == std::end(kCommands)) return;
    for (const uint16_t element : row->elements) {
        if (element != 0) InsertElement(nullptr, 0, element, CommandVr(element), 0, 0);
    }
    FindSetValue(nullptr, kCommandField, &nCommand, 1, VALUE_ARRAY_WORD);
}

void MDicomDS::GetInfoCS(uint16_t *pCommand, int32_t *pRequest) {
    uint16_t command = 0;
    FindGetValue(nullptr, kCommandField, &command, 0, 1, VALUE_ARRAY_WORD);
    if (pRequest != nullptr) *pRequest = (command & kResponse) == 0;
    if (pCommand != nullptr) *pCommand = command & static_cast<uint16_t>(~kResponse);
}
