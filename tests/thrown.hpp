// The message of the exception of type E that `f` throws, or a note that it threw none.
// Comparing the whole message checks the exception type and the wording in one expectation.
#pragma once

#include <string>

namespace velmora::test {

template <class E, class F> std::string thrown(F&& f) {
    try {
        f();
    } catch (const E& e) {
        return e.what();
    }
    return "(nothing thrown)";
}

} // namespace velmora::test
