/*
 * The platform's memory under test: the test program is linked so that its requests come here first.
 */
#pragma once

/** The n-th request of memory from now on fails, 1 being the next; 0: none. */
void FailMemoryAt(int n);
