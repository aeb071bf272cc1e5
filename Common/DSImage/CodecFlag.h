// The flag of a data set that its JPEG encoder looks at.

#pragma once

#include "MDicomDS.h"

namespace mdicom {

/** Sets the flag for the time of a call. */
class CodecFlag {
  public:
    /** @param extra may be null */
    CodecFlag(DICOMDSEXTRA *extra, bool wanted) : m_Extra(extra) {
        if (m_Extra != nullptr && wanted) m_Extra->bCodecFlag = 1;
    }
    ~CodecFlag() {
        if (m_Extra != nullptr) m_Extra->bCodecFlag = 0;
    }
    CodecFlag(const CodecFlag &) = delete;
    CodecFlag &operator=(const CodecFlag &) = delete;

  private:
    DICOMDSEXTRA *m_Extra;
};

} // namespace mdicom
