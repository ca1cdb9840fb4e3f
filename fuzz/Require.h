// What a fuzz target holds to be true of every input.
#pragma once

#include <cstdlib>

inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}
