// What the typed accesses to values share.

#include "Common/DSValue/ValueAccess.h"

#include "Common/DSValue/ValueStore.h"
#include "Common/Utils/Vr.h"
#include "MDicomVR.h"

namespace mdicom {

ValueLayout LayoutOf(uint16_t code) {
    const _DICOMVR *row = MDicomVR::Find(code);
    if (row != nullptr) {
        if (row->nRestrict & VR_STRING) return ValueLayout::Texts;
        return row->nRestrict & VR_TEXT ? ValueLayout::OneText : ValueLayout::Units;
    }
    if (code == vr::UC) return ValueLayout::Texts;
    return code == vr::UR ? ValueLayout::OneText : ValueLayout::Units;
}

uint32_t ValueUnitOf(uint16_t code) {
    switch (code) {
        case vr::OD:
            return 8;
        case vr::OL:
            return 4;
        default: {
            const uint32_t unit = UnitSizeOf(code);
            return unit != 0 ? unit : 1; // rows can be added with any size
        }
    }
}

DataBlock<char> ReadValue(MDicomDS &dataSet, _DICOMELEMENT *element, uint32_t offset,
                          uint32_t length) {
    if (!ValueIsPresent(element)) return nullptr;
    auto bytes = MakeDataBlock<char>(size_t{length} + 1);
    if (!bytes) return nullptr;
    if (length != 0 && !dataSet.GetBinaryValue(element, bytes.get(), offset, length)) {
        return nullptr;
    }
    bytes[length] = '\0';
    return bytes;
}

int32_t ReplaceValue(MDicomDS &dataSet, _DICOMELEMENT *element, const void *data, size_t length) {
    if (length > kLongestValue) return 0;
    const int32_t stored =
        dataSet.SetBinaryValue(element, const_cast<void *>(data), static_cast<uint32_t>(length));
    dataSet.FreeValue(element);
    return stored;
}

} // namespace mdicom
