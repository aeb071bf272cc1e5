// Windows (PS 3.3, C.11.2.1.2).

#pragma once

#include <algorithm>

namespace imgcore {

/** A linear window. */
struct Window {
    double Center;
    double Width;

    /** Brightness of a value from 0 to 1. A width below 1 counts as 1, a step. */
    double Of(double value) const {
        const double width = std::max(Width, 1.0);
        const double place = value - (Center - 0.5);
        if (place <= -(width - 1) / 2) return 0;
        if (place > (width - 1) / 2) return 1;
        return place / (width - 1) + 0.5;
    }
};

} // namespace imgcore
