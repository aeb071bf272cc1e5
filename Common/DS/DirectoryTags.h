// Tags of directory records and of the references between them (PS 3.3, F.3).

#pragma once

#include <cstdint>

namespace mdicom {

constexpr uint32_t kFirstRootRecord = 0x00041200;
constexpr uint32_t kLastRootRecord = 0x00041202;
constexpr uint32_t kDirectoryRecords = 0x00041220;
constexpr uint32_t kNextRecord = 0x00041400;
constexpr uint32_t kRecordInUse = 0x00041410;
constexpr uint32_t kLowerRecord = 0x00041420;
constexpr uint32_t kRecordType = 0x00041430;
constexpr uint32_t kReferencedFile = 0x00041500;
constexpr uint32_t kReferencedRecord = 0x00041504;

/** Elements whose values are offsets of directory records. */
constexpr uint32_t kReferenceTags[] = {kFirstRootRecord, kLastRootRecord, kNextRecord, kLowerRecord,
                                       kReferencedRecord};

} // namespace mdicom
