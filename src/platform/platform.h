/*
 * The only door to the operating system.
 *
 * Everything above this floor is the same source on every system. Three implementations stand behind these
 * declarations: windows/, posix/, and a simulated one in the tests (virtual time, a scripted device, every
 * call can be made to fail). The engine was written against the Windows services, so where systems differ the
 * Windows meaning holds: error 5 is "access refused", a port read ends by the COMMTIMEOUTS rules, a mutex is
 * owned by a thread, may be taken again by its owner, and is abandoned when that thread ends.
 *
 * Texts are NUL-terminated single-byte strings and are never changed unless the declaration says so. No
 * pointer may be NULL unless the declaration says so. No routine throws.
 */
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

/**
 * Lets the compiler check a printf-like routine's format against its arguments. GCC's own name of the
 * archetype is used where it has one: its plain "printf" would mean an older runtime's conversions on some
 * systems.
 */
#if defined(__clang__)
#define PLAT_PRINTF_CHECK(format_index, first_argument) \
    __attribute__((format(printf, format_index, first_argument)))
#else
#define PLAT_PRINTF_CHECK(format_index, first_argument) \
    __attribute__((format(gnu_printf, format_index, first_argument)))
#endif

// ----------------------------------------------------------------------------------------------------
// handles

/** A system handle, pointer-sized. Valid means neither 0 nor PLAT_INVALID_HANDLE. */
typedef intptr_t plat_handle;

/** All bits set: what a failed open leaves behind. */
constexpr plat_handle PLAT_INVALID_HANDLE = -1;

constexpr bool plat_handle_valid(plat_handle handle) {
    return handle != 0 && handle != PLAT_INVALID_HANDLE;
}

// -----------------------------------------------------------------------------------------------------
// memory

/** Allocates `size` zero-filled bytes from the process heap; NULL when there are none. Free with plat_free.
 */
void* plat_alloc(size_t size);

/** Releases what plat_alloc returned; NULL is allowed. */
void plat_free(void* memory);

// -------------------------------------------------------------------------------------------------------
// time

/** A moment in a calendar. Month and day count from 1, the hour runs from 0 to 23. */
struct plat_calendar {
    int year;
    int month;
    int day;
    int hour;
    int minute;
    int second;
    int millisecond;
};

/** The current time, UTC. */
void plat_utc_now(plat_calendar* now);

/** The current time in the machine's time zone. */
void plat_local_now(plat_calendar* now);

/** Ticks a second of the high-resolution counter; 0 when the machine has none. */
int64_t plat_counter_frequency();

/** The high-resolution counter. It never runs backwards. */
int64_t plat_counter();

/** The system time in units of 100 ns since 1601-01-01 00:00:00 UTC. */
int64_t plat_system_time();

/** The value that plat_system_time would have at the given UTC calendar time. */
int64_t plat_calendar_to_system_time(const plat_calendar* utc);

/** Blocks the calling thread for at least `milliseconds`. */
void plat_sleep_ms(uint32_t milliseconds);

// -----------------------------------------------------------------------------------------------------
// errors

constexpr uint32_t PLAT_ERROR_FILE_NOT_FOUND = 2;
constexpr uint32_t PLAT_ERROR_ACCESS_DENIED = 5;

/** The calling thread's code of the last platform call that failed. Successful calls may leave an old code.
 */
uint32_t plat_last_error();

/**
 * The system's text for an error code. The text is allocated with plat_alloc and followed by at least eight
 * zero bytes, so that it also ends when it is read as wide characters. NULL when the system has no text.
 */
char* plat_error_text(uint32_t code);

// ------------------------------------------------------------------------------------------------ named
// mutex

constexpr uint32_t PLAT_WAIT_ACQUIRED = 0;
constexpr uint32_t PLAT_WAIT_ABANDONED = 0x80;
constexpr uint32_t PLAT_WAIT_TIMEOUT = 258;
constexpr uint32_t PLAT_WAIT_FAILED = 0xFFFFFFFF;

/**
 * Creates or opens the machine-wide mutex `name`, without taking it. Returns 0 on failure. There is no close:
 * the library keeps every handle that it opens.
 */
plat_handle plat_mutex_create(const char* name);

/**
 * Waits at most `milliseconds` for the mutex. The owner gets it again at once, and must release it as often.
 * A mutex whose owning thread or process ended without releasing it counts as abandoned and goes to the next
 * waiter. Returns one of PLAT_WAIT_*.
 */
