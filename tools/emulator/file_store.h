/*
 * A file that is replaced as a whole: whoever reads it finds the old content or the new one, even when the
 * program or the machine stops in the middle. posix/ and windows/ hold the replacing.
 */
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace emulator {

/** The content of a file. No content, and no `error`, when there is no such file. */
std::optional<std::string> ReadWholeFile(const std::string& path, std::string* error);

/**
 * Replaces a file, or makes it: writes PATH.tmp beside it, brings that to the disk, and renames it. False,
 * and `error` says why, when any step fails; the old content is then still there.
 */
bool ReplaceWholeFile(const std::string& path, const std::string& content, std::string* error);

/**
 * Keeps a file to this program, by a lock on PATH.lock beside it, for as long as what is returned lives. The
 * system drops the lock with the program, however that ends. NULL when another one has it, or when `error`,
 * empty otherwise, says that there can be none.
 */
std::shared_ptr<void> HoldFile(const std::string& path, std::string* error);

/** The file on which the lock is. Where the system leaves it behind it is empty and does no harm. */
std::string LockName(const std::string& path);

/** The name under which the new content is written before it takes the file's place. */
std::string TemporaryName(const std::string& path);

}  // namespace emulator
