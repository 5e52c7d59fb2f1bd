/*
 * Comparing what the library wrote with a transcript in the folder "golden".
 */
#pragma once

#include <string>

/**
 * A log with everything masked that differs from run to run or from build to build: times, source lines and
 * handles. Unprintable bytes become "<02>". The invalid handle and zero stay, for they say something.
 */
std::string Masked(const std::string& log);

/**
 * The lines in which two texts differ, "-" for what is expected and "+" for what is there, with three lines
 * of their surroundings. Empty when the texts are the same.
 */
std::string DifferingLines(const std::string& expected, const std::string& actual);

/** Fails with the differing lines unless `actual` is the transcript golden/<name>.txt. */
void ExpectGolden(const std::string& name, const std::string& actual);