uint32_t plat_mutex_wait(plat_handle mutex, uint32_t milliseconds);

/** Gives the mutex back once. False when the calling thread does not own it. */
bool plat_mutex_release(plat_handle mutex);

// ------------------------------------------------------------------------------------------------ serial
// port

/** A line setting as plat_port_parse_mode understood it. */
struct plat_line_settings {
    uint32_t baud_rate;
    uint8_t data_bits;
    uint8_t parity;            ///< 0 none, 1 odd, 2 even
    uint8_t stop_bits;         ///< 0 one, 2 two
    unsigned char native[32];  ///< the system's own block, opaque to the caller
};

/** Milliseconds, with the meaning of the Windows structure COMMTIMEOUTS. */
struct plat_port_timeouts {
    uint32_t read_interval;
    uint32_t read_total_multiplier;
    uint32_t read_total_constant;
    uint32_t write_total_multiplier;
    uint32_t write_total_constant;
};

enum plat_port_signal { PLAT_SIGNAL_DTR, PLAT_SIGNAL_RTS };

/**
 * Opens a serial port for reading and writing, shared with nobody, by its device path such as "\\?\COM3".
 * PLAT_INVALID_HANDLE on failure; plat_last_error is 5 when another program holds the port.
 */
plat_handle plat_port_open(const char* path);

/** Reads a mode text such as "115200,n,8,1" into `settings`. False when it is not understood. */
bool plat_port_parse_mode(const char* mode, plat_line_settings* settings);

/** Applies line settings that plat_port_parse_mode filled. */
bool plat_port_apply(plat_handle port, const plat_line_settings* settings);

/** Sizes the driver's queues, in bytes. */
bool plat_port_set_queues(plat_handle port, uint32_t input_size, uint32_t output_size);

/** Sets the time-outs that plat_port_read and plat_port_write obey from now on. */
bool plat_port_set_timeouts(plat_handle port, const plat_port_timeouts* timeouts);

/** Raises a modem control line. */
bool plat_port_raise(plat_handle port, plat_port_signal signal);

/**
 * Reads up to `size` bytes and returns their number, 0 to `size`. Blocks until `size` bytes are there, the
 * gap after a byte exceeds the read interval, or the total read time-out is over. An error counts as 0 bytes,
 * after which plat_last_error tells more.
 */
uint32_t plat_port_read(plat_handle port, void* buffer, uint32_t size);

/** Writes up to `size` bytes within the write time-out and returns their number; an error counts as 0 bytes.
 */
uint32_t plat_port_write(plat_handle port, const void* bytes, uint32_t size);

/** Waits until the driver has sent what was written. */
bool plat_port_flush(plat_handle port);

/** Closes the port. False when the system refuses. */
bool plat_port_close(plat_handle port);

// -------------------------------------------------------------------------------------------- present
// devices

/**
 * How long devices count as known at most, milliseconds: should one ever change without a report, a till
 * finds its device with the next try and not at its next start.
 */
constexpr uint32_t PLAT_DEVICES_KNOWN_MS = 2000;

/**
 * Opens the set of the present devices of a setup class such as "Ports"; PLAT_INVALID_HANDLE when there is
 * none. A platform that hears of changes may give the same devices again while there was none. The routines
 * below take that value too: it is a set without devices, which cannot be closed.
 */
plat_handle plat_devices_open(const char* class_name);

/** Makes the device at `index` (from 0) the current one of the set. False when there is no such device. */
bool plat_devices_select(plat_handle devices, uint32_t index);

/**
 * Reads the current device's port name ("PortName" of its hardware key) into `name`, at most `size` bytes
 * with the NUL. A name that does not fit, or a key without one, leaves `name` as it was. False when the
 * device has no hardware key that can be opened.
 */
bool plat_devices_port_name(plat_handle devices, char* name, uint32_t size);

/** The size in bytes of the current device's friendly name, its NUL included; 0 when it has none. */
uint32_t plat_devices_friendly_size(plat_handle devices);

/** Reads the current device's friendly name. False when that fails; `friendly` may then hold anything. */
bool plat_devices_friendly(plat_handle devices, char* friendly, uint32_t size);

/** Releases the set. False when the system refuses. */
bool plat_devices_close(plat_handle devices);

/** Has the next set listed anew, for a caller that found this one wrong or incomplete. */
void plat_devices_forget();

// ---------------------------------------------------------------------------------------------- files,
// folders
//
// Paths are spelled as the library spells them, with backslashes or slashes; relative ones start at the
// process's current directory.

