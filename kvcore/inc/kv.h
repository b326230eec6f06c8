// kv.h - everything the type manager offers, in one include. Each header below is the manual of its
// part; start with kvtypemgr.h.
#pragma once

#include "kvbase.h"
#include "kvchar.h"
#include "kvcollate.h"
#include "kvcompare.h"
#include "kvhash.h"
#include "kvint64.h"
#include "kvmbs.h"
#include "kvmodule.h"
#include "kvorder.h"
#include "kvstring.h"
#include "kvtypeid.h"
#include "kvtypemgr.h"
#include "zbs.h"
#include "zin.h"
