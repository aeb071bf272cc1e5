// Description of images with memory that fails at every place.

#include <gtest/gtest.h>

#include "Image.h"
#include "values/FailingMemory.h"

namespace {

TEST(ImageFault, ShortMemoryIsAStatusAndForgotten) {
    for (int place = 0, reached = 1; reached != 0; ++place) {
        ASSERT_LT(place, 1000);
        Image image;
        image.Syntax(kJpeg);
        image.Text(0x00280008, "2 ");
        image.Fragments({std::string("\0\0\0\0\x0C\0\0\0", 8), "\xFF\xD8\xFF\xE0", "rest"});
        _DICOMIMAGE info{};
        uint32_t good = 0;
        FailAllocation(place);
        const uint16_t status = image.Describe(&info, 1);
        image.ds.IsBadPixelData(nullptr, &good);
        reached = AllocationFailed();
        FailAllocation(-1);
        ASSERT_TRUE(status == 0 || reached) << place;
        ASSERT_EQ(image.Status(1), 0) << place;
        ASSERT_EQ(image.ds.GetCountImage(nullptr), 2u) << place;
    }
}

} // namespace
