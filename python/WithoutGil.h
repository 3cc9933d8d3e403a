// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pybind11/pybind11.h>

/// @file
/// How the binding and the interpreter share threads.
///
/// No thread of the library ever waits for the interpreter's lock: what it has to report is queued,
/// and threads of Python fetch it. So a function that takes the controller's mutex, or waits, gives
/// the interpreter's lock away, and no order of the two locks can block.

namespace papython {

namespace py = pybind11;

/// An exception of Python is pending on this thread.
struct Interrupted {};

/// The interpreter's lock is given away while one lives, on a thread of Python.
class WithoutGil {
public:
    WithoutGil();
    WithoutGil(const WithoutGil&) = delete;
    WithoutGil& operator=(const WithoutGil&) = delete;
    /// Does not return once the interpreter ends, but on the thread that ends it: the interpreter
    /// would end this thread, in the middle of C++ code.
    ~WithoutGil();

    /// Has Python handle the signals that have come, as Ctrl-C.
    /// @return whether a handler has raised an exception, which is pending then
    bool isInterrupted();

    /// The same, for a function that a library calls on the thread that has called it; false on any
    /// other thread.
    static bool isCallerInterrupted();

    /// @throws Interrupted
    void throwIfInterrupted();

private:
    WithoutGil* const outer_;
    PyThreadState* state_;
    bool interrupted_ = false;
};

/// Called when the interpreter begins to end, while its threads still run: from then on no thread
/// but this one takes its lock back.
void beginExit();

}  // namespace papython
