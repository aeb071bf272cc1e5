// The companion libraries that data sets share: image codecs and image processing.

#pragma once

namespace mdicom {

enum class Companion { Compression, ImageProcessing, Jpeg2000 };

/** Counts a data set as a user of the libraries. They are opened when one of their functions is
 *  first asked for, and stay until the last user is gone. */
void AttachCompanions();
void DetachCompanions();

/** The address of an exported function; null if the library or the function is not there. Valid
 *  while the caller's data set lives. */
void *CompanionFunction(Companion companion, const char *name);

} // namespace mdicom
