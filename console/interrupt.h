#pragma once

/// @file
/// SIGINT, SIGTERM and SIGHUP. Their handler only notes that one has come: whoever waits looks here
/// often. A SIGINT asks that the command at hand ends, the others that the process does.

namespace console::interrupt {

/// Notes each of the signals once; its second one ends the process in the system's way.
void install();

/// @throws Failure when one has come
void check();

/// Forgets a SIGINT, so that what follows can be interrupted anew.
/// @return whether one had come
bool rearm();

/// Whether the process is asked to end.
bool isEnding();

}  // namespace console::interrupt
