// Values of attributes on one level of a data set, without a look at other levels.

#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "Common/Utils/Status.h"
#include "MDicomTypes.h"

class MDicomDS;

namespace mdicom {

/** Characters of the explanation texts with their terminator. */
constexpr size_t kExplanationSize = 65;
using Explanation = wchar_t[kExplanationSize];

/// A level is that of an element; null stands for the top level.
///@{
/** A number of an element; nothing if the element or that value of it is absent. */
std::optional<double> ReadNumber(MDicomDS &dataSet, _DICOMELEMENT *level, uint32_t tag,
                                 uint32_t index = 0);
/** The first number of an element of the top level, 0 if there is none. */
uint32_t ReadCardinal(MDicomDS &dataSet, uint32_t tag);
/** A value's text, cut to its room. It stays as it is if the value is absent. */
void ReadText(MDicomDS &dataSet, _DICOMELEMENT *level, uint32_t tag, uint32_t index,
              Explanation &text);

/** Finds an element on a level, or adds it with its VR, 0 for that of the dictionary. */
_DICOMELEMENT *FindOrInsert(MDicomDS &dataSet, _DICOMELEMENT *level, uint32_t tag, uint16_t vr);
/** Sets numbers of an element, which is added if it is missing. */
bool WriteNumbers(MDicomDS &dataSet, _DICOMELEMENT *level, uint32_t tag, const double *numbers,
                  uint32_t count);
/** Sets the text of an element, which is added if it is missing. The text ends at its NUL or its
 *  room. */
bool WriteText(MDicomDS &dataSet, _DICOMELEMENT *level, uint32_t tag, const Explanation &text);
///@}

/** Deletes an element of the top level if it is there. */
void DeleteTopLevel(MDicomDS &dataSet, uint32_t tag);

} // namespace mdicom
