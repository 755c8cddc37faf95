// The whole driver toolkit in one include: free functions that any driver may call. None of them
// opens a port or keeps anything between two calls.
#ifndef DRIVERS_TOOLS_H
#define DRIVERS_TOOLS_H

#include "drivers/tools/addressparsing.h"
#include "drivers/tools/bitarray.h"
#include "drivers/tools/dataconvert.h"
#include "drivers/tools/datapack.h"
#include "drivers/tools/framecheck.h"
#include "drivers/tools/hextext.h"
#include "drivers/tools/platform.h"
#include "drivers/tools/projectdatabase.h"
#include "drivers/tools/requestdata.h"
#include "drivers/tools/rotatearray.h"

#endif
