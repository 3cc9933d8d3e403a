#pragma once

/// @file
/// The records of the PA resources, all of them.

#include "PaSelector.h"
#include "PaSink.h"
#include "PaSource.h"
#include "PaTrigger.h"
#include "PaZone.h"
