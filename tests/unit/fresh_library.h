/*
 * The one list of what a load of the library initialises, for every program that loads it more than once.
 */
#pragma once

/**
 * A fresh simulated machine (2026-11-20 15:04:05.006 UTC, local time three hours behind), and every variable
 * of the library as the load of the process leaves it.
 */
void LoadFreshLibrary();
