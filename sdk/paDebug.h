// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../framework/log.h"
#include "../framework/shared.h"

/// Logs at a level when the verbosity asks for it; arguments are evaluated only then.
#define PASDK_DEBUG(level, ...)                 \
    do {                                        \
        if (pa::load(debugLevel) > (level)-1) { \
            debug((level), __VA_ARGS__);        \
        }                                       \
    } while (false)
