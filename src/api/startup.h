/*
 * Start-up of the library: there is no initialisation call, every export begins with this.
 */
#pragma once

/**
 * Initialises the state at the first call of the process. At every later call checks the sizes of the logs,
 * and reads "SAT.ini" again when it has changed. 0 after a first initialisation, 1 otherwise. Nothing is ever
 * torn down.
 *
 * Not protected against two threads that enter at once: callers make their first call from one thread.
 */
int init_global_sat_struct();
