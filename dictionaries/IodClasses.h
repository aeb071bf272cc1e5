// IOD classes: the numbers by which the toolkit knows the objects of the standard.

#pragma once

#include <cstdint>
#include <string_view>

namespace mdicom {

/** Number of the IOD class that a SOP Class UID names. The UID has to stand alone, without
 *  padding; false, and *pClass as it was, for one that names no class. A null pClass only asks.
 *  Does not build the IOD tree. */
bool FindIodClass(std::string_view uid, uint32_t *pClass);

/** Tells whether the classes of the IOD tree may differ from the default ones. */
void SetIodClassesEdited(bool edited);

} // namespace mdicom
