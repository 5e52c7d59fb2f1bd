#include "log_name.h"

#include <cstring>

#include "log.h"
#include "text.h"

std::atomic<uint64_t> gl_uiKnownLogFolder{0};

uint64_t VKO_NameHash(const char* name, int64_t time) {
    // FNV-1a, 64 bits.
    uint64_t hash = 0xCBF29CE484222325U ^ static_cast<uint64_t>(time);
    for (; *name != '\0'; ++name)
        hash = (hash ^ static_cast<unsigned char>(*name)) * 0x100000001B3U;
    return hash;
}

static bool FolderUsable(const char* folder, plat_file_status* status) {
    return strlen(folder) >= 2 && plat_file_query(folder, status) &&
           (status->mode & PLAT_MODE_FORMAT) == PLAT_MODE_DIRECTORY;
}

static bool FolderAbsolute(const char* folder) {
    return strchr(folder, ':') != nullptr || folder[0] == '/';
}

/** A base name may lead out of the folder, or further down. */
static bool StaysInFolder(const char* baseName) {
    return strpbrk(baseName, "/\\") == nullptr;
}

static void NameInFolder(char (&strFileName)[VKO_LOG_NAME_SIZE], const char* folder, bool asItStands,
                         const plat_calendar& utc, const char* baseName) {
    VKO_FormatText(strFileName, sizeof strFileName, "%s%s\\%04d%02d%02d_%s", asItStands ? "" : ".\\", folder,
                   utc.year, utc.month, utc.day, baseName);
}

int64_t VKO_LogFileName(char (&strFileName)[VKO_LOG_NAME_SIZE], const plat_calendar& utc,
                        const char* baseName, eLogNameRule rule) {
    const char* folder = gl_tLogSettings.strLogFilePath;
    plat_file_status status;
    const bool usable = FolderUsable(folder, &status);
    const bool asItStands = rule == LOG_NAME_ABSOLUTE_FOLDERS && FolderAbsolute(folder);
    // Below the current directory there is another folder of that name.
    const bool otherFolder = !asItStands && (FolderAbsolute(folder) || folder[0] == '\\');
    const bool itself = usable && !otherFolder && StaysInFolder(baseName);
    if (!usable) {
        gl_uiKnownLogFolder = 0;
        VKO_FormatText(strFileName, sizeof strFileName, "%04d%02d%02d_%s", utc.year, utc.month, utc.day,
                       baseName);
        return LOG_NAME_NO_FOLDER;
    }
    if (rule == LOG_NAME_ABSOLUTE_FOLDERS) gl_uiKnownLogFolder = itself ? VKO_NameHash(folder, 0) : 0;
    NameInFolder(strFileName, folder, asItStands, utc, baseName);
    return itself ? status.modified : LOG_NAME_NO_FOLDER;
}

bool VKO_KnownLogFileName(char (&strFileName)[VKO_LOG_NAME_SIZE], const plat_calendar& utc,
                          const char* baseName) {
    const char* folder = gl_tLogSettings.strLogFilePath;
    if (gl_uiKnownLogFolder != VKO_NameHash(folder, 0) || !StaysInFolder(baseName)) return false;
    NameInFolder(strFileName, folder, FolderAbsolute(folder), utc, baseName);
    return true;
}
