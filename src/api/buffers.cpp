#include "buffers.h"

#include <algorithm>
#include <cstring>

char gl_strSatRsp[GL_DEF_MAX_SAT_PKT_SIZE];
char gl_strRcvArea[BUFFER_SIZE];

static size_t l_satRspTouched;
static size_t l_rcvAreaTouched;

/** How far one of the library's own buffers was written since it was cleared; NULL for a foreign one. */
static size_t* TouchedOf(const char* pBuffer) {
    if (pBuffer == gl_strSatRsp) return &l_satRspTouched;
    if (pBuffer == gl_strRcvArea) return &l_rcvAreaTouched;
    return nullptr;
}

void BufferTouched(const char* pBuffer, size_t size) {
    size_t* pTouched = TouchedOf(pBuffer);
    if (pTouched != nullptr) *pTouched = std::max(*pTouched, size);
}

void BufferClear(char* pBuffer, size_t size) {
    size_t* pTouched = TouchedOf(pBuffer);
    if (pTouched == nullptr) {
        memset(pBuffer, 0, size);
        return;
    }
    const size_t cleared = std::min(*pTouched, size);
    memset(pBuffer, 0, cleared);
    // What was written behind the cleared part is still there.
    if (cleared == *pTouched) *pTouched = {};
}
