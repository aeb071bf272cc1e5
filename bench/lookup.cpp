// The smallest program that uses the dictionaries: looks up one tag and ends.

#include "MDicomTag.h"

int main() {
    return MDicomTag::Find(0x00100010) != nullptr ? 0 : 1;
}
