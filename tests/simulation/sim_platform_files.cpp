/*
 * platform.h on the simulated machine: files, folders, shell, output.
 */
#include "sim_enter.h"
#include "sim_file_handles.h"

using sim::Fail;

bool plat_file_query(const char* path, plat_file_status* status) {
    SIM_ENTER(FileQuery, "%s", path);
    if (way >= 0) return Fail(PLAT_ERROR_ACCESS_DENIED, false);
    return world.files.Query(path, status);
}

bool plat_read_text(const char* path, char* text, size_t size, size_t* length, bool* whole) {
    SIM_ENTER(ReadText, "%s", path);
    if (way == 0) return Fail(PLAT_ERROR_ACCESS_DENIED, false);
    const size_t read = way == 1 ? 0 : way == 2 ? size / 2 : size;
    if (way > 0) world.last_error = sim::kErrorNotWorking;
    if (whole != nullptr) *whole = way < 0;
    return world.files.ReadText(path, text, read, length);
}

plat_file* plat_file_open(const char* path, const char* mode) {
    SIM_ENTER(FileOpen, "%s %s", path, mode);
    if (way >= 0) return Fail<plat_file*>(PLAT_ERROR_ACCESS_DENIED, nullptr);
    return world.files.Open(path, mode);
}

bool plat_file_write(plat_file* file, const void* bytes, size_t size) {
    SIM_ENTER(FileWrite, "%zu", size);
    const auto* text = static_cast<const char*>(bytes);
    if (way == 1) world.files.Write(file, text, size / 2);
    const bool written = way < 0 && world.files.Write(file, text, size);
    if (!written) file->failed = true;
    return way < 0 ? written : Fail(sim::kErrorDiskFull, false);
}

bool plat_file_vprintf(plat_file* file, const char* format, va_list arguments) {
    SIM_ENTER(FileVprintf);
    const bool written = way < 0 && world.files.Print(file, format, arguments);
    if (!written) file->failed = true;
    return way < 0 ? written : Fail(sim::kErrorDiskFull, false);
}

bool plat_file_close(plat_file* file) {
    SIM_ENTER(FileClose);
    constexpr size_t kNothing = 0, kHalf = 2;
    const bool failed_before = file->failed;
    if (way < 0) return world.files.Close(file) && !failed_before;
    world.files.Close(file, way == 0 ? kNothing : kHalf);
    return Fail(sim::kErrorDiskFull, false);
}

bool plat_file_replace(const char* path, const void* bytes, size_t size) {
    SIM_ENTER(FileReplace, "%s %zu", path, size);
    if (way >= 0) return Fail(way == 0 ? PLAT_ERROR_ACCESS_DENIED : sim::kErrorDiskFull, false);
    return world.files.Replace(path, static_cast<const char*>(bytes), size);
}

bool plat_append_text(const char* path, const char* text, size_t size) {
    SIM_ENTER(AppendText, "%s", path);
    if (way == 0) return Fail(PLAT_ERROR_ACCESS_DENIED, false);
    if (way > 0) {
        world.files.AppendText(path, text, way == 2 ? size / 2 : 0);
        return Fail(sim::kErrorDiskFull, false);
    }
    return world.files.AppendText(path, text, size);
}

int plat_append_open(const char* path) {
    SIM_ENTER(AppendOpen, "%s", path);
    if (way >= 0) return Fail(PLAT_ERROR_ACCESS_DENIED, -1);
    return world.files.AppendOpen(path);
}

bool plat_append_write(int descriptor, const void* bytes, size_t size) {
    SIM_ENTER(AppendWrite, "%zu", size);
    const auto* text = static_cast<const char*>(bytes);
    if (way == 1) world.files.AppendWrite(descriptor, text, size / 2);
    if (way >= 0) return Fail(sim::kErrorDiskFull, false);
    return world.files.AppendWrite(descriptor, text, size);
}

void plat_append_close(int descriptor) {
    SIM_ENTER(AppendClose);
    world.files.AppendClose(descriptor);
}

bool plat_create_folder(const char* path) {
    SIM_ENTER(CreateFolder, "%s", path);
    if (way >= 0) return Fail(PLAT_ERROR_ACCESS_DENIED, false);
    return world.files.CreateFolder(path);
}

bool plat_move_file(const char* from, const char* to) {
    SIM_ENTER(MoveFile, "%s %s", from, to);
    if (way >= 0) return Fail(PLAT_ERROR_ACCESS_DENIED, false);
    return world.files.Move(from, to);
}

bool plat_remove_file(const char* path) {
    SIM_ENTER(RemoveFile, "%s", path);
    if (way >= 0) return Fail(PLAT_ERROR_ACCESS_DENIED, false);
    return world.files.RemoveFile(path);
}

plat_handle plat_find_open(const char* pattern, char* name, size_t name_size) {
    SIM_ENTER(FindOpen, "%s", pattern);
    if (way >= 0) return Fail(PLAT_ERROR_ACCESS_DENIED, PLAT_INVALID_HANDLE);
    return world.files.FindOpen(pattern, name, name_size);
}

bool plat_find_next(plat_handle search, char* name, size_t name_size) {
    SIM_ENTER(FindNext);
    return way < 0 && world.files.FindNext(search, name, name_size);
}

void plat_find_close(plat_handle search) {
    SIM_ENTER(FindClose);
    world.files.FindClose(search);
}

int plat_shell(const char* command) {
    SIM_ENTER(Shell, "%s", command);
    if (way < 0) return world.files.Shell(command);
    world.files.commands.emplace_back(command);
    return way == 0 ? 1 : 0;
}

void plat_print(const char* text) {
    SIM_ENTER(Print, "%s", text);
    if (world.keep_printed) world.printed += text;
}

bool plat_common_data_folder(char* path, size_t path_size) {
    SIM_ENTER(CommonDataFolder);
    return way < 0 && world.files.CommonDataFolder(path, path_size);
}
