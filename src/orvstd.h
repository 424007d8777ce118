// orvstd: the foundation library of the machine-vision kit.
//
// Include this one header for the whole public interface.
#ifndef ORVSTD_H_
#define ORVSTD_H_

#include "orvstd/defs/types.h"
#include "orvstd/except/assert.h"
#include "orvstd/except/except.h"
#include "orvstd/archive/persistent.h"
#include "orvstd/archive/registry.h"
#include "orvstd/archive/archive.h"
#include "orvstd/handle/repbase.h"
#include "orvstd/handle/ptrhandle.h"
#include "orvstd/util/debug.h"
#include "orvstd/util/devenv.h"
#include "orvstd/util/strings.h"
#include "orvstd/util/strstreambuf.h"

#endif  // ORVSTD_H_
