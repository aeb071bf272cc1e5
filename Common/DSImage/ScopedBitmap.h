// A bitmap that is freed with its scope.

#pragma once

#include "Mvkrnx.h"

namespace mdicom {

class ScopedBitmap {
  public:
    ScopedBitmap() { KernelInitBitmap(&m_Bitmap, sizeof m_Bitmap, 0, 0, 0); }
    ~ScopedBitmap() { KernelFreeBitmap(&m_Bitmap); }
    ScopedBitmap(const ScopedBitmap &) = delete;
    ScopedBitmap &operator=(const ScopedBitmap &) = delete;

    _BITMAPHANDLE *operator->() { return &m_Bitmap; }
    const _BITMAPHANDLE *operator->() const { return &m_Bitmap; }
    _BITMAPHANDLE *Get() { return &m_Bitmap; }
    /** Hands the bitmap out. */
    _BITMAPHANDLE Release() {
        const _BITMAPHANDLE bitmap = m_Bitmap;
        KernelInitBitmap(&m_Bitmap, sizeof m_Bitmap, 0, 0, 0);
        return bitmap;
    }

  private:
    _BITMAPHANDLE m_Bitmap;
};

} // namespace mdicom
