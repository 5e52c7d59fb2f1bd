/*
 * The serial port.
 */
#include <windows.h>

#include <cstring>

#include "../platform.h"

static_assert(sizeof(DCB) <= sizeof(plat_line_settings::native), "the settings carry a whole control block");

static HANDLE Handle(plat_handle port) {
    // The number is one of these, cast by the routine that made it. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<HANDLE>(port);
}

plat_handle plat_port_open(const char* path) {
    return reinterpret_cast<plat_handle>(
        CreateFileA(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
}

bool plat_port_parse_mode(const char* mode, plat_line_settings* settings) {
    *settings = {};
    DCB block = {};
    block.DCBlength = sizeof block;
    if (BuildCommDCBA(mode, &block) == 0) return false;

    // The system documents no other value, and the mode text cannot say it.
    block.fBinary = TRUE;
    settings->baud_rate = block.BaudRate;
    settings->data_bits = block.ByteSize;
    settings->parity = block.Parity;
    settings->stop_bits = block.StopBits;
    memcpy(settings->native, &block, sizeof block);
    return true;
}

bool plat_port_apply(plat_handle port, const plat_line_settings* settings) {
    DCB block = {};
    memcpy(&block, settings->native, sizeof block);
    return SetCommState(Handle(port), &block) != 0;
}

bool plat_port_set_queues(plat_handle port, uint32_t input_size, uint32_t output_size) {
    return SetupComm(Handle(port), input_size, output_size) != 0;
}

bool plat_port_set_timeouts(plat_handle port, const plat_port_timeouts* timeouts) {
    COMMTIMEOUTS limits = {};
    limits.ReadIntervalTimeout = timeouts->read_interval;
    limits.ReadTotalTimeoutMultiplier = timeouts->read_total_multiplier;
    limits.ReadTotalTimeoutConstant = timeouts->read_total_constant;
    limits.WriteTotalTimeoutMultiplier = timeouts->write_total_multiplier;
    limits.WriteTotalTimeoutConstant = timeouts->write_total_constant;
    return SetCommTimeouts(Handle(port), &limits) != 0;
}

bool plat_port_raise(plat_handle port, plat_port_signal signal) {
    return EscapeCommFunction(Handle(port), signal == PLAT_SIGNAL_DTR ? SETDTR : SETRTS) != 0;
}

uint32_t plat_port_read(plat_handle port, void* buffer, uint32_t size) {
    DWORD count = 0;
    return ReadFile(Handle(port), buffer, size, &count, nullptr) != 0 ? count : 0;
}

uint32_t plat_port_write(plat_handle port, const void* bytes, uint32_t size) {
    DWORD count = 0;
    return WriteFile(Handle(port), bytes, size, &count, nullptr) != 0 ? count : 0;
}

bool plat_port_flush(plat_handle port) {
    return FlushFileBuffers(Handle(port)) != 0;
}

bool plat_port_close(plat_handle port) {
    return CloseHandle(Handle(port)) != 0;
}
