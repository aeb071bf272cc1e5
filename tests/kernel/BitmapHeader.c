/* The kernel's header is one of C11, too. */

#include "kernel/Mvkrnx.h"

int BitmapOfC(_BITMAPHANDLE *bitmap);

int BitmapOfC(_BITMAPHANDLE *bitmap) {
    return KernelCreateBitmap(bitmap, sizeof *bitmap, KERNEL_MEMORY_OWN, 3, 2, 8, KERNEL_ORDER_GRAY,
                              NULL, 1, NULL, 0);
}
