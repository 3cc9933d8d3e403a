// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// What the shared libraries export. They are compiled with hidden visibility.

#define PA_API __attribute__((visibility("default")))
