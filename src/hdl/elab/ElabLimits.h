// Bounds that keep elaboration finite on any input: a loop that does not end, a
// recursion without a base case or a unit that instantiates itself stop with an error
// message at a bound instead of hanging or exhausting the stack.
#pragma once

#include <cstdint>

namespace hdl {

struct ElabLimits {
    // Iterations of one loop statement, and of one for generate.
    uint64_t loopIterations = 10'000'000;
    // Depth of nested subprogram calls; each level costs some native stack.
    uint32_t callDepth = 256;
    // Depth of the instance hierarchy under a top.
    uint32_t instanceDepth = 128;
    // Evaluation steps (expressions and statements) of one elaboration call.
    uint64_t steps = 2'000'000'000;
    // Elements of one array value.
    uint64_t arrayElements = 1u << 24;
    // Statements the elaborated design holds (instances and generate iterations): what
    // its memory grows with. Nested generates multiply.
    uint64_t statements = 50'000'000;
};

} // namespace hdl
