// The commands of kvindex, rows of one table (manual.cpp).
#pragma once

#include "program.h"

// manual.cpp
const Program& KvIndex();

// commands.cpp
int RunCreate(const Arguments& arguments);
int RunInfo(const Arguments& arguments);
int RunLoad(const Arguments& arguments);
int RunQuery(const Arguments& arguments);
int RunGet(const Arguments& arguments);
int RunDelete(const Arguments& arguments);
int RunVerify(const Arguments& arguments);
int RunDump(const Arguments& arguments);
