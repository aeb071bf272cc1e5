// Exchange of what two elements hold. It cannot fail, so that prepared changes can be made at once.

#pragma once

#include "MDicomTypes.h"

namespace mdicom {

class ElementIndex;

/** Exchanges VR, value, caches and children of two elements with the same tag; places and
 *  addresses stay. index may be null. */
void ExchangeContents(_DICOMELEMENT *first, _DICOMELEMENT *second, ElementIndex *index) noexcept;

} // namespace mdicom