struct plat_file;

constexpr uint32_t PLAT_MODE_FORMAT = 0xF000;
constexpr uint32_t PLAT_MODE_PIPE = 0x1000;
constexpr uint32_t PLAT_MODE_CHARACTER = 0x2000;
constexpr uint32_t PLAT_MODE_BLOCK = 0x3000;
constexpr uint32_t PLAT_MODE_DIRECTORY = 0x4000;
constexpr uint32_t PLAT_MODE_REGULAR = 0x8000;

struct plat_file_status {
    uint32_t mode;     ///< kind of file in the bits PLAT_MODE_FORMAT, permissions below
    int64_t size;      ///< bytes
    int64_t modified;  ///< time of the last change, seconds since 1970-01-01 UTC
};

/** Asks for a file's status; false when there is no such file or the system refuses. */
bool plat_file_query(const char* path, plat_file_status* status);

/**
 * Reads a file in text mode, its first `size` bytes at most, and tells how many bytes of text that made. What
 * an error cuts off is missing, which `whole` tells unless it is NULL. In `text`, room for `size` bytes,
 * those behind the text are zero if they were so before. False when the file could not be opened.
 */
bool plat_read_text(const char* path, char* text, size_t size, size_t* length, bool* whole = nullptr);

/** Opens a file for writing in text mode; `mode` is "a", "w" or "w+" as for fopen. NULL on failure. */
plat_file* plat_file_open(const char* path, const char* mode);

/** Writes `size` bytes; false when not all of them could be taken. What is written may wait for the close,
 * which tells of everything that failed. */
bool plat_file_write(plat_file* file, const void* bytes, size_t size);

/** Writes formatted text; false when it could not be taken. A NULL for "%s" prints "(null)". */
bool plat_file_vprintf(plat_file* file, const char* format, va_list arguments) PLAT_PRINTF_CHECK(2, 0);

/** Flushes and closes. False when anything that was to be written, at whatever time, could not reach the
 * file. */
bool plat_file_close(plat_file* file);

/**
 * Gives a file a new content, written in text mode, or makes the file. Whoever looks, also after the process
 * was killed or the power failed in the middle, finds the old content or the new one, whole. False when that
 * did not succeed; the file is then as it was.
 */
bool plat_file_replace(const char* path, const void* bytes, size_t size);

/**
 * Appends text to a file in text mode, as far as possible in one write, so that it stays together where the
 * system appends in one step; makes the file if it is missing. False when not all of it could be written.
 */
bool plat_append_text(const char* path, const char* text, size_t size);

/** Opens a file for appending text, created if missing for its owner to read and write. Above 0, or -1. */
int plat_append_open(const char* path);

/** Appends `size` bytes to what plat_append_open opened; false when not all of them could be written. */
bool plat_append_write(int descriptor, const void* bytes, size_t size);

/** Closes what plat_append_open opened. */
void plat_append_close(int descriptor);

/** Creates one folder, its parent must exist. */
bool plat_create_folder(const char* path);

/** Renames a file; fails when the new name exists. */
bool plat_move_file(const char* from, const char* to);

/** Removes a file. */
bool plat_remove_file(const char* path);

/**
 * Starts a search for the files that match `pattern` (a folder and a name with "*"), and gives the first
 * name, without its folder. PLAT_INVALID_HANDLE when nothing matches.
 */
plat_handle plat_find_open(const char* pattern, char* name, size_t name_size);

/** Gives the next name of the search; false when there is none. */
bool plat_find_next(plat_handle search, char* name, size_t name_size);

/** Ends a search. */
void plat_find_close(plat_handle search);

/** Runs a command of the system's shell, "rmdir /S /Q NAME..." or "del /S NAME...", and returns its exit
 * code. */
int plat_shell(const char* command);

/**
 * Prints text to standard output. What a pipe's reader does not take for a moment is dropped, and a reader
 * that is gone is nobody's business: this neither waits without end nor ends the program.
 */
void plat_print(const char* text);

/** The folder for application data that all users share; false when the system does not tell. */
bool plat_common_data_folder(char* path, size_t path_size);

// -------------------------------------------------------------------------------------------------------
// text

/** Turns a text into capitals, in place. */
void plat_upper(char* text);

/**
 * Converts a wide text to the system's code page; a character that it lacks becomes a blank. The result is
 * cut to what fits `size` and always terminated.
 */
void plat_wide_to_bytes(const wchar_t* wide, char* bytes, size_t size);
