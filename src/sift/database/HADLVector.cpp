#include "sift/database/HADLVector.h"

#include "runtime/LoomBackTrace.h"

#include <iostream>

void hadlReportOutOfRange(unsigned index, std::size_t size) {
    // The upper bound is size - 1 in unsigned arithmetic, so an empty vector wraps.
    std::cout << "Out of range access at " << index << " (range 0.." << size - 1 << std::endl;
    LoomBackTrace::printTrace(std::cerr, 30);
    std::cout.flush();
    throw "out_of_range";
}
