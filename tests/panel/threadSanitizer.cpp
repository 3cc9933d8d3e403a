// SPDX-License-Identifier: Apache-2.0
// The HTTP library is not built with ThreadSanitizer, which so does not see that the end of a
// chunked answer, a static text of the library, is made before any thread sends it.
extern "C" const char* __tsan_default_suppressions();

extern "C" const char* __tsan_default_suppressions() {
    return "race:httplib::detail::write_data\n";
}
