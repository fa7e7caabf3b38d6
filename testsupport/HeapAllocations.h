// A program that is linked with this has an operator new that counts, and fails where it is told
// to.
#ifndef TESTSUPPORT_HEAPALLOCATIONS_H
#define TESTSUPPORT_HEAPALLOCATIONS_H

/// How often the calling thread has called operator new in any of its forms. What malloc hands out
/// directly is not counted.
long heapAllocations();

/// From now on operator new fails in the calling thread, or works again.
void exhaustMemory(bool exhausted);

#endif
