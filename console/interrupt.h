#pragma once

/// @file
/// SIGINT, SIGTERM and SIGHUP. Their handler only notes that one has come: whoever waits looks here
/// often.

namespace console::interrupt {

/// Notes the first signal; a second one ends the process in the system's way.
void install();

/// @throws Failure when one has come
void check();

}  // namespace console::interrupt
