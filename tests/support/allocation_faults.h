#pragma once

/**
 * Scripted allocations. A test program that links this has its own operator new and delete, which
 * serve the shared libraries in it too. A block must be released with the form, single or array,
 * that allocated it: the other one ends the program with a message, and so does a block that was
 * written beyond its end.
 *
 * Faults are meant for the thread that asks for them. What the fake device library allocates,
 * for its callers and for its script, is neither counted nor failed.
 */
namespace allocation_faults {

/** Blocks allocated and not released, in all threads. */
long live_blocks();

/** Makes the nth non-throwing allocation from now, counted from 1, give null. */
void fail_nothrow(int nth, bool is_lasting = false);
/** Makes the nth throwing allocation from now, counted from 1, throw std::bad_alloc. */
void fail_throwing(int nth, bool is_lasting = false);
/** No more faults. */
void stop();
/** Whether a fault struck since it was last asked for. */
bool fired();

/** Throwing and non-throwing allocations of this thread since a fault was last asked for. */
int throwing_count();
int nothrow_count();

}  // namespace allocation_faults

/** Excepts the calling thread's allocations from all of this while the sum is above 0. */
extern "C" void allocation_faults_exempt(int change);
