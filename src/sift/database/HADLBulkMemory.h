// Memory for large arrays that are filled in one go, such as the index and the texts of a
// loaded table: straight from the kernel, zeroed, and in huge pages where the kernel gives
// them, so that a large table costs few page faults and few TLB entries. Small requests
// go to the heap.
#pragma once

#include <cstddef>

void* hadlBulkAllocate(std::size_t bytes);
// `bytes` as given to the allocation.
void hadlBulkRelease(void* memory, std::size_t bytes);
