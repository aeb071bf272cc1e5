// Makes one allocation fail, be it of operator new or of the memory of data sets.

#pragma once

/** Lets allocation number place from now on fail, counted from 0; a negative place none. */
void FailAllocation(int place);

/** True if the wanted allocation was reached since. */
bool AllocationFailed();
