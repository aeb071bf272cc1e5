// The IOD class that a data set's SOP Class UID names.

#include <gtest/gtest.h>

#include "MDicomDS.h"

namespace {

TEST(IodClassTest, WholeUidsNameTheFirstClassThatHasThem) {
    const struct {
        const char *uid;
        uint32_t iodClass;
    } cases[] = {
        {"1.2.840.10008.5.1.4.1.1.1", 0},     {"1.2.840.10008.5.1.4.1.1.2", 1},
        {"1.2.840.10008.5.1.4.1.1.11.1", 85}, {"1.2.840.10008.5.1.4.1.1.11.2", 85},
        {"1.2.840.10008.5.1.1.4", 48},        {"1.2.840.10008.5.1.4.1.1.4.3", 157},
        {"1.2.840.10008.5.1.4.1.1", 0xFFFF},  {"1.2.840.10008.5.1.4.1.1.2.0", 0xFFFF},
        {"1.2.840.10008.1.1", 0xFFFF},
    };
    for (const auto &expected : cases) {
        MDicomDS dataSet(nullptr);
        _DICOMELEMENT *element = dataSet.InsertElement(nullptr, 0, 0x00080016, 0, 0, 0);
        ASSERT_TRUE(dataSet.SetStringValueA(element, expected.uid, 1));
        uint32_t iodClass = 0;
        dataSet.GetInfoDS(&iodClass, nullptr);
        EXPECT_EQ(iodClass, expected.iodClass) << expected.uid;
    }
}

} // namespace
