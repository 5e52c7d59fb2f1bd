/*
 * Calls from several threads under the caller's own lock.
 */
#pragma once

#include "system.h"

/**
 * Calls ConsultarSAT `calls` times in each of `count` threads, under one lock and each time with a session
 * number of its own, from 1 on. The reply to a call must begin with its session number.
 *
 * @return how many replies did; -1 when the threads could not be started
 */
int threads_call(library_function consultar_sat, int count, int calls);
