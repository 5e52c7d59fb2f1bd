#include "log_name.h"

#include <cstring>

#include "log.h"
#include "text.h"

static bool FolderUsable(const char* folder, plat_file_status* status) {
    return strlen(folder) >= 2 && plat_file_query(folder, status) &&
           (status->mode & PLAT_MODE_FORMAT) == PLAT_MODE_DIRECTORY;
}

static bool FolderAbsolute(const char* folder) {
    return strchr(folder, ':') != nullptr || folder[0] == '/';
}

int64_t VKO_LogFileName(char (&strFileName)[VKO_LOG_NAME_SIZE], const plat_calendar& utc,
                        const char* baseName, eLogNameRule rule) {
    const char* folder = gl_tLogSettings.strLogFilePath;
    plat_file_status status;
    if (!FolderUsable(folder, &status)) {
        VKO_FormatText(strFileName, sizeof strFileName, "%04d%02d%02d_%s", utc.year, utc.month, utc.day,
                       baseName);
        return LOG_NAME_NO_FOLDER;
    }
    const bool asItStands = rule == LOG_NAME_ABSOLUTE_FOLDERS && FolderAbsolute(folder);
    VKO_FormatText(strFileName, sizeof strFileName, "%s%s\\%04d%02d%02d_%s", asItStands ? "" : ".\\", folder,
                   utc.year, utc.month, utc.day, baseName);
    // Below the current directory there is another folder of that name.
    const bool otherFolder = !asItStands && (FolderAbsolute(folder) || folder[0] == '\\');
    return otherFolder ? LOG_NAME_NO_FOLDER : status.modified;
}
