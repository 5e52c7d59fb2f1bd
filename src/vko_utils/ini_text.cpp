#include "ini_text.h"

#include <cstring>

#include "../platform/platform.h"

eIniLoad IniLoad(const char* pIniFileName, size_t size, size_t spare, tIniText* text) {
    char* pText = static_cast<char*>(plat_alloc(size + spare));
    if (pText == nullptr) return INI_NO_MEMORY;
    *text = {pText, 0, false};
    if (plat_read_text(pIniFileName, pText, size, &text->fileSize, &text->bWhole)) return INI_LOADED;
    plat_free(pText);
    return INI_NO_OPEN;
}

char* IniFindSection(char* pText, const char* pSession) {
    const size_t nameLength = strlen(pSession);
    for (char* p = strchr(pText, '['); p != nullptr; p = strchr(p + 1, '[')) {
        if (strncmp(p + 1, pSession, nameLength) == 0 && p[1 + nameLength] == ']') return p;
    }
    return nullptr;
}

char* IniBehindHeader(char* pHeader, const char* pSession) {
    return pHeader + strlen(pSession) + 2;
}
