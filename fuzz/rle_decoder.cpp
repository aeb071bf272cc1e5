// Expands the segments of a frame into planes of a chosen size, and packs what came out: it expands
// to the same. The first two bytes are the size of the planes.

#include "Common/DSImage/RleCodec.h"
#include "Support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace mdicom;
    fuzz::Input input(data, size);
    std::vector<uint8_t> plane(input.Word() + size_t{1});
    const std::vector<uint8_t> frame = input.Rest();
    const auto header = ReadRleHeader(frame);
    if (!header) return 0;
    fuzz::Require(header->segments >= 1 && header->segments <= kMostRleSegments);
    for (size_t i = 0; i < header->segments; ++i) {
        const auto segment = RleSegment(frame, *header, i);
        fuzz::Require(segment.size() <= frame.size());
        const size_t made = ExpandRle(segment, plane);
        fuzz::Require(made <= plane.size());
        std::vector<uint8_t> packed(MostRleBytes(plane.size()));
        const uint8_t *end = PackRle(plane, packed.data());
        packed.resize(static_cast<size_t>(end - packed.data()));
        std::vector<uint8_t> again(plane.size());
        fuzz::Require(ExpandRle(packed, again) == plane.size() && again == plane);
    }
    return 0;
}
