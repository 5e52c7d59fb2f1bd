/*
 * What a device remembers from one run to the next, as a JSON text in a file. Everything of a device is in it
 * but its random numbers and the count of its changes.
 */
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "device.h"

namespace emulator {

/** The state as a text. Throws std::exception when a setting is no UTF-8. */
std::string StateText(const Device& device);

/**
 * Takes the state from a text. Keys that are not known are passed over. Returns an empty text, or what is
 * wrong with the state; `device` is then unchanged.
 */
std::string ReadState(std::string_view text, Device* device);

/**
 * Keeps a state file to this program for as long as what is returned lives. NULL, and `error` says why, when
 * another one has it.
 */
std::shared_ptr<void> HoldState(const std::string& path, std::string* error);

/**
 * Takes the state from a file, or makes the file when there is none. Returns an empty text, or what stands in
 * the way; nothing is overwritten then.
 */
std::string LoadOrCreateState(const std::string& path, Device* device);

/** Replaces the file by the device's state. Returns an empty text, or why it could not. */
std::string SaveState(const std::string& path, const Device& device);

}  // namespace emulator
