// Every public header of the library. Kept by tools/check --fix.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/log_line.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
