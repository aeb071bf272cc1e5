// Export and linkage macros of the toolkit's public headers.

#ifndef MDICOM_API_H
#define MDICOM_API_H

/** Marks what libmdicom exports; everything else in the library stays hidden. */
#define MDICOM_API __attribute__((visibility("default")))

#endif
