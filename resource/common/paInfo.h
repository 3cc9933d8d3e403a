#pragma once

/// @file
/// The records of the PA resources, all of them.

#include "resource/common/PaSelector.h"
#include "resource/common/PaSink.h"
#include "resource/common/PaSource.h"
#include "resource/common/PaTrigger.h"
#include "resource/common/PaZone.h"
