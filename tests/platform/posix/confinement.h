/*
 * The tests of removals run on a real machine, often as root: a fault in a removal must cost a test, not the
 * machine.
 */
#pragma once

/**
 * Whether this process, and every process it starts, can remove files and folders only below the tests' own
 * temporary folder: the kernel refuses all others (Landlock, Linux 5.13). False where the kernel cannot; what
 * would be dangerous then must not be tried.
 */
bool RemovalsAreConfined();
