// areaglobals.cpp -- the kernel's work-area globals.  The kernel defines
// them so that compiled modules can refer to the known-alias tables before
// the database is linked in; the work-area code is their only user.  The
// known-alias tables start empty: nothing registers aliases at build time.
#include "areas.h"

extern "C" {

AreaRec* vlnWAHead = nullptr;
AreaRec* vlnSelectedArea = nullptr;
char** vlnKnownAlias = nullptr;
AreaRec** vlnKnownAreas = nullptr;
int32_t vlnKnownAreaCnt = 0;

}  // extern "C"
