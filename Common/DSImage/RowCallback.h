// What callbacks of rows answer.

#pragma once

#include "Common/Utils/Status.h"
#include "MDicomConstants.h"
#include "Mvkrnx.h"

namespace mdicom {

/** The answer as a status: its low 16 bits. One of which these say nothing still ends the work. */
constexpr Status StatusOfCallback(int32_t answer) {
    if (answer == KERNEL_SUCCESS) return DICOM_SUCCESS;
    const auto status = static_cast<Status>(answer);
    return status != DICOM_SUCCESS ? status : Status{DICOM_ERROR_FAILURE};
}

} // namespace mdicom
