// Value representations as the encodings know them (PS 3.5, 6.2 and 7.1.2).

#pragma once

#include <cstdint>

namespace mdicom {

/** The code of a VR: first letter in the high byte. */
constexpr uint16_t VrCode(char first, char second) {
    return static_cast<uint16_t>(static_cast<uint8_t>(first) << 8 | static_cast<uint8_t>(second));
}

namespace vr {
constexpr uint16_t AE = VrCode('A', 'E');
constexpr uint16_t AS = VrCode('A', 'S');
constexpr uint16_t AT = VrCode('A', 'T');
constexpr uint16_t CS = VrCode('C', 'S');
constexpr uint16_t DA = VrCode('D', 'A');
constexpr uint16_t DS = VrCode('D', 'S');
constexpr uint16_t DT = VrCode('D', 'T');
constexpr uint16_t FD = VrCode('F', 'D');
constexpr uint16_t FL = VrCode('F', 'L');
constexpr uint16_t IS = VrCode('I', 'S');
constexpr uint16_t LO = VrCode('L', 'O');
constexpr uint16_t LT = VrCode('L', 'T');
constexpr uint16_t OB = VrCode('O', 'B');
constexpr uint16_t OD = VrCode('O', 'D');
constexpr uint16_t OF = VrCode('O', 'F');
constexpr uint16_t OL = VrCode('O', 'L');
constexpr uint16_t OV = VrCode('O', 'V');
constexpr uint16_t OW = VrCode('O', 'W');
constexpr uint16_t PN = VrCode('P', 'N');
constexpr uint16_t SH = VrCode('S', 'H');
constexpr uint16_t SL = VrCode('S', 'L');
constexpr uint16_t SQ = VrCode('S', 'Q');
constexpr uint16_t SS = VrCode('S', 'S');
constexpr uint16_t ST = VrCode('S', 'T');
constexpr uint16_t SV = VrCode('S', 'V');
constexpr uint16_t TM = VrCode('T', 'M');
constexpr uint16_t UC = VrCode('U', 'C');
constexpr uint16_t UI = VrCode('U', 'I');
constexpr uint16_t UL = VrCode('U', 'L');
constexpr uint16_t UN = VrCode('U', 'N');
constexpr uint16_t UR = VrCode('U', 'R');
constexpr uint16_t US = VrCode('U', 'S');
constexpr uint16_t UT = VrCode('U', 'T');
constexpr uint16_t UV = VrCode('U', 'V');
/** Stands for the VR that an implicit encoding does not name. */
constexpr uint16_t Implicit = 0xFFFF;
} // namespace vr

/** True for the VRs with a 12-byte header in explicit encodings. */
constexpr bool HasLongHeader(uint16_t code) {
    switch (code) {
        case vr::OB:
        case vr::OD:
        case vr::OF:
        case vr::OL:
        case vr::OV:
        case vr::OW:
        case vr::SQ:
        case vr::SV:
        case vr::UC:
        case vr::UN:
        case vr::UR:
        case vr::UT:
        case vr::UV:
            return true;
        default:
            return false;
    }
}

/** True for two capital letters, whether the standard knows them as a VR or not. */
constexpr bool IsVrLetters(uint16_t code) {
    const auto isLetter = [](int c) { return c >= 'A' && c <= 'Z'; };
    return isLetter(code >> 8) && isLetter(code & 0xFF);
}

/** True for the two letters of a VR of the standard. */
bool IsVrCode(uint16_t code);

/** Bytes that change places together when the byte order changes: 2, 4 or 8, and 1 for text and
 *  raw bytes. */
unsigned SwapUnitOf(uint16_t code);

/** Bytes of one unit by the VR table; 1 for a VR that it does not know. */
uint16_t UnitSizeOf(uint16_t code);

} // namespace mdicom
