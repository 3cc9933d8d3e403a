// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// The records of the PA resources, all of them: plain values.

#include "PaSelector.h"
#include "PaSink.h"
#include "PaSource.h"
#include "PaTrigger.h"
#include "PaZone.h"
