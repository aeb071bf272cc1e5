// How data sets and command sets begin.

#pragma once

#include "MDicomDS.h"

namespace mdicom {

/** Empties a data set. The groups of encoding flags that nFlags has a bit of take the place of
 *  the default ones. */
void BeginDataSet(MDicomDS &dataSet, uint16_t flags);

} // namespace mdicom
