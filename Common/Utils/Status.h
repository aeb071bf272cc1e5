// The one status type of the library.

#pragma once

#include <cstdint>

#include "MDicomConstants.h"

namespace mdicom {

/** A number of the status table: 0 for success, or a DICOM_ERROR_ constant. */
using Status = uint16_t;

} // namespace mdicom
