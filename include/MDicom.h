// The whole interface of the toolkit for C++.

#ifndef MDICOM_H
#define MDICOM_H

#include "MDicomConstants.h"
#include "MDicomContextGroup.h"
#include "MDicomDS.h"
#include "MDicomEngine.h"
#include "MDicomFile.h"
#include "MDicomIOD.h"
#include "MDicomTag.h"
#include "MDicomText.h"
#include "MDicomTree.h"
#include "MDicomTypes.h"
#include "MDicomUID.h"
#include "MDicomVR.h"

#endif
