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

// The heap keeps what a run frees instead of handing the top of it back to the kernel at
// each free: a run frees a file's buffers and takes as much again for the next file (and
// the next phase), and memory handed back is faulted in again page by page. Called once
// at the start of the process.
void hadlKeepFreedMemory();
