#pragma once

/// @file
/// SIGINT and SIGTERM. Their handler only notes that one has come: whoever waits looks here often.

namespace console::interrupt {

/// Notes the first signal; a second one ends the process in the system's way.
void install();

/// Whether one has come.
bool requested();

/// @throws Failure when one has come
void check();

}  // namespace console::interrupt
