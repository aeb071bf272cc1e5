// Value representations: questions that the VR table and the encodings answer together.

#include "Common/Utils/Vr.h"

#include "MDicomVR.h"

namespace mdicom {

bool IsVrCode(uint16_t code) {
    switch (code) {
        case vr::AE:
        case vr::AS:
        case vr::AT:
        case vr::CS:
        case vr::DA:
        case vr::DS:
        case vr::DT:
        case vr::FD:
        case vr::FL:
        case vr::IS:
        case vr::LO:
        case vr::LT:
        case vr::PN:
        case vr::SH:
        case vr::SL:
        case vr::SS:
        case vr::ST:
        case vr::TM:
        case vr::UI:
        case vr::UL:
        case vr::US:
            return true;
        default:
            return HasLongHeader(code);
    }
}

unsigned SwapUnitOf(uint16_t code) {
    switch (code) {
        case vr::AT:
            return 2; // two 16-bit numbers, not one of 32 bits
        case vr::OD:
        case vr::OV:
        case vr::SV:
        case vr::UV:
            return 8;
        case vr::OL:
            return 4;
        default: {
            const uint16_t unit = UnitSizeOf(code);
            return unit == 2 || unit == 4 || unit == 8 ? unit
                                                       : 1; // rows can be added with any size
        }
    }
}

uint16_t UnitSizeOf(uint16_t code) {
    const _DICOMVR *row = MDicomVR::Find(code);
    return row != nullptr ? row->nUnitSize : 1;
}

} // namespace mdicom
