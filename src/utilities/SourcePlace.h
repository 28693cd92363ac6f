/** A place in the sources, for lines and events that name it. */
#pragma once

namespace utilities {

/** As a default argument, `SourcePlace place = SourcePlace::current()` is the place of the call.
 *  Stands in for the standard library's own, which the lint's compiler does not know.
 */
struct SourcePlace {
    const char* file;
    int line;

    static constexpr SourcePlace current(const char* file = __builtin_FILE(),
                                         int line = __builtin_LINE()) {
        return {file, line};
    }
};

}  // namespace utilities
