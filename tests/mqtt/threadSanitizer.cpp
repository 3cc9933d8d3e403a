// SPDX-License-Identifier: Apache-2.0
/// When a broker ends the connection with a reason, libmosquitto releases one of its own locks that
/// it has not taken. Only one thread ever takes it.
extern "C" const char* __tsan_default_suppressions();

extern "C" const char* __tsan_default_suppressions() {
    return "mutex:libmosquitto.so\n";
}
