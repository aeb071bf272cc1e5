// Which of the sixteen overlay groups are in use, and which of them an overlay's index stands for.

#include "Common/Overlay/OverlayGroups.h"

#include <algorithm>

#include "Common/Overlay/Overlay.h"
#include "MDicomDS.h"

namespace mdicom {

OverlayGroups::OverlayGroups(MDicomDS &dataSet) {
    for (uint32_t i = 0; i < kOverlayGroupCount; ++i) {
        const uint32_t mask = OverlayMaskOf(i);
        const auto has = [&](uint32_t tag) {
            return dataSet.FindFirstElement(nullptr, tag | mask, 1) != nullptr;
        };
        m_Groups[i] = {has(kOverlayRows), has(kOverlayColumns), has(kOverlayActivationLayer)};
    }
}

bool OverlayGroups::IsPlane(uint32_t position) const {
    return m_Groups[position].hasRows && m_Groups[position].hasColumns;
}

bool OverlayGroups::IsLayerOnly(uint32_t position) const {
    return m_Groups[position].hasLayer && !IsPlane(position);
}

uint32_t OverlayGroups::Count() const {
    uint32_t rows = 0;
    uint32_t columns = 0;
    uint32_t layers = 0;
    for (const Group &group : m_Groups) {
        rows += group.hasRows;
        columns += group.hasColumns;
        layers += group.hasLayer;
    }
    return rows == columns ? std::max(columns, layers) : 0;
}

std::optional<uint32_t> OverlayGroups::Find(uint32_t index) const {
    uint32_t rows = 0;
    uint32_t columns = 0;
    uint32_t layers = 0;
    for (uint32_t i = 0; i < kOverlayGroupCount; ++i) {
        rows += m_Groups[i].hasRows;
        columns += m_Groups[i].hasColumns;
        layers += m_Groups[i].hasLayer;
        const bool isLayer = layers > 0 && index == layers - 1;
        const bool isPlane = columns > 0 && columns == rows && index == columns - 1;
        if (isLayer || isPlane) return i;
    }
    return std::nullopt;
}

std::optional<uint32_t> OverlayGroups::FindLayer(uint32_t index) const {
    uint32_t layers = 0;
    for (uint32_t i = 0; i < kOverlayGroupCount; ++i) {
        if (m_Groups[i].hasLayer && layers++ == index) return i;
    }
    return std::nullopt;
}

std::optional<uint32_t> OverlayGroups::FindForData(uint32_t index) const {
    if (index < Count()) return Find(index);
    if (index < kOverlayGroupCount && IsPlane(index)) return index;
    return std::nullopt;
}

/** True if data for the index go to the group at the position, once it has attributes. */
bool OverlayGroups::Suits(uint32_t position, uint32_t index) const {
    OverlayGroups after = *this;
    after.m_Groups[position].hasRows = after.m_Groups[position].hasColumns = true;
    return after.FindForData(index) == position;
}

std::optional<uint32_t> OverlayGroups::FindForAttributes(uint32_t index) const {
    if (index >= kOverlayGroupCount) return std::nullopt;
    const uint32_t count = Count();
    if (index < count) return Find(index);
    // The index behind the last overlay asks for a new one, never for one that is there.
    const bool taken = index == count && IsPlane(index);
    if (!taken && Suits(index, index)) return index;
    uint32_t end = kOverlayGroupCount;
    while (end > 0 && !IsPlane(end - 1) && !m_Groups[end - 1].hasLayer) --end;
    if (end < kOverlayGroupCount && Suits(end, index)) return end;
    return std::nullopt;
}

} // namespace mdicom
