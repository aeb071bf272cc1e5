// U2A_Class and A2U_Class: bridges between wide and narrow text.

#ifndef MDICOM_TEXT_H
#define MDICOM_TEXT_H

#include "MDicomApi.h"

/** A narrow (UTF-8) copy of a wide text, owned by the object. A null text stays null. */
class MDICOM_API U2A_Class {
  public:
    /** Converts; pszText is null for null. */
    explicit U2A_Class(const wchar_t *pszSource);
    virtual ~U2A_Class();
    U2A_Class(const U2A_Class &) = delete;
    U2A_Class &operator=(const U2A_Class &) = delete;

    char *pszText; ///< null for a null source and when memory is short
};

/** A wide copy of a narrow text, owned by the object. The narrow text is taken as UTF-8 where it
 *  is valid UTF-8, else as ISO 8859-1. A null text stays null. */
class MDICOM_API A2U_Class {
  public:
    /** Converts; pszText is null for null. */
    explicit A2U_Class(const char *pszSource);
    virtual ~A2U_Class();
    A2U_Class(const A2U_Class &) = delete;
    A2U_Class &operator=(const A2U_Class &) = delete;

    wchar_t *pszText; ///< null for a null source and when memory is short
};

#endif
