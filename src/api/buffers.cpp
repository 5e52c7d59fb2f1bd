#include "buffers.h"

#include <cstring>

char gl_strSatRsp[GL_DEF_MAX_SAT_PKT_SIZE];
char gl_strRcvArea[BUFFER_SIZE];

static size_t l_satRspTouched = 0;
static size_t l_rcvAreaTouched = 0;

/** How far one of the library's own buffers was written since it was cleared; NULL for a foreign one. */
static size_t* TouchedOf(const char* pBuffer) {
    if (pBuffer == gl_strSatRsp) return &l_satRspTouched;
    if (pBuffer == gl_strRcvArea) return &l_rcvAreaTouched;
    return nullptr;
}

void BufferTouched(const char* pBuffer, size_t size) {
    size_t* pTouched = TouchedOf(pBuffer);
    if (pTouched != nullptr && *pTouched < size) *pTouched = size;
}

void BufferClear(char* pBuffer, size_t size) {
    size_t* pTouched = TouchedOf(pBuffer);
    if (pTouched == nullptr) {
        memset(pBuffer, 0, size);
        return;
    }
    memset(pBuffer, 0, *pTouched < size ? *pTouched : size);
    if (*pTouched <= size) *pTouched = 0;
}
