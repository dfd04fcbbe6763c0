// Memory for large arrays that are filled in one go, such as the index and the texts of a
// loaded table: straight from the kernel, zeroed, and with every page in place from the
// start, so that filling it costs one call instead of a fault or two per page (a read of
// untouched memory maps a shared zero page, and the first write then faults again). Small
// requests go to the heap.
#pragma once

#include <cstddef>

void* hadlBulkAllocate(std::size_t bytes);
// `bytes` as given to the allocation.
void hadlBulkRelease(void* memory, std::size_t bytes);
