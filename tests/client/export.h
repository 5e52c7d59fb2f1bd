/*
 * The exported functions by their shapes: a call with arguments that were read from a line.
 */
#pragma once

#include <stddef.h>

#include "argument.h"
#include "system.h"

/** No exported function takes more arguments. */
#define EXPORT_MOST_ARGUMENTS 5

/** The shape of an export, one character an argument, 'i' or 's'; NULL for a name that is none. */
const char* export_shape(const char* name);

/** Calls `function` of that shape. The arguments must have it. */
const char* export_call(library_function function, const char* shape, const struct argument* arguments);
