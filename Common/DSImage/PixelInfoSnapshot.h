// Image attributes that have to outlive a change of the frames.

#pragma once

#include "Common/Utils/Status.h"
#include "MDicomTypes.h"

class MDicomDS;

/** Remembers the description of an image, and writes back what the encoders of frames change. */
class CMyImagePixelInfo {
  public:
    /** Takes the image of a Pixel Data element; null stands for that of the top level. Without one
     *  nothing is remembered. */
    mdicom::Status Take(MDicomDS &dataSet, _DICOMELEMENT *pixelData);
    /** Writes samples, bits, pixel representation and gray photometric interpretation back, beside
     *  the element. */
    void Restore(MDicomDS &dataSet, _DICOMELEMENT *pixelData) const;

  private:
    _DICOMIMAGE m_Image{};
    bool m_IsTaken = false;
    bool m_HasFrameCount = false; ///< (0028,0008) was there
};
