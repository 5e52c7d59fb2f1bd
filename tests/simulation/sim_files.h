/*
 * Files and folders, in memory.
 */
#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"

namespace sim {

/** A file or folder. */
struct Node {
    uint32_t mode = 0;
    int64_t modified = 0;  ///< seconds since 1970
    std::string content;
    int64_t forgotten = 0;  ///< bytes in front of `content` that are no longer kept
    unsigned open_count = 0;
    bool locked = false;
    std::string name;
    Node* parent = nullptr;  ///< nullptr for the root and for what was removed
    std::map<std::string, std::shared_ptr<Node>, std::less<>> children;

    bool IsFolder() const { return (mode & PLAT_MODE_FORMAT) == PLAT_MODE_DIRECTORY; }
    int64_t Size() const { return forgotten + static_cast<int64_t>(content.size()); }
};

/**
 * Paths may use slashes or backslashes; "." and ".." are understood, names are case-sensitive. A path that
 * does not begin with a slash or a drive ("C:") starts at the current folder of the running process, "C:\app"
 * after a reset. As on Windows, a file that is open is neither moved nor removed.
 *
 * The routines of the first group are the test's own hand: they are not counted, never fail by fault, and
 * create the folders that they need.
 */
class Files {
  public:
    Files();

    void SetText(std::string_view path, std::string_view text);
    std::string Text(std::string_view path) const;  ///< empty when there is no such file
    bool Exists(std::string_view path) const;
    bool IsFolder(std::string_view path) const;
    int64_t Size(std::string_view path) const;      ///< -1 when there is no such file
    int64_t Modified(std::string_view path) const;  ///< -1 when there is no such file
    void SetModified(std::string_view path, int64_t seconds_since_1970);
    void MakeFolder(std::string_view path);
    void Remove(std::string_view path);  ///< a file, or a folder with all that is in it

    /** The names in a folder, in name order. */
    std::vector<std::string> List(std::string_view folder) const;

    /** Gives a file, created if missing, one of the kinds PLAT_MODE_*, or any other bits. */
    void SetKind(std::string_view path, uint32_t kind);

    /** Another program keeps the file to itself: opening, moving and removing are refused (error 32). */
    void Lock(std::string_view path, bool locked = true);

    /** The folder that relative paths of a process start at; created if missing. */
    void SetCurrentFolder(uint32_t process, std::string_view path);

    /** What plat_common_data_folder gives; nullptr makes it fail. "C:\ProgramData" after a reset. */
    void SetCommonDataFolder(const char* path);

    /** After `bytes` more bytes the disk is full. A negative number lifts it. */
    void SetDiskFree(int64_t bytes) { disk_free_ = bytes; }

    /** The process ends, and Killed is thrown, when `bytes` more bytes have reached files. Negative lifts it.
     */
    void KillAfterBytes(int64_t bytes) { kill_after_ = bytes; }

    /** Long runs: a file that grows beyond `bytes` forgets its content and keeps its size only. 0 keeps all.
     */
    void ForgetAbove(size_t bytes) { forget_above_ = bytes; }

    size_t OpenFiles() const { return open_files_; }        ///< plat_file_open minus plat_file_close
    size_t OpenAppends() const { return open_appends_; }    ///< plat_append_open minus plat_append_close
    size_t OpenSearches() const { return open_searches_; }  ///< plat_find_open minus plat_find_close

    /** The commands given to plat_shell, in order. */
    std::vector<std::string> commands;

    // Used by the platform's routines. They set the running thread's last error.
    ~Files();
    Files(Files&&) noexcept;
    Files& operator=(Files&&) noexcept;

    bool Query(const char* path, plat_file_status* status) const;
    bool ReadText(const char* path, char* text, size_t size, size_t* length);
    plat_file* Open(const char* path, const char* mode);
    bool Write(plat_file* file, const char* bytes, size_t size);
    bool Print(plat_file* file, const char* format, va_list arguments) PLAT_PRINTF_CHECK(3, 0);
    /** Of what still waits, the first part of `parts` reaches the file, or nothing when `parts` is 0. */
    bool Close(plat_file* file, size_t parts = 1);
    bool Replace(const char* path, const char* bytes, size_t size);
    bool AppendText(const char* path, const char* text, size_t size);
    int AppendOpen(const char* path);
    bool AppendWrite(int descriptor, const char* bytes, size_t size);
    void AppendClose(int descriptor);
    bool CreateFolder(const char* path);
    bool Move(const char* from, const char* to);
    bool RemoveFile(const char* path);
    plat_handle FindOpen(const char* pattern, char* name, size_t name_size);
    bool FindNext(plat_handle search, char* name, size_t name_size);
    void FindClose(plat_handle search);
    int Shell(const char* command);
    bool CommonDataFolder(char* path, size_t path_size) const;
    void CloseAll(uint32_t process);  ///< drops what the process has open, and what waits there

  private:
    struct Append {
        std::shared_ptr<Node> node;
        uint32_t process;
    };
    struct Search {
        plat_handle handle = 0;  ///< 0 while the place is free
        std::vector<std::string> names;
        size_t next = 0;
        uint32_t process = 0;
    };
    /** A path and what it led to, for a program that opens the same log file again and again. */
    struct Recent {
        std::string path;
        uint32_t process = 0;
        std::shared_ptr<Node> node;
    };
    static constexpr size_t kRecentCount = 16;

    std::shared_ptr<Node> Start(std::string_view& path) const;
    std::shared_ptr<Node> Lookup(std::string_view path) const;
    std::shared_ptr<Node> Above(const std::shared_ptr<Node>& node) const;
    std::shared_ptr<Node> WalkTo(std::string_view path) const;
    std::shared_ptr<Node> OpenNode(const char* path, bool create);
    std::shared_ptr<Node> Demand(std::string_view path, uint32_t kind);
    bool Store(Node& node, const char* bytes, size_t size);
    void Retire(plat_file& file);
    void Unlink(Node& node);
    bool RemoveTree(Node& folder);
    bool RemoveMatching(Node& folder, std::string_view pattern, bool deep);
    bool RunRmdir(const std::string& name);
    bool RunDel(const std::string& name, bool deep);
    Search* FromHandle(plat_handle search);
    bool GiveName(Search& search, char* name, size_t name_size);

    std::shared_ptr<Node> root_;
    std::vector<std::shared_ptr<Node>> current_folders_;  // by process id; nullptr is the usual one
    std::string common_data_folder_ = "C:\\ProgramData";
    bool has_common_data_folder_ = true;
    int64_t disk_free_ = -1;
    int64_t kill_after_ = -1;
    size_t forget_above_ = 0;
    size_t open_files_ = 0;
    size_t open_appends_ = 0;
    size_t open_searches_ = 0;
    uint64_t searches_made_ = 0;
    std::vector<std::unique_ptr<plat_file>> files_;
    std::vector<plat_file*> idle_files_;
    std::vector<Append> appends_;
    std::vector<Search> searches_;
    mutable std::array<Recent, kRecentCount> recent_;
};

}  // namespace sim
