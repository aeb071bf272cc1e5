// Which of the sixteen overlay groups are in use, and which of them an overlay's index stands for.

#pragma once

#include <array>
#include <cstdint>
#include <optional>

class MDicomDS;

namespace mdicom {

constexpr uint32_t kOverlayGroupCount = 16;

/** What is or-ed into a tag of group 6000 to get that of the group at this position. */
constexpr uint32_t OverlayMaskOf(uint32_t position) {
    return position * 0x20000;
}

/**
 * A survey of the overlay groups on the top level.
 *
 * Readers count overlays in order of their groups, activation layers that stand alone included.
 * Writers also may name the position of a group, with an index that no overlay has yet; so the
 * two rules have to be kept from naming different groups.
 */
class OverlayGroups {
  public:
    explicit OverlayGroups(MDicomDS &dataSet);

    /** Overlays, or activation layers if those are more; 0 if rows and columns do not pair up. */
    uint32_t Count() const;
    /** Position of the group with the overlay or the activation layer of this index. */
    std::optional<uint32_t> Find(uint32_t index) const;
    /** Position of the group with the activation layer of this index. */
    std::optional<uint32_t> FindLayer(uint32_t index) const;
    /** Position of the group that takes data for this index: the overlay's, else the overlay at
     *  this position. */
    std::optional<uint32_t> FindForData(uint32_t index) const;
    /** Position of the group that takes attributes for this index: the overlay's; the end of the
     *  groups for a new overlay; else this position. None where FindForData would then name
     *  another group. */
    std::optional<uint32_t> FindForAttributes(uint32_t index) const;
    /** True for a group with rows and columns. */
    bool IsPlane(uint32_t position) const;
    /** True for a group with an activation layer alone. */
    bool IsLayerOnly(uint32_t position) const;

  private:
    struct Group {
        bool hasRows = false;
        bool hasColumns = false;
        bool hasLayer = false;
    };

    bool Suits(uint32_t position, uint32_t index) const;

    std::array<Group, kOverlayGroupCount> m_Groups{};
};

} // namespace mdicom
